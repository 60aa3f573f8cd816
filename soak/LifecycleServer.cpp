#include "LifecycleServer.h"

#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <new>
#include <random>
#include <thread>

namespace hbbtv_soak {

namespace {

struct ServerState {
    bool closed = false;  // its deinit has returned
    bool refused = false; // its init was refused
};

// Live servers by address. A deleted server's storage is never reused (it holds a tombstone, or
// sits in AddressSanitizer's quarantine), so an address names one server for the process's life.
struct Registry {
    std::mutex mutex;
    std::map<const void*, ServerState> servers;
    HostCallCounts counts;
};

Registry& registry()
{
    static Registry* const instance = new Registry(); // outlives every thread at exit
    return *instance;
}

void report(const char* what, const char* callback)
{
    fprintf(stderr, "[soak] %s: %s\n", what, callback);
}

// One callback: checked in on entry and on return.
class CallCheck {
public:
    CallCheck(const void* server, const char* callback) : m_server(server), m_callback(callback)
    {
        Registry& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        ++r.counts.calls;
        const auto found = r.servers.find(server);
        if (found == r.servers.end()) {
            m_counted = true;
            ++r.counts.intoDeletedHost;
            report("call into a deleted host", callback);
        } else if (found->second.closed) {
            m_counted = true;
            ++r.counts.afterDeinit;
            report("call into the host after its deinit returned", callback);
        } else if (found->second.refused) {
            m_counted = true;
            ++r.counts.intoRefusedInit;
            report("call into a host whose init was refused", callback);
        }
    }
    ~CallCheck()
    {
        if (m_counted) {
            return;
        }
        Registry& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        const auto found = r.servers.find(m_server);
        if (found == r.servers.end()) {
            ++r.counts.intoDeletedHost;
            report("call still running when its host was deleted", m_callback);
        } else if (found->second.closed) {
            ++r.counts.afterDeinit;
            report("call still running when the host's deinit returned", m_callback);
        }
    }
    CallCheck(const CallCheck&) = delete;
    CallCheck& operator=(const CallCheck&) = delete;

private:
    const void* const m_server;
    const char* const m_callback;
    bool m_counted = false;
};

// A host takes its time in its callbacks: up to maxUs, so that calls are often running when the
// host de-initialises.
void pause(unsigned int maxUs)
{
    thread_local std::minstd_rand random(static_cast<unsigned>(std::hash<std::thread::id>()(std::this_thread::get_id())));
    std::this_thread::sleep_for(std::chrono::microseconds(random() % (maxUs + 1)));
}

const unsigned int kCallbackPauseUs = 1000;
const unsigned int kHandOverPauseUs = 200; // on the library's agent thread, which serves every request

// What a deleted server's storage holds.
class DeletedServer : public Hbbtv_TVServer {
public:
    void HBBTV_CommandHandler(void*) override { counted("HBBTV_CommandHandler"); }
    void HBBTV_ServiceRequestHandler(void* payload, void*) override
    {
        counted("HBBTV_ServiceRequestHandler");
        if (payload != nullptr) {
            static_cast<HbbtvCommandPayload*>(payload)->timeoutMs = 0; // nobody will answer it
        }
    }
    void HBBTV_HeartBeatNotification() override { counted("HBBTV_HeartBeatNotification"); }
    void HBBTV_LoadingNotification(int, const char*) override { counted("HBBTV_LoadingNotification"); }
    void HBBTV_BrowserDiedNotification() override { counted("HBBTV_BrowserDiedNotification"); }
    void HBBTV_NotifyUserAppCreated(int, int) override { counted("HBBTV_NotifyUserAppCreated"); }
    void HBBTV_DelegateAction(void (*)(void*), void*) override { counted("HBBTV_DelegateAction"); }
    void HBBTV_ReportIsAnyAppRunning(bool) override { counted("HBBTV_ReportIsAnyAppRunning"); }
    void HBBTV_NotifyMultimediaAudioComponentDataChanged(const std::vector<HbbtvMultimediaComponentData>&, int) override
    {
        counted("HBBTV_NotifyMultimediaAudioComponentDataChanged");
    }
    void HBBTV_NotifyMultimediaSubtitleComponentDataChanged(const std::vector<HbbtvMultimediaComponentData>&,
                                                            int) override
    {
        counted("HBBTV_NotifyMultimediaSubtitleComponentDataChanged");
    }

private:
    static void counted(const char* callback)
    {
        Registry& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        ++r.counts.calls;
        ++r.counts.intoDeletedHost;
        report("call into a deleted host", callback);
    }
};

static_assert(sizeof(DeletedServer) <= sizeof(LifecycleServer), "the tombstone fits the server's storage");

} // namespace

LifecycleServer::LifecycleServer(hbbtv_sim::SimulatedHost& middleware, unsigned int budgetMs)
    : m_middleware(middleware), m_budgetMs(budgetMs)
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.servers[this] = ServerState();
}

LifecycleServer::~LifecycleServer()
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.servers.erase(this);
}

void* LifecycleServer::operator new(size_t size)
{
    return ::operator new(size);
}

void LifecycleServer::operator delete(void* storage)
{
#if defined(__SANITIZE_ADDRESS__)
    ::operator delete(storage);
#else
    new (storage) DeletedServer(); // kept for good: a late call lands in the tombstone
#endif
}

void LifecycleServer::deinitReturned()
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.servers[this].closed = true;
}

void LifecycleServer::expectNoCalls()
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.servers[this].refused = true;
}

void LifecycleServer::HBBTV_CommandHandler(void*)
{
    const CallCheck check(this, "HBBTV_CommandHandler");
    pause(kCallbackPauseUs);
}

void LifecycleServer::HBBTV_ServiceRequestHandler(void* payload, void* answer)
{
    const CallCheck check(this, "HBBTV_ServiceRequestHandler");
    HbbtvCommandPayload* const request = static_cast<HbbtvCommandPayload*>(payload);
    if (request != nullptr && request->timeoutMs > m_budgetMs) {
        request->timeoutMs = m_budgetMs;
    }
    pause(kHandOverPauseUs);
    m_middleware.HBBTV_ServiceRequestHandler(payload, answer);
}

void LifecycleServer::HBBTV_HeartBeatNotification()
{
    const CallCheck check(this, "HBBTV_HeartBeatNotification");
    m_middleware.HBBTV_HeartBeatNotification();
}

void LifecycleServer::HBBTV_LoadingNotification(int progress, const char* url)
{
    const CallCheck check(this, "HBBTV_LoadingNotification");
    pause(kCallbackPauseUs);
    m_middleware.HBBTV_LoadingNotification(progress, url);
}

void LifecycleServer::HBBTV_BrowserDiedNotification()
{
    const CallCheck check(this, "HBBTV_BrowserDiedNotification");
    m_middleware.HBBTV_BrowserDiedNotification();
}

void LifecycleServer::HBBTV_NotifyUserAppCreated(int windowId, int appId)
{
    const CallCheck check(this, "HBBTV_NotifyUserAppCreated");
    pause(kCallbackPauseUs);
    m_middleware.HBBTV_NotifyUserAppCreated(windowId, appId);
}

void LifecycleServer::HBBTV_DelegateAction(void (*action)(void*), void* argument)
{
    const CallCheck check(this, "HBBTV_DelegateAction");
    m_middleware.HBBTV_DelegateAction(action, argument);
}

void LifecycleServer::HBBTV_ReportIsAnyAppRunning(bool running)
{
    const CallCheck check(this, "HBBTV_ReportIsAnyAppRunning");
    pause(kCallbackPauseUs);
    m_middleware.HBBTV_ReportIsAnyAppRunning(running);
}

void LifecycleServer::HBBTV_NotifyMultimediaAudioComponentDataChanged(
    const std::vector<HbbtvMultimediaComponentData>& components, int value)
{
    const CallCheck check(this, "HBBTV_NotifyMultimediaAudioComponentDataChanged");
    pause(kCallbackPauseUs);
    m_middleware.HBBTV_NotifyMultimediaAudioComponentDataChanged(components, value);
}

void LifecycleServer::HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
    const std::vector<HbbtvMultimediaComponentData>& components, int value)
{
    const CallCheck check(this, "HBBTV_NotifyMultimediaSubtitleComponentDataChanged");
    pause(kCallbackPauseUs);
    m_middleware.HBBTV_NotifyMultimediaSubtitleComponentDataChanged(components, value);
}

HostCallCounts hostCallCounts()
{
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    return r.counts;
}

} // namespace hbbtv_soak
