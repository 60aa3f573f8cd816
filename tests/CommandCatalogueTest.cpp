#include <cstdint>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "HbbtvBackendCommand.h"

TEST(CommandCatalogue, NamesAreExactlyTheHostsNames)
{
    // The host switches on these numbers; names and numbers are one contract.
    const std::map<int, std::string> names = {
        {0, "TunerCommand_AddStreamEvent"},
        {2, "TunerCommand_RemoveAllStreamEvent"},
        {3, "TunerCommand_SelectAVComponent"},
        {4, "TunerCommand_UnselectAVComponent"},
        {5, "TunerCommand_GetAVInfo"},
        {6, "TunerCommand_TuneTo"},
        {7, "TunerCommand_GetCurrentChannelInfo"},
        {8, "TunerCommand_ExitLiveIn"},
        {9, "TunerCommand_ReturnLiveIn"},
        {10, "TunerCommand_SuspendTuner"},
        {11, "TunerCommand_ResumeTuner"},
        {12, "TunerCommand_StartNewApplication"},
        {13, "TunerCommand_RequestChannelsLineup"},
        {14, "TunerCommand_Bind2CurrentChannel"},
        {100, "ConfigCommand_GetCountryID"},
        {101, "ConfigCommand_GetSubtitleLanguage"},
        {102, "ConfigCommand_GetAudioLanguage"},
        {103, "ConfigCommand_GetParental"},
        {104, "ConfigCommand_GetParentalControlPINEnable"},
        {105, "ConfigCommand_VerifyParentalControlPIN"},
        {106, "ConfigCommand_GetPvrPaddings"},
        {107, "CapabilitiesCommand_IsPvrSupported"},
        {108, "ConfigCommand_SetPvrPaddings"},
        {200, "DSMCC_DVBURL_GetFile"},
        {201, "DSMCC_DVBURL_GetFile_NoWait"},
        {300, "DVBMediaPlayer_OpenVideo"},
        {301, "DVBMediaPlayer_CloseVideo"},
        {302, "DVBMediaPlayer_SetDisplayWindow"},
        {400, "ProgrammeCommand_GetProgrammeInfo"},
        {500, "VideoBroadcastElementEvent_ReleaseVideoControl"},
        {600, "PVRCommand_ScheduleRecordingByTime"},
        {601, "PVRCommand_RemoveScheduledRecording"},
        {602, "PVRCommand_GetScheduledRecordings"},
        {603, "RecordingCommand_GetPvrStartPadding"},
        {604, "RecordingCommand_GetPvrEndPadding"},
        {605, "Recordingcommand_CanScheduleRecordings"},
        {700, "APMCommand_ApplicationsDestroied"},
        {800, "LocalSystem_GetVendorName"},
        {801, "LocalSystem_GetModelName"},
        {802, "LocalSystem_GetSoftwareVersion"},
        {803, "LocalSystem_GetHardwareVersion"},
        {804, "LocalSystem_GetSerialNumber"},
        {900, "MMPlayerCommand_CheckIsResourceAvailable"},
        {1000, "SystemMisc_SetAudioVolume"},
        {1001, "SystemMisc_GetAudioVolume"},
        {1002, "DVBMediaPlayer_IsPvrEnabledCountry"},
        {1003, "ProgrammeCommand_GetAllProgrammeInfo"},
        {1004, "ProgrammeCommand_GetSIDescriptors"},
        {1005, "ConfigCommand_GetAudioDescription"},
    };
    ASSERT_EQ(49u, names.size());

    // Every value from well below to well above the catalogue: a name exactly where the table has
    // one, and a null pointer everywhere else (1 and 1006-1014 are sent but have no name).
    for (int value = -1100; value <= 2100; ++value) {
        const char* name = convertBackendCommandToString(value);
        const std::map<int, std::string>::const_iterator expected = names.find(value);
        if (expected == names.end()) {
            EXPECT_EQ(nullptr, name) << "value " << value;
        } else {
            ASSERT_NE(nullptr, name) << "value " << value;
            EXPECT_EQ(expected->second, name);
        }
    }
    EXPECT_EQ(nullptr, convertBackendCommandToString(INT32_MIN));
    EXPECT_EQ(nullptr, convertBackendCommandToString(INT32_MAX));
}

TEST(CommandCatalogue, NumbersKeepTheirGaps)
{
    EXPECT_EQ(1, TunerCommand_RemoveStreamEvent);
    EXPECT_EQ(602, PVRCommand_GetScheduledRecordings);
    EXPECT_EQ(1007, PVRCommand_GetRecordings);
    EXPECT_EQ(1010, ReminderCommand_IsReminderSupported);
    EXPECT_EQ(1014, ReminderCommand_GetReminders);
}
