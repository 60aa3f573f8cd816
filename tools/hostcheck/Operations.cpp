#include "Operations.h"

#include <memory>

namespace hbbtv_hostcheck {

namespace {

template <typename T> void release(std::vector<T*>& records)
{
    for (T* record : records) {
        delete record;
    }
    records.clear();
}

NCOR::ChannelTunerData channel(int sid, int onid, int major, const std::string& name)
{
    NCOR::ChannelTunerData record;
    record.setChannelType(NCOR::Broadcast::TYPE_TV);
    record.setIdType(NCOR::Broadcast::ID_DVB_T);
    record.setSid(sid);
    record.setOnid(onid);
    record.setMajorChannel(major);
    record.setName(name);
    record.autoUpdateChannelID();
    return record;
}

void tune(Television& tv)
{
    const android::sp<ITVService> service = tv.browser.tvService();
    service->tune(channel(0x2B66, 0x2114, 1, "Das Erste HD"));
    // By text identifier: the host gets the channel as a string.
    NCOR::ChannelTunerData byText = channel(-1, -1, 7, "IPTV channel");
    byText.setIpBroadcastID("dvb://233a.1004.1044");
    byText.autoUpdateChannelID();
    service->tune(byText);
    // A channel the host does not have.
    service->tune(channel(0xFFFF, 0xFFFF, 999, "unknown"));
    service->bindToCurrentChannel(channel(0x2B66, 0x2114, 1, "Das Erste HD"));
}

void tunerControl(Television& tv)
{
    const android::sp<ITVService> service = tv.browser.tvService();
    service->suspendBroadcastService();
    service->resumeBroadcastService();
    service->leaveLiveIn();
    service->returnLiveIn();
}

void currentChannel(Television& tv)
{
    NCOR::ChannelTunerData current;
    tv.browser.tvService()->getCurrentChannel(current);
}

void channelList(Television& tv)
{
    std::vector<NCOR::ChannelTunerData*> channels;
    tv.browser.tvService()->getChannelList(channels);
    release(channels);
}

void programmes(Television& tv)
{
    std::vector<NCOR::ProgrammeData*> found;
    tv.browser.tvService()->getProgrammes(found);
    release(found);
}

void schedule(Television& tv)
{
    std::vector<NCOR::ProgrammeData*> found;
    tv.browser.tvService()->getAllProgrammesForChannel(channel(0x2B66, 0x2114, 1, "Das Erste HD"), found);
    release(found);
}

void siDescriptors(Television& tv)
{
    const android::sp<ITVService> service = tv.browser.tvService();
    std::vector<std::vector<unsigned char>> found;
    service->getSIDescriptors(
        "crid://example.com/programme/1", NCOR::EIT::DESCRIPTOR_SHORT_EVENT, NCOR::EIT::EXTENSION_IMAGE_ICON, found);
    service->getSIDescriptors("crid://example.com/programme/1", NCOR::EIT::DESCRIPTOR_EXTENSION,
        NCOR::EIT::EXTENSION_SUPPLEMENTARY_AUDIO, found);
    // Longer than a record string holds: the host gets the first 254 characters.
    service->getSIDescriptors(
        std::string(300, 'p'), NCOR::EIT::DESCRIPTOR_CONTENT, NCOR::EIT::EXTENSION_IMAGE_ICON, found);
}

void components(Television& tv)
{
    const android::sp<ITVService> service = tv.browser.tvService();
    const NCOR::Broadcast::ComponentType types[] = { NCOR::Broadcast::COMPONENT_TYPE_VIDEO,
        NCOR::Broadcast::COMPONENT_TYPE_AUDIO, NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE };
    std::vector<NCOR::AVComponentData*> found;
    for (NCOR::Broadcast::ComponentType type : types) {
        service->getAVComponents(type, found);
        release(found);
        service->getActiveAVComponents(type, found);
        release(found);
    }
    // A type the broadcast has no components of.
    service->getAVComponents(static_cast<NCOR::Broadcast::ComponentType>(3), found);
    release(found);
}

void componentSelection(Television& tv)
{
    const android::sp<ITVService> service = tv.browser.tvService();
    NCOR::AVComponentData audio;
    audio.setComponentType(NCOR::Broadcast::COMPONENT_TYPE_AUDIO);
    audio.setComponentTag(0x12);
    audio.setLanguage("deu");
    service->selectAVComponent(audio);
    service->unselectAVComponent(audio);
    NCOR::AVComponentData subtitle;
    subtitle.setComponentType(NCOR::Broadcast::COMPONENT_TYPE_SUBTITLE);
    subtitle.setComponentTag(-1); // no tag: the host gets -1
    service->selectAVComponent(subtitle);
}

void video(Television& tv)
{
    const android::sp<ITVService> service = tv.browser.tvService();
    service->setViewport(false, 100, 50, 640, 360);
    service->setViewport(true, 0, 0, 0, 0);
    service->setViewport(false, 0, 0, 0, 0);
    service->stopVideo();
    service->releaseVideo();
}

void configuration(Television& tv)
{
    const android::sp<ITVService> service = tv.browser.tvService();
    std::string text;
    service->getCountryId(text);
    service->getPreferredAudioLanguage(text);
    service->getPreferredSubtitleLanguage(text);
    service->getAudioDescriptionEnable();
    service->getParentalControlThreshold();
}

void streamEvents(Television& tv)
{
    const android::sp<ITVService> service = tv.browser.tvService();
    service->registerStreamEvent("dvb://233a.1004.1044.ffff/events", "now");
    service->registerStreamEvent("dvb://233a.1004.1044.ffff/events", "next", true, 42);
    service->unregisterStreamEvent("dvb://233a.1004.1044.ffff/events", "now");
    service->registerStreamEvent(std::string(300, 'x'), "");
}

void carousel(Television& tv)
{
    tv.wrapper->SetHbbTVRunningStatus(true);
    std::string mountPoint;
    tv.browser.tvService()->requestOCResourceMount("dvb://233a.1004.1044.ffff/index.html", mountPoint);
}

void recordings(Television& tv)
{
    const android::sp<ITVService> service = tv.browser.tvService();
    NCOR::RecordingData recording;
    recording.setId("rec-1");
    recording.setProgrammeID("crid://example.com/programme/1");
    NCOR::ScheduledRecordingData scheduled;
    scheduled.setId("rec-1");
    scheduled.setProgrammeID("crid://example.com/programme/1");
    service->scheduleRecording(recording);
    service->updateScheduledRecording(scheduled);
    service->startRecording(recording);
    service->stopRecording(recording);
    service->removeRecording(scheduled);
    std::vector<NCOR::RecordingData*> done;
    service->getRecordings(done);
    release(done);
    std::vector<NCOR::ScheduledRecordingData*> planned;
    service->getScheduledRecordings(planned);
    release(planned);
}

void reminders(Television& tv)
{
    const android::sp<ITVService> service = tv.browser.tvService();
    service->reminderSupported();
    service->canScheduleReminders();
    NCOR::ReminderData reminder;
    reminder.setId("rem-1");
    reminder.setProgrammeID("crid://example.com/programme/2");
    service->scheduleReminder(reminder);
    NCOR::ScheduledReminderData scheduled;
    scheduled.setId("rem-1");
    scheduled.setProgrammeID("crid://example.com/programme/2");
    service->removeReminder(scheduled);
    std::vector<NCOR::ScheduledReminderData*> planned;
    service->getScheduledReminders(planned);
    release(planned);
}

void newApplication(Television& tv)
{
    // The browser starts loading an application: the host hears the load and the new application.
    tv.browser.notifyLoadStarted(2, "http://hbbtv.example.com/red-button/index.html");
    tv.browser.notifyLoadComplete(2);
    // The longest address the record carries.
    tv.browser.notifyLoadStarted(3, "http://hbbtv.example.com/" + std::string(230, 'a'));
    tv.browser.notifyLoadComplete(3);
}

void callbacks(Television& tv)
{
    // The library passes these to the host as they come; the checker makes them as the library does.
    int command = 1;
    tv.checker.HBBTV_CommandHandler(&command);
    tv.checker.HBBTV_HeartBeatNotification();
    tv.browser.notifyLoadStarted(4, "http://hbbtv.example.com/app/");
    tv.browser.notifyLoadProgress(4, 50);
    tv.browser.notifyLoadComplete(4);
    tv.checker.HBBTV_ReportIsAnyAppRunning(true);
    MultimediaComponentData track;
    track.text1 = "eng";
    track.text2 = "stereo";
    track.value1 = 1;
    tv.browser.notifyAudioComponentsChanged({ track }, 0);
    tv.browser.notifySubtitleComponentsChanged({}, 0);
    tv.checker.HBBTV_ReportIsAnyAppRunning(false);
}

} // namespace

const std::vector<Operation>& operations()
{
    static const std::vector<Operation> all = {
        { "tune", "tune by numbers and by text identifier, an unknown channel, bind to current", tune },
        { "tuner-control", "suspend and resume the broadcast, leave and return to live TV", tunerControl },
        { "current-channel", "the current channel", currentChannel },
        { "channel-list", "the channel lineup in the channel-list pool", channelList },
        { "programmes", "present and following programme", programmes },
        { "schedule", "a channel's schedule, appended to the result vector", schedule },
        { "si-descriptors", "SI descriptors by tag and extension tag, appended to the result vector", siDescriptors },
        { "components", "video, audio and subtitle components, all and active", components },
        { "component-selection", "select and unselect components", componentSelection },
        { "video", "viewport, stop and release of the broadcast video", video },
        { "configuration", "country, languages, audio description, parental threshold", configuration },
        { "stream-events", "register and unregister stream events", streamEvents },
        { "carousel", "mount an object-carousel file by dvb: URL", carousel },
        { "recordings", "schedule, update, start, stop, remove and list recordings", recordings },
        { "reminders", "reminder support, schedule, remove and list reminders", reminders },
        { "new-application", "the browser starts an application from a URL", newApplication },
        { "callbacks", "synchronous callbacks: command, heartbeat, loading, applications, media components",
            callbacks },
    };
    return all;
}

const Operation* findOperation(const std::string& name)
{
    for (const Operation& operation : operations()) {
        if (name == operation.name) {
            return &operation;
        }
    }
    return nullptr;
}

} // namespace hbbtv_hostcheck
