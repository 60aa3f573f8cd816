#include <thread>

#include <gtest/gtest.h>

#include "HbbtvBackendGlue.ServiceAgent.h"
#include "support/AgentHarness.h"
#include "support/AssertDeath.h"

using namespace ZR_HBBTV_Core;

namespace {

const char kAgentFile[] = "./backendglue/HbbtvBackendGlue.ServiceAgent.cpp";

struct QueuedTask {
    std::unique_ptr<HbbtvCommandPayload> payload;
    GetServiceTask* task;

    explicit QueuedTask(unsigned int ticket) : payload(new HbbtvCommandPayload(TunerCommand_TuneTo))
    {
        payload->ticket = ticket;
        task = GetServiceTask::create(payload.get(), nullptr);
    }
};

GetServiceTask* take(BackendMessageQueue& queue, BackendMessageQueueWaitResult& result, double deadline)
{
    BackendMessageQueue::AlwaysTruePredicate any;
    return queue.waitForMessageFilteredWithTimeout(result, any, deadline);
}

} // namespace

TEST(BackendMessageQueue, WaitOrderOfKillTimeoutAndTasksAndWhatItsDestructorFrees)
{
    QueuedTask first(1), second(2), urgent(3);
    const size_t usedBefore = hbbtv_test::usedSharedNodes();
    const size_t liveBefore = GetServiceTask::live();
    {
        BackendMessageQueue queue;
        BackendMessageQueueWaitResult result = GotMessage;

        // Empty: the deadline passes.
        const double deadline = currentTime() + 0.2;
        EXPECT_EQ(nullptr, take(queue, result, deadline));
        EXPECT_EQ(Timeout, result);
        EXPECT_GE(currentTime(), deadline);

        // A deadline already past still takes a task queued at the time of the call; tasks come in
        // queue order, a prepended one first.
        EXPECT_TRUE(queue.appendAndCheckEmpty(first.task));
        EXPECT_FALSE(queue.appendAndCheckEmpty(second.task));
        queue.prepend(urgent.task);
        EXPECT_EQ(urgent.task, take(queue, result, currentTime() - 1.0));
        EXPECT_EQ(GotMessage, result);
        EXPECT_EQ(first.task, take(queue, result, currentTime() - 1.0));
        EXPECT_EQ(second.task, take(queue, result, currentTime() - 1.0));

        // A task appended by another thread wakes the waiter.
        std::thread producer([&] { queue.append(first.task); });
        EXPECT_EQ(first.task, take(queue, result, currentTime() + 30.0));
        producer.join();

        // Killed wins over queued tasks, at once and for good.
        queue.append(first.task);
        queue.append(GetServiceTask::createCompletion(7));
        queue.kill();
        EXPECT_TRUE(queue.killed());
        EXPECT_TRUE(queue.isEmpty());
        EXPECT_EQ(nullptr, take(queue, result, currentTime() + 30.0));
        EXPECT_EQ(Killed, result);
    }
    // The destructor freed the task and the completion still queued, but not the task's records.
    EXPECT_EQ(liveBefore - 1, GetServiceTask::live());
    EXPECT_EQ(usedBefore, hbbtv_test::usedSharedNodes());
    EXPECT_EQ(TunerCommand_TuneTo, first.payload->command);
    GetServiceTask::destroy(urgent.task);
    GetServiceTask::destroy(second.task);
}

TEST(GetServiceTask, HasBeenWaitedDrainsOnePendingNotification)
{
    QueuedTask queued(9);
    EXPECT_EQ(9u, queued.task->ticket());
    EXPECT_TRUE(queued.task->hasBeenWaited());
    queued.task->notifyServiceBack();
    EXPECT_FALSE(queued.task->hasBeenWaited());
    EXPECT_TRUE(queued.task->hasBeenWaited());

    // A notification posted before the wait is not lost.
    queued.task->notifyServiceBack();
    queued.task->acquire();
    EXPECT_TRUE(queued.task->hasBeenWaited());
    GetServiceTask::destroy(queued.task);
}

TEST(BackendMessageQueueDeathTest, NullTasksAbort)
{
    BackendMessageQueue queue;
    hbbtv_test::expectAssertFail([&] { queue.append(nullptr); }, kAgentFile,
                                 "void ZR_HBBTV_Core::BackendMessageQueue::append(ZR_HBBTV_Core::GetServiceTask*)", 129);
    hbbtv_test::expectAssertFail(
        [&] { queue.prepend(nullptr); }, kAgentFile,
        "void ZR_HBBTV_Core::BackendMessageQueue::prepend(ZR_HBBTV_Core::GetServiceTask*)", 152);
}
