#include <cfloat>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.Util.h"

using namespace ZR_HBBTV_Core;

TEST(ThreadCondition, TimedWaitReportsDeadlineAndSignal)
{
    Mutex mutex;
    ThreadCondition condition;
    Locker<Mutex> lock(mutex);

    // A deadline already past returns at once, without waiting.
    const double before = currentTime();
    EXPECT_FALSE(condition.timedWait(mutex, before - 1.0));
    EXPECT_LT(currentTime() - before, 0.5);

    // A deadline that passes unsignalled gives false, no earlier than the deadline.
    const double deadline = currentTime() + 0.05;
    EXPECT_FALSE(condition.timedWait(mutex, deadline));
    EXPECT_GE(currentTime(), deadline);

    // A signal (or broadcast) before the deadline gives true, also with the largest finite double,
    // the queue's "no limit", which does not fit a timespec. The signaller takes the mutex first, so the signal
    // cannot be sent before this thread waits.
    for (const double limit : {currentTime() + 30.0, DBL_MAX}) {
        std::thread signaller([&] {
            Locker<Mutex> inner(mutex);
            limit == DBL_MAX ? condition.broadcast() : condition.signal();
        });
        EXPECT_TRUE(condition.timedWait(mutex, limit));
        signaller.join();
    }
}

TEST(Mutex, TryLockAndScopedLocking)
{
    Mutex mutex;
    // The result is kept, not checked in place, so that the analysis sees which branch holds it.
    const bool locked = mutex.tryLock();
    EXPECT_TRUE(locked);
    bool fromOtherThread = true;
    std::thread([&] { fromOtherThread = mutex.tryLock(); }).join();
    EXPECT_FALSE(fromOtherThread);
    if (locked) {
        mutex.unlock();
    }

    // A Locker releases its mutex when an exception passes through its scope.
    try {
        Locker<Mutex> lock(mutex);
        throw std::runtime_error("passes");
    } catch (const std::runtime_error&) {
    }
    std::thread([&] {
        const bool taken = mutex.tryLock();
        if (taken) {
            mutex.unlock();
        }
        fromOtherThread = taken;
    }).join();
    EXPECT_TRUE(fromOtherThread);
}

TEST(Logging, LogPrintsExactlyTheFormat)
{
    testing::internal::CaptureStdout();
    const int written = HbbtvBackendGlue_Log("ticket:%u %s", 7u, "x");
    fflush(stdout);
    EXPECT_EQ("ticket:7 x", testing::internal::GetCapturedStdout());
    EXPECT_EQ(10, written);
}
