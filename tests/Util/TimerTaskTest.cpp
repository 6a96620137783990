#include "Tavik/AutoPtr.h"
#include "Tavik/Thread.h"
#include "Tavik/Util/Timer.h"

#include "TimerTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

using namespace Tavik;
using namespace Tavik::Util;
using TimerTestSupport::CountingTask;
using TimerTestSupport::passTime;

TEST(TimerTaskTest, CancelWaitsForTheRunningRunAndNoRunFollows)
{
	Timer timer;
	std::atomic<bool> runReturned{false};
	// The run goes on only once cancel() has begun, and takes a while after
	// that, so a cancel() that does not wait returns before the run ends.
	AutoPtr<CountingTask> pTask(new CountingTask([&](CountingTask& task, int) {
		while (!task.isCancelled())
			std::this_thread::yield();
		Thread::sleep(30);
		runReturned = true;
	}));
	timer.schedule(pTask, 0, 1);
	ASSERT_TRUE(pTask->waitForRuns(1));

	std::atomic<bool> returnedAfterRun{false};
	std::thread canceller([&] {
		pTask->cancel();
		returnedAfterRun = runReturned.load();
	});
	canceller.join();
	EXPECT_TRUE(returnedAfterRun.load());
	ASSERT_TRUE(passTime(timer, 20));
	EXPECT_EQ(pTask->runs(), 1);
}

TEST(TimerTaskTest, CancelFromItsOwnRunDoesNotWait)
{
	Timer timer;
	AutoPtr<CountingTask> pTask(new CountingTask([](CountingTask& task, int run) {
		if (run == 3) task.cancel();
	}));
	timer.schedule(pTask, 0, 1);
	ASSERT_TRUE(pTask->waitForRuns(3));
	ASSERT_TRUE(passTime(timer, 20));
	EXPECT_EQ(pTask->runs(), 3);
	EXPECT_TRUE(pTask->isCancelled());
}

TEST(TimerTaskTest, CancelFromAnotherTaskOfTheSameTimer)
{
	Timer timer;
	AutoPtr<CountingTask> pVictim(new CountingTask);
	AutoPtr<CountingTask> pKiller(new CountingTask([&](CountingTask&, int) { pVictim->cancel(); }));
	timer.schedule(pVictim, 3'600'000);
	timer.schedule(pKiller, 0);
	ASSERT_TRUE(passTime(timer, 5));
	EXPECT_TRUE(pVictim->isCancelled());
	EXPECT_EQ(pVictim->referenceCount(), 1);
}

TEST(TimerTaskTest, CancelWhileHoldingTheCallersMutex)
{
	// The host holds its own mutex around cancel(); the task never takes it.
	Timer timer;
	std::mutex hostMutex;
	AutoPtr<CountingTask> pTask(new CountingTask);
	timer.schedule(pTask, 0, 1);
	ASSERT_TRUE(pTask->waitForRuns(2));
	{
		std::lock_guard<std::mutex> lock(hostMutex);
		pTask->cancel();
	}
	const int runs = pTask->runs();
	ASSERT_TRUE(passTime(timer, 10));
	EXPECT_EQ(pTask->runs(), runs);
}

TEST(TimerTaskTest, CancelOfAnUnscheduledTaskOnlyMarksIt)
{
	AutoPtr<CountingTask> pTask(new CountingTask);
	EXPECT_FALSE(pTask->isCancelled());
	pTask->cancel();
	pTask->cancel();
	EXPECT_TRUE(pTask->isCancelled());
}

TEST(TimerTaskTest, LastExecutionIsTheStartOfTheLatestRun)
{
	Timer timer;
	AutoPtr<CountingTask> pTask(new CountingTask);
	timer.schedule(pTask, 0, 1);
	ASSERT_TRUE(pTask->waitForRuns(1));
	const Clock first = pTask->lastExecution();
	EXPECT_NE(first, Clock(0));
	ASSERT_TRUE(pTask->waitForRuns(3));
	EXPECT_GT(pTask->lastExecution(), first);
	pTask->cancel();
}
