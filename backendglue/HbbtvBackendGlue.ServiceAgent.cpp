#include "HbbtvBackendGlue.ServiceAgent.h"

#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#include "plx_str.h"

namespace ZR_HBBTV_Core {

namespace {

const char kSourceFile[] = "./backendglue/HbbtvBackendGlue.ServiceAgent.cpp";
const int kCompletionMarker = -1;
const double kBudgetBonusMs = 1000.0;

// Budgets are unsigned 32-bit milliseconds: truncate toward zero, never below 0 nor past the top.
uint32_t toBudget(double milliseconds)
{
    if (!(milliseconds > 0.0)) {
        return 0;
    }
    if (milliseconds >= 4294967295.0) {
        return UINT32_MAX;
    }
    return static_cast<uint32_t>(milliseconds);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// GetServiceTask

GetServiceTask::GetServiceTask(HbbtvCommandPayload* command, HbbtvServiceRequestAnswer* answer)
    : m_command(command), m_answer(answer)
{
    if (sem_init(&m_sem, 0, 0) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 37);
    }
}

GetServiceTask::~GetServiceTask()
{
    if (sem_destroy(&m_sem) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 43);
    }
}

GetServiceTask* GetServiceTask::create(HbbtvCommandPayload* command, HbbtvServiceRequestAnswer* answer)
{
    void* memory = getOperatorNewDel()->OperatorNew(sizeof(GetServiceTask));
    try {
        return ::new (memory) GetServiceTask(command, answer);
    } catch (...) {
        getOperatorNewDel()->OperatorDel(memory);
        throw;
    }
}

void GetServiceTask::destroy(GetServiceTask* task)
{
    task->~GetServiceTask();
    getOperatorNewDel()->OperatorDel(task);
}

unsigned int GetServiceTask::ticket() const
{
    return m_command->ticket;
}

void GetServiceTask::acquire()
{
    while (sem_wait(&m_sem) != 0) {
        if (errno != EINTR) {
            HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 91);
        }
    }
}

void GetServiceTask::notifyServiceBack()
{
    if (sem_post(&m_sem) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 99);
    }
}

bool GetServiceTask::hasBeenWaited()
{
    if (sem_trywait(&m_sem) == 0) {
        return false;
    }
    return errno == EAGAIN;
}

// ---------------------------------------------------------------------------------------------
// BackendMessageQueue

BackendMessageQueue::BackendMessageQueue() : m_killed(false)
{
}

BackendMessageQueue::~BackendMessageQueue()
{
    Locker<Mutex> lock(m_mutex);
    while (!m_tasks.empty()) {
        GetServiceTask::destroy(m_tasks.back());
        m_tasks.pop_back();
    }
}

void BackendMessageQueue::append(GetServiceTask* task)
{
    if (task == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 129);
    }
    Locker<Mutex> lock(m_mutex);
    m_tasks.push_back(task);
    m_condition.signal();
}

bool BackendMessageQueue::appendAndCheckEmpty(GetServiceTask* task)
{
    if (task == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 140);
    }
    Locker<Mutex> lock(m_mutex);
    const bool wasEmpty = m_tasks.empty();
    m_tasks.push_back(task);
    m_condition.signal();
    return wasEmpty;
}

void BackendMessageQueue::prepend(GetServiceTask* task)
{
    if (task == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 152);
    }
    Locker<Mutex> lock(m_mutex);
    m_tasks.push_front(task);
    m_condition.signal();
}

bool BackendMessageQueue::isEmpty()
{
    Locker<Mutex> lock(m_mutex);
    return m_killed || m_tasks.empty();
}

bool BackendMessageQueue::killed() const
{
    Locker<Mutex> lock(m_mutex);
    return m_killed;
}

void BackendMessageQueue::kill()
{
    Locker<Mutex> lock(m_mutex);
    m_killed = true;
    m_condition.broadcast();
}

template <typename Predicate>
GetServiceTask* BackendMessageQueue::waitForMessageFilteredWithTimeout(BackendMessageQueueWaitResult& result,
                                                                       Predicate& accept, double deadline)
{
    Locker<Mutex> lock(m_mutex);
    bool timedOut = false;
    for (;;) {
        if (m_killed || timedOut) {
            // Without a deadline, neither a kill nor a time-out can end the wait.
            if (timedOut && deadline == kNoDeadline) {
                HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 171);
            }
            result = m_killed ? Killed : Timeout;
            return nullptr;
        }
        for (std::deque<GetServiceTask*>::iterator it = m_tasks.begin(); it != m_tasks.end(); ++it) {
            if (accept(*it)) {
                GetServiceTask* const task = *it;
                m_tasks.erase(it);
                result = GotMessage;
                return task;
            }
        }
        timedOut = !m_condition.timedWait(m_mutex, deadline);
    }
}

template GetServiceTask*
BackendMessageQueue::waitForMessageFilteredWithTimeout<BackendMessageQueue::AlwaysTruePredicate>(
    BackendMessageQueueWaitResult&, BackendMessageQueue::AlwaysTruePredicate&, double);

// ---------------------------------------------------------------------------------------------
// The agent's two queues

BackendServiceAgent::CommandTaskQueue::CommandTaskQueue(double milliseconds) : m_timeoutSeconds(milliseconds / 1000.0)
{
}

GetServiceTask* BackendServiceAgent::CommandTaskQueue::wait(BackendMessageQueueWaitResult& result,
                                                            double& elapsedMilliseconds)
{
    const double start = currentTime();
    AlwaysTruePredicate any;
    GetServiceTask* const task = waitForMessageFilteredWithTimeout(result, any, start + m_timeoutSeconds);
    elapsedMilliseconds = (currentTime() - start) * 1000.0;
    if (elapsedMilliseconds < 0) {
        elapsedMilliseconds = 1.0;
    }
    return task;
}

void BackendServiceAgent::WaitingResponseTaskQueue::adjustTryTime(double elapsedMilliseconds)
{
    Locker<Mutex> lock(m_mutex);
    for (GetServiceTask* task : m_tasks) {
        task->command()->timeoutMs = toBudget(static_cast<double>(task->command()->timeoutMs) - elapsedMilliseconds);
    }
}

GetServiceTask* BackendServiceAgent::WaitingResponseTaskQueue::retriveWithTicket(unsigned int ticket)
{
    Locker<Mutex> lock(m_mutex);
    for (std::deque<GetServiceTask*>::iterator it = m_tasks.begin(); it != m_tasks.end(); ++it) {
        if ((*it)->ticket() == ticket) {
            GetServiceTask* const task = *it;
            m_tasks.erase(it);
            return task;
        }
    }
    return nullptr;
}

GetServiceTask* BackendServiceAgent::WaitingResponseTaskQueue::takeExpired()
{
    Locker<Mutex> lock(m_mutex);
    for (std::deque<GetServiceTask*>::iterator it = m_tasks.begin(); it != m_tasks.end(); ++it) {
        if ((*it)->command()->timeoutMs == 0) {
            GetServiceTask* const task = *it;
            m_tasks.erase(it);
            return task;
        }
    }
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// The agent

BackendServiceAgent::BackendServiceAgent()
    : m_commandQueue(500), m_issuer(nullptr), m_started(false), m_logEnabled(false)
{
}

BackendServiceAgent::~BackendServiceAgent()
{
}

bool BackendServiceAgent::start(ServiceRequestIssuer* issuer)
{
    if (m_started.exchange(true)) {
        return true;
    }
    m_issuer = issuer;
    if (issuer == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 332);
    }
    // Decided once, before the thread that reads it exists.
    const char* log = getenv("LOG_HBBTV_BACKENDGLUE");
    m_logEnabled = log != nullptr && strcmp(log, "true") == 0;
    pthread_t thread;
    if (pthread_create(&thread, nullptr, threadEntryPoint, this) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 339);
    }
    return true;
}

void* BackendServiceAgent::threadEntryPoint(void* agent)
{
    return static_cast<BackendServiceAgent*>(agent)->threadFunction();
}

void* BackendServiceAgent::threadFunction()
{
    prctl(PR_SET_NAME, "backend::serviceAgent");
    plx_str::GetInstance()->addStrThreadItem();
    printf("STR Thread Trace: %s::%d::%s\n", kSourceFile, 423, "threadFunction");

    GetServiceTask* task = nullptr;
    try {
        for (;;) {
            task = nullptr;
            if (plx_interface_common::Get_plx_str()->strThreadItemSuspend() != 0) {
                printf("Fixme, I am resumed %s::%d::%s\n", kSourceFile, 430, "threadFunction");
            }
            const double cycleStart = currentTime();
            BackendMessageQueueWaitResult result;
            double elapsed;
            task = m_commandQueue.wait(result, elapsed);
            if (result != GotMessage) {
                if (task != nullptr) {
                    HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 442);
                }
                // Budgets are acted on only in cycles that found no work for a whole wait.
                releaseTimeoutRequests();
                m_waitingQueue.adjustTryTime((currentTime() - cycleStart) * 1000.0);
                continue;
            }
            const bool isMarker = task->command()->command == kCompletionMarker;
            if (isMarker) {
                handleCompletion(task);
            } else {
                issue(task);
            }
            m_waitingQueue.adjustTryTime((currentTime() - cycleStart) * 1000.0);
            if (isMarker) {
                GetServiceTask::destroy(task);
            }
        }
    } catch (...) {
        if (task != nullptr) {
            GetServiceTask::destroy(task);
        }
        plx_str::GetInstance()->removeStrThreadItem();
        throw;
    }
    return nullptr;
}

void BackendServiceAgent::handleCompletion(GetServiceTask* marker)
{
    GetServiceTask* const waiting = m_waitingQueue.retriveWithTicket(marker->ticket());
    if (waiting == nullptr) {
        // No such request, or it was given up already.
        if (m_logEnabled) {
            HbbtvBackendGlue_Log("[BackendGlue_GetThreadService] Request match fail - %s, ticket:%u\n",
                                 convertBackendCommandToString(marker->command()->command), marker->ticket());
        }
    } else {
        if (m_logEnabled) {
            HbbtvBackendGlue_Log("[BackendGlue_GetThreadService] Request Return - %s, ticket:%u, result:%s\n",
                                 convertBackendCommandToString(waiting->command()->command), waiting->ticket(),
                                 waiting->retAnswer()->valid ? "true" : "false");
        }
        // Exactly one post must be pending when the requester wakes.
        while (!waiting->hasBeenWaited()) {
            usleep(100);
        }
        waiting->notifyServiceBack(); // the requester owns the task from here
    }
    HbbtvCommandPayload* const payload = marker->command();
    if (payload != nullptr) {
        payload->timeoutMs = HbbtvCommandPayload::kDefaultTimeoutMs;
        delete payload;
    }
}

void BackendServiceAgent::issue(GetServiceTask* task)
{
    // Queued as waiting before it is issued, so that a completion reported while the host is still
    // inside the issuer finds it.
    m_waitingQueue.append(task);
    HbbtvCommandPayload* const payload = task->command();
    payload->timeoutMs = toBudget(static_cast<double>(payload->timeoutMs) + kBudgetBonusMs);
    if (m_logEnabled) {
        HbbtvBackendGlue_Log("[BackendGlue_GetThreadService] %s, instruct():%d, ticket:%u\n",
                             convertBackendCommandToString(payload->command), payload->command, task->ticket());
    }
    if (!(*m_issuer)(payload, task->retAnswer())) {
        HbbtvBackendGlue_AssertFail(kSourceFile, "void* ZR_HBBTV_Core::BackendServiceAgent::threadFunction()", 469);
    }
}

void BackendServiceAgent::request(HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer)
{
    GetServiceTask* const task = GetServiceTask::create(payload, answer);
    m_commandQueue.append(task);
    task->acquire();
    GetServiceTask::destroy(task);
}

void BackendServiceAgent::response(unsigned int ticket)
{
    void* const memory = getOperatorNewDel()->OperatorNew(sizeof(HbbtvCommandPayload));
    HbbtvCommandPayload* const marker = ::new (memory) HbbtvCommandPayload(TunerCommand_AddStreamEvent);
    marker->command = kCompletionMarker;
    marker->ticket = ticket;
    m_commandQueue.append(GetServiceTask::create(marker, nullptr));
}

void BackendServiceAgent::releaseTimeoutRequests()
{
    while (GetServiceTask* const task = m_waitingQueue.takeExpired()) {
        if (task->retAnswer() != nullptr) {
            task->retAnswer()->valid = 0;
        }
        if (m_logEnabled) {
            HbbtvBackendGlue_Log("[BackendGlue_GetThreadService] Request timeout - %s, ticket:%u\n",
                                 convertBackendCommandToString(task->command()->command), task->ticket());
        }
        task->notifyServiceBack();
    }
}

BackendServiceAgent* getServiceAgent()
{
    // Never destroyed: its thread runs until the process ends, and must not find its queues gone
    // while exit handlers run.
    static BackendServiceAgent* const agent = new BackendServiceAgent();
    return agent;
}

} // namespace ZR_HBBTV_Core
