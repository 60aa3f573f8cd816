// Thin wrappers over POSIX threads, the monotonic clock and console logging, shared by the whole
// backend runtime. A POSIX call that fails where it must not is a programming error: the wrapper
// prints one assertion line and aborts instead of returning an error.
#ifndef HBBTV_BACKENDGLUE_UTIL_H
#define HBBTV_BACKENDGLUE_UTIL_H

#include <pthread.h>

#include "HbbtvBackendGlue.ThreadSafety.h"

namespace ZR_HBBTV_Core {

// Prints "ASSERT FAIL: <file> <function> <line>" to standard output, flushes it so that the line
// survives a redirected stdout, and aborts.
[[noreturn]] void HbbtvBackendGlue_AssertFail(const char* file, const char* function, int line);

// vfprintf to standard output: no prefix, no time stamp, no newline of its own, no flush.
int HbbtvBackendGlue_Log(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Seconds on CLOCK_MONOTONIC.
double currentTime();

class HBBTV_CAPABILITY("mutex") Mutex {
public:
    Mutex();
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    // Inline: the allocator takes this lock twice for every record.
    void lock() HBBTV_ACQUIRE()
    {
        const int result = pthread_mutex_lock(&m_mutex);
        if (result != 0) {
            lockFailed(result);
        }
    }
    bool tryLock() HBBTV_TRY_ACQUIRE(true);
    void unlock() HBBTV_RELEASE()
    {
        const int result = pthread_mutex_unlock(&m_mutex);
        if (result != 0) {
            unlockFailed(result);
        }
    }

private:
    friend class ThreadCondition;
    [[noreturn]] void lockFailed(int result);
    [[noreturn]] void unlockFailed(int result);

    pthread_mutex_t m_mutex;
};

template <typename M>
class HBBTV_SCOPED_CAPABILITY Locker {
public:
    explicit Locker(M& mutex) HBBTV_ACQUIRE(mutex) : m_mutex(&mutex) { m_mutex->lock(); }
    ~Locker() HBBTV_RELEASE() { m_mutex->unlock(); }
    Locker(const Locker&) = delete;
    Locker& operator=(const Locker&) = delete;

private:
    M* m_mutex;
};

// A condition variable on CLOCK_MONOTONIC, so that deadlines from currentTime() hold across
// changes of the wall clock.
class ThreadCondition {
public:
    ThreadCondition();
    ~ThreadCondition();
    ThreadCondition(const ThreadCondition&) = delete;
    ThreadCondition& operator=(const ThreadCondition&) = delete;

    void wait(Mutex& mutex) HBBTV_REQUIRES(mutex);
    // Waits until signalled or until the absolute deadline (seconds, currentTime's clock).
    // Returns true only when woken before the deadline; never asserts.
    bool timedWait(Mutex& mutex, double deadline) HBBTV_REQUIRES(mutex);
    void signal();
    void broadcast();

private:
    pthread_cond_t m_cond;
};

// Rare interleavings made common. A build with HBBTV_INJECT_DELAYS (the asan preset), run with
// HBBTV_DELAY_SEED set, pauses for a short random time at each named point (a check and the call
// it guards, give-up and completion, deinit, region allocation and free, the queue), drawn from
// the seed so that a failing run can be repeated; any other build compiles the points away.
#ifdef HBBTV_INJECT_DELAYS
void injectDelay(const char* point);
#else
inline void injectDelay(const char*)
{
}
#endif

} // namespace ZR_HBBTV_Core

#endif
