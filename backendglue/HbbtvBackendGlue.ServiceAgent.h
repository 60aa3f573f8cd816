// The backend service agent: one thread that serialises every backend request to the host.
//
// A requester (a TV-service binder thread) wraps its payload and answer in a GetServiceTask,
// queues it and sleeps on the task's semaphore. The agent thread takes the task, moves it to the
// list of requests awaiting their answer and hands it to the host through a ServiceRequestIssuer.
// The host reports completion by ticket (response); the agent matches the ticket and wakes the
// requester. A request whose deadline passes is given up and its requester woken; since the host
// may still write into its records, they are kept until the host reports that ticket finished.
#ifndef HBBTV_BACKENDGLUE_SERVICEAGENT_H
#define HBBTV_BACKENDGLUE_SERVICEAGENT_H

#include <pthread.h>
#include <semaphore.h>

#include <atomic>
#include <deque>
#include <string>
#include <vector>

#include "HbbtvBackendGlue.MemoryPool.h"
#include "HbbtvBackendGlue.Util.h"
#include "HbbtvBackendRecords.h"

namespace ZR_HBBTV_Core {

// One item of the agent's queue. A request: payload, the answer the host is to fill, and the
// semaphore its requester sleeps on. A completion: the ticket the host reported finished, with no
// records and nobody waiting on it. The item is the agent's own and lives on the heap; neither
// record is owned. A request's ticket is copied from the payload when the item is made, so that a
// host overwriting the payload cannot make one request answer for another.
class GetServiceTask {
public:
    enum Kind { Request, Completion };

    GetServiceTask(HbbtvCommandPayload* command, HbbtvServiceRequestAnswer* answer);
    ~GetServiceTask();
    GetServiceTask(const GetServiceTask&) = delete;
    GetServiceTask& operator=(const GetServiceTask&) = delete;

    static GetServiceTask* create(HbbtvCommandPayload* command, HbbtvServiceRequestAnswer* answer);
    static GetServiceTask* createCompletion(unsigned int ticket);
    static void destroy(GetServiceTask* task);
    // Requests and completions alive in the process: each makes one and frees it.
    static size_t live();

    Kind kind() const { return m_kind; }
    unsigned int ticket() const { return m_ticket; }
    const HbbtvCommandPayload* command() const { return m_command; }
    HbbtvCommandPayload* command() { return m_command; }
    HbbtvServiceRequestAnswer* retAnswer() { return m_answer; }

    // When the request is given up, seconds on currentTime's clock; set when it is issued.
    double deadline() const { return m_deadline; }
    void setDeadline(double deadline) { m_deadline = deadline; }
    // Set by the agent before it wakes the requester of a request it gave up.
    bool givenUp() const { return m_givenUp; }
    void markGivenUp() { m_givenUp = true; }

    // Sleeps until notifyServiceBack; an interrupted wait is repeated.
    void acquire();
    void notifyServiceBack();
    // True when no notification is pending; otherwise takes the pending one and answers false.
    bool hasBeenWaited();

private:
    GetServiceTask(Kind kind, HbbtvCommandPayload* command, HbbtvServiceRequestAnswer* answer, unsigned int ticket);

    HbbtvCommandPayload* m_command;
    HbbtvServiceRequestAnswer* m_answer;
    unsigned int m_ticket;
    const Kind m_kind; // beside the ticket, where the item had room for it
    double m_deadline;
    bool m_givenUp;
    sem_t m_sem;
};

enum BackendMessageQueueWaitResult {
    Killed = 0,
    Timeout = 1,
    GotMessage = 2,
};

// A locked double-ended queue of tasks with one consumer that waits with a deadline.
class BackendMessageQueue {
public:
    struct AlwaysTruePredicate {
        bool operator()(const GetServiceTask*) const { return true; }
    };

    // The deadline that means "no limit".
    static constexpr double kNoDeadline = 1.7976931348623157e308;

    BackendMessageQueue();
    // Frees the tasks still queued, without waking their requesters.
    ~BackendMessageQueue();
    BackendMessageQueue(const BackendMessageQueue&) = delete;
    BackendMessageQueue& operator=(const BackendMessageQueue&) = delete;

    void append(GetServiceTask* task) HBBTV_EXCLUDES(m_mutex);
    bool appendAndCheckEmpty(GetServiceTask* task) HBBTV_EXCLUDES(m_mutex);
    void prepend(GetServiceTask* task) HBBTV_EXCLUDES(m_mutex);
    bool isEmpty() HBBTV_EXCLUDES(m_mutex);
    bool killed() const HBBTV_EXCLUDES(m_mutex);
    void kill() HBBTV_EXCLUDES(m_mutex);

    // Takes the first task that accept admits, waiting until the deadline (seconds on
    // currentTime's clock). The killed flag wins over queued tasks, and a passed deadline is
    // reported as Timeout even if a task arrived at the last moment; a deadline already past
    // still takes a task queued at the time of the call.
    template <typename Predicate>
    GetServiceTask* waitForMessageFilteredWithTimeout(BackendMessageQueueWaitResult& result, Predicate& accept,
                                                      double deadline) HBBTV_EXCLUDES(m_mutex);

protected:
    mutable Mutex m_mutex;
    ThreadCondition m_condition;
    std::deque<GetServiceTask*> m_tasks HBBTV_GUARDED_BY(m_mutex);
    bool m_killed HBBTV_GUARDED_BY(m_mutex);
};

// The host path: hands a request to the host and returns at once, true if the host took it.
// Completion arrives later through BackendServiceAgent::response.
class ServiceRequestIssuer {
public:
    virtual ~ServiceRequestIssuer() {}
    virtual bool operator()(const HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer) = 0;
};

// A record that the host may still write after its request was given up, with what destroys it
// and the bytes of the region it takes.
struct HostHeldRecord {
    void* object;
    void (*destroy)(void* object);
    size_t bytes;
};

// A record with what destroys it as its own type.
template <typename T> HostHeldRecord hostHeldRecord(T* record)
{
    return HostHeldRecord{record, [](void* object) { delete static_cast<T*>(object); }, shm_allocator::nodeSizeFor(sizeof(T))};
}

// How a request ended for its requester.
enum BackendRequestResult {
    // The host reported the request finished: the answer is as the host left it.
    RequestAnswered = 0,
    // The budget ran out: the host may still write the records, so the requester hands them to
    // holdGivenUpRecords instead of freeing them.
    RequestGivenUp = 1,
    // Never handed to the host (asked from inside the host's own hand-over): the records are the
    // requester's again at once.
    RequestRefused = 2,
};

class BackendServiceAgent {
public:
    class CommandTaskQueue : public BackendMessageQueue {
    public:
        explicit CommandTaskQueue(double milliseconds);
        // One wait for work, until the earlier of the deadline and now plus the queue's time-out.
        GetServiceTask* wait(BackendMessageQueueWaitResult& result, double now, double deadline);

    private:
        double m_timeoutSeconds;
    };

    class WaitingResponseTaskQueue : public BackendMessageQueue {
    public:
        // In one pass: writes into every waiting request's payload the milliseconds left to its
        // deadline (the budget the host sees counts down in place), moves the requests whose
        // deadline has passed to expired, and returns the nearest deadline left (kNoDeadline if
        // none).
        double adjustTryTime(double now, std::vector<GetServiceTask*>& expired) HBBTV_EXCLUDES(m_mutex);
        // Removes and returns the first waiting task with this ticket, or null.
        GetServiceTask* retriveWithTicket(unsigned int ticket) HBBTV_EXCLUDES(m_mutex);
    };

    // Given-up requests whose records are kept for the host, at most this many, and their records
    // at most this many bytes of the region; past either the oldest are freed. The bytes bound
    // keeps a stalled host from filling the region with records nobody waits for.
    static constexpr size_t kMaxGivenUpRequests = 256;
    static constexpr size_t kMaxGivenUpBytes = 65536;

    BackendServiceAgent();
    ~BackendServiceAgent();
    BackendServiceAgent(const BackendServiceAgent&) = delete;
    BackendServiceAgent& operator=(const BackendServiceAgent&) = delete;

    // Starts the agent thread once; later calls keep the first issuer. Always true.
    bool start(ServiceRequestIssuer* issuer);
    bool started() const { return m_started.load(std::memory_order_acquire); }
    static void* threadEntryPoint(void* agent);
    void* threadFunction();

    // Blocks until the request is answered, given up or refused. A given-up request is woken no
    // later than its deadline (budget plus 1000 ms from the hand-over) whatever else the agent
    // is doing, as long as the host returns from its hand-over promptly.
    BackendRequestResult request(HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer);
    // Reports that the request with this ticket is finished; returns at once.
    void response(unsigned int ticket);
    // Takes the records of a request that request() reported given up, by the ticket the request
    // was made with (never as the payload says now: the host may have written it). They are
    // destroyed when the host reports the ticket finished (at once if it already has), or, oldest
    // first, when more than kMaxGivenUpRequests requests or kMaxGivenUpBytes bytes wait for the host.
    void holdGivenUpRecords(unsigned int ticket, const HostHeldRecord* records, size_t count)
        HBBTV_EXCLUDES(m_givenUpMutex);
    // Given-up requests whose records are still kept for the host, and the bytes those take.
    size_t givenUpRequests() HBBTV_EXCLUDES(m_givenUpMutex);
    size_t givenUpBytes() HBBTV_EXCLUDES(m_givenUpMutex);
    // Gives up the waiting requests whose deadline has passed; returns the nearest deadline left.
    double releaseTimeoutRequests(double now);

private:
    struct GivenUpRequest {
        unsigned int ticket;
        int command;
        bool recordsHeld;
        HostHeldRecord records[3];
        size_t count;
        size_t bytes;
    };

    void handleCompletion(const GetServiceTask* completion);
    void issue(GetServiceTask* task, double now);
    void giveUp(GetServiceTask* task) HBBTV_EXCLUDES(m_givenUpMutex);
    void releaseGivenUp(unsigned int ticket) HBBTV_EXCLUDES(m_givenUpMutex);
    static void destroyRecords(const HostHeldRecord* records, size_t count);
    static void logNeverFinished(const GivenUpRequest& old, const std::string& why);

    CommandTaskQueue m_commandQueue;
    WaitingResponseTaskQueue m_waitingQueue;
    ServiceRequestIssuer* m_issuer;
    std::atomic<bool> m_started;
    bool m_logEnabled;
    Mutex m_givenUpMutex;
    std::deque<GivenUpRequest> m_givenUp HBBTV_GUARDED_BY(m_givenUpMutex);
    size_t m_givenUpBytes HBBTV_GUARDED_BY(m_givenUpMutex); // of the records held in m_givenUp
    std::vector<GetServiceTask*> m_expired; // the agent thread's, reused every cycle
};

// The process-wide agent, created on first use.
BackendServiceAgent* getServiceAgent();

} // namespace ZR_HBBTV_Core

#endif
