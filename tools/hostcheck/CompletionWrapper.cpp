#include "CompletionWrapper.h"

#include <shared_mutex>

#include "CheckingHost.h"

namespace hbbtv_hostcheck {

ZR_HBBTV_Core::ZR_HbbtvImplInterface* CompletionWrapper::admit(const char* operation) const
{
    return m_checker.admit(operation);
}

void CompletionWrapper::notifyHbbtvServiceRequestFinished(HbbtvCommandPayload* payload)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    if (admit("notifyHbbtvServiceRequestFinished") != nullptr) {
        m_checker.requestFinished(payload);
    }
}

// The checker plays the host's part in the wrapper's life: the plugin's own init and deinit go no
// further.
void CompletionWrapper::init(Hbbtv_TVServer*)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    admit("init");
}

void CompletionWrapper::deinit()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    admit("deinit");
}

int CompletionWrapper::toggleDigitalTeletext() const
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("toggleDigitalTeletext");
    return wrapper != nullptr ? wrapper->toggleDigitalTeletext() : 0;
}

void CompletionWrapper::notifyChannelChanged(unsigned short a, unsigned short b, unsigned short c) const
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("notifyChannelChanged");
    if (wrapper != nullptr) {
        wrapper->notifyChannelChanged(a, b, c);
    }
}

bool CompletionWrapper::newAITNotification(unsigned int aitVersion, const ZR_HBBTV_Core::AITApps& apps)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("newAITNotification");
    return wrapper != nullptr ? wrapper->newAITNotification(aitVersion, apps) : false;
}

void CompletionWrapper::noAITNotification(unsigned short value)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("noAITNotification");
    if (wrapper != nullptr) {
        wrapper->noAITNotification(value);
    }
}

void CompletionWrapper::tunerStopped(bool stopped)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("tunerStopped");
    if (wrapper != nullptr) {
        wrapper->tunerStopped(stopped);
    }
}

bool CompletionWrapper::launchBrowser()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("launchBrowser");
    return wrapper != nullptr ? wrapper->launchBrowser() : false;
}

bool CompletionWrapper::keyClick(unsigned int key)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("keyClick");
    return wrapper != nullptr ? wrapper->keyClick(key) : false;
}

int CompletionWrapper::prepareCreateApplication()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("prepareCreateApplication");
    return wrapper != nullptr ? wrapper->prepareCreateApplication() : 0;
}

int CompletionWrapper::createApplication(int appId, const std::string& url, const std::string& extra)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("createApplication");
    return wrapper != nullptr ? wrapper->createApplication(appId, url, extra) : 0;
}

void CompletionWrapper::closeUserCreatedApps()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("closeUserCreatedApps");
    if (wrapper != nullptr) {
        wrapper->closeUserCreatedApps();
    }
}

void CompletionWrapper::notifyBroadbandAccessAvailable(bool available)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("notifyBroadbandAccessAvailable");
    if (wrapper != nullptr) {
        wrapper->notifyBroadbandAccessAvailable(available);
    }
}

void CompletionWrapper::notifyStreamEvent(
    const std::string& a, const std::string& b, const std::string& c, const std::string& d)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("notifyStreamEvent");
    if (wrapper != nullptr) {
        wrapper->notifyStreamEvent(a, b, c, d);
    }
}

void CompletionWrapper::setCookiesEnabledAttribute(bool enabled)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("setCookiesEnabledAttribute");
    if (wrapper != nullptr) {
        wrapper->setCookiesEnabledAttribute(enabled);
    }
}

void CompletionWrapper::sendCookiesEnabledAttribute()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("sendCookiesEnabledAttribute");
    if (wrapper != nullptr) {
        wrapper->sendCookiesEnabledAttribute();
    }
}

bool CompletionWrapper::isBrowserReady()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("isBrowserReady");
    return wrapper != nullptr ? wrapper->isBrowserReady() : false;
}

void CompletionWrapper::notifyTimezoneChanged(const char* timezone)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("notifyTimezoneChanged");
    if (wrapper != nullptr) {
        wrapper->notifyTimezoneChanged(timezone);
    }
}

void CompletionWrapper::notifyLocaleChanged(const char* locale)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("notifyLocaleChanged");
    if (wrapper != nullptr) {
        wrapper->notifyLocaleChanged(locale);
    }
}

void CompletionWrapper::notifyParentalRatingChange(unsigned short a, unsigned short b, unsigned short c, int d)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("notifyParentalRatingChange");
    if (wrapper != nullptr) {
        wrapper->notifyParentalRatingChange(a, b, c, d);
    }
}

void CompletionWrapper::notifyProgrammeChanged(unsigned short a, unsigned short b, unsigned short c)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("notifyProgrammeChanged");
    if (wrapper != nullptr) {
        wrapper->notifyProgrammeChanged(a, b, c);
    }
}

void CompletionWrapper::SetHbbTVRunningStatus(bool running)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("SetHbbTVRunningStatus");
    if (wrapper != nullptr) {
        wrapper->SetHbbTVRunningStatus(running);
    }
}

bool CompletionWrapper::isAppAlive(int appId)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("isAppAlive");
    return wrapper != nullptr ? wrapper->isAppAlive(appId) : false;
}

const char* CompletionWrapper::setupEnvVar(const char* name, const char* value)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("setupEnvVar");
    return wrapper != nullptr ? wrapper->setupEnvVar(name, value) : nullptr;
}

void CompletionWrapper::unsetEnvVar(const char* name)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("unsetEnvVar");
    if (wrapper != nullptr) {
        wrapper->unsetEnvVar(name);
    }
}

void CompletionWrapper::killCurrentApp()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("killCurrentApp");
    if (wrapper != nullptr) {
        wrapper->killCurrentApp();
    }
}

void CompletionWrapper::notifyChannelListChanged()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("notifyChannelListChanged");
    if (wrapper != nullptr) {
        wrapper->notifyChannelListChanged();
    }
}

void CompletionWrapper::selectMMAudioComponent(const HbbtvMultimediaComponentData& component)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("selectMMAudioComponent");
    if (wrapper != nullptr) {
        wrapper->selectMMAudioComponent(component);
    }
}

void CompletionWrapper::selectMMSubtitleComponent(const HbbtvMultimediaComponentData& component)
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("selectMMSubtitleComponent");
    if (wrapper != nullptr) {
        wrapper->selectMMSubtitleComponent(component);
    }
}

void CompletionWrapper::forceReleaseMMResource()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("forceReleaseMMResource");
    if (wrapper != nullptr) {
        wrapper->forceReleaseMMResource();
    }
}

void CompletionWrapper::notifySignalLost()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("notifySignalLost");
    if (wrapper != nullptr) {
        wrapper->notifySignalLost();
    }
}

void CompletionWrapper::notifyTunerPlundered()
{
    const std::shared_lock<std::shared_mutex> forwarding(m_checker.forwardingLock());
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* const wrapper = admit("notifyTunerPlundered");
    if (wrapper != nullptr) {
        wrapper->notifyTunerPlundered();
    }
}

} // namespace hbbtv_hostcheck
