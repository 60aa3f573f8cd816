// The soak reads what the library prints: which given-up requests it freed without the host's
// report ("Request never finished"), which requests it refused because the region was full, and
// the allocator's summary of the region. Standard output goes through a pipe to a reader thread,
// which counts those lines and passes the others on to the real output.
#ifndef HBBTV_SOAK_STDOUT_TAP_H
#define HBBTV_SOAK_STDOUT_TAP_H

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace hbbtv_soak {

// The region's nodes in use, from the allocator's summary.
struct RegionUse {
    size_t blocks = 0;
    size_t bytes = 0;
};

class StdoutTap {
public:
    // Takes standard output over until stop (or destruction).
    StdoutTap();
    ~StdoutTap();
    StdoutTap(const StdoutTap&) = delete;
    StdoutTap& operator=(const StdoutTap&) = delete;

    void stop();

    // While quiet, the library's lines are counted but not passed on (its request chatter runs to
    // thousands of lines a second); "ASSERT FAIL" lines always pass, and the first few of the
    // counted kinds.
    void setQuiet(bool quiet);

    // Returns once every line printed before the call has been read.
    void sync();
    // The allocator's summary, read through the pipe.
    RegionUse regionUse();

    // Tickets the library freed without the host's report: the host must not touch their records.
    bool neverFinished(unsigned int ticket);
    size_t neverFinishedCount();
    size_t refusedCount();
    size_t unshownCount();

private:
    void read();
    void take(const std::string& line);
    void pass(const std::string& line);

    int m_realOut = -1;
    int m_pipe = -1;
    std::thread m_reader;
    std::mutex m_dumpMutex; // one summary at a time

    std::mutex m_mutex;
    std::condition_variable m_synced;
    unsigned long m_syncSent = 0;
    unsigned long m_syncSeen = 0;
    bool m_quiet = false;
    std::set<unsigned int> m_neverFinished;
    size_t m_refused = 0;
    size_t m_unshown = 0;
    bool m_inDump = false;
    size_t m_dumpNodeSize = 0;
    RegionUse m_dump;
};

} // namespace hbbtv_soak

#endif
