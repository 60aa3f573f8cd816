#include "HbbtvBackendGlue.Trace.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <chrono>
#include <cstring>
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

// Lines go straight into a shared mapping of the file. The kernel keeps a mapping's pages when the
// process dies, so a line is in the file as soon as its call returns, also when a watchdog kills
// the middleware (SIGKILL) or it crashes a moment later. Recording threads hold the lock only to
// number a line and copy it behind the last one; the writer thread keeps the mapped window ahead
// of them (it grows the file and maps further on, so that a recording thread makes no system
// call), moves the file to FILE.1 shortly before the cap, and cuts the file to its lines at flush
// and stop. Until then the file ends in zero bytes past its last line, which readers skip; a
// recording that starts on such a file cuts them, and a line cut short, first.
class Recorder {
public:
    bool start(const Settings& settings);
    void stop();
    void flush();
    void commit(std::string& text);
    void seal();
    uint64_t dropped() const { return m_droppedTotal.load(std::memory_order_relaxed); }

private:
    struct Window {
        char* base = nullptr;
        uint64_t start = 0; // the file offset mapped at base
        uint64_t end = 0;   // the first offset past the mapping
    };

    static void* writerEntry(void* recorder);
    void writerLoop();
    bool openFile();
    bool mapWindow(int fd, uint64_t from, Window& window) const;
    void slideWindow(std::unique_lock<std::mutex>& lock);
    void rotate(std::unique_lock<std::mutex>& lock);
    void cutToLines();
    void cutFile();
    bool place(const std::string& line);
    void writeDropCount();
    void askWriter();

    std::mutex m_mutex;
    std::condition_variable m_wake;    // the window is half used, a line was dropped, flush or stop
    std::condition_variable m_flushed; // the writer has done what a flush asked
    Settings m_settings;
    uint64_t m_rotateAt = 0;
    int m_fd = -1;
    Window m_window;        // none after a cut: the next line maps it again
    uint64_t m_length = 0;  // of the file's whole lines
    uint64_t m_nextSeq = 1;
    uint64_t m_droppedPending = 0;
    std::atomic<uint64_t> m_droppedTotal{0};
    bool m_running = false;
    bool m_stopping = false;
    bool m_sealed = false;  // the process is aborting: nothing more goes into the file
    bool m_writerWanted = false;
    bool m_rotateWanted = false; // a line found no room before the cap
    bool m_reopenFailed = false;
    uint64_t m_flushAsked = 0;
    uint64_t m_flushDone = 0;
    pthread_t m_writer;
};

Recorder& recorder()
{
    // Never destroyed: lines may be recorded while exit handlers run.
    static Recorder* const instance = new Recorder();
    return *instance;
}

uint64_t pageSize()
{
    static const uint64_t size = static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    return size;
}

void unmap(char* base, uint64_t bytes)
{
    if (base != nullptr) {
        munmap(base, bytes);
    }
}

// Just past the last byte before end that skip does not take, or 0 when there is none; end when
// the file cannot be read.
uint64_t backOver(int fd, uint64_t end, bool (*skip)(char))
{
    char chunk[4096];
    while (end > 0) {
        const uint64_t from = end > sizeof chunk ? end - sizeof chunk : 0;
        if (pread(fd, chunk, end - from, static_cast<off_t>(from)) != static_cast<ssize_t>(end - from)) {
            return end;
        }
        for (uint64_t i = end - from; i > 0; --i) {
            if (!skip(chunk[i - 1])) {
                return from + i;
            }
        }
        end = from;
    }
    return 0;
}

// The length of the whole lines in a file that a recording may have left when its process died:
// zero bytes past the last line, and perhaps a line cut short before them.
uint64_t lengthOfLines(int fd)
{
    struct stat status;
    if (fstat(fd, &status) != 0 || status.st_size <= 0) {
        return 0;
    }
    const uint64_t size = static_cast<uint64_t>(status.st_size);
    const uint64_t text = backOver(fd, size, [](char c) { return c == '\0'; });
    if (text == size) {
        return size; // a file cut to its lines
    }
    return backOver(fd, text, [](char c) { return c != '\n'; });
}

bool Recorder::start(const Settings& settings)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_running) {
        return true;
    }
    m_settings = settings;
    const uint64_t page = pageSize();
    m_settings.windowBytes = std::max<uint64_t>((m_settings.windowBytes + page - 1) / page * page, 2 * page);
    m_rotateAt = m_settings.maxBytes - std::min(m_settings.maxBytes / 16, m_settings.windowBytes / 4);
    if (!openFile()) {
        return false;
    }
    m_stopping = false;
    m_sealed = false;
    m_rotateWanted = false;
    m_nextSeq = 1; // readers take numbers that start again for the next recording
    if (pthread_create(&m_writer, nullptr, writerEntry, this) != 0) {
        printf("[HbbTV-Trace] cannot start the writer thread; not recording\n");
        cutToLines();
        close(m_fd);
        m_fd = -1;
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
}

void Recorder::flush()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const uint64_t asked = ++m_flushAsked;
    m_wake.notify_one();
    m_flushed.wait(lock, [this, asked] { return !m_running || m_flushDone >= asked; });
}

// The process is about to abort: what is pending goes in, the file is cut at its lines, and
// nothing is recorded after (a line copied past the cut would land beyond the file's end).
void Recorder::seal()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_running || m_sealed) {
        return;
    }
    writeDropCount();
    g_on.store(false, std::memory_order_relaxed);
    m_sealed = true;
    cutFile();
}

// Cuts the file at its last line. With the window still mapped, nothing may be copied into it
// after this (a line copied past the cut would fault): the recorder is sealed, or about to unmap.
void Recorder::cutFile()
{
    if (ftruncate(m_fd, static_cast<off_t>(m_length)) != 0) {
        printf("[HbbTV-Trace] cannot cut %s to its lines: %s\n", m_settings.path.c_str(), strerror(errno));
    }
}

void Recorder::commit(std::string& text)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_running || m_stopping || m_sealed) {
        return;
    }
    // Numbered under the lock, so that the file's order is the numbers' order.
    text += ",\"";
    text += format::line::seq;
    text += "\":";
    text += std::to_string(m_nextSeq);
    text += "}\n";
    if (!place(text)) {
        ++m_droppedPending;
        m_droppedTotal.fetch_add(1, std::memory_order_relaxed);
        askWriter();
        return;
    }
    ++m_nextSeq;
    // The writer wakes by itself every few milliseconds; it is woken early only when the window is
    // half used or the cap near, so that a line costs no wake-up of another thread.
    if (m_window.end - m_length < m_settings.windowBytes / 2 || m_length >= m_rotateAt) {
        askWriter();
    }
}

void Recorder::askWriter()
{
    if (!m_writerWanted) {
        m_writerWanted = true;
        m_wake.notify_one();
    }
}

// Copies a line behind the file's last one, if the window and the cap leave room for it.
bool Recorder::place(const std::string& line)
{
    if (m_length != 0 && m_length + line.size() > m_settings.maxBytes) {
        m_rotateWanted = true;
        return false;
    }
    if (m_fd < 0) {
        return false;
    }
    if (m_window.base == nullptr && !mapWindow(m_fd, m_length, m_window)) {
        return false; // the first line after a flush maps the window again
    }
    if (m_length + line.size() > m_window.end) {
        return false;
    }
    memcpy(m_window.base + (m_length - m_window.start), line.data(), line.size());
    m_length += line.size();
    return true;
}

void* Recorder::writerEntry(void* self)
{
    prctl(PR_SET_NAME, "hbbtv::trace");
    static_cast<Recorder*>(self)->writerLoop();
    return nullptr;
}

void Recorder::writerLoop()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_wake.wait_for(lock, kWriterPeriod, [this] {
            return m_stopping || m_writerWanted || m_flushDone != m_flushAsked;
        });
        m_writerWanted = false;
        const uint64_t flushAsked = m_flushAsked;
        const bool stopping = m_stopping;
        if (!m_sealed) {
            if ((m_length >= m_rotateAt || m_rotateWanted) && m_length != 0) {
                rotate(lock);
            }
            if (m_window.base != nullptr && m_window.end - m_length < m_settings.windowBytes / 2) {
                slideWindow(lock);
            }
            writeDropCount();
        }
        if (stopping || flushAsked != m_flushDone) {
            cutToLines();
        }
        m_flushDone = flushAsked;
        m_flushed.notify_all();
        if (stopping) {
            close(m_fd);
            m_fd = -1;
            return;
        }
    }
}

bool Recorder::openFile()
{
    const int fd = open(m_settings.path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        printf("[HbbTV-Trace] cannot open %s: %s; not recording\n", m_settings.path.c_str(), strerror(errno));
        return false;
    }
    m_length = lengthOfLines(fd);
    m_window = Window();
    if (ftruncate(fd, static_cast<off_t>(m_length)) != 0 || !mapWindow(fd, m_length, m_window)) {
        printf("[HbbTV-Trace] cannot map %s: %s; not recording\n", m_settings.path.c_str(), strerror(errno));
        close(fd);
        return false;
    }
    m_fd = fd;
    return true;
}

// Maps windowBytes of the file from the page that holds offset from, growing the file to cover it.
bool Recorder::mapWindow(int fd, uint64_t from, Window& window) const
{
    const uint64_t start = from / pageSize() * pageSize();
    const uint64_t end = start + m_settings.windowBytes;
    struct stat status;
    if (fstat(fd, &status) != 0
        || (static_cast<uint64_t>(status.st_size) < end && ftruncate(fd, static_cast<off_t>(end)) != 0)) {
        return false;
    }
    void* const base = mmap(nullptr, m_settings.windowBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd,
                            static_cast<off_t>(start));
    if (base == MAP_FAILED) {
        return false;
    }
    window.base = static_cast<char*>(base);
    window.start = start;
    window.end = end;
    return true;
}

// Maps the window further on. Lines copied meanwhile went into the same pages through the old
// mapping, which ends no later than the new one.
void Recorder::slideWindow(std::unique_lock<std::mutex>& lock)
{
    const uint64_t from = m_length;
    lock.unlock();
    Window fresh;
    const bool mapped = mapWindow(m_fd, from, fresh);
    lock.lock();
    if (!mapped) {
        return; // lines are dropped, and counted, until a later try succeeds
    }
    if (m_sealed) {
        unmap(fresh.base, m_settings.windowBytes);
        cutFile();
        return;
    }
    const Window old = m_window;
    m_window = fresh;
    lock.unlock();
    unmap(old.base, m_settings.windowBytes);
    lock.lock();
}

// The file moves to FILE.1 (the one before it goes) and a new one starts. Lines keep going into
// the moved file until the new one is mapped, so that both names hold whole lines in order at any
// moment the process may die.
void Recorder::rotate(std::unique_lock<std::mutex>& lock)
{
    const std::string previous = m_settings.path + ".1";
    lock.unlock();
    rename(m_settings.path.c_str(), previous.c_str());
    const int fd = open(m_settings.path.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    Window fresh;
    const bool mapped = fd >= 0 && mapWindow(fd, 0, fresh);
    lock.lock();
    if (!mapped) {
        if (!m_reopenFailed) {
            printf("[HbbTV-Trace] cannot reopen %s: %s; lines past the cap are lost\n", m_settings.path.c_str(),
                   strerror(errno));
        }
        m_reopenFailed = true;
        if (fd >= 0) {
            close(fd);
        }
        return;
    }
    m_reopenFailed = false;
    m_rotateWanted = false;
    if (m_sealed) { // the process is aborting: its lines stay where they are, in FILE.1
        unmap(fresh.base, m_settings.windowBytes);
        close(fd);
        cutFile();
        return;
    }
    const int oldFd = m_fd;
    const Window old = m_window;
    const uint64_t oldLength = m_length;
    m_fd = fd;
    m_window = fresh;
    m_length = 0;
    lock.unlock();
    unmap(old.base, m_settings.windowBytes);
    if (ftruncate(oldFd, static_cast<off_t>(oldLength)) != 0) {
        printf("[HbbTV-Trace] cannot cut %s to its lines: %s\n", previous.c_str(), strerror(errno));
    }
    close(oldFd);
    lock.lock();
}

// Unmaps the window and cuts the file at its last line; the next line maps it again.
void Recorder::cutToLines()
{
    if (m_fd < 0) {
        return;
    }
    unmap(m_window.base, m_settings.windowBytes);
    m_window = Window();
    cutFile();
}

// Not numbered: it stands for lines that never got a number.
void Recorder::writeDropCount()
{
    if (m_droppedPending == 0) {
        return;
    }
    std::string text;
    TraceJson json(text);
    json.beginObject();
    json.key(format::line::time);
    json.value(monotonicMicroseconds());
    json.key(format::line::thread);
    json.value(static_cast<int64_t>(threadId()));
    json.key(format::line::kind);
    json.value(kind::dropped);
    json.key(format::line::name);
    json.value(kind::dropped);
    json.key(format::command::droppedCount);
    json.value(m_droppedPending);
    json.endObject();
    text += '\n';
    if (place(text)) {
        m_droppedPending = 0;
    }
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

void recordAssertion(const char* file, const char* function, int line)
{
    if (!on()) {
        return;
    }
    Line(kind::assertion, "fail").arg("file", file).arg("function", function).arg("line", line);
    recorder().seal();
}

uint64_t droppedLines()
{
    return recorder().dropped();
}

Line::Line(const char* kind, const char* name) : m_json(m_text)
{
    m_text.reserve(256);
    m_json.beginObject();
    m_json.key(format::line::time);
    m_json.value(monotonicMicroseconds());
    m_json.key(format::line::thread);
    m_json.value(static_cast<int64_t>(threadId()));
    m_json.key(format::line::kind);
    m_json.value(kind);
    m_json.key(format::line::name);
    m_json.value(name);
}

Line& Line::bytes(const char* key, const unsigned char* data, size_t size)
{
    static const char kDigits[] = "0123456789abcdef";
    std::string hex(2 * size, '0');
    for (size_t i = 0; i < size; ++i) {
        hex[2 * i] = kDigits[data[i] >> 4];
        hex[2 * i + 1] = kDigits[data[i] & 15];
    }
    m_json.key(key);
    m_json.value(hex);
    return *this;
}

// The closing brace and the sequence number are added when the line is committed.
Line::~Line()
{
    recorder().commit(m_text);
}

void commandIssued(const HbbtvCommandPayload& payload, uint32_t ticket)
{
    g_issueTimes[ticket % kIssueSlots] = IssueTime{ticket, monotonicMicroseconds()};
    Line(kind::command, convertBackendCommandToString(payload.command))
        .arg(format::command::ticket, ticket)
        .arg(format::command::number, payload.command)
        .arg(format::command::param1, payload.param1)
        .arg(format::command::param2, payload.param2)
        .arg(format::command::budgetMs, payload.timeoutMs)
        .arg(format::command::resultAddress, payload.resultAddress != 0);
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
    Line(kind::completed, convertBackendCommandToString(payload.command))
        .arg(format::command::ticket, ticket)
        .arg(format::command::number, payload.command)
        .arg(format::command::valid, valid)
        .arg(format::command::elapsedUs, takeElapsed(ticket));
}

void commandGivenUp(const HbbtvCommandPayload& payload, uint32_t ticket)
{
    Line(kind::timeout, convertBackendCommandToString(payload.command))
        .arg(format::command::ticket, ticket)
        .arg(format::command::number, payload.command)
        .arg(format::command::elapsedUs, takeElapsed(ticket));
}

void completionUnmatched(uint32_t ticket)
{
    Line(kind::unmatched, "completion").arg(format::command::ticket, ticket);
}

} // namespace trace
} // namespace ZR_HBBTV_Core
