// The multimedia component bridge: the browser player's component lists go to the host, the
// host's choice goes back to the browser.
#include <cstdio>
#include <cstring>

#include "ZR_HBBTV.implIPC_p.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

// A flag as the other side stored it. A byte other than 0 or 1 is no valid bool to load, so the
// byte is read as a number: any non-zero value is true.
bool storedFlag(const bool& flag)
{
    unsigned char byte;
    memcpy(&byte, &flag, 1);
    return byte != 0;
}

std::vector<HbbtvMultimediaComponentData> toHost(const std::vector<MultimediaComponentData>& components)
{
    std::vector<HbbtvMultimediaComponentData> host;
    host.reserve(components.size());
    for (const MultimediaComponentData& component : components) {
        host.push_back(HbbtvMultimediaComponentData{component.text1, component.text2, component.value1,
                                                    storedFlag(component.flag), component.value2, component.value3});
    }
    return host;
}

MultimediaComponentData toBrowser(const HbbtvMultimediaComponentData& component)
{
    MultimediaComponentData browser;
    browser.kind = 1;
    browser.value2 = static_cast<uint32_t>(-1);
    browser.text1 = component.text1;
    browser.text2 = component.text2;
    browser.value1 = component.value1;
    browser.flag = storedFlag(component.flag);
    browser.value2 = component.value2;
    browser.value3 = component.value3;
    return browser;
}

} // namespace

void YXTMMClient::notifyAudioComponentsChanged(const std::vector<MultimediaComponentData>& components, int value)
{
    ZR_HbbtvImplPrivate* const owner = m_owner;
    if (owner != nullptr) {
        owner->notifyAudioComponentsChanged(components, value);
    }
}

void YXTMMClient::notifySubtitleComponentsChanged(const std::vector<MultimediaComponentData>& components, int value)
{
    ZR_HbbtvImplPrivate* const owner = m_owner;
    if (owner != nullptr) {
        owner->notifySubtitleComponentsChanged(components, value);
    }
}

// These two run on a binder thread straight into the host, outside the manager's lock. Once the
// manager is torn down the host may have destroyed its server, so they stop there.
void ZR_HbbtvImplPrivate::notifyAudioComponentsChanged(const std::vector<MultimediaComponentData>& components,
                                                       int value)
{
    const HostCall call;
    if (call) {
        if (trace::on()) trace::Line(trace::kind::callback, "HBBTV_NotifyMultimediaAudioComponentDataChanged").arg("components", components.size()).arg("value", value);
        m_server->HBBTV_NotifyMultimediaAudioComponentDataChanged(toHost(components), value);
    }
}

void ZR_HbbtvImplPrivate::notifySubtitleComponentsChanged(const std::vector<MultimediaComponentData>& components,
                                                          int value)
{
    const HostCall call;
    if (call) {
        if (trace::on()) trace::Line(trace::kind::callback, "HBBTV_NotifyMultimediaSubtitleComponentDataChanged").arg("components", components.size()).arg("value", value);
        m_server->HBBTV_NotifyMultimediaSubtitleComponentDataChanged(toHost(components), value);
    }
}

void ZR_HbbtvImplPrivate::selectMMAudioComponent(const HbbtvMultimediaComponentData& component)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return;
    }
    // The host selects components only once launchBrowser has bound the browser; a host that does
    // not gets a log line rather than a crash.
    if (m_browserService == nullptr) {
        puts("[ZR_HBBTV]: selectMMAudioComponent(): browser service is null");
        return;
    }
    if (trace::on()) trace::Line(trace::kind::event, "selectAudioComponent").arg("text1", component.text1).arg("value3", component.value3);
    m_browserService->selectAudioComponent(toBrowser(component), component.value3);
}

void ZR_HbbtvImplPrivate::selectMMSubtitleComponent(const HbbtvMultimediaComponentData& component)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return;
    }
    if (m_browserService == nullptr) {
        puts("[ZR_HBBTV]: selectMMSubtitleComponent(): browser service is null");
        return;
    }
    if (trace::on()) trace::Line(trace::kind::event, "selectSubtitleComponent").arg("text1", component.text1).arg("value3", component.value3);
    m_browserService->selectSubtitleComponent(toBrowser(component), component.value3);
}

void ZR_HbbtvImplPrivate::forceReleaseMMResource()
{
    Locker<Mutex> lock(m_mutex);
    if (!_gotKilled && m_browserService != nullptr) {
        if (trace::on()) trace::Line(trace::kind::event, "releaseMMResource");
        m_browserService->releaseMMResource();
    }
}

} // namespace ZR_HBBTV_Core
