// The checker's place between the library and the host plugin. The library is given this
// Hbbtv_TVServer; every backend request is copied into the checker's own guarded records (payload,
// answer, and where the command has them the channel-list pool or the in-process result vector),
// those are handed to the plugin's host with a completion wrapper of the checker's, and when the
// host reports completion the records are checked, the answer is copied back into the library's
// records and completion is reported to the real wrapper. A request the host leaves past its
// budget is given up: the library's request is completed unanswered at once, so a silent host
// costs one budget, not the library's own time-out. The synchronous callbacks are timed.
#ifndef HBBTV_HOST_CHECK_CHECKING_HOST_H
#define HBBTV_HOST_CHECK_CHECKING_HOST_H

#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <string>
#include <thread>
#include <vector>

#include "AnswerRules.h"
#include "ZR_HbbtvImplInterface.h"

namespace hbbtv_hostcheck {

class CompletionWrapper;

// A synchronous callback must return within this, unless the checker is told otherwise.
const unsigned int kCallbackLimitMs = 50;

// One backend request as the checker saw it.
struct RequestRecord {
    unsigned int id = 0;
    std::string operation;
    int command = 0;
    unsigned int ticket = 0;
    unsigned int budgetMs = 0;
    double answerMs = -1; // hand-over to the first completion; negative: none
    unsigned int completions = 0;
    bool givenUp = false;
    Findings findings;
};

// One synchronous call into the host.
struct CallbackRecord {
    std::string operation;
    std::string name;
    double ms = 0;
    Findings findings;
};

class CheckingHost : public Hbbtv_TVServer {
public:
    // budgetMs: the budget of every request; 0 keeps each payload's own timeoutMs. callbackLimitMs:
    // how long a synchronous callback may take.
    CheckingHost(unsigned int budgetMs, unsigned int callbackLimitMs = kCallbackLimitMs);
    // Stops the watchdog; the host must be gone (or never call again).
    ~CheckingHost();
    CheckingHost(const CheckingHost&) = delete;
    CheckingHost& operator=(const CheckingHost&) = delete;

    // The wrapper the plugin's host reports to (the checker's), and the library's own, to be set once
    // its init has returned: until then the host's calls go nowhere.
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* completionWrapper();
    void setLibraryWrapper(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper);
    void setHost(Hbbtv_TVServer* host);
    // Requests and callbacks from now on belong to this operation.
    void setOperation(const std::string& operation);

    // From now on every call of the host into the wrapper is a finding; waits for calls under way.
    void markDeinit();
    // Held shared by each call of the host into the wrapper, exclusively by markDeinit.
    std::shared_mutex& forwardingLock() { return m_forwarding; }
    // Waits until every given-up request has been completed late, or the time has passed.
    void waitForLateCompletions(std::chrono::milliseconds limit);
    // Frees what given-up requests still hold; only once the host can no longer write it.
    void releaseGivenUp();

    // The requests so far (a request given up and never completed carries its "never" finding).
    std::vector<RequestRecord> requests() const;
    std::vector<CallbackRecord> callbacks() const;
    // Calls into the wrapper after deinit, in words.
    Findings afterDeinit() const;

    // Hbbtv_TVServer: each forwarded to the host and timed.
    void HBBTV_CommandHandler(void* command) override;
    void HBBTV_ServiceRequestHandler(void* payload, void* answer) override;
    void HBBTV_HeartBeatNotification() override;
    void HBBTV_LoadingNotification(int progress, const char* url) override;
    void HBBTV_BrowserDiedNotification() override;
    void HBBTV_NotifyUserAppCreated(int windowId, int appId) override;
    void HBBTV_DelegateAction(void (*action)(void*), void* argument) override;
    void HBBTV_ReportIsAnyAppRunning(bool running) override;
    void HBBTV_NotifyMultimediaAudioComponentDataChanged(
        const std::vector<HbbtvMultimediaComponentData>& components, int value) override;
    void HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
        const std::vector<HbbtvMultimediaComponentData>& components, int value) override;

    // From the completion wrapper.
    void requestFinished(HbbtvCommandPayload* payload);
    // Whether a call of the host into the wrapper may go on; records it when not (after deinit).
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* admit(const char* operation);

private:
    struct Pending;

    template <typename Call> void timed(const char* name, Call call);
    Pending* find(const HbbtvCommandPayload* payload);
    void complete(Pending& request, bool samePointer);
    void giveUp(Pending& request);
    void watch();

    const unsigned int m_budgetMs;
    const double m_callbackLimitMs;
    std::unique_ptr<CompletionWrapper> m_completionWrapper;
    Hbbtv_TVServer* m_host = nullptr;
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* m_libraryWrapper = nullptr;

    std::shared_mutex m_forwarding;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_operation;
    std::deque<std::unique_ptr<Pending>> m_requests;
    std::vector<CallbackRecord> m_callbacks;
    bool m_deinit = false;
    std::chrono::steady_clock::time_point m_deinitAt;
    Findings m_afterDeinit;
    bool m_stopping = false;
    std::thread m_watchdog; // last: it uses everything above
};

} // namespace hbbtv_hostcheck

#endif
