#include "HbbtvBackendGlue.Trace.h"

#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <chrono>
#include <cstring>
#include <deque>
#include <mutex>

#include "HbbtvBackendRecords.h"

namespace ZR_HBBTV_Core {
namespace trace {

std::atomic<bool> g_on(false);

namespace {

const uint64_t kMiB = 1u << 20;
const std::chrono::milliseconds kWriterPeriod(20);

uint64_t monotonicMicroseconds()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000u + static_cast<uint64_t>(now.tv_nsec) / 1000u;
}

pthread_key_t g_threadIdKey;
pthread_once_t g_threadIdKeyOnce = PTHREAD_ONCE_INIT;

void makeThreadIdKey()
{
    pthread_key_create(&g_threadIdKey, nullptr);
}

// The kernel's id of the calling thread (as top and the console show it), asked once per thread.
// Kept in a thread-specific key rather than a thread_local: the library is loaded with dlopen, and
// AddressSanitizer's leak check misreads the dynamic thread-local blocks of such a library.
long threadId()
{
    pthread_once(&g_threadIdKeyOnce, makeThreadIdKey);
    const intptr_t known = reinterpret_cast<intptr_t>(pthread_getspecific(g_threadIdKey));
    if (known != 0) {
        return static_cast<long>(known);
    }
    const long id = syscall(SYS_gettid);
    pthread_setspecific(g_threadIdKey, reinterpret_cast<void*>(static_cast<intptr_t>(id)));
    return id;
}

// The buffer between the threads that record and the writer thread. Recording threads hold the
// lock only to number a line and queue it; the writer takes whole batches and writes them with
// the lock released.
class Recorder {
public:
    bool start(const Settings& settings);
    void stop();
    void flush();
    void commit(std::string& text);
    uint64_t dropped() const { return m_droppedTotal.load(std::memory_order_relaxed); }

private:
    static void* writerEntry(void* recorder);
    void writerLoop();
    bool openFile();
    void writeLine(const std::string& line);
    void writeDropCount(uint64_t count);

    std::mutex m_mutex;
    std::condition_variable m_wake;     // lines queued, or stop
    std::condition_variable m_written;  // a batch reached the file
    std::deque<std::string> m_queue;
    uint64_t m_nextSeq = 1;
    uint64_t m_queuedUpTo = 0;  // seq of the last line queued
    uint64_t m_writtenUpTo = 0; // seq of the last line written (or dropped before it)
    uint64_t m_droppedPending = 0;
    std::atomic<uint64_t> m_droppedTotal{0};
    bool m_running = false;
    bool m_stopping = false;
    bool m_flushWanted = false;
    pthread_t m_writer;
    Settings m_settings;
    // The writer thread's own.
    FILE* m_file = nullptr;
    uint64_t m_fileBytes = 0;
};

Recorder& recorder()
{
    // Never destroyed: lines may be recorded while exit handlers run.
    static Recorder* const instance = new Recorder();
    return *instance;
}

bool Recorder::start(const Settings& settings)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_running) {
        return true;
    }
    m_settings = settings;
    if (m_settings.bufferLines == 0) {
        m_settings.bufferLines = 1;
    }
    if (!openFile()) {
        return false;
    }
    m_stopping = false;
    if (pthread_create(&m_writer, nullptr, writerEntry, this) != 0) {
        printf("[HbbTV-Trace] cannot start the writer thread; not recording\n");
        fclose(m_file);
        m_file = nullptr;
        return false;
    }
    m_running = true;
    g_on.store(true, std::memory_order_relaxed);
    return true;
}

void Recorder::stop()
{
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_running) {
            return;
        }
        g_on.store(false, std::memory_order_relaxed);
        m_stopping = true;
        m_wake.notify_one();
    }
    pthread_join(m_writer, nullptr);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_running = false;
    if (m_file != nullptr) {
        fclose(m_file);
        m_file = nullptr;
    }
}

void Recorder::flush()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const uint64_t target = m_queuedUpTo;
    m_flushWanted = true;
    m_wake.notify_one();
    m_written.wait(lock, [this, target] { return !m_running || m_writtenUpTo >= target; });
}

void Recorder::commit(std::string& text)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_running || m_stopping) {
        return;
    }
    if (m_queue.size() >= m_settings.bufferLines) {
        ++m_droppedPending;
        m_droppedTotal.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    // Numbered under the lock, so that the file's order is the numbers' order.
    const uint64_t seq = m_nextSeq++;
    text += ",\"seq\":";
    text += std::to_string(seq);
    text += "}\n";
    m_queue.push_back(std::move(text));
    m_queuedUpTo = seq;
    // The writer wakes by itself every few milliseconds; it is woken early only when the buffer
    // fills, so that a line costs no wake-up of another thread.
    if (m_queue.size() == m_settings.bufferLines / 2 + 1) {
        m_wake.notify_one();
    }
}

void* Recorder::writerEntry(void* self)
{
    prctl(PR_SET_NAME, "hbbtv::trace");
    static_cast<Recorder*>(self)->writerLoop();
    return nullptr;
}

void Recorder::writerLoop()
{
    std::deque<std::string> batch;
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait_for(lock, kWriterPeriod, [this] {
            return m_stopping || m_flushWanted || m_queue.size() > m_settings.bufferLines / 2;
        });
        m_flushWanted = false;
        batch.swap(m_queue);
        const uint64_t upTo = m_queuedUpTo;
        const uint64_t droppedNow = m_droppedPending;
        m_droppedPending = 0;
        const bool stopping = m_stopping;
        lock.unlock();
        for (const std::string& line : batch) {
            writeLine(line);
        }
        batch.clear();
        if (droppedNow != 0) {
            writeDropCount(droppedNow);
        }
        if (m_file != nullptr) {
            fflush(m_file);
        }
        lock.lock();
        m_writtenUpTo = upTo;
        m_written.notify_all();
        if (stopping && m_queue.empty() && m_droppedPending == 0) {
            return;
        }
    }
}

bool Recorder::openFile()
{
    m_file = fopen(m_settings.path.c_str(), "a");
    if (m_file == nullptr) {
        printf("[HbbTV-Trace] cannot open %s: %s; not recording\n", m_settings.path.c_str(), strerror(errno));
        return false;
    }
    fseek(m_file, 0, SEEK_END);
    const long size = ftell(m_file);
    m_fileBytes = size > 0 ? static_cast<uint64_t>(size) : 0;
    return true;
}

void Recorder::writeLine(const std::string& line)
{
    if (m_file != nullptr && m_fileBytes != 0 && m_fileBytes + line.size() > m_settings.maxBytes) {
        // One previous file is kept; the one before it goes.
        fclose(m_file);
        const std::string previous = m_settings.path + ".1";
        rename(m_settings.path.c_str(), previous.c_str());
        m_file = fopen(m_settings.path.c_str(), "w");
        m_fileBytes = 0;
        if (m_file == nullptr) {
            printf("[HbbTV-Trace] cannot reopen %s: %s; lines are lost\n", m_settings.path.c_str(), strerror(errno));
        }
    }
    if (m_file == nullptr) {
        return;
    }
    fwrite(line.data(), 1, line.size(), m_file);
    m_fileBytes += line.size();
}

// Not numbered: it stands for lines that never got a number.
void Recorder::writeDropCount(uint64_t count)
{
    std::string text;
    TraceJson json(text);
    json.beginObject();
    json.key("t");
    json.value(monotonicMicroseconds());
    json.key("th");
    json.value(static_cast<int64_t>(threadId()));
    json.key("kind");
    json.value("dropped");
    json.key("name");
    json.value("dropped");
    json.key("count");
    json.value(count);
    json.endObject();
    text += '\n';
    writeLine(text);
}

// Issue times by ticket, for the time to completion: a slot per ticket modulo its size, enough
// for the requests a host can hold at once. Only the agent thread touches it.
struct IssueTime {
    uint32_t ticket;
    uint64_t microseconds;
};
const size_t kIssueSlots = 1024;
IssueTime g_issueTimes[kIssueSlots];

} // namespace

void startFromEnvironment()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const char* path = getenv("HBBTV_TRACE");
        if (path == nullptr || path[0] == '\0') {
            return;
        }
        Settings settings;
        settings.path = path;
        const char* cap = getenv("HBBTV_TRACE_MAX_MB");
        if (cap != nullptr && cap[0] != '\0') {
            char* end = nullptr;
            const unsigned long megabytes = strtoul(cap, &end, 10);
            if (end != cap && *end == '\0' && megabytes >= 1 && megabytes <= 1024) {
                settings.maxBytes = megabytes * kMiB;
            } else {
                printf("[HbbTV-Trace] HBBTV_TRACE_MAX_MB=%s is not a number of MiB from 1 to 1024; using %u\n", cap,
                       static_cast<unsigned>(settings.maxBytes / kMiB));
            }
        }
        if (start(settings)) {
            printf("[HbbTV-Trace] recording to %s (at most %u MiB, then %s.1)\n", path,
                   static_cast<unsigned>(settings.maxBytes / kMiB), path);
        }
    });
}

bool start(const Settings& settings)
{
    return recorder().start(settings);
}

void flush()
{
    recorder().flush();
}

void stop()
{
    recorder().stop();
}

uint64_t droppedLines()
{
    return recorder().dropped();
}

Line::Line(const char* kind, const char* name) : m_json(m_text)
{
    m_text.reserve(256);
    m_json.beginObject();
    m_json.key("t");
    m_json.value(monotonicMicroseconds());
    m_json.key("th");
    m_json.value(static_cast<int64_t>(threadId()));
    m_json.key("kind");
    m_json.value(kind);
    m_json.key("name");
    m_json.value(name);
}

// The closing brace and the sequence number are added when the line is queued.
Line::~Line()
{
    recorder().commit(m_text);
}

void commandIssued(const HbbtvCommandPayload& payload, uint32_t ticket)
{
    g_issueTimes[ticket % kIssueSlots] = IssueTime{ticket, monotonicMicroseconds()};
    Line("command", convertBackendCommandToString(payload.command))
        .arg("ticket", ticket)
        .arg("command", payload.command)
        .arg("param1", payload.param1)
        .arg("param2", payload.param2)
        .arg("budgetMs", payload.timeoutMs)
        .arg("resultAddress", payload.resultAddress != 0);
}

namespace {

uint64_t takeElapsed(uint32_t ticket)
{
    IssueTime& issued = g_issueTimes[ticket % kIssueSlots];
    if (issued.ticket != ticket || issued.microseconds == 0) {
        return 0; // issued before recording began, or its slot taken by a later request
    }
    const uint64_t elapsed = monotonicMicroseconds() - issued.microseconds;
    issued.microseconds = 0;
    return elapsed;
}

} // namespace

void commandCompleted(const HbbtvCommandPayload& payload, uint32_t ticket, bool valid)
{
    Line("completed", convertBackendCommandToString(payload.command))
        .arg("ticket", ticket)
        .arg("command", payload.command)
        .arg("valid", valid)
        .arg("us", takeElapsed(ticket));
}

void commandGivenUp(const HbbtvCommandPayload& payload, uint32_t ticket)
{
    Line("timeout", convertBackendCommandToString(payload.command))
        .arg("ticket", ticket)
        .arg("command", payload.command)
        .arg("us", takeElapsed(ticket));
}

void completionUnmatched(uint32_t ticket)
{
    Line("unmatched", "completion").arg("ticket", ticket);
}

} // namespace trace
} // namespace ZR_HBBTV_Core
