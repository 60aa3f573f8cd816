// The application manager behind the wrapper: the host's forwarding Hbbtv_TVServer, the client
// register of the TV service, and the browser's client (IYXTClient). It binds to the browser's
// service, watches it for death, passes AIT, keys, applications and broadcast events to the
// browser, and carries the browser's reports back to the host.
//
// One class-wide mutex guards every instance, and a class-wide killed latch, set for good at
// teardown, makes every later guarded operation refuse: the library is initialised once per
// process.
#ifndef ZR_HBBTV_IMPLIPC_P_H
#define ZR_HBBTV_IMPLIPC_P_H

#include <atomic>
#include <list>
#include <map>
#include <string>
#include <vector>

#include <binder/IBinder.h>

#include "HbbtvBackendGlue.ServiceAgent.h"
#include "HbbtvBackendGlue.Util.h"
#include "IAITSignallingClient.h"
#include "IChannelManagerClient.h"
#include "IDSMCCClient.h"
#include "IRecordingManagerClient.h"
#include "ITvConfigurationClient.h"
#include "IYXTClient.h"
#include "IYXTMMClient.h"
#include "IYXTService.h"
#include "ZR_HbbtvImplInterface.h"

namespace ZR_HBBTV_Core {

class HbbtvBackendTVService;
class ZR_HbbtvImplPrivate;

// The calls into the host that are running, so that teardown can close the way to the host and
// then wait until none is left: once deinit returns, the host may destroy its server. There is one
// for the process, as the killed latch is one for the process.
//
// A thread that waits from inside its own call into the host (a host that de-initialises from one
// of its callbacks) cannot wait for that call; nor for the calls of other threads that wait the
// same way, since they wait for it in turn. Those calls are excused from the wait.
class HostCallGate {
public:
    static HostCallGate& process();

    // True when the way is open: the call may go ahead, and leave() follows it.
    bool enter() HBBTV_EXCLUDES(m_mutex);
    void leave() HBBTV_EXCLUDES(m_mutex);
    // Refuses every later enter().
    void close() HBBTV_EXCLUDES(m_mutex);
    // Waits until every call that is not excused has left.
    void drain() HBBTV_EXCLUDES(m_mutex);

private:
    HostCallGate();

    Mutex m_mutex;
    ThreadCondition m_left;
    bool m_closed HBBTV_GUARDED_BY(m_mutex);
    unsigned int m_running HBBTV_GUARDED_BY(m_mutex); // calls inside the host now
    unsigned int m_excused HBBTV_GUARDED_BY(m_mutex); // of those, the calls of threads waiting in drain()
};

// One call into the host through the process's gate, for the object's lifetime.
class HostCall {
public:
    HostCall() : m_entered(HostCallGate::process().enter())
    {
        if (m_entered) {
            injectDelay("host-call");
        }
    }
    ~HostCall()
    {
        if (m_entered) {
            HostCallGate::process().leave();
        }
    }
    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;
    explicit operator bool() const { return m_entered; }

private:
    const bool m_entered;
};

// The agent's way to the host: it hands each request to the server it was made over, which is the
// manager below, whose HBBTV_ServiceRequestHandler passes it through the gate to the host. The TV
// service makes the one issuer when it starts the agent.
class IssueSrviceRequest : public ServiceRequestIssuer {
public:
    explicit IssueSrviceRequest(Hbbtv_TVServer* server);
    bool operator()(const HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer) override;

private:
    Hbbtv_TVServer* m_server;
};

class DeathNotifier : public android::IBinder::DeathRecipient {
public:
    explicit DeathNotifier(ZR_HbbtvImplPrivate* owner) : m_owner(owner) {}
    void binderDied(const android::wp<android::IBinder>& who) override;

private:
    ZR_HbbtvImplPrivate* m_owner;
};

// The multimedia client registered with the browser: forwards the player's component reports.
class YXTMMClient : public BnYXTMMClient {
public:
    explicit YXTMMClient(ZR_HbbtvImplPrivate* owner) : m_owner(owner) {}
    void notifyAudioComponentsChanged(const std::vector<MultimediaComponentData>& components, int value) override;
    void notifySubtitleComponentsChanged(const std::vector<MultimediaComponentData>& components,
                                         int value) override;
    // Cut at teardown, so that a late report from the browser reaches nothing.
    void detach() { m_owner.store(nullptr); }

private:
    std::atomic<ZR_HbbtvImplPrivate*> m_owner;
};

class ZR_HbbtvImplPrivate : public Hbbtv_TVServer, public HbbtvBackendClientRegister, public BnYXTClient {
public:
    struct keyInfo {
        unsigned int key;
        bool consumed;
    };

    explicit ZR_HbbtvImplPrivate(Hbbtv_TVServer* server);

    // Hbbtv_TVServer: calls from inside the library on their way to the host.
    void HBBTV_CommandHandler(void* command) override;
    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override;
    void HBBTV_HeartBeatNotification() override;
    void HBBTV_LoadingNotification(int progress, const char* url) override;
    void HBBTV_BrowserDiedNotification() override;
    void HBBTV_NotifyUserAppCreated(int windowId, int appId) override;
    void HBBTV_DelegateAction(void (*action)(void*), void* argument) override;
    void HBBTV_ReportIsAnyAppRunning(bool running) override;
    void HBBTV_NotifyMultimediaAudioComponentDataChanged(const std::vector<HbbtvMultimediaComponentData>&,
                                                         int) override;
    void HBBTV_NotifyMultimediaSubtitleComponentDataChanged(const std::vector<HbbtvMultimediaComponentData>&,
                                                            int) override;

    ~ZR_HbbtvImplPrivate() override;

    // HbbtvBackendClientRegister, and the fifth client kind.
    void registerAITSignallingClient(const android::sp<IAITSignallingClient>& client) override;
    void registerChannelManagerClient(const android::sp<IChannelManagerClient>& client) override;
    void registerDSMCCClient(const android::sp<IDSMCCClient>& client) override;
    void registerTvConfigurationClient(const android::sp<ITvConfigurationClient>& client) override;
    void registerRecordingManagerClient(const android::sp<IRecordingManagerClient>& client);

    // IYXTClient: the browser's reports, on binder threads.
    void notifyNewWindow(int windowId) override;
    void notifyWindowClosed(int windowId) override;
    void notifyLoadStarted(int loadId, const std::string& url) override;
    void notifyLoadProgress(int loadId, int percent) override;
    void notifyLoadComplete(int loadId) override;
    void notifyLoadFailed(int loadId, const std::string& url, int error) override;
    void notifyKeyEventConsumed(int eventId, bool consumed) override;
    void notifyInitialLayoutCompleted(int loadId) override;
    void notifyWindowPainted(int windowId, int x, int y, int width, int height) override;

    // Lifecycle and binding.
    // Stores the TV service without m_mutex: no host call reaches the manager before the wrapper
    // publishes it under its own lock, after this returns.
    int init() HBBTV_NO_THREAD_SAFETY_ANALYSIS;
    // The destructor's work, run when the host de-initialises: latch, TV service torn down,
    // references released. The object itself goes with its last reference.
    void teardown();
    bool launchBrowser();
    bool isBrowserReady();
    bool startBrowser() HBBTV_REQUIRES(m_mutex);
    void stopBrowser();
    char** createEnvs();
    void binderDied();

    // Host operations.
    void SetHbbTVRunningStatus(bool running);
    void setCookiesEnabledAttribute(bool enabled);
    void sendCookiesEnabledAttribute();
    const char* setupEnvVar(const char* name, const char* value);
    void unsetEnvVar(const char* name);

    // AIT and applications.
    bool newAITNotification(unsigned int aitVersion, const AITApps& apps);
    void noAITNotification(unsigned short value);
    int prepareCreateApplication();
    int createApplication(int appId, const std::string& url, const std::string& extra);
    void closeUserCreatedApps();
    void killCurrentApp();
    bool isAppAlive(int appId);

    // Keys.
    bool keyClick(unsigned int key);
    bool IsKeyHandled();
    bool KeyConsumedStatus();
    // Waits until the key state is no longer pending, woken by the browser's verdict; false when
    // the given seconds passed first.
    bool waitKeyHandled(double seconds);

    // Broadcast events.
    void notifyChannelChanged(unsigned short, unsigned short, unsigned short);
    void notifyProgrammeChanged(unsigned short, unsigned short, unsigned short);
    void notifyTunerPlundered();
    void notifySignalLost();
    void tunerStopped(bool stopped);
    void notifyStreamEvent(const std::string&, const std::string&, const std::string&, const std::string&);
    void notifyChannelListChanged();
    void notifyLocaleChanged(const char* locale);
    void notifyTimezoneChanged(const char* timezone);
    int toggleDigitalTeletext();
    void notifyParentalRatingChange(unsigned short, unsigned short, unsigned short, int);
    void notifyBroadbandAccessAvailable(bool available);

    // Multimedia components.
    void notifyAudioComponentsChanged(const std::vector<MultimediaComponentData>& components, int value);
    void notifySubtitleComponentsChanged(const std::vector<MultimediaComponentData>& components, int value);
    void selectMMAudioComponent(const HbbtvMultimediaComponentData& component);
    void selectMMSubtitleComponent(const HbbtvMultimediaComponentData& component);
    void forceReleaseMMResource();

    // Class-wide, and the instance fields marked HBBTV_GUARDED_BY(m_mutex) are checked against it:
    // clang names a static member the same lock whichever instance's code takes it.
    static Mutex m_mutex;
    // Serialises launchBrowser, whose look-ups run without m_mutex.
    static Mutex m_launchMutex;
    // Read without the lock where the browser's reports go straight to the host.
    static std::atomic<bool> _gotKilled;
    static unsigned int _keyID HBBTV_GUARDED_BY(m_mutex);
    static int _AppIDCounter HBBTV_GUARDED_BY(m_mutex); // the next user-application id, from 1; never reset

private:
    // Under the lock and unless killed: hands the channel manager client to send, or prints
    // missingLine when the browser has not registered one.
    template <typename Send>
    void toChannelManager(const char* missingLine, Send send);

    Hbbtv_TVServer* m_server;
    android::sp<DeathNotifier> m_deathNotifier HBBTV_GUARDED_BY(m_mutex);
    int m_browserPid HBBTV_GUARDED_BY(m_mutex);
    android::sp<HbbtvBackendTVService> m_tvService HBBTV_GUARDED_BY(m_mutex);
    // The same service for the paths that deliberately take no lock (browser load reports, the
    // running status); the service itself lives as long as the process.
    std::atomic<HbbtvBackendTVService*> m_tvServiceUnlocked;
    android::sp<IYXTService> m_browserService HBBTV_GUARDED_BY(m_mutex);
    android::sp<YXTMMClient> m_mmClient HBBTV_GUARDED_BY(m_mutex);
    std::map<int, int> m_userApps HBBTV_GUARDED_BY(m_mutex);
    std::map<unsigned int, keyInfo> m_keys HBBTV_GUARDED_BY(m_mutex);
    std::atomic<uint32_t> m_keyState; // polled without the lock by the wrapper
    // The wrapper's wait for a verdict: its own lock, never m_mutex, which launchBrowser may hold
    // for seconds. Taken after m_mutex when a verdict arrives. Guards no field: the key state is
    // atomic, and the lock only closes the gap between its check and the wait.
    Mutex m_keyWaitMutex;
    ThreadCondition m_keyVerdict;
    android::sp<IAITSignallingClient> m_aitSignallingClient HBBTV_GUARDED_BY(m_mutex);
    android::sp<IChannelManagerClient> m_channelManagerClient HBBTV_GUARDED_BY(m_mutex);
    android::sp<IDSMCCClient> m_dsmccClient HBBTV_GUARDED_BY(m_mutex);
    android::sp<ITvConfigurationClient> m_tvConfigurationClient HBBTV_GUARDED_BY(m_mutex);
    android::sp<IRecordingManagerClient> m_recordingManagerClient HBBTV_GUARDED_BY(m_mutex);
    std::list<int> m_windows HBBTV_GUARDED_BY(m_mutex);
    std::atomic<bool> m_cookiesEnabled;
    // This object's own teardown has run. The class-wide latch refuses the guarded operations;
    // this also refuses the few that answer without the lock (a host call that took the object
    // just before deinit gets the refusal value) while a later manager still answers them.
    std::atomic<bool> m_tornDown;
};

} // namespace ZR_HBBTV_Core

#endif
