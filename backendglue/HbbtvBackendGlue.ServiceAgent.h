// The backend service agent: one thread that serialises every backend request to the host.
//
// A requester (a TV-service binder thread) wraps its payload and answer in a GetServiceTask,
// queues it and sleeps on the task's semaphore. The agent thread takes the task, moves it to the
// list of requests awaiting their answer and hands it to the host through a ServiceRequestIssuer.
// The host reports completion by ticket (response); the agent matches the ticket and wakes the
// requester. A request whose time budget runs out is given up: its answer is marked not valid
// and its requester woken.
#ifndef HBBTV_BACKENDGLUE_SERVICEAGENT_H
#define HBBTV_BACKENDGLUE_SERVICEAGENT_H

#include <semaphore.h>

#include <atomic>
#include <deque>

#include "HbbtvBackendGlue.Util.h"
#include "HbbtvBackendRecords.h"

namespace ZR_HBBTV_Core {

// One pending request: payload, the answer the host is to fill, and the semaphore its requester
// sleeps on. Lives in the shared region; neither record is owned.
class GetServiceTask {
public:
    GetServiceTask(HbbtvCommandPayload* command, HbbtvServiceRequestAnswer* answer);
    ~GetServiceTask();
    GetServiceTask(const GetServiceTask&) = delete;
    GetServiceTask& operator=(const GetServiceTask&) = delete;

    static GetServiceTask* create(HbbtvCommandPayload* command, HbbtvServiceRequestAnswer* answer);
    // Runs the destructor and gives the memory back to the shared region.
    static void destroy(GetServiceTask* task);

    unsigned int ticket() const;
    const HbbtvCommandPayload* command() const { return m_command; }
    HbbtvCommandPayload* command() { return m_command; }
    HbbtvServiceRequestAnswer* retAnswer() { return m_answer; }

    // Sleeps until notifyServiceBack; an interrupted wait is repeated.
    void acquire();
    void notifyServiceBack();
    // True when no notification is pending; otherwise takes the pending one and answers false.
    bool hasBeenWaited();

private:
    HbbtvCommandPayload* m_command;
    HbbtvServiceRequestAnswer* m_answer;
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

    void append(GetServiceTask* task);
    bool appendAndCheckEmpty(GetServiceTask* task);
    void prepend(GetServiceTask* task);
    bool isEmpty();
    bool killed() const;
    void kill();

    // Takes the first task that accept admits, waiting until the deadline (seconds on
    // currentTime's clock). The killed flag wins over queued tasks, and a passed deadline is
    // reported as Timeout even if a task arrived at the last moment; a deadline already past
    // still takes a task queued at the time of the call.
    template <typename Predicate>
    GetServiceTask* waitForMessageFilteredWithTimeout(BackendMessageQueueWaitResult& result, Predicate& accept,
                                                      double deadline);

protected:
    mutable Mutex m_mutex;
    ThreadCondition m_condition;
    std::deque<GetServiceTask*> m_tasks;
    bool m_killed;
};

// The host path: hands a request to the host and returns at once, true if the host took it.
// Completion arrives later through BackendServiceAgent::response.
class ServiceRequestIssuer {
public:
    virtual ~ServiceRequestIssuer() {}
    virtual bool operator()(const HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer) = 0;
};

class BackendServiceAgent {
public:
    class CommandTaskQueue : public BackendMessageQueue {
    public:
        explicit CommandTaskQueue(double milliseconds);
        // One wait for work of at most the queue's time-out; elapsedMilliseconds gets how long it took.
        GetServiceTask* wait(BackendMessageQueueWaitResult& result, double& elapsedMilliseconds);

    private:
        double m_timeoutSeconds;
    };

    class WaitingResponseTaskQueue : public BackendMessageQueue {
    public:
        // Lowers every waiting request's budget by the elapsed time, not below 0.
        void adjustTryTime(double elapsedMilliseconds);
        // Removes and returns the first waiting task with this ticket, or null.
        GetServiceTask* retriveWithTicket(unsigned int ticket);
        // Removes and returns the first waiting task whose budget is spent, or null.
        GetServiceTask* takeExpired();
    };

    BackendServiceAgent();
    ~BackendServiceAgent();
    BackendServiceAgent(const BackendServiceAgent&) = delete;
    BackendServiceAgent& operator=(const BackendServiceAgent&) = delete;

    // Starts the agent thread once; later calls keep the first issuer. Always true.
    bool start(ServiceRequestIssuer* issuer);
    static void* threadEntryPoint(void* agent);
    void* threadFunction();

    // Blocks until the request is answered or given up; the outcome is the answer's valid flag.
    void request(HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer);
    // Reports that the request with this ticket is finished; returns at once.
    void response(unsigned int ticket);
    void releaseTimeoutRequests();

private:
    void handleCompletion(GetServiceTask* marker);
    void issue(GetServiceTask* task);

    CommandTaskQueue m_commandQueue;
    WaitingResponseTaskQueue m_waitingQueue;
    ServiceRequestIssuer* m_issuer;
    std::atomic<bool> m_started;
    bool m_logEnabled;
};

// The process-wide agent, created on first use.
BackendServiceAgent* getServiceAgent();

} // namespace ZR_HBBTV_Core

#endif
