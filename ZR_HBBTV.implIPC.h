// The wrapper the host creates through CreateHbbtvWrapper: a thin, defensive facade that owns
// the application manager and refuses every call until init.
#ifndef ZR_HBBTV_IMPLIPC_H
#define ZR_HBBTV_IMPLIPC_H

#include <atomic>

#include <utils/StrongPointer.h>

#include "HbbtvBackendGlue.Util.h"
#include "ZR_HbbtvImplInterface.h"

namespace ZR_HBBTV_Core {

class ZR_HbbtvImplPrivate;

class ZR_HbbtvImpl : public ZR_HbbtvImplInterface {
public:
    ZR_HbbtvImpl();
    ~ZR_HbbtvImpl() override;

    void init(Hbbtv_TVServer* server) HBBTV_EXCLUDES(m_lifecycleMutex, m_stateMutex) override;
    void deinit() HBBTV_EXCLUDES(m_lifecycleMutex, m_stateMutex) override;
    int toggleDigitalTeletext() const override;
    void notifyChannelChanged(unsigned short, unsigned short, unsigned short) const override;
    bool newAITNotification(unsigned int aitVersion, const AITApps& apps) override;
    void noAITNotification(unsigned short value) override;
    void tunerStopped(bool stopped) override;
    bool launchBrowser() override;
    bool keyClick(unsigned int key) override;
    int prepareCreateApplication() override;
    int createApplication(int appId, const std::string& url, const std::string& extra) override;
    void closeUserCreatedApps() override;
    void notifyBroadbandAccessAvailable(bool available) override;
    void notifyHbbtvServiceRequestFinished(HbbtvCommandPayload* payload) override;
    void notifyStreamEvent(const std::string&, const std::string&, const std::string&,
                           const std::string&) override;
    void setCookiesEnabledAttribute(bool enabled) override;
    void sendCookiesEnabledAttribute() override;
    bool isBrowserReady() override;
    void notifyTimezoneChanged(const char* timezone) override;
    void notifyLocaleChanged(const char* locale) override;
    void notifyParentalRatingChange(unsigned short, unsigned short, unsigned short, int) override;
    void notifyProgrammeChanged(unsigned short, unsigned short, unsigned short) override;
    void SetHbbTVRunningStatus(bool running) override;
    bool isAppAlive(int appId) override;
    const char* setupEnvVar(const char* name, const char* value) override;
    void unsetEnvVar(const char* name) override;
    void killCurrentApp() override;
    void notifyChannelListChanged() override;
    void selectMMAudioComponent(const HbbtvMultimediaComponentData& component) override;
    void selectMMSubtitleComponent(const HbbtvMultimediaComponentData& component) override;
    void forceReleaseMMResource() override;
    void notifySignalLost() override;
    void notifyTunerPlundered() override;

private:
    // One host call's reference to the private object, taken once: null when the call is
    // refused. A deinit on another thread then cannot clear it under the call; the object stays
    // alive (torn down, refusing) until the call lets go. Taken and let go under m_stateMutex, so
    // that whichever thread lets go last frees the object after every other call is visibly done
    // with it (libutils' reference counts are invisible to ThreadSanitizer). Only a torn-down
    // object can go there, and its destructor then takes no lock.
    class PrivateRef {
    public:
        // initialisedOnly false: the private object alone will do, without a completed init.
        explicit PrivateRef(const ZR_HbbtvImpl& wrapper, bool initialisedOnly = true);
        ~PrivateRef();
        PrivateRef(const PrivateRef&) = delete;
        PrivateRef& operator=(const PrivateRef&) = delete;
        explicit operator bool() const { return m_private != nullptr; }
        ZR_HbbtvImplPrivate* operator->() const { return m_private.get(); }

    private:
        const ZR_HbbtvImpl& m_wrapper;
        android::sp<ZR_HbbtvImplPrivate> m_private;
    };
    // PrivateRef's two halves, out of its constructor and destructor, which the analysis skips.
    android::sp<ZR_HbbtvImplPrivate> takePrivate(bool initialisedOnly) const HBBTV_EXCLUDES(m_stateMutex);
    void letGoPrivate(android::sp<ZR_HbbtvImplPrivate>& reference) const HBBTV_EXCLUDES(m_stateMutex);

    // Serialises init and deinit; guards no field of its own. Held across the private object's init
    // and teardown, which m_stateMutex never is, so that a host call made meanwhile is refused
    // rather than blocked.
    Mutex m_lifecycleMutex;
    // Guards the two fields below, for as long as it takes to read or set them.
    mutable Mutex m_stateMutex;
    // Owned through its reference count: the browser holds references to it as its client.
    android::sp<ZR_HbbtvImplPrivate> m_private HBBTV_GUARDED_BY(m_stateMutex);
    bool m_initialised HBBTV_GUARDED_BY(m_stateMutex);
    // Set by the first init and never cleared: completions are accepted from then on.
    std::atomic<bool> m_everInitialised;
};

} // namespace ZR_HBBTV_Core

#endif
