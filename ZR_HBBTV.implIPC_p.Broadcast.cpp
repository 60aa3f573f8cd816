// Broadcast events from the host to the browser's clients and service.
#include <cstdio>
#include <memory>

#include "HbbtvBackendTVService.h"
#include "ZR_HBBTV.implIPC_p.h"
#include "ncor/ChannelTunerData.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {
const int kChannelChangedState = 101;
const int kTunerStoppedState = 101;
const int kTunerPlundered = 11;
const int kSignalLost = 1;
const char kNoChannelManager[] = "[ZR_HBBTV]: m_channelManagerClient is null";
} // namespace

template <typename Send>
void ZR_HbbtvImplPrivate::toChannelManager(const char* missingLine, Send send)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return;
    }
    if (m_channelManagerClient == nullptr) {
        puts(missingLine);
        return;
    }
    send(m_channelManagerClient);
}

void ZR_HbbtvImplPrivate::notifyChannelChanged(unsigned short a, unsigned short b, unsigned short c)
{
    toChannelManager(kNoChannelManager, [a, b, c](const android::sp<IChannelManagerClient>& client) {
        NCOR::ChannelTunerData channel;
        channel.setOnid(a);
        channel.autoUpdateChannelID();
        channel.setSid(b);
        channel.autoUpdateChannelID();
        channel.setMajorChannel(c);
        channel.autoUpdateChannelID();
        if (trace::on()) trace::Line(trace::kind::event, "channelChanged").arg("onid", a).arg("sid", b).arg("major", c).arg("state", kChannelChangedState);
        client->channelChanged(channel, kChannelChangedState);
    });
}

void ZR_HbbtvImplPrivate::notifyProgrammeChanged(unsigned short, unsigned short, unsigned short)
{
    toChannelManager(kNoChannelManager,
                     [](const android::sp<IChannelManagerClient>& client) {
                         if (trace::on()) trace::Line(trace::kind::event, "programmeChanged");
                         client->programmeChanged();
                     });
}

void ZR_HbbtvImplPrivate::notifyTunerPlundered()
{
    toChannelManager("[ZR_HBBTV]: notifyTunerPlundered(): m_channelManagerClient is null",
        [](const android::sp<IChannelManagerClient>& client) {
            if (trace::on()) trace::Line(trace::kind::event, "tunerStateChanged").arg("state", kTunerPlundered);
            client->tunerStateChanged(kTunerPlundered);
        });
}

void ZR_HbbtvImplPrivate::notifySignalLost()
{
    toChannelManager("[ZR_HBBTV]: notifySignalLost(): m_channelManagerClient is null",
                     [](const android::sp<IChannelManagerClient>& client) {
            if (trace::on()) trace::Line(trace::kind::event, "tunerStateChanged").arg("state", kSignalLost);
            client->tunerStateChanged(kSignalLost);
        });
}

void ZR_HbbtvImplPrivate::tunerStopped(bool)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return;
    }
    if (m_channelManagerClient != nullptr) {
        if (trace::on()) trace::Line(trace::kind::event, "tunerStopped").arg("state", kTunerStoppedState);
        m_channelManagerClient->tunerStopped(kTunerStoppedState);
        return;
    }
    puts(kNoChannelManager);
    // Without a channel manager the browser cannot hear that the tuner stopped: close its windows.
    if (m_browserService == nullptr) {
        return;
    }
    for (int windowId : m_windows) {
        const android::sp<IWindow> window = m_browserService->getWindow(windowId);
        if (window != nullptr) {
            printf("[ZR_HBBTV]: request close window: %d\n", windowId);
            if (trace::on()) trace::Line(trace::kind::event, "closeWindow").arg("windowId", windowId);
            window->close();
        }
    }
}

void ZR_HbbtvImplPrivate::notifyStreamEvent(const std::string& url, const std::string& name,
                                            const std::string& data, const std::string& kind)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return;
    }
    if (m_dsmccClient == nullptr) {
        puts("[ZR_HBBTV]: notifyStreamEvent(): m_dsmccClient is null");
        return;
    }
    StreamEventData event;
    event.url = url;
    event.name = name;
    event.data = data;
    event.notTrigger = kind == "trigger" ? 0 : 1;
    if (trace::on()) trace::Line(trace::kind::event, "streamEvent").arg("url", url).arg("eventName", name).arg("data", data).arg("notTrigger", event.notTrigger);
    m_dsmccClient->streamEvent(event);
}

void ZR_HbbtvImplPrivate::notifyChannelListChanged()
{
    android::sp<HbbtvBackendTVService> service;
    android::sp<IChannelManagerClient> client;
    {
        Locker<Mutex> lock(m_mutex);
        if (_gotKilled) {
            return;
        }
        service = m_tvService;
        client = m_channelManagerClient;
    }
    // The list is read from the host without the lock.
    if (service == nullptr || client == nullptr) {
        return;
    }
    std::vector<NCOR::ChannelTunerData*> channels;
    service->getChannelList(channels);
    if (trace::on()) trace::Line(trace::kind::event, "channelListChanged").arg("channels", channels.size());
    client->channelListChanged(channels);
    for (size_t i = 0; i < channels.size(); ++i) {
        delete channels.at(i);
    }
}

void ZR_HbbtvImplPrivate::notifyLocaleChanged(const char* locale)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled || m_tvService == nullptr || locale == nullptr) {
        return;
    }
    if (m_browserService == nullptr) {
        puts("[ZR_HBBTV]: notifyLocaleChanged(): browser service is null");
        return;
    }
    if (trace::on()) trace::Line(trace::kind::event, "setBrowserEnv").arg("var", "LANG").arg("value", locale);
    m_browserService->setBrowserEnv("LANG", locale);
}

void ZR_HbbtvImplPrivate::notifyTimezoneChanged(const char* timezone)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled || m_tvService == nullptr || timezone == nullptr) {
        return;
    }
    if (m_browserService == nullptr) {
        puts("[ZR_HBBTV]: notifyTimezoneChanged(): browser service is null");
        return;
    }
    if (trace::on()) trace::Line(trace::kind::event, "setBrowserEnv").arg("var", "TZ").arg("value", timezone);
    m_browserService->setBrowserEnv("TZ", timezone);
}

int ZR_HbbtvImplPrivate::toggleDigitalTeletext()
{
    // No lock at all: whoever holds one across a slow browser call must not hold up the toggle,
    // nor the agent thread when the host toggles from inside a hand-over. The TV service keeps the
    // same client where it is read without a lock.
    HbbtvBackendTVService* const service = m_tvServiceUnlocked;
    if (_gotKilled || m_tornDown || service == nullptr) {
        return 2;
    }
    const android::sp<IDSMCCClient> client = service->dsmccClient();
    if (client == nullptr) {
        return 2;
    }
    if (trace::on()) trace::Line(trace::kind::event, "toggleTeletext").arg("on", 1);
    const int answer = client->toggleTeletext(1);
    if (answer == 1) {
        if (trace::on()) trace::Line(trace::kind::event, "toggleTeletext").arg("on", 0);
        client->toggleTeletext(0);
        return 1;
    }
    return answer != 0 ? 2 : 0;
}

void ZR_HbbtvImplPrivate::notifyParentalRatingChange(unsigned short, unsigned short, unsigned short, int)
{
}

void ZR_HbbtvImplPrivate::notifyBroadbandAccessAvailable(bool)
{
}

} // namespace ZR_HBBTV_Core
