// The TV-service interface the browser calls by position: the order of its operations, and the
// stub's additions after them. (Its default bodies belong to the TV-service library; the service
// relies on them, see EndToEnd.DefaultBodiesAnswerThroughTheService.)
#include <string>

#include <gtest/gtest.h>

#include "ITVService.h"
#include "support/SlotIndex.h"

TEST(TVServiceSlots, OperationsSitInTheirSlotsAfterTheMetaInterface)
{
    using hbbtv_test::slotIndex;

    EXPECT_EQ(3, slotIndex(&ITVService::getInterfaceDescriptor));

    typedef void (ITVService::*StreamEvent)(const std::string&, const std::string&);
    typedef void (ITVService::*TimedStreamEvent)(const std::string&, const std::string&, bool, long);
#define S(operation) slotIndex(&ITVService::operation)
    const long slots[] = { S(registerAITSignallingClient), S(registerChannelManagerClient), S(registerDSMCCClient),
        S(registerRecordingManagerClient), S(registerTvConfigurationClient), S(requestOCResourceMount),
        S(suspendBroadcastService), S(resumeBroadcastService), S(isBroadcastServiceSuspended),
        slotIndex(StreamEvent(&ITVService::registerStreamEvent)),
        slotIndex(TimedStreamEvent(&ITVService::registerStreamEvent)), S(unregisterStreamEvent),
        S(unregisterAllStreamEvents), S(getCurrentChannel), S(getChannelList), S(canResolveURI), S(setViewport),
        S(bindToCurrentChannel), S(tune), S(stopVideo), S(releaseVideo), S(getProgrammes), S(getSIDescriptors),
        S(getAllProgrammesForChannel), S(getAVComponents), S(getActiveAVComponents), S(selectAVComponent),
        S(unselectAVComponent), S(selectAVComponentByType), S(unselectAVComponentByType), S(isTrickPlaySupported),
        S(getAudioDescriptionEnable), S(getPreferredAudioLanguage), S(setPreferredAudioLanguage),
        S(getPreferredSubtitleLanguage), S(setPreferredSubtitleLanguage), S(getCountryId), S(setCountryId),
        S(getRegionId), S(setRegionId), S(getPvrPolicy), S(setPvrPolicy), S(getPvrSaveEpisodes), S(setPvrSaveEpisodes),
        S(getPvrSaveDays), S(setPvrSaveDays), S(getPvrStartPadding), S(setPvrStartPadding), S(getPvrEndPadding),
        S(setPvrEndPadding), S(canScheduleRecordings), S(scheduleRecording), S(removeRecording),
        S(updateScheduledRecording), S(startRecording), S(stopRecording), S(getRecordings), S(getScheduledRecordings),
        S(getParentalControlPINEnable), S(verifyParentalControlPIN), S(getParentalControlThreshold), S(getModelName),
        S(getSoftwareVersion), S(getHardwareVersion), S(getSerialNumber), S(pvrSupported), S(getSupportedAVProfiles),
        S(getSupportedParentalSchemes), S(getSupportedChannelIDType), S(extraSDVideoDecodes), S(extraHDVideoDecodes),
        S(leaveLiveIn), S(returnLiveIn), S(reminderSupported), S(canScheduleReminders), S(scheduleReminder),
        S(removeReminder), S(updateScheduledReminder), S(getScheduledReminders), S(bindToCurrentInput),
        S(getCurrentInputSource) };
#undef S
    ASSERT_EQ(81u, sizeof(slots) / sizeof(slots[0]));
    for (long i = 0; i < 81; ++i) {
        EXPECT_EQ(4 + i, slots[i]) << "operation " << i + 1;
    }

    // The stub's additions follow the interface's operations in the same table.
    EXPECT_EQ(85, slotIndex(&android::BnInterface<ITVService>::queryLocalInterface));
    EXPECT_EQ(86, slotIndex(&BnTVService::onTransact));
}
