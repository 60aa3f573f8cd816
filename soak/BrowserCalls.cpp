#include "BrowserCalls.h"

#include <cstring>
#include <string>

namespace hbbtv_soak {

namespace {

using hbbtv_sim::SimulatedBrowser;

template <typename T> void release(std::vector<T*>& records)
{
    for (T* record : records) {
        delete record;
    }
    records.clear();
}

NCOR::ChannelTunerData channel(unsigned int n)
{
    NCOR::ChannelTunerData record;
    record.setChannelType(NCOR::Broadcast::TYPE_TV);
    record.setIdType(NCOR::Broadcast::ID_DVB_T);
    record.setSid(0x2B66 + static_cast<int>(n % 8));
    record.setOnid(0x2114);
    record.setMajorChannel(1 + static_cast<int>(n % 8));
    record.setName("Das Erste HD");
    record.autoUpdateChannelID();
    return record;
}

NCOR::ChannelTunerData channelByText(unsigned int n)
{
    NCOR::ChannelTunerData record = channel(n);
    record.setSid(-1);
    record.setOnid(-1);
    record.setIpBroadcastID("dvb://233a.1004.1044");
    record.autoUpdateChannelID();
    return record;
}

NCOR::Broadcast::ComponentType componentType(unsigned int n)
{
    return static_cast<NCOR::Broadcast::ComponentType>(n % 3);
}

NCOR::AVComponentData component(unsigned int n)
{
    NCOR::AVComponentData record;
    record.setComponentType(n % 2 == 0 ? NCOR::Broadcast::COMPONENT_TYPE_AUDIO : NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE);
    record.setComponentTag(0x10 + static_cast<int>(n % 16));
    record.setLanguage("deu");
    return record;
}

NCOR::RecordingData recording(unsigned int n)
{
    NCOR::RecordingData record;
    record.setId("rec-" + std::to_string(n % 100));
    record.setProgrammeID("crid://example.com/programme/" + std::to_string(n % 100));
    return record;
}

NCOR::ScheduledRecordingData scheduledRecording(unsigned int n)
{
    NCOR::ScheduledRecordingData record;
    record.setId("rec-" + std::to_string(n % 100));
    record.setProgrammeID("crid://example.com/programme/" + std::to_string(n % 100));
    return record;
}

const char kStreamEvents[] = "dvb://233a.1004.1044.ffff/events";
const char kCarouselUrl[] = "dvb://233a.1004.1044.ffff/index.html";

void carouselMount(SimulatedBrowser& browser, unsigned int)
{
    std::string mountPoint;
    browser.tvService()->requestOCResourceMount(kCarouselUrl, mountPoint);
}

// Load ids the glue tracks start at 2; each browser thread's numbers differ, so loads rarely meet.
int loadId(unsigned int n)
{
    return 2 + static_cast<int>(n % 1000);
}

std::vector<MultimediaComponentData> playerComponents(unsigned int n)
{
    std::vector<MultimediaComponentData> components(1 + n % 4);
    for (size_t i = 0; i < components.size(); ++i) {
        components[i].text1 = i % 2 == 0 ? "deu" : "eng";
        components[i].text2 = "audio";
        components[i].value1 = static_cast<uint32_t>(i);
        components[i].value2 = n;
    }
    return components;
}

} // namespace

const std::vector<BrowserCall>& requestCalls()
{
    static const std::vector<BrowserCall> calls = {
        { "tune", [](SimulatedBrowser& b, unsigned int n) { b.tvService()->tune(channel(n)); } },
        { "tune by text", [](SimulatedBrowser& b, unsigned int n) { b.tvService()->tune(channelByText(n)); } },
        { "bindToCurrentChannel", [](SimulatedBrowser& b, unsigned int n) { b.tvService()->bindToCurrentChannel(channel(n)); } },
        { "getCurrentChannel", [](SimulatedBrowser& b, unsigned int) {
              NCOR::ChannelTunerData current;
              b.tvService()->getCurrentChannel(current);
          } },
        { "getChannelList", [](SimulatedBrowser& b, unsigned int) {
              std::vector<NCOR::ChannelTunerData*> channels;
              b.tvService()->getChannelList(channels);
              release(channels);
          } },
        { "suspendBroadcastService", [](SimulatedBrowser& b, unsigned int) { b.tvService()->suspendBroadcastService(); } },
        { "resumeBroadcastService", [](SimulatedBrowser& b, unsigned int) { b.tvService()->resumeBroadcastService(); } },
        { "leaveLiveIn", [](SimulatedBrowser& b, unsigned int) { b.tvService()->leaveLiveIn(); } },
        { "returnLiveIn", [](SimulatedBrowser& b, unsigned int) { b.tvService()->returnLiveIn(); } },
        { "getProgrammes", [](SimulatedBrowser& b, unsigned int) {
              std::vector<NCOR::ProgrammeData*> found;
              b.tvService()->getProgrammes(found);
              release(found);
          } },
        { "getAllProgrammesForChannel", [](SimulatedBrowser& b, unsigned int n) {
              std::vector<NCOR::ProgrammeData*> found;
              b.tvService()->getAllProgrammesForChannel(channel(n), found);
              release(found);
          } },
        { "getSIDescriptors", [](SimulatedBrowser& b, unsigned int n) {
              std::vector<std::vector<unsigned char>> found;
              b.tvService()->getSIDescriptors("crid://example.com/programme/" + std::to_string(n % 100),
                  NCOR::EIT::DESCRIPTOR_SHORT_EVENT, NCOR::EIT::EXTENSION_IMAGE_ICON, found);
          } },
        // The component lists: the largest answer record there is (11,592 bytes).
        { "getAVComponents", [](SimulatedBrowser& b, unsigned int n) {
              std::vector<NCOR::AVComponentData*> found;
              b.tvService()->getAVComponents(componentType(n), found);
              release(found);
          } },
        { "getActiveAVComponents", [](SimulatedBrowser& b, unsigned int n) {
              std::vector<NCOR::AVComponentData*> found;
              b.tvService()->getActiveAVComponents(componentType(n), found);
              release(found);
          } },
        { "selectAVComponent", [](SimulatedBrowser& b, unsigned int n) { b.tvService()->selectAVComponent(component(n)); } },
        { "unselectAVComponent", [](SimulatedBrowser& b, unsigned int n) { b.tvService()->unselectAVComponent(component(n)); } },
        { "setViewport", [](SimulatedBrowser& b, unsigned int n) {
              b.tvService()->setViewport(n % 2 == 0, 100, 50, 640, 360);
          } },
        { "stopVideo", [](SimulatedBrowser& b, unsigned int) { b.tvService()->stopVideo(); } },
        { "releaseVideo", [](SimulatedBrowser& b, unsigned int) { b.tvService()->releaseVideo(); } },
        { "getCountryId", [](SimulatedBrowser& b, unsigned int) {
              std::string text;
              b.tvService()->getCountryId(text);
          } },
        { "getPreferredAudioLanguage", [](SimulatedBrowser& b, unsigned int) {
              std::string text;
              b.tvService()->getPreferredAudioLanguage(text);
          } },
        { "getPreferredSubtitleLanguage", [](SimulatedBrowser& b, unsigned int) {
              std::string text;
              b.tvService()->getPreferredSubtitleLanguage(text);
          } },
        { "getAudioDescriptionEnable", [](SimulatedBrowser& b, unsigned int) { b.tvService()->getAudioDescriptionEnable(); } },
        { "getParentalControlThreshold", [](SimulatedBrowser& b, unsigned int) { b.tvService()->getParentalControlThreshold(); } },
        { "registerStreamEvent", [](SimulatedBrowser& b, unsigned int) { b.tvService()->registerStreamEvent(kStreamEvents, "now"); } },
        { "registerStreamEvent with id", [](SimulatedBrowser& b, unsigned int n) {
              b.tvService()->registerStreamEvent(kStreamEvents, "next", true, static_cast<long>(n % 1000));
          } },
        { "unregisterStreamEvent", [](SimulatedBrowser& b, unsigned int) { b.tvService()->unregisterStreamEvent(kStreamEvents, "now"); } },
        { "scheduleRecording", [](SimulatedBrowser& b, unsigned int n) { b.tvService()->scheduleRecording(recording(n)); } },
        { "updateScheduledRecording", [](SimulatedBrowser& b, unsigned int n) {
              b.tvService()->updateScheduledRecording(scheduledRecording(n));
          } },
        { "startRecording", [](SimulatedBrowser& b, unsigned int n) { b.tvService()->startRecording(recording(n)); } },
        { "stopRecording", [](SimulatedBrowser& b, unsigned int n) { b.tvService()->stopRecording(recording(n)); } },
        { "removeRecording", [](SimulatedBrowser& b, unsigned int n) { b.tvService()->removeRecording(scheduledRecording(n)); } },
        { "getRecordings", [](SimulatedBrowser& b, unsigned int) {
              std::vector<NCOR::RecordingData*> found;
              b.tvService()->getRecordings(found);
              release(found);
          } },
        { "getScheduledRecordings", [](SimulatedBrowser& b, unsigned int) {
              std::vector<NCOR::ScheduledRecordingData*> found;
              b.tvService()->getScheduledRecordings(found);
              release(found);
          } },
        { "reminderSupported", [](SimulatedBrowser& b, unsigned int) { b.tvService()->reminderSupported(); } },
        { "canScheduleReminders", [](SimulatedBrowser& b, unsigned int) { b.tvService()->canScheduleReminders(); } },
        { "scheduleReminder", [](SimulatedBrowser& b, unsigned int n) {
              NCOR::ReminderData reminder;
              reminder.setId("rem-" + std::to_string(n % 100));
              reminder.setProgrammeID("crid://example.com/programme/2");
              b.tvService()->scheduleReminder(reminder);
          } },
        { "removeReminder", [](SimulatedBrowser& b, unsigned int n) {
              NCOR::ScheduledReminderData reminder;
              reminder.setId("rem-" + std::to_string(n % 100));
              reminder.setProgrammeID("crid://example.com/programme/2");
              b.tvService()->removeReminder(reminder);
          } },
        { "getScheduledReminders", [](SimulatedBrowser& b, unsigned int) {
              std::vector<NCOR::ScheduledReminderData*> found;
              b.tvService()->getScheduledReminders(found);
              release(found);
          } },
        // A page starts loading: the glue tells the host of the new application.
        { "load started", [](SimulatedBrowser& b, unsigned int n) {
              b.notifyLoadStarted(loadId(n), "http://hbbtv.example.com/app" + std::to_string(n % 100) + "/index.html");
          } },
        { "requestOCResourceMount", &carouselMount },
    };
    return calls;
}

bool isCarouselMount(const BrowserCall& call)
{
    return call.call == &carouselMount;
}

const std::vector<BrowserCall>& browserReports()
{
    static const std::vector<BrowserCall> reports = {
        { "window opened", [](SimulatedBrowser& b, unsigned int n) { b.notifyNewWindow(2 + static_cast<int>(n % 4)); } },
        { "window closed", [](SimulatedBrowser& b, unsigned int n) { b.notifyWindowClosed(2 + static_cast<int>(n % 4)); } },
        { "load", [](SimulatedBrowser& b, unsigned int n) {
              const int load = loadId(n);
              b.notifyLoadStarted(load, "http://hbbtv.example.com/page" + std::to_string(n % 100) + ".html");
              b.notifyLoadProgress(load, 40);
              b.notifyLoadProgress(load, 80);
              b.notifyLoadComplete(load);
          } },
        { "audio components", [](SimulatedBrowser& b, unsigned int n) {
              b.notifyAudioComponentsChanged(playerComponents(n), static_cast<int>(n % 4));
          } },
        { "subtitle components", [](SimulatedBrowser& b, unsigned int n) {
              b.notifySubtitleComponentsChanged(playerComponents(n), static_cast<int>(n % 4));
          } },
    };
    return reports;
}

} // namespace hbbtv_soak
