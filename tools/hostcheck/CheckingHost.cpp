#include "CheckingHost.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "CompletionWrapper.h"
#include "GuardedBlock.h"
#include "HbbtvChannelListPool.h"
#include "SimulatedHost.h"

namespace hbbtv_hostcheck {

namespace {

using Clock = std::chrono::steady_clock;

double millisecondsBetween(Clock::time_point from, Clock::time_point to)
{
    return std::chrono::duration<double, std::milli>(to - from).count();
}

std::string format(const char* pattern, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* pattern, ...)
{
    char text[512];
    va_list args;
    va_start(args, pattern);
    vsnprintf(text, sizeof(text), pattern, args);
    va_end(args);
    return text;
}

typedef std::vector<HbbtvEPGInformation> Schedule;
typedef std::vector<std::vector<unsigned char>> Descriptors;

bool hasResultVector(int command)
{
    return command == ProgrammeCommand_GetAllProgrammeInfo || command == ProgrammeCommand_GetSIDescriptors;
}

} // namespace

// One request under way: the library's records, the checker's guarded copies handed to the host,
// and what the checker has seen of it.
struct CheckingHost::Pending {
    enum State { Waiting, Completing, Completed, GivenUp };

    ~Pending() { destroyResult(); }

    void destroyResult()
    {
        if (result == nullptr || result->data() == nullptr) {
            return;
        }
        if (record.command == ProgrammeCommand_GetAllProgrammeInfo) {
            reinterpret_cast<Schedule*>(result->data())->~Schedule();
        } else {
            reinterpret_cast<Descriptors*>(result->data())->~Descriptors();
        }
        result.reset();
    }

    RequestRecord record;
    State state = Waiting;
    HbbtvCommandPayload* libraryPayload = nullptr;
    HbbtvServiceRequestAnswer* libraryAnswer = nullptr;
    void* libraryResult = nullptr;
    unsigned char* libraryPool = nullptr;
    PoolHandedOver poolWords = {};
    std::vector<unsigned char> handedOver; // the payload copy as the host got it
    std::unique_ptr<GuardedBlock> payload;
    std::unique_ptr<GuardedBlock> answer;
    std::unique_ptr<GuardedBlock> pool;
    std::unique_ptr<GuardedBlock> result;
    Clock::time_point handedOverAt;
    Clock::time_point deadline;
};

CheckingHost::CheckingHost(unsigned int budgetMs, unsigned int callbackLimitMs)
    : m_budgetMs(budgetMs)
    , m_callbackLimitMs(callbackLimitMs)
    , m_completionWrapper(new CompletionWrapper(*this))
    , m_watchdog(&CheckingHost::watch, this)
{
}

CheckingHost::~CheckingHost()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
    }
    m_changed.notify_all();
    m_watchdog.join();
}

ZR_HBBTV_Core::ZR_HbbtvImplInterface* CheckingHost::completionWrapper()
{
    return m_completionWrapper.get();
}

void CheckingHost::setLibraryWrapper(ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_libraryWrapper = wrapper;
}

void CheckingHost::setHost(Hbbtv_TVServer* host)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_host = host;
}

void CheckingHost::setOperation(const std::string& operation)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_operation = operation;
}

void CheckingHost::markDeinit()
{
    const std::unique_lock<std::shared_mutex> forwarding(m_forwarding);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_deinit = true;
    m_deinitAt = Clock::now();
    // The library's wrapper is about to go: nothing reaches it from here on.
    m_libraryWrapper = nullptr;
}

ZR_HBBTV_Core::ZR_HbbtvImplInterface* CheckingHost::admit(const char* operation)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_deinit) {
        return m_libraryWrapper;
    }
    // One finding per operation is enough to act on.
    const std::string text = format("the host called %s on the wrapper %.1f ms after deinit: stop the host's threads "
                                    "and drop the wrapper before deinit, nothing may call it afterwards",
        operation, millisecondsBetween(m_deinitAt, Clock::now()));
    for (const Finding& finding : m_afterDeinit) {
        if (finding.text.find(std::string("called ") + operation + " ") != std::string::npos) {
            return nullptr;
        }
    }
    m_afterDeinit.push_back(Finding { rule::kAfterDeinit, text });
    return nullptr;
}

template <typename Call> void CheckingHost::timed(const char* name, Call call)
{
    Hbbtv_TVServer* host;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        host = m_host;
    }
    if (host == nullptr) {
        return;
    }
    const Clock::time_point begin = Clock::now();
    call(*host);
    const double ms = millisecondsBetween(begin, Clock::now());
    CallbackRecord record;
    record.name = name;
    record.ms = ms;
    if (ms > m_callbackLimitMs) {
        record.findings.push_back(Finding { rule::kSlowCallback,
            format("%s returned after %.1f ms: synchronous callbacks must return within %.0f ms (hand longer work to "
                   "a thread of the host's own)",
                name, ms, m_callbackLimitMs) });
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    record.operation = m_operation;
    m_callbacks.push_back(record);
}

void CheckingHost::HBBTV_CommandHandler(void* command)
{
    timed("HBBTV_CommandHandler", [command](Hbbtv_TVServer& host) { host.HBBTV_CommandHandler(command); });
}

void CheckingHost::HBBTV_HeartBeatNotification()
{
    timed("HBBTV_HeartBeatNotification", [](Hbbtv_TVServer& host) { host.HBBTV_HeartBeatNotification(); });
}

void CheckingHost::HBBTV_LoadingNotification(int progress, const char* url)
{
    timed("HBBTV_LoadingNotification",
        [progress, url](Hbbtv_TVServer& host) { host.HBBTV_LoadingNotification(progress, url); });
}

void CheckingHost::HBBTV_BrowserDiedNotification()
{
    timed("HBBTV_BrowserDiedNotification", [](Hbbtv_TVServer& host) { host.HBBTV_BrowserDiedNotification(); });
}

void CheckingHost::HBBTV_NotifyUserAppCreated(int windowId, int appId)
{
    timed("HBBTV_NotifyUserAppCreated",
        [windowId, appId](Hbbtv_TVServer& host) { host.HBBTV_NotifyUserAppCreated(windowId, appId); });
}

void CheckingHost::HBBTV_DelegateAction(void (*action)(void*), void* argument)
{
    timed("HBBTV_DelegateAction",
        [action, argument](Hbbtv_TVServer& host) { host.HBBTV_DelegateAction(action, argument); });
}

void CheckingHost::HBBTV_ReportIsAnyAppRunning(bool running)
{
    timed(
        "HBBTV_ReportIsAnyAppRunning", [running](Hbbtv_TVServer& host) { host.HBBTV_ReportIsAnyAppRunning(running); });
}

void CheckingHost::HBBTV_NotifyMultimediaAudioComponentDataChanged(
    const std::vector<HbbtvMultimediaComponentData>& components, int value)
{
    timed("HBBTV_NotifyMultimediaAudioComponentDataChanged", [&components, value](Hbbtv_TVServer& host) {
        host.HBBTV_NotifyMultimediaAudioComponentDataChanged(components, value);
    });
}

void CheckingHost::HBBTV_NotifyMultimediaSubtitleComponentDataChanged(
    const std::vector<HbbtvMultimediaComponentData>& components, int value)
{
    timed("HBBTV_NotifyMultimediaSubtitleComponentDataChanged", [&components, value](Hbbtv_TVServer& host) {
        host.HBBTV_NotifyMultimediaSubtitleComponentDataChanged(components, value);
    });
}

// On the library's agent thread: the request is copied into guarded records and handed on.
void CheckingHost::HBBTV_ServiceRequestHandler(void* payloadPointer, void* answerPointer)
{
    if (payloadPointer == nullptr || answerPointer == nullptr) {
        return;
    }
    std::unique_ptr<Pending> request(new Pending());
    Pending& r = *request;
    r.libraryPayload = static_cast<HbbtvCommandPayload*>(payloadPointer);
    r.libraryAnswer = static_cast<HbbtvServiceRequestAnswer*>(answerPointer);
    const int command = r.libraryPayload->command;
    const size_t payloadBytes = hbbtv_sim::payloadRecordSize(command);
    const size_t answerBytes = hbbtv_sim::answerRecordSize(command);
    r.record.command = command;
    r.record.ticket = r.libraryPayload->ticket;
    r.record.budgetMs = m_budgetMs != 0 ? m_budgetMs : r.libraryPayload->timeoutMs;

    r.payload.reset(new GuardedBlock(payloadBytes));
    r.answer.reset(new GuardedBlock(answerBytes));
    if (r.payload->data() == nullptr || r.answer->data() == nullptr) {
        fprintf(
            stderr, "hbbtv-host-check: no memory below 4 GiB for the records of %s\n", commandLabel(command).c_str());
        return; // the library's request runs out of its own budget
    }
    memcpy(r.payload->data(), r.libraryPayload, payloadBytes);
    memcpy(r.answer->data(), r.libraryAnswer, answerBytes);
    HbbtvCommandPayload& copy = *reinterpret_cast<HbbtvCommandPayload*>(r.payload->data());
    copy.timeoutMs = r.record.budgetMs;

    if (command == TunerCommand_RequestChannelsLineup) {
        // The host writes the lineup into a pool of the checker's, laid out as the library's.
        auto& lineup = static_cast<HbbtvCommandPayloadWithLineupPool&>(copy);
        r.libraryPool = static_cast<unsigned char*>(hbbtv_sim::fromHostWireAddress(lineup.poolAddress));
        if (r.libraryPool != nullptr) {
            const uint32_t areaSize = reinterpret_cast<const HbbtvChannelListPool*>(r.libraryPool)->areaSize;
            const HbbtvChannelListLayout layout(areaSize);
            r.pool.reset(new GuardedBlock(layout.size()));
            if (r.pool->data() != nullptr) {
                HbbtvChannelListPool header = {};
                header.areaSize = areaSize;
                header.entriesAddress = r.pool->wireAddress() + static_cast<uint32_t>(layout.entriesOffset());
                header.stringsAddress = r.pool->wireAddress() + static_cast<uint32_t>(layout.stringsOffset());
                memcpy(r.pool->data(), &header, sizeof(header));
                r.poolWords
                    = PoolHandedOver { areaSize, header.entriesAddress, header.stringsAddress, r.pool->wireAddress() };
                lineup.poolAddress = r.pool->wireAddress();
            }
        }
    }
    if (hasResultVector(command) && copy.resultAddress != 0) {
        r.libraryResult = hbbtv_sim::fromHostWireAddress(copy.resultAddress);
        r.result.reset(
            new GuardedBlock(command == ProgrammeCommand_GetAllProgrammeInfo ? sizeof(Schedule) : sizeof(Descriptors)));
        if (r.result->data() != nullptr) {
            if (command == ProgrammeCommand_GetAllProgrammeInfo) {
                new (r.result->data()) Schedule();
            } else {
                new (r.result->data()) Descriptors();
            }
            copy.resultAddress = r.result->wireAddress();
        } else {
            r.result.reset();
        }
    }
    r.handedOver.assign(r.payload->data(), r.payload->data() + payloadBytes);

    Hbbtv_TVServer* host;
    void* const payloadForHost = r.payload->data();
    void* const answerForHost = r.answer->data();
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        host = m_host;
        r.record.id = static_cast<unsigned int>(m_requests.size()) + 1;
        r.record.operation = m_operation;
        r.handedOverAt = Clock::now();
        r.deadline = r.handedOverAt + std::chrono::milliseconds(r.record.budgetMs);
        m_requests.push_back(std::move(request));
    }
    m_changed.notify_all();
    if (host == nullptr) {
        return;
    }
    const Clock::time_point begin = Clock::now();
    host->HBBTV_ServiceRequestHandler(payloadForHost, answerForHost);
    const double ms = millisecondsBetween(begin, Clock::now());
    if (ms > m_callbackLimitMs) {
        std::lock_guard<std::mutex> lock(m_mutex);
        r.record.findings.push_back(Finding { rule::kSlowCallback,
            format("HBBTV_ServiceRequestHandler returned after %.1f ms: take the request and return within %.0f ms, "
                   "answer it from a thread of the host's own",
                ms, m_callbackLimitMs) });
    }
}

CheckingHost::Pending* CheckingHost::find(const HbbtvCommandPayload* payload)
{
    for (const std::unique_ptr<Pending>& request : m_requests) {
        if (request->payload != nullptr
            && request->payload->data() == reinterpret_cast<const unsigned char*>(payload)) {
            return request.get();
        }
    }
    if (payload == nullptr) {
        return nullptr;
    }
    // A pointer of the host's own: the ticket it carries names the request.
    for (auto it = m_requests.rbegin(); it != m_requests.rend(); ++it) {
        if ((*it)->record.ticket == payload->ticket) {
            return it->get();
        }
    }
    return nullptr;
}

// On the host's thread: the request's first completion within its budget.
void CheckingHost::requestFinished(HbbtvCommandPayload* payload)
{
    const Clock::time_point now = Clock::now();
    std::unique_lock<std::mutex> lock(m_mutex);
    Pending* const request = find(payload);
    if (request == nullptr) {
        RequestRecord stray;
        stray.operation = m_operation;
        stray.completions = 1;
        stray.findings.push_back(Finding { rule::kWrongPayload,
            format("completion reported with payload %p (ticket %u), which is no request handed over: pass back the "
                   "pointer given to HBBTV_ServiceRequestHandler",
                static_cast<void*>(payload), payload != nullptr ? payload->ticket : 0u) });
        std::unique_ptr<Pending> entry(new Pending());
        entry->record = stray;
        entry->state = Pending::Completed;
        m_requests.push_back(std::move(entry));
        return;
    }
    Pending& r = *request;
    const bool samePointer = r.payload != nullptr && r.payload->data() == reinterpret_cast<unsigned char*>(payload);
    ++r.record.completions;
    const double ms = millisecondsBetween(r.handedOverAt, now);
    switch (r.state) {
    case Pending::Completing:
    case Pending::Completed:
        if (r.record.completions == 2) {
            r.record.findings.push_back(Finding { rule::kTwice,
                format("completion reported a second time, %.1f ms after hand-over: report each request finished "
                       "exactly once",
                    ms) });
        }
        return;
    case Pending::GivenUp:
        if (r.record.completions == 1) {
            r.record.answerMs = ms;
            r.record.findings.push_back(Finding { rule::kLate,
                format("completion reported %.1f ms after hand-over, past the budget of %u ms in timeoutMs: the "
                       "requester had given up; answer within timeoutMs",
                    ms, r.record.budgetMs) });
        }
        m_changed.notify_all();
        return;
    case Pending::Waiting:
        r.state = Pending::Completing;
        r.record.answerMs = ms;
        break;
    }
    lock.unlock();
    complete(r, samePointer);
}

// Checks the records the host filled, copies a sound answer back into the library's records and
// completes the library's request. Only the completing thread touches the records here.
void CheckingHost::complete(Pending& r, bool samePointer)
{
    Findings findings;
    const int command = r.record.command;
    if (!samePointer) {
        findings.push_back(Finding { rule::kWrongPayload,
            "completion reported with a payload other than the one handed over (same ticket, another pointer): pass "
            "back the pointer given to HBBTV_ServiceRequestHandler" });
    }
    const struct {
        const GuardedBlock* block;
        const char* what;
    } blocks[] = { { r.payload.get(), "payload" }, { r.answer.get(), "answer record" },
        { r.pool.get(), "channel-list pool" }, { r.result.get(), "result vector object" } };
    bool guardsIntact = true;
    for (const auto& entry : blocks) {
        long at = 0;
        if (entry.block != nullptr && !entry.block->guardsIntact(at)) {
            guardsIntact = false;
            findings.push_back(Finding { rule::kGuard,
                at < 0 ? format("the host wrote %ld bytes before the %s (%zu bytes): write only inside the records "
                                "handed over",
                    -at, entry.what, entry.block->size())
                       : format("the host wrote past the end of the %s: byte %ld of a %zu-byte record; write only "
                                "inside the records handed over",
                           entry.what, at, entry.block->size()) });
        }
    }
    const unsigned char* const payloadNow = r.payload->data();
    checkPayloadUnchanged(command, r.handedOver.data(), payloadNow, r.handedOver.size(), findings);
    const HbbtvCommandPayload& handedOver = *reinterpret_cast<const HbbtvCommandPayload*>(r.handedOver.data());
    const HbbtvServiceRequestAnswer& answer = *reinterpret_cast<const HbbtvServiceRequestAnswer*>(r.answer->data());
    checkAnswer(handedOver, answer, findings);
    if (r.pool != nullptr && r.pool->data() != nullptr && answer.valid != 0) {
        checkLineupPool(r.pool->data(), r.pool->size(), r.poolWords, findings);
    }
    if (r.result != nullptr && answer.valid != 0 && guardsIntact) {
        if (command == ProgrammeCommand_GetAllProgrammeInfo) {
            checkSchedule(*reinterpret_cast<const Schedule*>(r.result->data()), findings);
        } else {
            checkDescriptors(*reinterpret_cast<const Descriptors*>(r.result->data()), handedOver.param1,
                handedOver.param2, findings);
        }
    }

    if (findings.empty()) {
        memcpy(static_cast<void*>(r.libraryAnswer), r.answer->data(), r.answer->size());
        if (r.pool != nullptr && r.libraryPool != nullptr) {
            const size_t entriesAt = sizeof(HbbtvChannelListPool);
            memcpy(r.libraryPool + offsetof(HbbtvChannelListPool, count),
                r.pool->data() + offsetof(HbbtvChannelListPool, count), sizeof(uint32_t));
            memcpy(r.libraryPool + entriesAt, r.pool->data() + entriesAt, r.pool->size() - entriesAt);
        }
        if (r.result != nullptr && r.libraryResult != nullptr) {
            if (command == ProgrammeCommand_GetAllProgrammeInfo) {
                Schedule& from = *reinterpret_cast<Schedule*>(r.result->data());
                Schedule& to = *static_cast<Schedule*>(r.libraryResult);
                to.insert(to.end(), from.begin(), from.end());
            } else {
                Descriptors& from = *reinterpret_cast<Descriptors*>(r.result->data());
                Descriptors& to = *static_cast<Descriptors*>(r.libraryResult);
                to.insert(to.end(), from.begin(), from.end());
            }
        }
    } else if (command == DSMCC_DVBURL_GetFile) {
        // Unanswered, the library would ask again and again: a faulty answer refuses the mount.
        static_cast<HbbtvServiceRequestDvbResourceMountAnswer*>(r.libraryAnswer)->refused = 1;
    }

    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        r.record.findings.insert(r.record.findings.end(), findings.begin(), findings.end());
        r.state = Pending::Completed;
        wrapper = m_libraryWrapper;
    }
    m_changed.notify_all();
    if (wrapper != nullptr) {
        wrapper->notifyHbbtvServiceRequestFinished(r.libraryPayload);
    }
    // The payload's block stays: its address must not name another request while this host may
    // still report it a second time.
    r.answer.reset();
    r.pool.reset();
    r.destroyResult();
}

// On the watchdog: the budget has run out. The library's request is completed unanswered; the
// checker's records stay for a host that still writes them late.
void CheckingHost::giveUp(Pending& r)
{
    if (r.record.command == DSMCC_DVBURL_GetFile) {
        static_cast<HbbtvServiceRequestDvbResourceMountAnswer*>(r.libraryAnswer)->refused = 1;
    }
    ZR_HBBTV_Core::ZR_HbbtvImplInterface* wrapper;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        wrapper = m_libraryWrapper;
    }
    if (wrapper != nullptr) {
        wrapper->notifyHbbtvServiceRequestFinished(r.libraryPayload);
    }
}

void CheckingHost::watch()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        Clock::time_point next = Clock::time_point::max();
        std::vector<Pending*> expired;
        const Clock::time_point now = Clock::now();
        for (const std::unique_ptr<Pending>& request : m_requests) {
            if (request->state != Pending::Waiting) {
                continue;
            }
            if (request->deadline <= now) {
                request->state = Pending::GivenUp;
                request->record.givenUp = true;
                expired.push_back(request.get());
            } else if (request->deadline < next) {
                next = request->deadline;
            }
        }
        if (!expired.empty()) {
            lock.unlock();
            for (Pending* request : expired) {
                giveUp(*request);
            }
            lock.lock();
            continue;
        }
        if (next == Clock::time_point::max()) {
            m_changed.wait(lock);
        } else {
            m_changed.wait_until(lock, next);
        }
    }
}

void CheckingHost::waitForLateCompletions(std::chrono::milliseconds limit)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait_for(lock, limit, [this] {
        for (const std::unique_ptr<Pending>& request : m_requests) {
            if (request->state == Pending::Waiting
                || (request->state == Pending::GivenUp && request->record.completions == 0)) {
                return false;
            }
        }
        return true;
    });
}

void CheckingHost::releaseGivenUp()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const std::unique_ptr<Pending>& request : m_requests) {
        if (request->state == Pending::GivenUp) {
            request->answer.reset();
            request->pool.reset();
            request->destroyResult();
        }
    }
}

std::vector<RequestRecord> CheckingHost::requests() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<RequestRecord> records;
    for (const std::unique_ptr<Pending>& request : m_requests) {
        RequestRecord record = request->record;
        if (request->state == Pending::GivenUp && record.completions == 0) {
            record.findings.insert(record.findings.begin(),
                Finding { rule::kNever,
                    format("no completion within the budget of %u ms in timeoutMs: report every request finished once, "
                           "also when there is nothing to answer (valid 0)",
                        record.budgetMs) });
        }
        records.push_back(record);
    }
    return records;
}

std::vector<CallbackRecord> CheckingHost::callbacks() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_callbacks;
}

Findings CheckingHost::afterDeinit() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_afterDeinit;
}

} // namespace hbbtv_hostcheck
