// The library's boundary towards the host: the wrapper interface the host programs against, the
// host's callback interface handed in through init, the client register the TV service uses, and
// the two exported entry points. Virtual operations are declared in their fixed table order.
#ifndef ZR_HBBTV_IMPL_INTERFACE_H
#define ZR_HBBTV_IMPL_INTERFACE_H

#include <string>
#include <vector>

#include "HbbtvBackendCommand.h"
#include "HbbtvBackendRecords.h"
#include "HbbtvHostRecords.h"

namespace android {
template <typename T>
class sp;
}

class IAITSignallingClient;
class IChannelManagerClient;
class IDSMCCClient;
class ITvConfigurationClient;

// Implemented by the host; the library never deletes it.
class Hbbtv_TVServer {
public:
    virtual void HBBTV_CommandHandler(void* command) = 0;
    // Hands over a HbbtvCommandPayload and its HbbtvServiceRequestAnswer; the host reports
    // completion later through notifyHbbtvServiceRequestFinished.
    virtual void HBBTV_ServiceRequestHandler(void* payload, void* answer) = 0;
    virtual void HBBTV_HeartBeatNotification() = 0;
    virtual void HBBTV_LoadingNotification(int progress, const char* url) = 0;
    virtual void HBBTV_BrowserDiedNotification() = 0;
    virtual void HBBTV_NotifyUserAppCreated(int windowId, int appId) = 0;
    virtual void HBBTV_DelegateAction(void (*action)(void*), void* argument) = 0;
    virtual void HBBTV_ReportIsAnyAppRunning(bool running) = 0;
    virtual void HBBTV_NotifyMultimediaAudioComponentDataChanged(
        const std::vector<HbbtvMultimediaComponentData>& components, int value) = 0;
    virtual void HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
        const std::vector<HbbtvMultimediaComponentData>& components, int value) = 0;
};

// Where the TV service hands the browser's client objects to the application manager.
class HbbtvBackendClientRegister {
public:
    virtual void registerAITSignallingClient(const android::sp<IAITSignallingClient>& client) = 0;
    virtual void registerChannelManagerClient(const android::sp<IChannelManagerClient>& client) = 0;
    virtual void registerDSMCCClient(const android::sp<IDSMCCClient>& client) = 0;
    virtual void registerTvConfigurationClient(const android::sp<ITvConfigurationClient>& client) = 0;
};

namespace ZR_HBBTV_Core {

// The wrapper as the host sees it. Operations are refused (false, 0, null) until init.
class ZR_HbbtvImplInterface {
public:
    virtual ~ZR_HbbtvImplInterface() {}

    virtual void init(Hbbtv_TVServer* server) = 0;
    virtual void deinit() = 0;
    virtual int toggleDigitalTeletext() const = 0;
    virtual void notifyChannelChanged(unsigned short, unsigned short, unsigned short) const = 0;
    virtual bool newAITNotification(unsigned int aitVersion, const AITApps& apps) = 0;
    virtual void noAITNotification(unsigned short value) = 0;
    virtual void tunerStopped(bool stopped) = 0;
    virtual bool launchBrowser() = 0;
    // True when the browser consumed the key (or did not answer in time).
    virtual bool keyClick(unsigned int key) = 0;
    virtual int prepareCreateApplication() = 0;
    virtual int createApplication(int appId, const std::string& url, const std::string& extra) = 0;
    virtual void closeUserCreatedApps() = 0;
    virtual void notifyBroadbandAccessAvailable(bool available) = 0;
    virtual void notifyHbbtvServiceRequestFinished(HbbtvCommandPayload* payload) = 0;
    virtual void notifyStreamEvent(const std::string&, const std::string&, const std::string&,
                                   const std::string&) = 0;
    virtual void setCookiesEnabledAttribute(bool enabled) = 0;
    virtual void sendCookiesEnabledAttribute() = 0;
    virtual bool isBrowserReady() = 0;
    virtual void notifyTimezoneChanged(const char* timezone) = 0;
    virtual void notifyLocaleChanged(const char* locale) = 0;
    virtual void notifyParentalRatingChange(unsigned short, unsigned short, unsigned short, int) = 0;
    virtual void notifyProgrammeChanged(unsigned short, unsigned short, unsigned short) = 0;
    virtual void SetHbbTVRunningStatus(bool running) = 0;
    virtual bool isAppAlive(int appId) = 0;
    virtual const char* setupEnvVar(const char* name, const char* value) = 0;
    virtual void unsetEnvVar(const char* name) = 0;
    virtual void killCurrentApp() = 0;
    virtual void notifyChannelListChanged() = 0;
    virtual void selectMMAudioComponent(const HbbtvMultimediaComponentData& component) = 0;
    virtual void selectMMSubtitleComponent(const HbbtvMultimediaComponentData& component) = 0;
    virtual void forceReleaseMMResource() = 0;
    virtual void notifySignalLost() = 0;
    virtual void notifyTunerPlundered() = 0;
};

} // namespace ZR_HBBTV_Core

// The host creates exactly one wrapper; nothing starts until init and launchBrowser.
extern "C" __attribute__((visibility("default"))) ZR_HBBTV_Core::ZR_HbbtvImplInterface* CreateHbbtvWrapper();
// Deletes a wrapper made by CreateHbbtvWrapper (running deinit); null and foreign objects are ignored.
extern "C" __attribute__((visibility("default"))) void DestroyHbbtvWrapper(
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper);

#endif
