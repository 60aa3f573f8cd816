#include <cstdint>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "HbbtvBackendCommand.h"

TEST(CommandCatalogue, NamesOnlyForTheFortyNineNamedValues)
{
    const std::set<int> unnamed = {1, 1006, 1007, 1008, 1009, 1010, 1011, 1012, 1013, 1014};
    const std::set<int> blocks = {0, 100, 200, 300, 400, 500, 600, 700, 800, 900, 1000};
    int named = 0;
    for (int value = -1100; value <= 2100; ++value) {
        const char* name = convertBackendCommandToString(value);
        if (name == nullptr) {
            continue;
        }
        ++named;
        EXPECT_EQ(0u, unnamed.count(value)) << value;
        EXPECT_EQ(1u, blocks.count(value - value % 100)) << value;
    }
    EXPECT_EQ(49, named);
    EXPECT_EQ(nullptr, convertBackendCommandToString(INT32_MIN));

    // The spellings the host knows, irregular ones included.
    EXPECT_STREQ("TunerCommand_AddStreamEvent", convertBackendCommandToString(0));
    EXPECT_STREQ("TunerCommand_Bind2CurrentChannel", convertBackendCommandToString(14));
    EXPECT_STREQ("CapabilitiesCommand_IsPvrSupported", convertBackendCommandToString(107));
    EXPECT_STREQ("DSMCC_DVBURL_GetFile_NoWait", convertBackendCommandToString(201));
    EXPECT_STREQ("VideoBroadcastElementEvent_ReleaseVideoControl", convertBackendCommandToString(500));
    EXPECT_STREQ("Recordingcommand_CanScheduleRecordings", convertBackendCommandToString(605));
    EXPECT_STREQ("APMCommand_ApplicationsDestroied", convertBackendCommandToString(700));
    EXPECT_STREQ("MMPlayerCommand_CheckIsResourceAvailable", convertBackendCommandToString(900));
    EXPECT_STREQ("ProgrammeCommand_GetAllProgrammeInfo", convertBackendCommandToString(1003));
    EXPECT_STREQ("ConfigCommand_GetAudioDescription", convertBackendCommandToString(1005));
}
