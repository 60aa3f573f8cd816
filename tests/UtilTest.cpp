#include <cfloat>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.Util.h"
#include "support/AssertDeath.h"

using namespace ZR_HBBTV_Core;

namespace {
const char kUtilFile[] = "./backendglue/HbbtvBackendGlue.Util.cpp";
}

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

    // A signal before the deadline gives true. The signaller takes the mutex first, so the
    // signal cannot be sent before this thread waits.
    std::thread signaller([&] {
        Locker<Mutex> inner(mutex);
        condition.signal();
    });
    EXPECT_TRUE(condition.timedWait(mutex, currentTime() + 30.0));
    signaller.join();
}

TEST(ThreadCondition, LargestDeadlineMeansNoLimit)
{
    // The largest finite double is the queue's "no limit": it must wait until signalled rather
    // than fail at once on a deadline that does not fit a timespec.
    Mutex mutex;
    ThreadCondition condition;
    Locker<Mutex> lock(mutex);
    std::thread signaller([&] {
        Locker<Mutex> inner(mutex);
        condition.broadcast();
    });
    EXPECT_TRUE(condition.timedWait(mutex, DBL_MAX));
    signaller.join();
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

TEST(Logging, LogPrintsExactlyTheFormatAndAssertLineAborts)
{
    testing::internal::CaptureStdout();
    const int written = HbbtvBackendGlue_Log("ticket:%u %s", 7u, "x");
    fflush(stdout);
    EXPECT_EQ("ticket:7 x", testing::internal::GetCapturedStdout());
    EXPECT_EQ(10, written);

    hbbtv_test::expectAssertFail([] { HbbtvBackendGlue_AssertFail(kUtilFile, "void f()", 42); }, kUtilFile,
                                 "void f()", 42);
}
