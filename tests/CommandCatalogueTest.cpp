#include <cstdint>
#include <set>

#include <gtest/gtest.h>

#include "HbbtvBackendCommand.h"
#include "SimulatedHost.h"

// The host switches on these numbers: every enumerator is pinned to its number, its name (null
// for the values that are sent without one), and the sizes of the payload record it travels in
// and of the answer record the host fills, as a host finds them from the number alone.
TEST(CommandCatalogue, EveryCommandKeepsItsNumberAndName)
{
    const struct {
        HbbtvBackendCommand command;
        int number;
        const char* name;
        size_t payloadBytes;
        size_t answerBytes;
    } catalogue[] = {
        { TunerCommand_AddStreamEvent, 0, "TunerCommand_AddStreamEvent", 544, 532 },
        { TunerCommand_RemoveStreamEvent, 1, nullptr, 544, 532 },
        { TunerCommand_RemoveAllStreamEvent, 2, "TunerCommand_RemoveAllStreamEvent", 24, 532 },
        { TunerCommand_SelectAVComponent, 3, "TunerCommand_SelectAVComponent", 24, 532 },
        { TunerCommand_UnselectAVComponent, 4, "TunerCommand_UnselectAVComponent", 24, 532 },
        { TunerCommand_GetAVInfo, 5, "TunerCommand_GetAVInfo", 24, 11592 },
        { TunerCommand_TuneTo, 6, "TunerCommand_TuneTo", 560, 532 },
        { TunerCommand_GetCurrentChannelInfo, 7, "TunerCommand_GetCurrentChannelInfo", 24, 816 },
        { TunerCommand_ExitLiveIn, 8, "TunerCommand_ExitLiveIn", 24, 532 },
        { TunerCommand_ReturnLiveIn, 9, "TunerCommand_ReturnLiveIn", 24, 532 },
        { TunerCommand_SuspendTuner, 10, "TunerCommand_SuspendTuner", 24, 532 },
        { TunerCommand_ResumeTuner, 11, "TunerCommand_ResumeTuner", 24, 532 },
        { TunerCommand_StartNewApplication, 12, "TunerCommand_StartNewApplication", 544, 532 },
        { TunerCommand_RequestChannelsLineup, 13, "TunerCommand_RequestChannelsLineup", 28, 536 },
        { TunerCommand_Bind2CurrentChannel, 14, "TunerCommand_Bind2CurrentChannel", 560, 532 },
        { ConfigCommand_GetCountryID, 100, "ConfigCommand_GetCountryID", 24, 532 },
        { ConfigCommand_GetSubtitleLanguage, 101, "ConfigCommand_GetSubtitleLanguage", 24, 532 },
        { ConfigCommand_GetAudioLanguage, 102, "ConfigCommand_GetAudioLanguage", 24, 532 },
        { ConfigCommand_GetParental, 103, "ConfigCommand_GetParental", 24, 532 },
        { ConfigCommand_GetParentalControlPINEnable, 104, "ConfigCommand_GetParentalControlPINEnable", 24, 532 },
        { ConfigCommand_VerifyParentalControlPIN, 105, "ConfigCommand_VerifyParentalControlPIN", 24, 532 },
        { ConfigCommand_GetPvrPaddings, 106, "ConfigCommand_GetPvrPaddings", 24, 532 },
        { CapabilitiesCommand_IsPvrSupported, 107, "CapabilitiesCommand_IsPvrSupported", 24, 532 },
        { ConfigCommand_SetPvrPaddings, 108, "ConfigCommand_SetPvrPaddings", 24, 532 },
        { DSMCC_DVBURL_GetFile, 200, "DSMCC_DVBURL_GetFile", 544, 536 },
        { DSMCC_DVBURL_GetFile_NoWait, 201, "DSMCC_DVBURL_GetFile_NoWait", 24, 532 },
        { DVBMediaPlayer_OpenVideo, 300, "DVBMediaPlayer_OpenVideo", 24, 532 },
        { DVBMediaPlayer_CloseVideo, 301, "DVBMediaPlayer_CloseVideo", 24, 532 },
        { DVBMediaPlayer_SetDisplayWindow, 302, "DVBMediaPlayer_SetDisplayWindow", 24, 532 },
        { ProgrammeCommand_GetProgrammeInfo, 400, "ProgrammeCommand_GetProgrammeInfo", 24, 1588 },
        { VideoBroadcastElementEvent_ReleaseVideoControl, 500, "VideoBroadcastElementEvent_ReleaseVideoControl", 24,
            532 },
        { PVRCommand_ScheduleRecordingByTime, 600, "PVRCommand_ScheduleRecordingByTime", 24, 532 },
        { PVRCommand_RemoveScheduledRecording, 601, "PVRCommand_RemoveScheduledRecording", 24, 532 },
        { PVRCommand_GetScheduledRecordings, 602, "PVRCommand_GetScheduledRecordings", 24, 532 },
        { RecordingCommand_GetPvrStartPadding, 603, "RecordingCommand_GetPvrStartPadding", 24, 532 },
        { RecordingCommand_GetPvrEndPadding, 604, "RecordingCommand_GetPvrEndPadding", 24, 532 },
        { Recordingcommand_CanScheduleRecordings, 605, "Recordingcommand_CanScheduleRecordings", 544, 532 },
        { APMCommand_ApplicationsDestroied, 700, "APMCommand_ApplicationsDestroied", 24, 532 },
        { LocalSystem_GetVendorName, 800, "LocalSystem_GetVendorName", 24, 532 },
        { LocalSystem_GetModelName, 801, "LocalSystem_GetModelName", 24, 532 },
        { LocalSystem_GetSoftwareVersion, 802, "LocalSystem_GetSoftwareVersion", 24, 532 },
        { LocalSystem_GetHardwareVersion, 803, "LocalSystem_GetHardwareVersion", 24, 532 },
        { LocalSystem_GetSerialNumber, 804, "LocalSystem_GetSerialNumber", 24, 532 },
        { MMPlayerCommand_CheckIsResourceAvailable, 900, "MMPlayerCommand_CheckIsResourceAvailable", 24, 532 },
        { SystemMisc_SetAudioVolume, 1000, "SystemMisc_SetAudioVolume", 24, 532 },
        { SystemMisc_GetAudioVolume, 1001, "SystemMisc_GetAudioVolume", 24, 532 },
        { DVBMediaPlayer_IsPvrEnabledCountry, 1002, "DVBMediaPlayer_IsPvrEnabledCountry", 24, 532 },
        { ProgrammeCommand_GetAllProgrammeInfo, 1003, "ProgrammeCommand_GetAllProgrammeInfo", 544, 532 },
        { ProgrammeCommand_GetSIDescriptors, 1004, "ProgrammeCommand_GetSIDescriptors", 544, 532 },
        { ConfigCommand_GetAudioDescription, 1005, "ConfigCommand_GetAudioDescription", 544, 532 },
        { PVRCommand_ScheduleRecording, 1006, nullptr, 544, 532 },
        { PVRCommand_GetRecordings, 1007, nullptr, 544, 532 },
        { PVRCommand_RemoveRecording, 1008, nullptr, 544, 532 },
        { ReminderCommand_IsReminderSupported, 1010, nullptr, 544, 532 },
        { ReminderCommand_CanScheduleReminders, 1011, nullptr, 544, 532 },
        { ReminderCommand_ScheduleReminder, 1012, nullptr, 544, 532 },
        { ReminderCommand_RemoveReminder, 1013, nullptr, 544, 532 },
        { ReminderCommand_GetReminders, 1014, nullptr, 544, 532 },
    };
    std::set<int> named;
    for (const auto& entry : catalogue) {
        EXPECT_EQ(entry.number, static_cast<int>(entry.command)) << entry.number;
        EXPECT_EQ(entry.payloadBytes, hbbtv_sim::payloadRecordSize(entry.number)) << entry.number;
        EXPECT_EQ(entry.answerBytes, hbbtv_sim::answerRecordSize(entry.number)) << entry.number;
        const char* const name = convertBackendCommandToString(entry.number);
        if (entry.name == nullptr) {
            EXPECT_EQ(nullptr, name) << entry.number;
        } else {
            EXPECT_STREQ(entry.name, name) << entry.number;
            named.insert(entry.number);
        }
    }
    EXPECT_EQ(49u, named.size());
    // No other value has a name.
    for (int value = -1100; value <= 2100; ++value) {
        if (named.count(value) == 0) {
            EXPECT_EQ(nullptr, convertBackendCommandToString(value)) << value;
        }
    }
    EXPECT_EQ(nullptr, convertBackendCommandToString(INT32_MIN));
}
