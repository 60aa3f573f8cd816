// The TV-service interface: its default bodies (log line, priority, tag, result), the version
// check of its stub, its local-only typed view, and the order of its operations.
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <android/log.h>
#include <binder/Binder.h>

#include <gtest/gtest.h>

#include "IRecordingManagerClient.h"
#include "ITVService.h"
#include "support/SlotIndex.h"

namespace {

// liblog puts its default tag on lines written without one, so a null tag shows as this.
const char* const kDefaultTag = "tvservice-test-default";

struct LogLine {
    int priority;
    std::string tag;
    std::string message;
};

std::vector<LogLine>& capturedLines()
{
    static std::vector<LogLine> lines;
    return lines;
}

void captureLine(const __android_logger_data* data, const char* message)
{
    capturedLines().push_back({ data->priority, data->tag != nullptr ? data->tag : "", message });
}

// Implements the pure operations trivially and leaves every default body in force.
class TestService : public BnTVService {
public:
    using ITVService::registerStreamEvent;

    void registerAITSignallingClient(const android::sp<IAITSignallingClient>&) override { }
    void registerChannelManagerClient(const android::sp<IChannelManagerClient>&) override { }
    void registerDSMCCClient(const android::sp<IDSMCCClient>&) override { }
    void registerTvConfigurationClient(const android::sp<ITvConfigurationClient>&) override { }
    bool requestOCResourceMount(const std::string&, std::string&) override { return false; }
    void suspendBroadcastService() override { }
    void resumeBroadcastService() override { }
    bool isBroadcastServiceSuspended() override { return false; }
    // Records the call, with the number of log lines written before it.
    void registerStreamEvent(const std::string& target, const std::string& eventName) override
    {
        streamEvent = target + ", " + eventName + " after " + std::to_string(capturedLines().size());
    }
    std::string streamEvent;
    void unregisterStreamEvent(const std::string&, const std::string&) override { }
    void unregisterAllStreamEvents() override { }
    bool getCurrentChannel(NCOR::ChannelTunerData&) override { return false; }
    bool getChannelList(std::vector<NCOR::ChannelTunerData*>&) override { return false; }
    bool canResolveURI(const std::string&) override { return false; }
    void setViewport(bool, int, int, int, int) override { }
    NCOR::Broadcast::PlayStateError tune(const NCOR::ChannelTunerData&) override
    {
        return NCOR::Broadcast::PLAY_ERROR_NONE;
    }
    void stopVideo() override { }
    void releaseVideo() override { }
    void getProgrammes(std::vector<NCOR::ProgrammeData*>&) override { }
    void getAVComponents(NCOR::Broadcast::ComponentType, std::vector<NCOR::AVComponentData*>&) override { }
    void getActiveAVComponents(NCOR::Broadcast::ComponentType, std::vector<NCOR::AVComponentData*>&) override { }
    void selectAVComponent(const NCOR::AVComponentData&) override { }
    void unselectAVComponent(const NCOR::AVComponentData&) override { }
    bool isTrickPlaySupported() override { return false; }
    void getPreferredAudioLanguage(std::string&) override { }
    void setPreferredAudioLanguage(const std::string&) override { }
    void getPreferredSubtitleLanguage(std::string&) override { }
    void setPreferredSubtitleLanguage(const std::string&) override { }
    void getCountryId(std::string&) override { }
    void setCountryId(const std::string&) override { }
    unsigned int getRegionId() override { return 0; }
    void setRegionId(unsigned int) override { }
    NCOR::Broadcast::PVRPolicy getPvrPolicy() override { return NCOR::Broadcast::PVR_POLICY_DELETE_NONE; }
    void setPvrPolicy(NCOR::Broadcast::PVRPolicy) override { }
    unsigned int getPvrSaveEpisodes() override { return 0; }
    void setPvrSaveEpisodes(unsigned int) override { }
    unsigned int getPvrSaveDays() override { return 0; }
    void setPvrSaveDays(unsigned int) override { }
    int getPvrStartPadding() override { return 0; }
    void setPvrStartPadding(int) override { }
    int getPvrEndPadding() override { return 0; }
    void setPvrEndPadding(int) override { }
    bool getParentalControlPINEnable() override { return false; }
    bool verifyParentalControlPIN(const std::string&) override { return false; }
    int getParentalControlThreshold() override { return 0; }
    bool pvrSupported() override { return false; }
    void getSupportedAVProfiles(NCOR::AVProfileData&) override { }
    void getSupportedParentalSchemes(std::vector<std::string>&) override { }
    void getSupportedChannelIDType(std::vector<NCOR::Broadcast::ChannelIDType>&) override { }
    int extraSDVideoDecodes() override { return 0; }
    int extraHDVideoDecodes() override { return 0; }
};

class TVServiceDefaults : public testing::Test {
protected:
    void SetUp() override
    {
        capturedLines().clear();
        __android_log_set_logger(captureLine);
        __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
        __android_log_set_default_tag(kDefaultTag);
    }

    void TearDown() override { __android_log_set_logger(__android_log_stderr_logger); }
};

std::string longForm(const std::string& function, int line)
{
    return "NOT IMPLEMENTED: virtual " + function + " at ITVService, line " + std::to_string(line);
}

void expectTextLeftAlone(ITVService& tv, void (ITVService::*get)(std::string&))
{
    std::string text = "unchanged";
    (tv.*get)(text);
    EXPECT_EQ("unchanged", text);
}

template <typename T> void expectListLeftEmpty(ITVService& tv, void (ITVService::*get)(std::vector<T*>&))
{
    std::vector<T*> items;
    (tv.*get)(items);
    EXPECT_TRUE(items.empty());
}

} // namespace

TEST_F(TVServiceDefaults, EachDefaultBodyLogsItsLineAndReturnsItsValue)
{
    android::sp<TestService> service = new TestService;
    ITVService& tv = *service;
    const NCOR::ChannelTunerData channel;
    const NCOR::RecordingData recording;
    const NCOR::ScheduledRecordingData scheduledRecording;
    const NCOR::ScheduledReminderData scheduledReminder;

    const std::pair<std::string, std::function<void()>> bodies[] = {
        { longForm("void ITVService::registerRecordingManagerClient(const android::sp<IRecordingManagerClient>&)", 96),
            [&] { tv.registerRecordingManagerClient(nullptr); } },
        { longForm(
              "NCOR::Broadcast::PlayStateError ITVService::bindToCurrentChannel(const NCOR::ChannelTunerData&)", 203),
            [&] { EXPECT_EQ(100, tv.bindToCurrentChannel(channel)); } },
        { longForm("void ITVService::registerStreamEvent(const std::string&, const std::string&, bool, long int)", 148),
            [&] { // logs, then reaches the two-argument form
                tv.registerStreamEvent("dvb://1.2.3.4", "goal", true, 77);
                EXPECT_EQ("dvb://1.2.3.4, goal after 1", service->streamEvent);
            } },
        { longForm("void ITVService::getSIDescriptors(const std::string&, NCOR::EIT::DescriptorTag, "
                   "NCOR::EIT::ExtensionDescriptorTag, std::vector<std::vector<unsigned char> >&)",
              240),
            [&] {
                std::vector<std::vector<unsigned char>> descriptors(1);
                tv.getSIDescriptors(
                    "programme", NCOR::EIT::DESCRIPTOR_SHORT_EVENT, NCOR::EIT::EXTENSION_IMAGE_ICON, descriptors);
                EXPECT_EQ(1u, descriptors.size());
            } },
        { longForm("bool ITVService::getAllProgrammesForChannel(const NCOR::ChannelTunerData&, "
                   "std::vector<NCOR::ProgrammeData*>&)",
              250),
            [&] {
                std::vector<NCOR::ProgrammeData*> programmes;
                EXPECT_FALSE(tv.getAllProgrammesForChannel(channel, programmes));
                EXPECT_TRUE(programmes.empty());
            } },
        { longForm("void ITVService::selectAVComponentByType(NCOR::Broadcast::ComponentType)", 283),
            [&] { tv.selectAVComponentByType(NCOR::Broadcast::COMPONENT_TYPE_AUDIO); } },
        { longForm("void ITVService::unselectAVComponentByType(NCOR::Broadcast::ComponentType)", 291),
            [&] { tv.unselectAVComponentByType(NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE); } },
        { longForm("bool ITVService::getAudioDescriptionEnable()", 308),
            [&] { EXPECT_FALSE(tv.getAudioDescriptionEnable()); } },
        { longForm("bool ITVService::canScheduleRecordings() const", 443),
            [&] { EXPECT_FALSE(static_cast<const ITVService&>(tv).canScheduleRecordings()); } },
        { longForm("NCOR::Broadcast::RecordingState ITVService::scheduleRecording(const NCOR::RecordingData&)", 453),
            [&] { EXPECT_EQ(4, tv.scheduleRecording(recording)); } },
        { longForm("void ITVService::removeRecording(const NCOR::ScheduledRecordingData&)", 463),
            [&] { tv.removeRecording(scheduledRecording); } },
        { longForm("void ITVService::updateScheduledRecording(const NCOR::ScheduledRecordingData&)", 472),
            [&] { tv.updateScheduledRecording(scheduledRecording); } },
        { longForm("NCOR::Broadcast::RecordingState ITVService::startRecording(const NCOR::RecordingData&)", 480),
            [&] { EXPECT_EQ(4, tv.startRecording(recording)); } },
        { longForm("NCOR::Broadcast::RecordingState ITVService::stopRecording(const NCOR::RecordingData&)", 489),
            [&] { EXPECT_EQ(4, tv.stopRecording(recording)); } },
        { longForm("void ITVService::getRecordings(std::vector<NCOR::RecordingData*>&)", 500),
            [&] { expectListLeftEmpty(tv, &ITVService::getRecordings); } },
        { longForm("void ITVService::getScheduledRecordings(std::vector<NCOR::ScheduledRecordingData*>&)", 510),
            [&] { expectListLeftEmpty(tv, &ITVService::getScheduledRecordings); } },
        { longForm("void ITVService::getModelName(std::string&)", 554),
            [&] { expectTextLeftAlone(tv, &ITVService::getModelName); } },
        { longForm("void ITVService::getSoftwareVersion(std::string&)", 562),
            [&] { expectTextLeftAlone(tv, &ITVService::getSoftwareVersion); } },
        { longForm("void ITVService::getHardwareVersion(std::string&)", 570),
            [&] { expectTextLeftAlone(tv, &ITVService::getHardwareVersion); } },
        { longForm("void ITVService::getSerialNumber(std::string&)", 578),
            [&] { expectTextLeftAlone(tv, &ITVService::getSerialNumber); } },
        { longForm("void ITVService::leaveLiveIn()", 628), [&] { tv.leaveLiveIn(); } },
        { longForm("void ITVService::returnLiveIn()", 637), [&] { tv.returnLiveIn(); } },
        { longForm("bool ITVService::reminderSupported()", 642), [&] { EXPECT_FALSE(tv.reminderSupported()); } },
        { "NOT IMPLEMENTED: virtual bool ITVService::canScheduleReminders(), line 648",
            [&] { EXPECT_FALSE(tv.canScheduleReminders()); } },
        { "NOT IMPLEMENTED: virtual NCOR::Broadcast::ReminderState ITVService::scheduleReminder(const "
          "NCOR::ReminderData&) , line 654",
            [&] { EXPECT_EQ(4, tv.scheduleReminder(NCOR::ReminderData())); } },
        { longForm("void ITVService::removeReminder(const NCOR::ScheduledReminderData&)", 660),
            [&] { tv.removeReminder(scheduledReminder); } },
        { longForm("void ITVService::updateScheduledReminder(const NCOR::ScheduledReminderData&)", 665),
            [&] { tv.updateScheduledReminder(scheduledReminder); } },
        { longForm("void ITVService::getScheduledReminders(std::vector<NCOR::ScheduledReminderData*>&)", 670),
            [&] { expectListLeftEmpty(tv, &ITVService::getScheduledReminders); } },
        { longForm("NCOR::Broadcast::PlayStateError ITVService::bindToCurrentInput()", 680),
            [&] { EXPECT_EQ(100, tv.bindToCurrentInput()); } },
        { longForm("bool ITVService::getCurrentInputSource(NCOR::InputSourceData&)", 691),
            [&] {
                NCOR::InputSourceData source;
                EXPECT_FALSE(tv.getCurrentInputSource(source));
            } },
    };

    for (const auto& body : bodies) {
        SCOPED_TRACE(body.first);
        capturedLines().clear();
        body.second();
        ASSERT_EQ(1u, capturedLines().size());
        EXPECT_EQ(body.first, capturedLines()[0].message);
        EXPECT_EQ(ANDROID_LOG_DEBUG, capturedLines()[0].priority);
        EXPECT_EQ(kDefaultTag, capturedLines()[0].tag);
    }
}

TEST_F(TVServiceDefaults, StubChecksTheInterfaceVersionOnConstruction)
{
    android::sp<TestService> service = new TestService;

    ASSERT_EQ(1u, capturedLines().size());
    EXPECT_EQ("tvservice", capturedLines()[0].tag);
    EXPECT_EQ(ANDROID_LOG_DEBUG, capturedLines()[0].priority);
    EXPECT_EQ("ITVService interface version 1.14", capturedLines()[0].message);

    // Another version is reported, louder.
    capturedLines().clear();
    ITVService::checkVersion("1.13");
    ASSERT_EQ(1u, capturedLines().size());
    EXPECT_EQ(ANDROID_LOG_WARN, capturedLines()[0].priority);
    EXPECT_NE(std::string::npos, capturedLines()[0].message.find("1.13"));
}

TEST_F(TVServiceDefaults, TypedViewAnswersOnlyThroughTheLocalInterface)
{
    android::sp<TestService> service = new TestService;
    android::sp<android::IBinder> binder = android::IInterface::asBinder(service.get());

    EXPECT_EQ(static_cast<ITVService*>(service.get()), ITVService::asInterface(binder).get());
    EXPECT_EQ(nullptr, ITVService::asInterface(nullptr).get());

    android::sp<android::IBinder> other = new android::BBinder;
    EXPECT_EQ(nullptr, ITVService::asInterface(other).get());
}

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
