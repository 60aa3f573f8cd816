// The application manager: construction, teardown, binding to the browser, the browser's death,
// client registration and the host's small operations.
#include "ZR_HBBTV.implIPC_p.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <new>

#include <binder/IServiceManager.h>

#include "HbbtvBackendTVService.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

const char kSourceName[] = "ZR_HBBTV.implIPC_p";
const char kBrowserServiceName[] = "com.kalto.YXTService";
const char kBrowserExecutable[] = "/vendor/lib/YXT";
const int kBrowserLookups = 11;

} // namespace

namespace {

// Calls into the host that the calling thread is inside now.
thread_local unsigned int t_hostCalls = 0;

} // namespace

HostCallGate& HostCallGate::process()
{
    static HostCallGate* const gate = new HostCallGate(); // outlives every thread at exit
    return *gate;
}

HostCallGate::HostCallGate() : m_closed(false), m_running(0), m_excused(0)
{
}

bool HostCallGate::enter()
{
    Locker<Mutex> lock(m_mutex);
    if (m_closed) {
        return false;
    }
    ++m_running;
    ++t_hostCalls;
    return true;
}

void HostCallGate::leave()
{
    Locker<Mutex> lock(m_mutex);
    --m_running;
    --t_hostCalls;
    if (m_closed) {
        m_left.broadcast();
    }
}

void HostCallGate::close()
{
    Locker<Mutex> lock(m_mutex);
    m_closed = true;
}

void HostCallGate::drain()
{
    const unsigned int mine = t_hostCalls;
    Locker<Mutex> lock(m_mutex);
    m_excused += mine;
    m_left.broadcast(); // another thread waiting here may be waiting for these
    bool said = false;
    while (m_running > m_excused) {
        if (!m_left.timedWait(m_mutex, currentTime() + 1.0) && !said) {
            printf("[ZR_HBBTV]: deinit waits for %u calls into the host to return\n", m_running - m_excused);
            said = true;
        }
    }
    m_excused -= mine;
}

Mutex ZR_HbbtvImplPrivate::m_mutex;
Mutex ZR_HbbtvImplPrivate::m_launchMutex;
std::atomic<bool> ZR_HbbtvImplPrivate::_gotKilled(false);
unsigned int ZR_HbbtvImplPrivate::_keyID = 0;
int ZR_HbbtvImplPrivate::_AppIDCounter = 1;

void DeathNotifier::binderDied(const android::wp<android::IBinder>&)
{
    m_owner->binderDied();
}

ZR_HbbtvImplPrivate::ZR_HbbtvImplPrivate(Hbbtv_TVServer* server)
    : m_server(server), m_browserPid(0), m_tvServiceUnlocked(nullptr), m_keyState(0), m_cookiesEnabled(false),
      m_tornDown(false)
{
    m_mmClient = new YXTMMClient(this);
}

ZR_HbbtvImplPrivate::~ZR_HbbtvImplPrivate()
{
    // Torn down already when the host de-initialised: nothing is left to release, and no lock is
    // taken where the last reference goes.
    if (!m_tornDown) {
        teardown();
    }
}

int ZR_HbbtvImplPrivate::init()
{
    // The TV service and the agent's issuer are created once per process and keep pointing at the
    // manager that created them, so that manager is kept for the life of the process; a later
    // manager only refuses (its teardown latched the class).
    static android::sp<ZR_HbbtvImplPrivate>* const serviceOwner = new android::sp<ZR_HbbtvImplPrivate>(this);
    (void)serviceOwner;
    m_tvService = HbbtvBackendTVService::instantiate(this, this);
    if (m_tvService == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceName, __PRETTY_FUNCTION__, 263);
    }
    m_tvServiceUnlocked = m_tvService.get();
    return 1;
}

void ZR_HbbtvImplPrivate::teardown()
{
    Locker<Mutex> lock(m_mutex);
    android::sp<HbbtvBackendTVService> service = m_tvService;
    m_tvService.clear();
    m_tvServiceUnlocked = nullptr;
    _gotKilled = true;
    m_tornDown = true;
    // No call into the host starts from here on; deinit waits for those running.
    HostCallGate::process().close();
    {
        // The browser's verdict is refused from now on: a keyClick waiting for one stops waiting.
        Locker<Mutex> waiting(m_keyWaitMutex);
        m_keyVerdict.broadcast();
    }
    if (service != nullptr) {
        service->teardown();
    }
    // References go in reverse order of the members; nothing is said to the browser.
    m_windows.clear();
    m_recordingManagerClient.clear();
    m_tvConfigurationClient.clear();
    m_dsmccClient.clear();
    m_channelManagerClient.clear();
    m_aitSignallingClient.clear();
    m_keys.clear();
    m_userApps.clear();
    if (m_mmClient != nullptr) {
        m_mmClient->detach();
        m_mmClient.clear();
    }
    m_browserService.clear();
    m_deathNotifier.clear();
}

bool ZR_HbbtvImplPrivate::launchBrowser()
{
    // The look-ups may take ten seconds: they run without the class-wide lock, so that the host's
    // other calls (completions above all) go on meanwhile. Launches themselves go one at a time.
    Locker<Mutex> launching(m_launchMutex);
    if (_gotKilled) {
        return false;
    }
    const android::sp<android::IServiceManager> manager = android::defaultServiceManager();
    android::sp<android::IBinder> binder;
    for (int attempt = 1;; ++attempt) {
        binder = manager->getService(android::String16(kBrowserServiceName));
        if (binder != nullptr) {
            break;
        }
        if (attempt == kBrowserLookups) {
            // Not reported to the host as a failure: nothing is bound, and what needs the
            // browser finds it missing.
            printf("%s not published,...\n", kBrowserServiceName);
            return true;
        }
        usleep(1000000);
        if (_gotKilled) {
            return false;
        }
    }
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return false;
    }
    m_deathNotifier = new DeathNotifier(this);
    binder->linkToDeath(m_deathNotifier, nullptr, 0);
    if (trace::on()) trace::Line(trace::kind::binder, "bound").arg("service", kBrowserServiceName);
    m_browserService = IYXTService::asInterface(binder);
    if (m_browserService == nullptr) {
        printf("[ZR_HBBTV]: %s does not answer as the browser service\n", kBrowserServiceName);
        return true;
    }
    if (trace::on()) trace::Line(trace::kind::event, "registerClient");
    m_browserService->registerClient(android::sp<IYXTClient>(this));
    m_browserService->registerMMClient(m_mmClient);
    return true;
}

bool ZR_HbbtvImplPrivate::isBrowserReady()
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return false;
    }
    return m_tvService != nullptr && m_aitSignallingClient != nullptr && m_browserService != nullptr;
}

void ZR_HbbtvImplPrivate::binderDied()
{
    puts("hbbtvBrowser is died!");
    if (trace::on()) trace::Line(trace::kind::binder, "died").arg("service", kBrowserServiceName);
    {
        Locker<Mutex> lock(m_mutex);
        if (_gotKilled) {
            return;
        }
        // Only the notifier and the pid are reset: the host decides what the death means.
        m_deathNotifier.clear();
        m_browserPid = 0;
    }
    // Without the lock: the host may call any wrapper operation from inside its callback.
    HBBTV_BrowserDiedNotification();
}

bool ZR_HbbtvImplPrivate::startBrowser()
{
    struct stat info;
    if (stat(kBrowserExecutable, &info) != 0) {
        return false;
    }
    const pid_t pid = fork();
    if (pid == 0) {
        char* const arguments[] = {const_cast<char*>(kBrowserExecutable), const_cast<char*>("-frameless-window"),
                                   const_cast<char*>("-qws"), const_cast<char*>("-display"),
                                   const_cast<char*>("directfb:layerid=1:debug"), nullptr};
        execv(kBrowserExecutable, arguments);
        return true;
    }
    if (pid < 0) {
        return false;
    }
    m_browserPid = pid;
    return true;
}

void ZR_HbbtvImplPrivate::stopBrowser()
{
}

char** ZR_HbbtvImplPrivate::createEnvs()
{
    char** environment = new char*[1];
    environment[0] = nullptr;
    return environment;
}

// ---------------------------------------------------------------------------------------------
// Hbbtv_TVServer: on their way to the host. Once the manager is torn down the host may already
// have destroyed its server, so nothing is passed on any more.

void ZR_HbbtvImplPrivate::HBBTV_CommandHandler(void* command)
{
    const HostCall call;
    if (call) {
        if (trace::on()) trace::Line(trace::kind::callback, "HBBTV_CommandHandler");
        m_server->HBBTV_CommandHandler(command);
    }
}

// The agent's way to the host, through the hand-over below.
IssueSrviceRequest::IssueSrviceRequest(Hbbtv_TVServer* server) : m_server(server)
{
    // The line names the TV service, which makes the issuer, as it always has.
    if (server == nullptr) {
        HbbtvBackendGlue_AssertFail(
            "HbbtvBackendTVService", "ZR_HBBTV_Core::IssueSrviceRequest::IssueSrviceRequest(Hbbtv_TVServer*)", 29);
    }
}

// On the agent's thread, with no lock held.
bool IssueSrviceRequest::operator()(const HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer)
{
    m_server->HBBTV_ServiceRequestHandler(const_cast<HbbtvCommandPayload*>(payload), answer);
    return true;
}

void ZR_HbbtvImplPrivate::HBBTV_ServiceRequestHandler(void* payload, void* answer)
{
    {
        const HostCall call;
        if (call) {
            m_server->HBBTV_ServiceRequestHandler(payload, answer);
            return;
        }
    }
    // The host is gone: the request finishes at once, its answer not valid, rather than keep its
    // requester for a whole budget.
    if (payload != nullptr) {
        getServiceAgent()->response(static_cast<HbbtvCommandPayload*>(payload)->ticket);
    }
}

void ZR_HbbtvImplPrivate::HBBTV_HeartBeatNotification()
{
    const HostCall call;
    if (call) {
        if (trace::on()) trace::Line(trace::kind::callback, "HBBTV_HeartBeatNotification");
        m_server->HBBTV_HeartBeatNotification();
    }
}

void ZR_HbbtvImplPrivate::HBBTV_LoadingNotification(int progress, const char* url)
{
    const HostCall call;
    if (call) {
        if (trace::on()) trace::Line(trace::kind::callback, "HBBTV_LoadingNotification").arg("progress", progress).arg("url", url);
        m_server->HBBTV_LoadingNotification(progress, url);
    }
}

void ZR_HbbtvImplPrivate::HBBTV_BrowserDiedNotification()
{
    const HostCall call;
    if (call) {
        if (trace::on()) trace::Line(trace::kind::callback, "HBBTV_BrowserDiedNotification");
        m_server->HBBTV_BrowserDiedNotification();
    }
}

void ZR_HbbtvImplPrivate::HBBTV_NotifyUserAppCreated(int windowId, int appId)
{
    Locker<Mutex> lock(m_mutex);
    if (_gotKilled) {
        return;
    }
    const std::map<int, int>::iterator app = m_userApps.find(appId);
    if (app != m_userApps.end()) {
        app->second = windowId;
    }
}

void ZR_HbbtvImplPrivate::HBBTV_DelegateAction(void (*)(void*), void*)
{
}

void ZR_HbbtvImplPrivate::HBBTV_ReportIsAnyAppRunning(bool)
{
}

void ZR_HbbtvImplPrivate::HBBTV_NotifyMultimediaAudioComponentDataChanged(
    const std::vector<HbbtvMultimediaComponentData>&, int)
{
}

void ZR_HbbtvImplPrivate::HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
    const std::vector<HbbtvMultimediaComponentData>&, int)
{
}

// ---------------------------------------------------------------------------------------------
// Client registration (the TV service passes on what the browser registers).

void ZR_HbbtvImplPrivate::registerAITSignallingClient(const android::sp<IAITSignallingClient>& client)
{
    Locker<Mutex> lock(m_mutex);
    if (!_gotKilled) {
        m_aitSignallingClient = client;
    }
}

void ZR_HbbtvImplPrivate::registerChannelManagerClient(const android::sp<IChannelManagerClient>& client)
{
    Locker<Mutex> lock(m_mutex);
    if (!_gotKilled) {
        m_channelManagerClient = client;
    }
}

void ZR_HbbtvImplPrivate::registerDSMCCClient(const android::sp<IDSMCCClient>& client)
{
    Locker<Mutex> lock(m_mutex);
    if (!_gotKilled) {
        m_dsmccClient = client;
    }
}

void ZR_HbbtvImplPrivate::registerTvConfigurationClient(const android::sp<ITvConfigurationClient>& client)
{
    Locker<Mutex> lock(m_mutex);
    if (!_gotKilled) {
        m_tvConfigurationClient = client;
    }
}

void ZR_HbbtvImplPrivate::registerRecordingManagerClient(const android::sp<IRecordingManagerClient>& client)
{
    Locker<Mutex> lock(m_mutex);
    if (!_gotKilled) {
        m_recordingManagerClient = client;
    }
}

// ---------------------------------------------------------------------------------------------
// Host operations.

void ZR_HbbtvImplPrivate::SetHbbTVRunningStatus(bool running)
{
    HbbtvBackendTVService* const service = m_tvServiceUnlocked;
    if (service != nullptr) {
        service->SetHbbTVRunningStatus(running);
    }
}

void ZR_HbbtvImplPrivate::setCookiesEnabledAttribute(bool enabled)
{
    if (!m_tornDown) {
        m_cookiesEnabled = enabled;
    }
}

void ZR_HbbtvImplPrivate::sendCookiesEnabledAttribute()
{
}

const char* ZR_HbbtvImplPrivate::setupEnvVar(const char*, const char*)
{
    return m_tornDown ? nullptr : "0";
}

void ZR_HbbtvImplPrivate::unsetEnvVar(const char*)
{
}

} // namespace ZR_HBBTV_Core
