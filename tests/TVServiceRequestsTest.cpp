// Every request the TV service sends, as the host reads it: the command's number (a literal, so
// that a renumbered command fails here), both parameters, both texts and the budget; and what
// each operation gives back when the host never answers.
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/TVServiceHarness.h"

namespace {

struct Expected {
    int command;
    int param1;
    int param2;
    std::string text1;
    std::string text2;
    unsigned int budgetMs;
};

NCOR::AVComponentData component(NCOR::Broadcast::ComponentType type, int16_t tag)
{
    NCOR::AVComponentData result;
    result.setComponentType(type);
    result.setComponentTag(tag);
    return result;
}

template <typename Record> Record named(const std::string& id, const std::string& programme)
{
    Record record;
    record.setId(id);
    record.setProgrammeID(programme);
    return record;
}

} // namespace

using TVServiceRequests = hbbtv_test::TVServiceTest;

TEST_F(TVServiceRequests, EachOperationSendsItsCommandParametersTextsAndBudget)
{
    using namespace NCOR::Broadcast;
    ZR_HBBTV_Core::HbbtvBackendTVService& tv = service();
    std::vector<NCOR::AVComponentData*> components;
    std::vector<NCOR::ChannelTunerData*> channels;
    std::vector<NCOR::ProgrammeData*> programmes;
    std::vector<std::vector<unsigned char>> descriptors;
    std::vector<NCOR::RecordingData*> recordings;
    std::vector<NCOR::ScheduledRecordingData*> scheduled;
    std::vector<NCOR::ScheduledReminderData*> reminders;
    NCOR::ChannelTunerData channel;
    std::string text;
    const std::string longText(300, 't');
    const std::string carousel = "dvb://233a.1004.1044.ffff/index.html";

    tv.openVideo();
    tv.stopVideo();
    tv.releaseVideo();
    tv.setViewport(true, 10, 20, 30, 40); // full screen: 1280 x 720, whatever the numbers say
    tv.setViewport(false, 100, 50, 640, 360);
    tv.setViewport(false, 1, -1, 2, 3); // a negative y or height spills into x or width
    tv.setViewport(false, -2, 3, 4, -5);
    tv.selectAVComponent(component(COMPONENT_TYPE_VIDEO, 0));
    tv.selectAVComponent(component(COMPONENT_TYPE_AUDIO, 5));
    tv.selectAVComponent(component(COMPONENT_TYPE_SUBTITLE, -2));
    tv.unselectAVComponent(component(COMPONENT_TYPE_VIDEO, 7));
    tv.unselectAVComponent(component(COMPONENT_TYPE_AUDIO, -1));
    tv.unselectAVComponent(component(COMPONENT_TYPE_SUBTITLE, 300));
    tv.getAVComponents(COMPONENT_TYPE_AUDIO, components);
    tv.getActiveAVComponents(COMPONENT_TYPE_SUBTITLE, components);
    tv.getCurrentChannel(channel);
    tv.leaveLiveIn();
    tv.returnLiveIn();
    tv.suspendBroadcastService();
    tv.resumeBroadcastService();
    tv.notifyStartNewApp("http://app.example/");
    tv.getChannelList(channels);
    tv.registerStreamEvent("dvb://1.2.3.4/events", "goal");
    tv.registerStreamEvent(longText, "half", true, 77);
    tv.unregisterStreamEvent("dvb://1.2.3.4/events", "goal");
    tv.unregisterAllStreamEvents(); // sends nothing
    EXPECT_EQ(0, tv.extraSDVideoDecodes());
    EXPECT_EQ(0, tv.extraHDVideoDecodes());
    tv.getCountryId(text);
    tv.getPreferredSubtitleLanguage(text);
    tv.getPreferredAudioLanguage(text);
    tv.getParentalControlThreshold();
    tv.requestOCResourceMount(carousel, text);
    tv.getProgrammes(programmes);
    tv.canScheduleRecordings();
    tv.getAllProgrammesForChannel(channel, programmes);
    tv.getSIDescriptors("crid://p", NCOR::EIT::DESCRIPTOR_SHORT_EVENT, NCOR::EIT::EXTENSION_TARGET_REGION, descriptors);
    tv.getAudioDescriptionEnable();
    tv.scheduleRecording(named<NCOR::RecordingData>("rec-1", "crid://p/1"));
    tv.getRecordings(recordings);
    tv.getScheduledRecordings(scheduled);
    tv.removeRecording(named<NCOR::ScheduledRecordingData>("rec-2", "crid://p/2"));
    tv.updateScheduledRecording(named<NCOR::ScheduledRecordingData>("rec-2", "crid://p/2"));
    tv.startRecording(named<NCOR::RecordingData>("rec-3", "crid://p/3"));
    tv.stopRecording(named<NCOR::RecordingData>("rec-3", "crid://p/3"));
    tv.reminderSupported();
    tv.canScheduleReminders();
    tv.scheduleReminder(named<NCOR::ReminderData>("rem-1", "crid://p/4"));
    tv.removeReminder(named<NCOR::ScheduledReminderData>("rem-2", "crid://p/5"));
    tv.getScheduledReminders(reminders);
    tv.tune(channel);
    tv.bindToCurrentChannel(channel);
    for (NCOR::ProgrammeData* p : programmes) {
        delete p;
    }

    const Expected expected[] = {
        { 300, 0, 0, "", "", 10000 },
        { 301, 0, 0, "", "", 10000 },
        { 500, 0, 0, "", "", 10000 },
        { 302, 0, 83886800, "", "", 10000 },
        { 302, 6553650, 41943400, "", "", 10000 },
        { 302, -1, 131075, "", "", 10000 },
        { 302, -131069, -5, "", "", 10000 },
        { 3, 0, 0, "", "", 10000 },
        { 3, 1, 5, "", "", 10000 },
        { 3, 2, -2, "", "", 10000 },
        { 4, 0, 7, "", "", 10000 },
        { 4, 1, -1, "", "", 10000 },
        { 4, 2, 300, "", "", 10000 },
        { 5, 0, 1, "", "", 10000 },
        { 5, 1, 2, "", "", 10000 },
        { 7, 0, 0, "", "", 10000 },
        { 8, 0, 0, "", "", 10000 },
        { 9, 0, 0, "", "", 10000 },
        { 10, 0, 0, "", "", 10000 },
        { 11, 0, 0, "", "", 10000 },
        { 12, 0, 0, "http://app.example/", "", 10000 },
        { 13, 0, 0, "", "", 10000 },
        { 0, 0, -1, "dvb://1.2.3.4/events", "goal", 10000 },
        { 0, 1, 77, std::string(254, 't'), "half", 10000 },
        { 1, 0, 0, "dvb://1.2.3.4/events", "goal", 10000 },
        { 100, 0, 0, "", "", 10000 },
        { 101, 0, 0, "", "", 10000 },
        { 102, 0, 0, "", "", 10000 },
        { 103, 0, 0, "", "", 10000 },
        { 200, 0x1044, 0, carousel, "", 60000 },
        { 400, 1, 0, "", "", 10000 },
        { 400, 0, 0, "", "", 10000 },
        { 605, 0, 0, "", "", 10000 },
        { 1003, 0, 0, "", "", 10000 },
        { 1004, 0x4D, 0x09, "crid://p", "", 10000 },
        { 1005, 0, 0, "", "", 10000 },
        { 1006, 0, 0, "rec-1", "crid://p/1", 10000 },
        { 1007, 1, 0, "", "", 10000 },
        { 1007, 0, 0, "", "", 10000 },
        { 1008, 0, 0, "rec-2", "crid://p/2", 10000 },
        { 1006, 0, 0, "rec-2", "crid://p/2", 10000 },
        { 1006, 0, 0, "rec-3", "crid://p/3", 10000 },
        { 1008, 0, 0, "rec-3", "crid://p/3", 10000 },
        { 1010, 0, 0, "", "", 10000 },
        { 1011, 0, 0, "", "", 10000 },
        { 1012, 0, 0, "rem-1", "crid://p/4", 10000 },
        { 1013, 0, 0, "rem-2", "crid://p/5", 10000 },
        { 1014, 0, 0, "", "", 10000 },
        { 6, 0, 0, "", "", 10000 },
        { 14, 0, 0, "", "", 10000 },
    };
    const std::vector<hbbtv_sim::ReceivedRequest> sent = requests();
    ASSERT_EQ(sizeof(expected) / sizeof(expected[0]), sent.size());
    for (size_t i = 0; i < sent.size(); ++i) {
        const Expected& e = expected[i];
        const hbbtv_sim::ReceivedRequest& r = sent[i];
        EXPECT_EQ(std::make_tuple(e.command, e.param1, e.param2, e.text1, e.text2),
            std::make_tuple(r.command, r.param1, r.param2, r.strParam1, r.strParam2))
            << "request " << i;
        // The agent hands the budget over with up to a second added for its own cycle.
        EXPECT_GE(r.timeoutMs, e.budgetMs) << "request " << i;
        EXPECT_LE(r.timeoutMs, e.budgetMs + 1000) << "request " << i;
    }
}

// A request the host never answers gives the operation's failure value and leaves what the caller
// passed in as it was. (Configuration's failure values are the request property's.)
TEST_F(TVServiceRequests, UnansweredRequestsGiveTheirFailureValuesAndLeaveTheOutputAlone)
{
    for (int command : { TunerCommand_TuneTo, TunerCommand_Bind2CurrentChannel, TunerCommand_GetCurrentChannelInfo,
             TunerCommand_RequestChannelsLineup, TunerCommand_GetAVInfo, ProgrammeCommand_GetProgrammeInfo,
             ProgrammeCommand_GetAllProgrammeInfo, ProgrammeCommand_GetSIDescriptors, PVRCommand_ScheduleRecording }) {
        neverAnswer(command);
    }
    ZR_HBBTV_Core::HbbtvBackendTVService& tv = service();
    NCOR::Broadcast::PlayStateError tuned = NCOR::Broadcast::PLAY_ERROR_UNDEFINED;
    NCOR::Broadcast::PlayStateError bound = NCOR::Broadcast::PLAY_ERROR_UNDEFINED;
    NCOR::Broadcast::RecordingState scheduled = NCOR::Broadcast::RECORDING_STATE_STARTED;
    bool gotCurrent = true, gotList = true, gotSchedule = true;
    NCOR::ChannelTunerData current;
    current.setName("kept");
    NCOR::ChannelTunerData listed;
    std::vector<NCOR::ChannelTunerData*> channels = { &listed };
    NCOR::AVComponentData existing;
    std::vector<NCOR::AVComponentData*> components = { &existing };
    NCOR::ProgrammeData stale;
    std::vector<NCOR::ProgrammeData*> present = { &stale };
    std::vector<NCOR::ProgrammeData*> schedule = { &stale };
    std::vector<std::vector<unsigned char>> descriptors = { { 7 } };

    // At once: each runs out of its budget only at the agent's next cycle.
    const std::function<void()> calls[] = {
        [&] { tuned = tv.tune(NCOR::ChannelTunerData()); },
        [&] { bound = tv.bindToCurrentChannel(NCOR::ChannelTunerData()); },
        [&] { gotCurrent = tv.getCurrentChannel(current); },
        [&] { gotList = tv.getChannelList(channels); },
        [&] { tv.getAVComponents(NCOR::Broadcast::COMPONENT_TYPE_AUDIO, components); },
        [&] { tv.getProgrammes(present); },
        [&] { gotSchedule = tv.getAllProgrammesForChannel(NCOR::ChannelTunerData(), schedule); },
        [&] { tv.getSIDescriptors("p", NCOR::EIT::DESCRIPTOR_CONTENT, NCOR::EIT::EXTENSION_IMAGE_ICON, descriptors); },
        [&] { scheduled = tv.scheduleRecording(NCOR::RecordingData()); },
    };
    std::vector<std::thread> threads;
    for (const std::function<void()>& call : calls) {
        threads.emplace_back(call);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    EXPECT_EQ(0, tuned); // the answer's untouched first integer
    EXPECT_EQ(0, bound);
    EXPECT_FALSE(gotCurrent);
    EXPECT_EQ("kept", current.getName());
    EXPECT_FALSE(gotList);
    EXPECT_EQ(std::vector<NCOR::ChannelTunerData*> { &listed }, channels);
    EXPECT_EQ(std::vector<NCOR::AVComponentData*> { &existing }, components);
    EXPECT_TRUE(present.empty());
    EXPECT_FALSE(gotSchedule);
    EXPECT_EQ(std::vector<NCOR::ProgrammeData*> { &stale }, schedule);
    EXPECT_EQ(std::vector<std::vector<unsigned char>> { { 7 } }, descriptors);
    EXPECT_EQ(NCOR::Broadcast::RECORDING_STATE_NOT_SUPPORTED, scheduled);
    EXPECT_EQ(10u, requests().size()); // the present programme and the following one
}
