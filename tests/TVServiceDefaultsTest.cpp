// The TV-service interface: its default bodies (log line, priority, tag, result), the version
// check of its stub, its local-only typed view, and the order of its operations.
#include <functional>
#include <string>
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

// Log lines and calls of the two-argument registerStreamEvent, in the order they happened.
std::vector<std::string>& sequence()
{
    static std::vector<std::string> events;
    return events;
}

void captureLine(const __android_logger_data* data, const char* message)
{
    capturedLines().push_back({ data->priority, data->tag != nullptr ? data->tag : "", message });
    sequence().push_back(std::string("log: ") + message);
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
    void registerStreamEvent(const std::string& target, const std::string& eventName) override
    {
        sequence().push_back("registerStreamEvent(" + target + ", " + eventName + ")");
    }
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
        sequence().clear();
        __android_log_set_logger(captureLine);
        __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
        __android_log_set_default_tag(kDefaultTag);
    }

    void TearDown() override { __android_log_set_logger(__android_log_stderr_logger); }
};

std::string longForm(const std::string& function, int line)
{
    return "NOT IMPLEMENTED: " + function + " at ITVService, line " + std::to_string(line);
}

} // namespace

TEST_F(TVServiceDefaults, EachDefaultBodyLogsItsLineAndReturnsItsValue)
{
    android::sp<TestService> service = new TestService;
    ITVService& tv = *service;
    const NCOR::ChannelTunerData channel;
    const NCOR::RecordingData recording;
    const NCOR::ScheduledRecordingData scheduledRecording;
    const NCOR::ReminderData reminder;
    const NCOR::ScheduledReminderData scheduledReminder;

    auto leavesTextAlone = [&](void (ITVService::*getter)(std::string&)) {
        std::string text = "unchanged";
        (tv.*getter)(text);
        EXPECT_EQ("unchanged", text);
    };

    struct DefaultBody {
        std::string message;
        std::function<void()> call;
    };
    const DefaultBody bodies[] = {
        { longForm(
              "virtual void ITVService::registerRecordingManagerClient(const android::sp<IRecordingManagerClient>&)",
              96),
            [&] { tv.registerRecordingManagerClient(nullptr); } },
        { longForm(
              "virtual NCOR::Broadcast::PlayStateError ITVService::bindToCurrentChannel(const NCOR::ChannelTunerData&)",
              203),
            [&] { EXPECT_EQ(100, tv.bindToCurrentChannel(channel)); } },
        { longForm("virtual void ITVService::getSIDescriptors(const std::string&, NCOR::EIT::DescriptorTag, "
                   "NCOR::EIT::ExtensionDescriptorTag, std::vector<std::vector<unsigned char> >&)",
              240),
            [&] {
                std::vector<std::vector<unsigned char>> descriptors(1);
                tv.getSIDescriptors(
                    "programme", NCOR::EIT::DESCRIPTOR_SHORT_EVENT, NCOR::EIT::EXTENSION_IMAGE_ICON, descriptors);
                EXPECT_EQ(1u, descriptors.size());
            } },
        { longForm("virtual bool ITVService::getAllProgrammesForChannel(const NCOR::ChannelTunerData&, "
                   "std::vector<NCOR::ProgrammeData*>&)",
              250),
            [&] {
                std::vector<NCOR::ProgrammeData*> programmes;
                EXPECT_FALSE(tv.getAllProgrammesForChannel(channel, programmes));
                EXPECT_TRUE(programmes.empty());
            } },
        { longForm("virtual void ITVService::selectAVComponentByType(NCOR::Broadcast::ComponentType)", 283),
            [&] { tv.selectAVComponentByType(NCOR::Broadcast::COMPONENT_TYPE_AUDIO); } },
        { longForm("virtual void ITVService::unselectAVComponentByType(NCOR::Broadcast::ComponentType)", 291),
            [&] { tv.unselectAVComponentByType(NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE); } },
        { longForm("virtual bool ITVService::getAudioDescriptionEnable()", 308),
            [&] { EXPECT_FALSE(tv.getAudioDescriptionEnable()); } },
        { longForm("virtual bool ITVService::canScheduleRecordings() const", 443),
            [&] { EXPECT_FALSE(static_cast<const ITVService&>(tv).canScheduleRecordings()); } },
        { longForm(
              "virtual NCOR::Broadcast::RecordingState ITVService::scheduleRecording(const NCOR::RecordingData&)", 453),
            [&] { EXPECT_EQ(4, tv.scheduleRecording(recording)); } },
        { longForm("virtual void ITVService::removeRecording(const NCOR::ScheduledRecordingData&)", 463),
            [&] { tv.removeRecording(scheduledRecording); } },
        { longForm("virtual void ITVService::updateScheduledRecording(const NCOR::ScheduledRecordingData&)", 472),
            [&] { tv.updateScheduledRecording(scheduledRecording); } },
        { longForm(
              "virtual NCOR::Broadcast::RecordingState ITVService::startRecording(const NCOR::RecordingData&)", 480),
            [&] { EXPECT_EQ(4, tv.startRecording(recording)); } },
        { longForm(
              "virtual NCOR::Broadcast::RecordingState ITVService::stopRecording(const NCOR::RecordingData&)", 489),
            [&] { EXPECT_EQ(4, tv.stopRecording(recording)); } },
        { longForm("virtual void ITVService::getRecordings(std::vector<NCOR::RecordingData*>&)", 500),
            [&] {
                std::vector<NCOR::RecordingData*> recordings;
                tv.getRecordings(recordings);
                EXPECT_TRUE(recordings.empty());
            } },
        { longForm("virtual void ITVService::getScheduledRecordings(std::vector<NCOR::ScheduledRecordingData*>&)", 510),
            [&] {
                std::vector<NCOR::ScheduledRecordingData*> recordings;
                tv.getScheduledRecordings(recordings);
                EXPECT_TRUE(recordings.empty());
            } },
        { longForm("virtual void ITVService::getModelName(std::string&)", 554),
            [&] { leavesTextAlone(&ITVService::getModelName); } },
        { longForm("virtual void ITVService::getSoftwareVersion(std::string&)", 562),
            [&] { leavesTextAlone(&ITVService::getSoftwareVersion); } },
        { longForm("virtual void ITVService::getHardwareVersion(std::string&)", 570),
            [&] { leavesTextAlone(&ITVService::getHardwareVersion); } },
        { longForm("virtual void ITVService::getSerialNumber(std::string&)", 578),
            [&] { leavesTextAlone(&ITVService::getSerialNumber); } },
        { longForm("virtual void ITVService::leaveLiveIn()", 628), [&] { tv.leaveLiveIn(); } },
        { longForm("virtual void ITVService::returnLiveIn()", 637), [&] { tv.returnLiveIn(); } },
        { longForm("virtual bool ITVService::reminderSupported()", 642),
            [&] { EXPECT_FALSE(tv.reminderSupported()); } },
        { "NOT IMPLEMENTED: virtual bool ITVService::canScheduleReminders(), line 648",
            [&] { EXPECT_FALSE(tv.canScheduleReminders()); } },
        { "NOT IMPLEMENTED: virtual NCOR::Broadcast::ReminderState ITVService::scheduleReminder(const "
          "NCOR::ReminderData&) , line 654",
            [&] { EXPECT_EQ(4, tv.scheduleReminder(reminder)); } },
        { longForm("virtual void ITVService::removeReminder(const NCOR::ScheduledReminderData&)", 660),
            [&] { tv.removeReminder(scheduledReminder); } },
        { longForm("virtual void ITVService::updateScheduledReminder(const NCOR::ScheduledReminderData&)", 665),
            [&] { tv.updateScheduledReminder(scheduledReminder); } },
        { longForm("virtual void ITVService::getScheduledReminders(std::vector<NCOR::ScheduledReminderData*>&)", 670),
            [&] {
                std::vector<NCOR::ScheduledReminderData*> reminders;
                tv.getScheduledReminders(reminders);
                EXPECT_TRUE(reminders.empty());
            } },
        { longForm("virtual NCOR::Broadcast::PlayStateError ITVService::bindToCurrentInput()", 680),
            [&] { EXPECT_EQ(100, tv.bindToCurrentInput()); } },
        { longForm("virtual bool ITVService::getCurrentInputSource(NCOR::InputSourceData&)", 691),
            [&] {
                NCOR::InputSourceData source;
                EXPECT_FALSE(tv.getCurrentInputSource(source));
            } },
    };

    for (const DefaultBody& body : bodies) {
        SCOPED_TRACE(body.message);
        capturedLines().clear();
        body.call();
        ASSERT_EQ(1u, capturedLines().size());
        EXPECT_EQ(body.message, capturedLines()[0].message);
        EXPECT_EQ(ANDROID_LOG_DEBUG, capturedLines()[0].priority);
        EXPECT_EQ(kDefaultTag, capturedLines()[0].tag);
    }
}

TEST_F(TVServiceDefaults, FourArgumentStreamEventLogsThenReachesTheTwoArgumentForm)
{
    android::sp<TestService> service = new TestService;
    sequence().clear();
    capturedLines().clear();

    android::sp<ITVService> tv = service;
    tv->registerStreamEvent("dvb://1.2.3.4", "goal", true, 77);

    const std::vector<std::string> expected = {
        "log: "
            + longForm("virtual void ITVService::registerStreamEvent(const std::string&, const std::string&, bool, "
                       "long int)",
                148),
        "registerStreamEvent(dvb://1.2.3.4, goal)",
    };
    EXPECT_EQ(expected, sequence());
    ASSERT_EQ(1u, capturedLines().size());
    EXPECT_EQ(ANDROID_LOG_DEBUG, capturedLines()[0].priority);
    EXPECT_EQ(kDefaultTag, capturedLines()[0].tag);
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

    const long slots[] = {
        slotIndex(&ITVService::registerAITSignallingClient),
        slotIndex(&ITVService::registerChannelManagerClient),
        slotIndex(&ITVService::registerDSMCCClient),
        slotIndex(&ITVService::registerRecordingManagerClient),
        slotIndex(&ITVService::registerTvConfigurationClient),
        slotIndex(&ITVService::requestOCResourceMount),
        slotIndex(&ITVService::suspendBroadcastService),
        slotIndex(&ITVService::resumeBroadcastService),
        slotIndex(&ITVService::isBroadcastServiceSuspended),
        slotIndex(static_cast<void (ITVService::*)(const std::string&, const std::string&)>(
            &ITVService::registerStreamEvent)),
        slotIndex(static_cast<void (ITVService::*)(const std::string&, const std::string&, bool, long)>(
            &ITVService::registerStreamEvent)),
        slotIndex(&ITVService::unregisterStreamEvent),
        slotIndex(&ITVService::unregisterAllStreamEvents),
        slotIndex(&ITVService::getCurrentChannel),
        slotIndex(&ITVService::getChannelList),
        slotIndex(&ITVService::canResolveURI),
        slotIndex(&ITVService::setViewport),
        slotIndex(&ITVService::bindToCurrentChannel),
        slotIndex(&ITVService::tune),
        slotIndex(&ITVService::stopVideo),
        slotIndex(&ITVService::releaseVideo),
        slotIndex(&ITVService::getProgrammes),
        slotIndex(&ITVService::getSIDescriptors),
        slotIndex(&ITVService::getAllProgrammesForChannel),
        slotIndex(&ITVService::getAVComponents),
        slotIndex(&ITVService::getActiveAVComponents),
        slotIndex(&ITVService::selectAVComponent),
        slotIndex(&ITVService::unselectAVComponent),
        slotIndex(&ITVService::selectAVComponentByType),
        slotIndex(&ITVService::unselectAVComponentByType),
        slotIndex(&ITVService::isTrickPlaySupported),
        slotIndex(&ITVService::getAudioDescriptionEnable),
        slotIndex(&ITVService::getPreferredAudioLanguage),
        slotIndex(&ITVService::setPreferredAudioLanguage),
        slotIndex(&ITVService::getPreferredSubtitleLanguage),
        slotIndex(&ITVService::setPreferredSubtitleLanguage),
        slotIndex(&ITVService::getCountryId),
        slotIndex(&ITVService::setCountryId),
        slotIndex(&ITVService::getRegionId),
        slotIndex(&ITVService::setRegionId),
        slotIndex(&ITVService::getPvrPolicy),
        slotIndex(&ITVService::setPvrPolicy),
        slotIndex(&ITVService::getPvrSaveEpisodes),
        slotIndex(&ITVService::setPvrSaveEpisodes),
        slotIndex(&ITVService::getPvrSaveDays),
        slotIndex(&ITVService::setPvrSaveDays),
        slotIndex(&ITVService::getPvrStartPadding),
        slotIndex(&ITVService::setPvrStartPadding),
        slotIndex(&ITVService::getPvrEndPadding),
        slotIndex(&ITVService::setPvrEndPadding),
        slotIndex(&ITVService::canScheduleRecordings),
        slotIndex(&ITVService::scheduleRecording),
        slotIndex(&ITVService::removeRecording),
        slotIndex(&ITVService::updateScheduledRecording),
        slotIndex(&ITVService::startRecording),
        slotIndex(&ITVService::stopRecording),
        slotIndex(&ITVService::getRecordings),
        slotIndex(&ITVService::getScheduledRecordings),
        slotIndex(&ITVService::getParentalControlPINEnable),
        slotIndex(&ITVService::verifyParentalControlPIN),
        slotIndex(&ITVService::getParentalControlThreshold),
        slotIndex(&ITVService::getModelName),
        slotIndex(&ITVService::getSoftwareVersion),
        slotIndex(&ITVService::getHardwareVersion),
        slotIndex(&ITVService::getSerialNumber),
        slotIndex(&ITVService::pvrSupported),
        slotIndex(&ITVService::getSupportedAVProfiles),
        slotIndex(&ITVService::getSupportedParentalSchemes),
        slotIndex(&ITVService::getSupportedChannelIDType),
        slotIndex(&ITVService::extraSDVideoDecodes),
        slotIndex(&ITVService::extraHDVideoDecodes),
        slotIndex(&ITVService::leaveLiveIn),
        slotIndex(&ITVService::returnLiveIn),
        slotIndex(&ITVService::reminderSupported),
        slotIndex(&ITVService::canScheduleReminders),
        slotIndex(&ITVService::scheduleReminder),
        slotIndex(&ITVService::removeReminder),
        slotIndex(&ITVService::updateScheduledReminder),
        slotIndex(&ITVService::getScheduledReminders),
        slotIndex(&ITVService::bindToCurrentInput),
        slotIndex(&ITVService::getCurrentInputSource),
    };
    ASSERT_EQ(81u, sizeof(slots) / sizeof(slots[0]));
    for (long i = 0; i < 81; ++i) {
        EXPECT_EQ(4 + i, slots[i]) << "operation " << i + 1;
    }

    // The stub's additions follow the interface's operations in the same table.
    EXPECT_EQ(85, slotIndex(&android::BnInterface<ITVService>::queryLocalInterface));
    EXPECT_EQ(86, slotIndex(&BnTVService::onTransact));
}
