#include <cstdint>
#include <set>

#include <gtest/gtest.h>

#include "HbbtvBackendCommand.h"

// The host switches on these numbers: every enumerator is pinned to its number and its name (null
// for the values that are sent without one).
TEST(CommandCatalogue, EveryCommandKeepsItsNumberAndName)
{
    const struct {
        HbbtvBackendCommand command;
        int number;
        const char* name;
    } catalogue[] = {
        { TunerCommand_AddStreamEvent, 0, "TunerCommand_AddStreamEvent" },
        { TunerCommand_RemoveStreamEvent, 1, nullptr },
        { TunerCommand_RemoveAllStreamEvent, 2, "TunerCommand_RemoveAllStreamEvent" },
        { TunerCommand_SelectAVComponent, 3, "TunerCommand_SelectAVComponent" },
        { TunerCommand_UnselectAVComponent, 4, "TunerCommand_UnselectAVComponent" },
        { TunerCommand_GetAVInfo, 5, "TunerCommand_GetAVInfo" },
        { TunerCommand_TuneTo, 6, "TunerCommand_TuneTo" },
        { TunerCommand_GetCurrentChannelInfo, 7, "TunerCommand_GetCurrentChannelInfo" },
        { TunerCommand_ExitLiveIn, 8, "TunerCommand_ExitLiveIn" },
        { TunerCommand_ReturnLiveIn, 9, "TunerCommand_ReturnLiveIn" },
        { TunerCommand_SuspendTuner, 10, "TunerCommand_SuspendTuner" },
        { TunerCommand_ResumeTuner, 11, "TunerCommand_ResumeTuner" },
        { TunerCommand_StartNewApplication, 12, "TunerCommand_StartNewApplication" },
        { TunerCommand_RequestChannelsLineup, 13, "TunerCommand_RequestChannelsLineup" },
        { TunerCommand_Bind2CurrentChannel, 14, "TunerCommand_Bind2CurrentChannel" },
        { ConfigCommand_GetCountryID, 100, "ConfigCommand_GetCountryID" },
        { ConfigCommand_GetSubtitleLanguage, 101, "ConfigCommand_GetSubtitleLanguage" },
        { ConfigCommand_GetAudioLanguage, 102, "ConfigCommand_GetAudioLanguage" },
        { ConfigCommand_GetParental, 103, "ConfigCommand_GetParental" },
        { ConfigCommand_GetParentalControlPINEnable, 104, "ConfigCommand_GetParentalControlPINEnable" },
        { ConfigCommand_VerifyParentalControlPIN, 105, "ConfigCommand_VerifyParentalControlPIN" },
        { ConfigCommand_GetPvrPaddings, 106, "ConfigCommand_GetPvrPaddings" },
        { CapabilitiesCommand_IsPvrSupported, 107, "CapabilitiesCommand_IsPvrSupported" },
        { ConfigCommand_SetPvrPaddings, 108, "ConfigCommand_SetPvrPaddings" },
        { DSMCC_DVBURL_GetFile, 200, "DSMCC_DVBURL_GetFile" },
        { DSMCC_DVBURL_GetFile_NoWait, 201, "DSMCC_DVBURL_GetFile_NoWait" },
        { DVBMediaPlayer_OpenVideo, 300, "DVBMediaPlayer_OpenVideo" },
        { DVBMediaPlayer_CloseVideo, 301, "DVBMediaPlayer_CloseVideo" },
        { DVBMediaPlayer_SetDisplayWindow, 302, "DVBMediaPlayer_SetDisplayWindow" },
        { ProgrammeCommand_GetProgrammeInfo, 400, "ProgrammeCommand_GetProgrammeInfo" },
        { VideoBroadcastElementEvent_ReleaseVideoControl, 500, "VideoBroadcastElementEvent_ReleaseVideoControl" },
        { PVRCommand_ScheduleRecordingByTime, 600, "PVRCommand_ScheduleRecordingByTime" },
        { PVRCommand_RemoveScheduledRecording, 601, "PVRCommand_RemoveScheduledRecording" },
        { PVRCommand_GetScheduledRecordings, 602, "PVRCommand_GetScheduledRecordings" },
        { RecordingCommand_GetPvrStartPadding, 603, "RecordingCommand_GetPvrStartPadding" },
        { RecordingCommand_GetPvrEndPadding, 604, "RecordingCommand_GetPvrEndPadding" },
        { Recordingcommand_CanScheduleRecordings, 605, "Recordingcommand_CanScheduleRecordings" },
        { APMCommand_ApplicationsDestroied, 700, "APMCommand_ApplicationsDestroied" },
        { LocalSystem_GetVendorName, 800, "LocalSystem_GetVendorName" },
        { LocalSystem_GetModelName, 801, "LocalSystem_GetModelName" },
        { LocalSystem_GetSoftwareVersion, 802, "LocalSystem_GetSoftwareVersion" },
        { LocalSystem_GetHardwareVersion, 803, "LocalSystem_GetHardwareVersion" },
        { LocalSystem_GetSerialNumber, 804, "LocalSystem_GetSerialNumber" },
        { MMPlayerCommand_CheckIsResourceAvailable, 900, "MMPlayerCommand_CheckIsResourceAvailable" },
        { SystemMisc_SetAudioVolume, 1000, "SystemMisc_SetAudioVolume" },
        { SystemMisc_GetAudioVolume, 1001, "SystemMisc_GetAudioVolume" },
        { DVBMediaPlayer_IsPvrEnabledCountry, 1002, "DVBMediaPlayer_IsPvrEnabledCountry" },
        { ProgrammeCommand_GetAllProgrammeInfo, 1003, "ProgrammeCommand_GetAllProgrammeInfo" },
        { ProgrammeCommand_GetSIDescriptors, 1004, "ProgrammeCommand_GetSIDescriptors" },
        { ConfigCommand_GetAudioDescription, 1005, "ConfigCommand_GetAudioDescription" },
        { PVRCommand_ScheduleRecording, 1006, nullptr },
        { PVRCommand_GetRecordings, 1007, nullptr },
        { PVRCommand_RemoveRecording, 1008, nullptr },
        { ReminderCommand_IsReminderSupported, 1010, nullptr },
        { ReminderCommand_CanScheduleReminders, 1011, nullptr },
        { ReminderCommand_ScheduleReminder, 1012, nullptr },
        { ReminderCommand_RemoveReminder, 1013, nullptr },
        { ReminderCommand_GetReminders, 1014, nullptr },
    };
    std::set<int> named;
    for (const auto& entry : catalogue) {
        EXPECT_EQ(entry.number, static_cast<int>(entry.command)) << entry.number;
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
