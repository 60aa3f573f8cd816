// The host's server (its Hbbtv_TVServer) for one init, deleted after deinit as a host deletes it.
// It takes its time in every callback, as a host does, and passes requests on to the middleware
// (the simulated host, which answers on a thread of its own and outlives the server).
//
// A deleted server poisons itself so that a call into it is caught without a sanitizer: every
// callback checks in with a registry of live servers on entry and on return, which counts a call
// that arrives, or is still running, once the host's deinit has returned or the server is gone;
// and the deleted server's storage is kept with a tombstone in it whose every callback counts as a
// call into a deleted host. Under AddressSanitizer the storage is freed instead, and such a call
// is reported as a heap-use-after-free.
#ifndef HBBTV_SOAK_LIFECYCLE_SERVER_H
#define HBBTV_SOAK_LIFECYCLE_SERVER_H

#include <cstddef>
#include <vector>

#include "SimulatedHost.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_soak {

class LifecycleServer final : public Hbbtv_TVServer {
public:
    // Requests get at most budgetMs as the server takes them (the host's right).
    LifecycleServer(hbbtv_sim::SimulatedHost& middleware, unsigned int budgetMs);
    ~LifecycleServer();
    LifecycleServer(const LifecycleServer&) = delete;
    LifecycleServer& operator=(const LifecycleServer&) = delete;
    // Paired: deleting keeps the storage, with a tombstone in it (see above).
    static void* operator new(size_t size);
    static void operator delete(void* storage);

    // The host's deinit has returned: no call may come in from now on, nor still be running.
    void deinitReturned();
    // This server was given to an init that the library refuses: no call may come in at all.
    void expectNoCalls();

    void HBBTV_CommandHandler(void* command) override;
    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override;
    void HBBTV_HeartBeatNotification() override;
    void HBBTV_LoadingNotification(int progress, const char* url) override;
    void HBBTV_BrowserDiedNotification() override;
    void HBBTV_NotifyUserAppCreated(int windowId, int appId) override;
    void HBBTV_DelegateAction(void (*action)(void*), void* argument) override;
    void HBBTV_ReportIsAnyAppRunning(bool running) override;
    void HBBTV_NotifyMultimediaAudioComponentDataChanged(const std::vector<HbbtvMultimediaComponentData>& components,
                                                         int value) override;
    void HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
        const std::vector<HbbtvMultimediaComponentData>& components, int value) override;

private:
    hbbtv_sim::SimulatedHost& m_middleware;
    const unsigned int m_budgetMs;
};

// Calls into every server of the process so far.
struct HostCallCounts {
    size_t calls = 0;
    size_t intoDeletedHost = 0;   // into a deleted server, or still running when it was deleted
    size_t afterDeinit = 0;       // into a server whose deinit had returned, or still running then
    size_t intoRefusedInit = 0;   // into a server whose init was refused
};
HostCallCounts hostCallCounts();

} // namespace hbbtv_soak

#endif
