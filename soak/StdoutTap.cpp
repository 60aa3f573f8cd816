#include "StdoutTap.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "HbbtvBackendGlue.MemoryPool.h"

namespace hbbtv_soak {

namespace {

const char kSyncMark[] = "\x01soak sync ";
const char kDumpBegin[] = "\x01soak dump begin";
const char kDumpEnd[] = "\x01soak dump end";
const char kNeverFinished[] = "Request never finished - ";
const char kRefused[] = "Request refused - ";
const char kRegionFull[] = "the shared region is full";
// Of each counted kind, this many lines are shown.
const size_t kShown = 3;

bool startsWith(const std::string& line, const char* prefix)
{
    return line.compare(0, strlen(prefix), prefix) == 0;
}

} // namespace

StdoutTap::StdoutTap()
{
    fflush(stdout);
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        perror("soak: pipe");
        exit(2);
    }
    m_realOut = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    dup2(fds[1], STDOUT_FILENO);
    close(fds[1]);
    m_pipe = fds[0];
    m_reader = std::thread([this] { read(); });
}

StdoutTap::~StdoutTap()
{
    stop();
}

void StdoutTap::stop()
{
    if (m_pipe < 0) {
        return;
    }
    fflush(stdout);
    // The pipe's only writing end was standard output: the reader sees its end.
    dup2(m_realOut, STDOUT_FILENO);
    m_reader.join();
    close(m_pipe);
    close(m_realOut);
    m_pipe = -1;
}

void StdoutTap::setQuiet(bool quiet)
{
    fflush(stdout);
    std::lock_guard<std::mutex> lock(m_mutex);
    m_quiet = quiet;
}

void StdoutTap::sync()
{
    unsigned long mark;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        mark = ++m_syncSent;
    }
    printf("%s%lu\n", kSyncMark, mark);
    fflush(stdout);
    std::unique_lock<std::mutex> lock(m_mutex);
    m_synced.wait(lock, [&] { return m_syncSeen >= mark; });
}

RegionUse StdoutTap::regionUse()
{
    std::lock_guard<std::mutex> dumping(m_dumpMutex);
    printf("%s\n", kDumpBegin);
    ZR_HBBTV_Core::getBackendMemAllocator()->dumpInfo();
    printf("%s\n", kDumpEnd);
    sync();
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_dump;
}

bool StdoutTap::neverFinished(unsigned int ticket)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_neverFinished.count(ticket) != 0;
}

size_t StdoutTap::neverFinishedCount()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_neverFinished.size();
}

size_t StdoutTap::refusedCount()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_refused;
}

size_t StdoutTap::unshownCount()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_unshown;
}

void StdoutTap::read()
{
    std::string pending;
    char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(m_pipe, buffer, sizeof(buffer));
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            break;
        }
        pending.append(buffer, static_cast<size_t>(got));
        size_t start = 0;
        for (size_t end; (end = pending.find('\n', start)) != std::string::npos; start = end + 1) {
            take(pending.substr(start, end - start));
        }
        pending.erase(0, start);
    }
    if (!pending.empty()) {
        take(pending);
    }
}

void StdoutTap::take(const std::string& line)
{
    // The library leaves some lines without their end: a mark may follow one.
    const size_t markAt = line.find('\x01');
    if (markAt != std::string::npos && markAt > 0) {
        take(line.substr(0, markAt));
        take(line.substr(markAt));
        return;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    if (startsWith(line, kSyncMark)) {
        const unsigned long mark = strtoul(line.c_str() + strlen(kSyncMark), nullptr, 10);
        m_syncSeen = mark > m_syncSeen ? mark : m_syncSeen;
        m_synced.notify_all();
        return;
    }
    if (startsWith(line, kDumpBegin)) {
        m_inDump = true;
        m_dump = RegionUse();
        return;
    }
    if (startsWith(line, kDumpEnd)) {
        m_inDump = false;
        return;
    }
    if (m_inDump) {
        // Only the summary prints these; other threads' lines may come in between.
        unsigned int value = 0;
        if (sscanf(line.c_str(), " node size:%u", &value) == 1) {
            m_dumpNodeSize = value;
            return;
        }
        if (sscanf(line.c_str(), "used list:%u", &value) == 1) {
            m_dump.blocks += value;
            m_dump.bytes += value * m_dumpNodeSize;
            return;
        }
        if (sscanf(line.c_str(), "free list:%u", &value) == 1 || startsWith(line, "capacity:")) {
            return;
        }
    }
    size_t* counted = nullptr;
    size_t seen = 0;
    const size_t neverFinishedAt = line.find(kNeverFinished);
    if (neverFinishedAt != std::string::npos) {
        const size_t ticketAt = line.find("ticket:", neverFinishedAt);
        if (ticketAt != std::string::npos) {
            m_neverFinished.insert(static_cast<unsigned int>(strtoul(line.c_str() + ticketAt + 7, nullptr, 10)));
        }
        seen = m_neverFinished.size();
    } else if (line.find(kRefused) != std::string::npos && line.find(kRegionFull) != std::string::npos) {
        counted = &m_refused;
        seen = ++*counted;
    }
    const bool shown = line.find("ASSERT FAIL") != std::string::npos || (seen != 0 && seen <= kShown)
        || (seen == 0 && counted == nullptr && !m_quiet);
    if (!shown) {
        ++m_unshown;
        return;
    }
    lock.unlock();
    pass(line);
}

void StdoutTap::pass(const std::string& line)
{
    const std::string out = line + "\n";
    for (size_t written = 0; written < out.size();) {
        const ssize_t n = write(m_realOut, out.data() + written, out.size() - written);
        if (n <= 0 && errno != EINTR) {
            return;
        }
        written += n > 0 ? static_cast<size_t>(n) : 0;
    }
}

} // namespace hbbtv_soak
