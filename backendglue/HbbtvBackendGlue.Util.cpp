#include "HbbtvBackendGlue.Util.h"

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <random>

#include "HbbtvBackendGlue.Trace.h"

namespace ZR_HBBTV_Core {

namespace {

const char kSourceFile[] = "./backendglue/HbbtvBackendGlue.Util.cpp";

// Truncation toward zero into a 32-bit signed word, saturating instead of overflowing (as the
// ARM conversion does), so that a "no limit" deadline such as the largest double means a wait
// that does not end rather than undefined behaviour.
int32_t truncateToInt32(double value)
{
    if (std::isnan(value)) {
        return 0;
    }
    if (value >= 2147483647.0) {
        return INT32_MAX;
    }
    if (value <= -2147483648.0) {
        return INT32_MIN;
    }
    return static_cast<int32_t>(value);
}

} // namespace

void HbbtvBackendGlue_AssertFail(const char* file, const char* function, int line)
{
    printf("ASSERT FAIL: %s %s %d\n", file, function, line);
    fflush(stdout);
    trace::recordAssertion(file, function, line);
    abort();
}

int HbbtvBackendGlue_Log(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    const int written = vfprintf(stdout, format, args);
    va_end(args);
    return written;
}

double currentTime()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

Mutex::Mutex()
{
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_NORMAL);
    if (pthread_mutex_init(&m_mutex, &attr) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 25);
    }
    pthread_mutexattr_destroy(&attr);
}

Mutex::~Mutex()
{
    pthread_mutex_destroy(&m_mutex);
}

void Mutex::lockFailed(int result)
{
    const char function[] = "void ZR_HBBTV_Core::Mutex::lock()";
    printf(".....%s,%d....result:%d...%p.EINVAL:%d, EBUSY:%d, EINVAL:%d, EAGAIN:%d, EDEADLK:%d, EPERM:%d\n", function,
           40, result, static_cast<void*>(&m_mutex), EINVAL, EBUSY, EINVAL, EAGAIN, EDEADLK, EPERM);
    HbbtvBackendGlue_AssertFail(kSourceFile, function, 48);
}

bool Mutex::tryLock()
{
    const int result = pthread_mutex_trylock(&m_mutex);
    if (result == 0) {
        return true;
    }
    if (result == EBUSY) {
        return false;
    }
    HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 60);
}

void Mutex::unlockFailed(int result)
{
    const char function[] = "void ZR_HBBTV_Core::Mutex::unlock()";
    printf("...%s,%d...result:%d\n", function, 69, result);
    HbbtvBackendGlue_AssertFail(kSourceFile, function, 70);
}

ThreadCondition::ThreadCondition()
{
    // The attribute object is deliberately not destroyed: it holds no resources on this platform.
    pthread_condattr_t attr;
    if (pthread_condattr_init(&attr) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 79);
    }
    if (pthread_condattr_setclock(&attr, CLOCK_MONOTONIC) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 81);
    }
    pthread_cond_init(&m_cond, &attr);
}

ThreadCondition::~ThreadCondition()
{
    pthread_cond_destroy(&m_cond);
}

void ThreadCondition::wait(Mutex& mutex)
{
    if (pthread_cond_wait(&m_cond, &mutex.m_mutex) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 94);
    }
}

bool ThreadCondition::timedWait(Mutex& mutex, double deadline)
{
    if (currentTime() > deadline) {
        return false;
    }
    timespec until;
    until.tv_sec = truncateToInt32(deadline);
    const int32_t nanoseconds = truncateToInt32((deadline - static_cast<double>(until.tv_sec)) * 1e9);
    // A deadline past the 32-bit range leaves a remainder that no timespec can hold; keep the
    // field valid so that such a wait means "until signalled".
    until.tv_nsec = nanoseconds < 0 ? 0 : (nanoseconds > 999999999 ? 999999999 : nanoseconds);
    return pthread_cond_timedwait(&m_cond, &mutex.m_mutex, &until) == 0;
}

void ThreadCondition::signal()
{
    if (pthread_cond_signal(&m_cond) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 129);
    }
}

void ThreadCondition::broadcast()
{
    if (pthread_cond_broadcast(&m_cond) != 0) {
        HbbtvBackendGlue_AssertFail(kSourceFile, __PRETTY_FUNCTION__, 135);
    }
}

#ifdef HBBTV_INJECT_DELAYS
void injectDelay(const char* point)
{
    // Each thread draws from its own stream, numbered in the order threads first pass a point, so
    // that one seed gives one schedule of pauses per thread.
    static const char* const text = getenv("HBBTV_DELAY_SEED");
    if (text == nullptr) {
        return;
    }
    static const unsigned long seed = [] {
        const unsigned long value = strtoul(text, nullptr, 10);
        printf("[HbbTV-Delays] pauses at the named points, seed %lu\n", value);
        return value;
    }();
    static std::atomic<unsigned long> threads(0);
    thread_local std::minstd_rand draw(static_cast<unsigned int>(seed * 7919 + threads.fetch_add(1) + 1));
    unsigned long mixed = draw();
    for (const char* c = point; *c != '\0'; ++c) {
        mixed = mixed * 31 + static_cast<unsigned char>(*c);
    }
    // One point in four pauses, for up to 300 us; a tenth of those yield instead, which on a busy
    // machine can be the longer pause.
    if (mixed % 4 == 0) {
        if (mixed % 40 == 0) {
            sched_yield();
        } else {
            usleep(static_cast<useconds_t>(mixed / 4 % 300));
        }
    }
}
#endif

} // namespace ZR_HBBTV_Core
