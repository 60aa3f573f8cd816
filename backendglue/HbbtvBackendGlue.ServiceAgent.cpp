#include "HbbtvBackendGlue.ServiceAgent.h"

#include <pthread.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include "plx_str.h"
#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

const char kSourceFile[] = "./backendglue/HbbtvBackendGlue.ServiceAgent.cpp";
// The command word that names a completion in the "Request match fail" line (it has no name).
const int kCompletionCommand = -1;
const double kBudgetBonusMs = 1000.0;

// Set on the agent's own thread, where a request must never wait for the agent.
thread_local bool t_onAgentThread = false;

std::atomic<size_t> g_liveTasks(0);

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
    : GetServiceTask(Request, command, answer, command != nullptr ? command->ticket : 0)
{
}

GetServiceTask::GetServiceTask(Kind kind, HbbtvCommandPayload* command, HbbtvServiceRequestAnswer* answer,
                               unsigned int ticket)
    : m_command(command), m_answer(answer), m_ticket(ticket), m_kind(kind),
      m_deadline(BackendMessageQueue::kNoDeadline), m_givenUp(false)
{
    if (sem_init(&m_sem, 0, 0) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 37);
    }
    g_liveTasks.fetch_add(1, std::memory_order_relaxed);
}

GetServiceTask::~GetServiceTask()
{
    if (sem_destroy(&m_sem) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 43);
    }
    g_liveTasks.fetch_sub(1, std::memory_order_relaxed);
}

size_t GetServiceTask::live()
{
    return g_liveTasks.load(std::memory_order_relaxed);
}

// Queue items never reach the host, so they live on the heap: the shared region holds only the
// records the host reads.
GetServiceTask* GetServiceTask::create(HbbtvCommandPayload* command, HbbtvServiceRequestAnswer* answer)
{
    GetServiceTask* const task = new (std::nothrow) GetServiceTask(command, answer);
    if (task == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 57);
    }
    return task;
}

GetServiceTask* GetServiceTask::createCompletion(unsigned int ticket)
{
    GetServiceTask* const task = new (std::nothrow) GetServiceTask(Completion, nullptr, nullptr, ticket);
    if (task == nullptr) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 66);
    }
    return task;
}

void GetServiceTask::destroy(GetServiceTask* task)
{
    delete task;
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
    injectDelay("queue");
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

GetServiceTask* BackendServiceAgent::CommandTaskQueue::wait(BackendMessageQueueWaitResult& result, double now,
                                                            double deadline)
{
    AlwaysTruePredicate any;
    const double limit = now + m_timeoutSeconds;
    return waitForMessageFilteredWithTimeout(result, any, deadline < limit ? deadline : limit);
}

double BackendServiceAgent::WaitingResponseTaskQueue::adjustTryTime(double now,
                                                                     std::vector<GetServiceTask*>& expired)
{
    Locker<Mutex> lock(m_mutex);
    double nearest = kNoDeadline;
    for (std::deque<GetServiceTask*>::iterator it = m_tasks.begin(); it != m_tasks.end();) {
        GetServiceTask* const task = *it;
        // Written only when the whole milliseconds change: the host reads these words, and at a
        // high rate of requests most cycles fall within one millisecond.
        const uint32_t budget = toBudget((task->deadline() - now) * 1000.0);
        if (task->command()->timeoutMs != budget) {
            task->command()->timeoutMs = budget;
        }
        if (task->deadline() <= now) {
            expired.push_back(task);
            it = m_tasks.erase(it);
            continue;
        }
        if (task->deadline() < nearest) {
            nearest = task->deadline();
        }
        ++it;
    }
    return nearest;
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

// ---------------------------------------------------------------------------------------------
// The agent

BackendServiceAgent::BackendServiceAgent()
    : m_commandQueue(500), m_issuer(nullptr), m_started(false), m_logEnabled(false), m_givenUpBytes(0)
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
    t_onAgentThread = true;
    plx_str::GetInstance()->addStrThreadItem();
    printf("STR Thread Trace: %s::%d::%s\n", kSourceFile, 423, "threadFunction");

    GetServiceTask* task = nullptr;
    try {
        // One clock reading a cycle, taken when the wait ends: it dates the hand-over of the
        // cycle's request, counts budgets down and finds the deadlines that have passed.
        double now = currentTime();
        double nearestDeadline = BackendMessageQueue::kNoDeadline;
        for (;;) {
            task = nullptr;
            if (plx_interface_common::Get_plx_str()->strThreadItemSuspend() != 0) {
                printf("Fixme, I am resumed %s::%d::%s\n", kSourceFile, 430, "threadFunction");
            }
            // The wait ends by the nearest deadline, so that expiry is acted on in time however
            // busy the queue is.
            BackendMessageQueueWaitResult result;
            task = m_commandQueue.wait(result, now, nearestDeadline);
            now = currentTime();
            if (result == GotMessage) {
                if (task->kind() == GetServiceTask::Completion) {
                    handleCompletion(task);
                    GetServiceTask::destroy(task);
                } else {
                    issue(task, now);
                }
            } else if (task != nullptr) {
                HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 442);
            }
            task = nullptr;
            nearestDeadline = releaseTimeoutRequests(now);
        }
    } catch (...) {
        if (task != nullptr && task->kind() == GetServiceTask::Completion) {
            GetServiceTask::destroy(task);
        }
        plx_str::GetInstance()->removeStrThreadItem();
        throw;
    }
    return nullptr;
}

void BackendServiceAgent::handleCompletion(const GetServiceTask* completion)
{
    GetServiceTask* const waiting = m_waitingQueue.retriveWithTicket(completion->ticket());
    if (waiting == nullptr) {
        // No such request, or it was given up already: then its records can go now.
        if (m_logEnabled) {
            HbbtvBackendGlue_Log("[BackendGlue_GetThreadService] Request match fail - %s, ticket:%u\n",
                                 convertBackendCommandToString(kCompletionCommand), completion->ticket());
        }
        if (trace::on()) trace::completionUnmatched(completion->ticket());
        releaseGivenUp(completion->ticket());
        return;
    }
    if (m_logEnabled) {
        HbbtvBackendGlue_Log("[BackendGlue_GetThreadService] Request Return - %s, ticket:%u, result:%s\n",
                             convertBackendCommandToString(waiting->command()->command), waiting->ticket(),
                             waiting->retAnswer()->valid ? "true" : "false");
    }
    if (trace::on()) trace::commandCompleted(*waiting->command(), waiting->ticket(), waiting->retAnswer()->valid != 0);
    injectDelay("completion");
    // Exactly one post must be pending when the requester wakes.
    while (!waiting->hasBeenWaited()) {
        usleep(100);
    }
    waiting->notifyServiceBack(); // the requester owns the task from here
}

void BackendServiceAgent::issue(GetServiceTask* task, double now)
{
    HbbtvCommandPayload* const payload = task->command();
    payload->timeoutMs = toBudget(static_cast<double>(payload->timeoutMs) + kBudgetBonusMs);
    task->setDeadline(now + payload->timeoutMs / 1000.0);
    // Queued as waiting before it is issued, so that a completion reported while the host is still
    // inside the issuer finds it.
    m_waitingQueue.append(task);
    if (m_logEnabled) {
        HbbtvBackendGlue_Log("[BackendGlue_GetThreadService] %s, instruct():%d, ticket:%u\n",
                             convertBackendCommandToString(payload->command), payload->command, task->ticket());
    }
    const uint32_t budget = payload->timeoutMs;
    if (trace::on()) trace::commandIssued(*payload, task->ticket());
    if (!(*m_issuer)(payload, task->retAnswer())) {
        HbbtvBackendGlue_AssertFail(kSourceFile, "void* ZR_HBBTV_Core::BackendServiceAgent::threadFunction()", 469);
    }
    // The budget counts down in the payload, where the host sees it; a host that lowers it while
    // it takes the request shortens the request's life accordingly.
    const uint32_t lowered = payload->timeoutMs;
    if (lowered < budget) {
        task->setDeadline(now + lowered / 1000.0);
    }
}

BackendRequestResult BackendServiceAgent::request(HbbtvCommandPayload* payload, HbbtvServiceRequestAnswer* answer)
{
    // The agent thread is inside the host's hand-over: waiting here would wait for ourselves.
    if (t_onAgentThread) {
        printf("[BackendGlue_GetThreadService] Request refused - %s, ticket:%u, asked from inside the host's "
               "hand-over\n",
               convertBackendCommandToString(payload->command), payload->ticket);
        return RequestRefused;
    }
    GetServiceTask* const task = GetServiceTask::create(payload, answer);
    m_commandQueue.append(task);
    task->acquire();
    const bool givenUp = task->givenUp();
    GetServiceTask::destroy(task);
    return givenUp ? RequestGivenUp : RequestAnswered;
}

void BackendServiceAgent::response(unsigned int ticket)
{
    m_commandQueue.append(GetServiceTask::createCompletion(ticket));
}

double BackendServiceAgent::releaseTimeoutRequests(double now)
{
    m_expired.clear();
    const double nearest = m_waitingQueue.adjustTryTime(now, m_expired);
    for (GetServiceTask* const task : m_expired) {
        giveUp(task);
    }
    return nearest;
}

// The answer is left as it is: the host may still be writing it, and the requester learns the
// outcome from request() instead.
void BackendServiceAgent::giveUp(GetServiceTask* task)
{
    std::vector<GivenUpRequest> evicted;
    {
        Locker<Mutex> lock(m_givenUpMutex);
        m_givenUp.push_back(GivenUpRequest{task->ticket(), task->command()->command, false, {}, 0, 0});
        while (m_givenUp.size() > kMaxGivenUpRequests) {
            evicted.push_back(m_givenUp.front());
            m_givenUpBytes -= m_givenUp.front().bytes;
            m_givenUp.pop_front();
        }
    }
    for (const GivenUpRequest& old : evicted) {
        logNeverFinished(old, "after " + std::to_string(kMaxGivenUpRequests) + " later time-outs");
        destroyRecords(old.records, old.count);
    }
    if (m_logEnabled) {
        HbbtvBackendGlue_Log("[BackendGlue_GetThreadService] Request timeout - %s, ticket:%u\n",
                             convertBackendCommandToString(task->command()->command), task->ticket());
    }
    if (trace::on()) trace::commandGivenUp(*task->command(), task->ticket());
    injectDelay("give-up");
    task->markGivenUp();
    task->notifyServiceBack();
}

void BackendServiceAgent::holdGivenUpRecords(unsigned int ticket, const HostHeldRecord* records, size_t count)
{
    if (count > 3) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, __LINE__);
    }
    size_t bytes = 0;
    for (size_t i = 0; i < count; ++i) {
        bytes += records[i].object != nullptr ? records[i].bytes : 0;
    }
    bool held = false;
    std::vector<GivenUpRequest> evicted;
    {
        Locker<Mutex> lock(m_givenUpMutex);
        for (std::deque<GivenUpRequest>::reverse_iterator it = m_givenUp.rbegin(); it != m_givenUp.rend(); ++it) {
            if (it->ticket == ticket && !it->recordsHeld) {
                std::copy(records, records + count, it->records);
                it->count = count;
                it->bytes = bytes;
                it->recordsHeld = true;
                m_givenUpBytes += bytes;
                held = true;
                break;
            }
        }
        // The oldest records go first; the ones just taken stay, since no request's records come
        // near the bound on their own.
        for (std::deque<GivenUpRequest>::iterator it = m_givenUp.begin();
             m_givenUpBytes > kMaxGivenUpBytes && it != m_givenUp.end();) {
            if (it->ticket == ticket || !it->recordsHeld) {
                ++it;
                continue;
            }
            evicted.push_back(*it);
            m_givenUpBytes -= it->bytes;
            it = m_givenUp.erase(it);
        }
    }
    for (const GivenUpRequest& old : evicted) {
        logNeverFinished(old, "to keep what waits for the host within " + std::to_string(kMaxGivenUpBytes) + " bytes");
        destroyRecords(old.records, old.count);
    }
    if (!held) {
        // The host has reported the ticket finished meanwhile (or it was pushed out): nothing
        // holds the records any more.
        destroyRecords(records, count);
    }
}

void BackendServiceAgent::logNeverFinished(const GivenUpRequest& old, const std::string& why)
{
    printf("[BackendGlue_GetThreadService] Request never finished - %s, ticket:%u, its records are freed %s\n",
           convertBackendCommandToString(old.command), old.ticket, why.c_str());
}

void BackendServiceAgent::releaseGivenUp(unsigned int ticket)
{
    GivenUpRequest finished{0, 0, false, {}, 0, 0};
    {
        Locker<Mutex> lock(m_givenUpMutex);
        for (std::deque<GivenUpRequest>::iterator it = m_givenUp.begin(); it != m_givenUp.end(); ++it) {
            if (it->ticket == ticket) {
                finished = *it;
                m_givenUpBytes -= it->bytes;
                m_givenUp.erase(it);
                break;
            }
        }
    }
    destroyRecords(finished.records, finished.count);
}

size_t BackendServiceAgent::givenUpRequests()
{
    Locker<Mutex> lock(m_givenUpMutex);
    return m_givenUp.size();
}

size_t BackendServiceAgent::givenUpBytes()
{
    Locker<Mutex> lock(m_givenUpMutex);
    return m_givenUpBytes;
}

void BackendServiceAgent::destroyRecords(const HostHeldRecord* records, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        if (records[i].object != nullptr && records[i].destroy != nullptr) {
            records[i].destroy(records[i].object);
        }
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
