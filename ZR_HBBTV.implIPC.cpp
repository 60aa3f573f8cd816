#include "ZR_HBBTV.implIPC.h"

#include <new>

#include "HbbtvBackendGlue.Trace.h"
#include "HbbtvBackendGlue.TraceRecords.h"
#include "ZR_HBBTV.implIPC_p.h"

namespace ZR_HBBTV_Core {

namespace {

const char kSourceName[] = "ZR_HBBTV.implIPC";
const int kKeyPolls = 100;
const double kKeyPollMicroseconds = 3000;

} // namespace

ZR_HbbtvImpl::ZR_HbbtvImpl() : m_initialised(false), m_everInitialised(false)
{
}

ZR_HbbtvImpl::~ZR_HbbtvImpl()
{
    deinit();
}

void ZR_HbbtvImpl::init(Hbbtv_TVServer* server)
{
    trace::startFromEnvironment();
    if (trace::on()) trace::Line(trace::kind::host, "init");
    Locker<Mutex> lifecycle(m_lifecycleMutex);
    {
        Locker<Mutex> lock(m_stateMutex);
        if (m_initialised) {
            return;
        }
    }
    ZR_HbbtvImplPrivate* const created = new (std::nothrow) ZR_HbbtvImplPrivate(server);
    if (created == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceName, __PRETTY_FUNCTION__, 36);
    }
    const android::sp<ZR_HbbtvImplPrivate> manager(created);
    {
        Locker<Mutex> lock(m_stateMutex);
        m_private = manager;
    }
    manager->init();
    {
        Locker<Mutex> lock(m_stateMutex);
        m_initialised = true;
    }
    m_everInitialised.store(true, std::memory_order_release);
}

void ZR_HbbtvImpl::deinit()
{
    if (trace::on()) trace::Line(trace::kind::host, "deinit");
    {
        Locker<Mutex> lifecycle(m_lifecycleMutex);
        android::sp<ZR_HbbtvImplPrivate> manager;
        {
            Locker<Mutex> lock(m_stateMutex);
            manager = m_private;
            m_private.clear();
            m_initialised = false;
        }
        // Calls from here on are refused; calls that took the object before keep it alive and find
        // it refusing once it is torn down.
        if (manager != nullptr) {
            manager->teardown();
            Locker<Mutex> lock(m_stateMutex);
            manager.clear();
        }
    }
    // Without the lifecycle lock: a call into the host that is still running may itself call
    // deinit or any other operation on its way out. Once this returns, the host may destroy its
    // server.
    injectDelay("deinit");
    HostCallGate::process().drain();
    if (trace::on()) trace::flush();
}

ZR_HbbtvImpl::PrivateRef::PrivateRef(const ZR_HbbtvImpl& wrapper, bool initialisedOnly)
    : m_wrapper(wrapper), m_private(wrapper.takePrivate(initialisedOnly))
{
}

ZR_HbbtvImpl::PrivateRef::~PrivateRef()
{
    m_wrapper.letGoPrivate(m_private);
}

android::sp<ZR_HbbtvImplPrivate> ZR_HbbtvImpl::takePrivate(bool initialisedOnly) const
{
    Locker<Mutex> lock(m_stateMutex);
    if (m_initialised || !initialisedOnly) {
        return m_private;
    }
    return nullptr;
}

void ZR_HbbtvImpl::letGoPrivate(android::sp<ZR_HbbtvImplPrivate>& reference) const
{
    Locker<Mutex> lock(m_stateMutex);
    reference.clear();
}

int ZR_HbbtvImpl::toggleDigitalTeletext() const
{
    if (trace::on()) trace::Line(trace::kind::host, "toggleDigitalTeletext");
    const PrivateRef manager(*this);
    if (!manager) {
        return 0;
    }
    switch (manager->toggleDigitalTeletext()) {
    case 2: return 0;
    case 1: return 2;
    default: return 1;
    }
}

void ZR_HbbtvImpl::notifyChannelChanged(unsigned short a, unsigned short b, unsigned short c) const
{
    if (trace::on()) trace::Line(trace::kind::host, "notifyChannelChanged").arg(trace::argument::a, a).arg(trace::argument::b, b).arg(trace::argument::c, c);
    const PrivateRef manager(*this);
    if (manager) {
        manager->notifyChannelChanged(a, b, c);
    }
}

bool ZR_HbbtvImpl::newAITNotification(unsigned int aitVersion, const AITApps& apps)
{
    if (trace::on()) trace::describe(trace::Line(trace::kind::host, "newAITNotification").arg(trace::format::ait::version, aitVersion), apps);
    const PrivateRef manager(*this);
    return manager && manager->newAITNotification(aitVersion, apps);
}

void ZR_HbbtvImpl::noAITNotification(unsigned short value)
{
    if (trace::on()) trace::Line(trace::kind::host, "noAITNotification").arg(trace::argument::value, value);
    const PrivateRef manager(*this);
    if (manager) {
        manager->noAITNotification(value);
    }
}

void ZR_HbbtvImpl::tunerStopped(bool stopped)
{
    if (trace::on()) trace::Line(trace::kind::host, "tunerStopped").arg(trace::argument::stopped, stopped);
    const PrivateRef manager(*this);
    if (manager) {
        manager->tunerStopped(stopped);
    }
}

bool ZR_HbbtvImpl::launchBrowser()
{
    if (trace::on()) trace::Line(trace::kind::host, "launchBrowser");
    const PrivateRef manager(*this);
    return manager && manager->launchBrowser();
}

bool ZR_HbbtvImpl::keyClick(unsigned int key)
{
    if (trace::on()) trace::Line(trace::kind::host, "keyClick").arg(trace::argument::key, key);
    const PrivateRef manager(*this);
    if (!manager || !manager->keyClick(key)) {
        return false;
    }
    // Woken by the browser's verdict, within the 100 polls of 3 ms that hosts have always been
    // given.
    if (manager->waitKeyHandled(kKeyPolls * kKeyPollMicroseconds / 1e6)) {
        return manager->KeyConsumedStatus();
    }
    // An answer that did not come in time counts as consumed, so the host does not act on a key
    // the application may have taken.
    return true;
}

int ZR_HbbtvImpl::prepareCreateApplication()
{
    if (trace::on()) trace::Line(trace::kind::host, "prepareCreateApplication");
    const PrivateRef manager(*this);
    return manager ? manager->prepareCreateApplication() : 0;
}

int ZR_HbbtvImpl::createApplication(int appId, const std::string& url, const std::string& extra)
{
    if (trace::on()) trace::Line(trace::kind::host, "createApplication").arg(trace::argument::appId, appId).arg(trace::argument::url, url).arg(trace::argument::extra, extra);
    const PrivateRef manager(*this);
    return manager ? manager->createApplication(appId, url, extra) : 0;
}

void ZR_HbbtvImpl::closeUserCreatedApps()
{
    if (trace::on()) trace::Line(trace::kind::host, "closeUserCreatedApps");
    const PrivateRef manager(*this);
    if (manager) {
        manager->closeUserCreatedApps();
    }
}

void ZR_HbbtvImpl::notifyBroadbandAccessAvailable(bool available)
{
    if (trace::on()) trace::Line(trace::kind::host, "notifyBroadbandAccessAvailable").arg(trace::argument::available, available);
    const PrivateRef manager(*this);
    if (manager) {
        manager->notifyBroadbandAccessAvailable(available);
    }
}

// Straight to the agent, with no lock and no manager: the host reports completions from its own
// threads, from inside its callbacks and after deinit, and a given-up request's records are
// released only when its completion arrives. The first init started the agent.
void ZR_HbbtvImpl::notifyHbbtvServiceRequestFinished(HbbtvCommandPayload* payload)
{
    if (trace::on()) trace::Line(trace::kind::host, "notifyHbbtvServiceRequestFinished").arg("ticket", payload != nullptr ? payload->ticket : 0u);
    if (payload != nullptr && m_everInitialised.load(std::memory_order_acquire)) {
        getServiceAgent()->response(payload->ticket);
    }
}

void ZR_HbbtvImpl::notifyStreamEvent(const std::string& a, const std::string& b, const std::string& c,
                                     const std::string& d)
{
    if (trace::on()) trace::Line(trace::kind::host, "notifyStreamEvent").arg(trace::argument::url, a).arg(trace::argument::eventName, b).arg(trace::argument::data, c).arg(trace::argument::eventKind, d);
    const PrivateRef manager(*this);
    if (manager) {
        manager->notifyStreamEvent(a, b, c, d);
    }
}

void ZR_HbbtvImpl::setCookiesEnabledAttribute(bool enabled)
{
    if (trace::on()) trace::Line(trace::kind::host, "setCookiesEnabledAttribute").arg(trace::argument::enabled, enabled);
    const PrivateRef manager(*this);
    if (manager) {
        manager->setCookiesEnabledAttribute(enabled);
    }
}

void ZR_HbbtvImpl::sendCookiesEnabledAttribute()
{
    if (trace::on()) trace::Line(trace::kind::host, "sendCookiesEnabledAttribute");
    const PrivateRef manager(*this);
    if (manager) {
        manager->sendCookiesEnabledAttribute();
    }
}

bool ZR_HbbtvImpl::isBrowserReady()
{
    if (trace::on()) trace::Line(trace::kind::host, "isBrowserReady");
    const PrivateRef manager(*this);
    return manager && manager->isBrowserReady();
}

void ZR_HbbtvImpl::notifyTimezoneChanged(const char* timezone)
{
    if (trace::on()) trace::Line(trace::kind::host, "notifyTimezoneChanged").arg(trace::argument::timezone, timezone);
    const PrivateRef manager(*this);
    if (manager) {
        manager->notifyTimezoneChanged(timezone);
    }
}

void ZR_HbbtvImpl::notifyLocaleChanged(const char* locale)
{
    if (trace::on()) trace::Line(trace::kind::host, "notifyLocaleChanged").arg(trace::argument::locale, locale);
    const PrivateRef manager(*this);
    if (manager) {
        manager->notifyLocaleChanged(locale);
    }
}

void ZR_HbbtvImpl::notifyParentalRatingChange(unsigned short a, unsigned short b, unsigned short c, int d)
{
    if (trace::on()) trace::Line(trace::kind::host, "notifyParentalRatingChange").arg(trace::argument::a, a).arg(trace::argument::b, b).arg(trace::argument::c, c).arg(trace::argument::d, d);
    const PrivateRef manager(*this);
    if (manager) {
        manager->notifyParentalRatingChange(a, b, c, d);
    }
}

void ZR_HbbtvImpl::notifyProgrammeChanged(unsigned short a, unsigned short b, unsigned short c)
{
    if (trace::on()) trace::Line(trace::kind::host, "notifyProgrammeChanged").arg(trace::argument::a, a).arg(trace::argument::b, b).arg(trace::argument::c, c);
    const PrivateRef manager(*this);
    if (manager) {
        manager->notifyProgrammeChanged(a, b, c);
    }
}

void ZR_HbbtvImpl::SetHbbTVRunningStatus(bool running)
{
    if (trace::on()) trace::Line(trace::kind::host, "SetHbbTVRunningStatus").arg(trace::argument::running, running);
    // Only the private object is required here, not a completed init.
    const PrivateRef manager(*this, false);
    if (manager) {
        manager->SetHbbTVRunningStatus(running);
    }
}

bool ZR_HbbtvImpl::isAppAlive(int appId)
{
    if (trace::on()) trace::Line(trace::kind::host, "isAppAlive").arg(trace::argument::appId, appId);
    const PrivateRef manager(*this);
    return manager && manager->isAppAlive(appId);
}

const char* ZR_HbbtvImpl::setupEnvVar(const char* name, const char* value)
{
    if (trace::on()) trace::Line(trace::kind::host, "setupEnvVar").arg("var", name).arg(trace::argument::value, value);
    const PrivateRef manager(*this);
    return manager ? manager->setupEnvVar(name, value) : nullptr;
}

void ZR_HbbtvImpl::unsetEnvVar(const char* name)
{
    if (trace::on()) trace::Line(trace::kind::host, "unsetEnvVar").arg("var", name);
    const PrivateRef manager(*this);
    if (manager) {
        manager->unsetEnvVar(name);
    }
}

void ZR_HbbtvImpl::killCurrentApp()
{
    if (trace::on()) trace::Line(trace::kind::host, "killCurrentApp");
    const PrivateRef manager(*this);
    if (manager) {
        manager->killCurrentApp();
    }
}

void ZR_HbbtvImpl::notifyChannelListChanged()
{
    if (trace::on()) trace::Line(trace::kind::host, "notifyChannelListChanged");
    const PrivateRef manager(*this);
    if (manager) {
        manager->notifyChannelListChanged();
    }
}

void ZR_HbbtvImpl::selectMMAudioComponent(const HbbtvMultimediaComponentData& component)
{
    if (trace::on()) trace::Line(trace::kind::host, "selectMMAudioComponent").arg(trace::argument::text1, component.text1).arg(trace::argument::text2, component.text2).arg(trace::argument::value1, component.value1).arg(trace::argument::flag, component.flag);
    const PrivateRef manager(*this);
    if (manager) {
        manager->selectMMAudioComponent(component);
    }
}

void ZR_HbbtvImpl::selectMMSubtitleComponent(const HbbtvMultimediaComponentData& component)
{
    if (trace::on()) trace::Line(trace::kind::host, "selectMMSubtitleComponent").arg(trace::argument::text1, component.text1).arg(trace::argument::text2, component.text2).arg(trace::argument::value1, component.value1).arg(trace::argument::flag, component.flag);
    const PrivateRef manager(*this);
    if (manager) {
        manager->selectMMSubtitleComponent(component);
    }
}

void ZR_HbbtvImpl::forceReleaseMMResource()
{
    if (trace::on()) trace::Line(trace::kind::host, "forceReleaseMMResource");
    const PrivateRef manager(*this);
    if (manager) {
        manager->forceReleaseMMResource();
    }
}

void ZR_HbbtvImpl::notifySignalLost()
{
    if (trace::on()) trace::Line(trace::kind::host, "notifySignalLost");
    const PrivateRef manager(*this);
    if (manager) {
        manager->notifySignalLost();
    }
}

void ZR_HbbtvImpl::notifyTunerPlundered()
{
    if (trace::on()) trace::Line(trace::kind::host, "notifyTunerPlundered");
    const PrivateRef manager(*this);
    if (manager) {
        manager->notifyTunerPlundered();
    }
}

} // namespace ZR_HBBTV_Core

ZR_HBBTV_Core::ZR_HbbtvImplInterface* CreateHbbtvWrapper()
{
    return new ZR_HBBTV_Core::ZR_HbbtvImpl();
}

void DestroyHbbtvWrapper(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper)
{
    // Only our own wrapper is deleted; a foreign object is left alone.
    if (wrapper != nullptr && dynamic_cast<ZR_HBBTV_Core::ZR_HbbtvImpl*>(wrapper) != nullptr) {
        delete wrapper;
    }
}
