#include "Tavik/Util/Timer.h"
#include "Tavik/AutoPtr.h"
#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/TestChannel.h"
#include "Tavik/Thread.h"

#include "TimerTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Tavik;
using namespace Tavik::Util;
using TimerTestSupport::CountingTask;
using TimerTestSupport::passTime;

TEST(TimerTest, PeriodicTaskRunsRepeatedlyUntilCancelled)
{
	Timer timer;
	AutoPtr<CountingTask> pTask(new CountingTask);
	timer.schedule(pTask, 0, 5);
	ASSERT_TRUE(pTask->waitForRuns(5));
	pTask->cancel();
	const int runs = pTask->runs();
	ASSERT_TRUE(passTime(timer, 30));
	EXPECT_EQ(pTask->runs(), runs);
	EXPECT_EQ(pTask->referenceCount(), 1); // the timer let go of it
}

TEST(TimerTest, OnceTaskRunsOnceAndIsReleased)
{
	Timer timer;
	AutoPtr<CountingTask> pTask(new CountingTask);
	EXPECT_EQ(pTask->lastExecution(), Clock(0));
	const Clock scheduled;
	timer.schedule(pTask, 10);
	ASSERT_TRUE(pTask->waitForRuns(1));
	ASSERT_TRUE(passTime(timer, 20));
	EXPECT_EQ(pTask->runs(), 1);
	EXPECT_GE(pTask->lastExecution() - scheduled, 10 * Timespan::MILLISECONDS);
	EXPECT_EQ(pTask->referenceCount(), 1);
	EXPECT_FALSE(pTask->isCancelled());
}

TEST(TimerTest, TasksRunInTheOrderTheyAreDue)
{
	Timer timer;
	std::mutex mutex;
	std::string order;
	auto recorder = [&](char name) {
		return AutoPtr<CountingTask>(new CountingTask([&, name](CountingTask&, int) {
			std::lock_guard<std::mutex> lock(mutex);
			order.push_back(name);
		}));
	};
	timer.schedule(recorder('c'), 40);
	timer.schedule(recorder('b'), 20);
	timer.schedule(recorder('a'), 0);
	timer.schedule(recorder('d'), 40); // same due time as c, scheduled later
	ASSERT_TRUE(passTime(timer, 60));
	std::lock_guard<std::mutex> lock(mutex);
	EXPECT_EQ(order, "abcd");
}

TEST(TimerTest, ExceptionsInTasksAreLoggedAndTheTimerGoesOn)
{
	AutoPtr<TestChannel> pChannel(new TestChannel);
	Logger::setChannel("Tavik.Util.Timer", pChannel);
	Timer timer;
	AutoPtr<CountingTask> pFailing(new CountingTask([](CountingTask&, int run) {
		if (run == 1) throw IOException("connection refused");
		if (run == 2) throw std::runtime_error("bad state");
		throw 42;
	}));
	timer.schedule(pFailing, 0, 1);
	ASSERT_TRUE(pFailing->waitForRuns(4));
	pFailing->cancel();

	EXPECT_EQ(pChannel->count("Timer task failed: I/O error: connection refused", Message::PRIO_ERROR), 1u);
	EXPECT_EQ(pChannel->count("Timer task failed: bad state", Message::PRIO_ERROR), 1u);
	EXPECT_GE(pChannel->count("Timer task failed: unknown exception", Message::PRIO_ERROR), 2u);
	Logger::setChannel("Tavik.Util.Timer", Logger::root().getChannel());
}

TEST(TimerTest, DestructorCancelsPendingTasksWithoutWaitingForThem)
{
	AutoPtr<CountingTask> pPeriodic(new CountingTask);
	AutoPtr<CountingTask> pOnce(new CountingTask);
	{
		Timer timer;
		timer.schedule(pPeriodic, 3'600'000, 1000);
		timer.schedule(pOnce, Timer::MAX_DELAY);
		ASSERT_TRUE(passTime(timer, 5));
	}
	EXPECT_TRUE(pPeriodic->isCancelled());
	EXPECT_TRUE(pOnce->isCancelled());
	EXPECT_EQ(pPeriodic->referenceCount(), 1);
	EXPECT_EQ(pOnce->referenceCount(), 1);
	EXPECT_EQ(pPeriodic->runs(), 0);
	pOnce->cancel(); // its timer is gone: nothing to do
}

TEST(TimerTest, DestructorLetsTheRunningTaskFinish)
{
	std::atomic<bool> finished{false};
	AutoPtr<CountingTask> pTask(new CountingTask([&](CountingTask&, int) {
		Thread::sleep(30);
		finished = true;
	}));
	{
		Timer timer;
		timer.schedule(pTask, 0);
		ASSERT_TRUE(pTask->waitForRuns(1));
	}
	EXPECT_TRUE(finished.load());
}

TEST(TimerTest, CancelAllStopsEveryTask)
{
	Timer timer;
	AutoPtr<CountingTask> pFirst(new CountingTask);
	AutoPtr<CountingTask> pSecond(new CountingTask);
	timer.schedule(pFirst, 0, 2);
	timer.schedule(pSecond, 3'600'000);
	ASSERT_TRUE(pFirst->waitForRuns(2));
	timer.cancel(true);
	const int runs = pFirst->runs();
	EXPECT_TRUE(pFirst->isCancelled());
	EXPECT_TRUE(pSecond->isCancelled());
	ASSERT_TRUE(passTime(timer, 20)); // the timer itself keeps working
	EXPECT_EQ(pFirst->runs(), runs);
	EXPECT_EQ(pSecond->referenceCount(), 1);
}

TEST(TimerTest, CancelAllWithWaitWaitsForTheRunningTask)
{
	Timer timer;
	std::atomic<bool> finished{false};
	AutoPtr<CountingTask> pTask(new CountingTask([&](CountingTask& task, int) {
		while (!task.isCancelled())
			std::this_thread::yield();
		Thread::sleep(20);
		finished = true;
	}));
	timer.schedule(pTask, 0);
	ASSERT_TRUE(pTask->waitForRuns(1));
	timer.cancel(true);
	EXPECT_TRUE(finished.load());
}

TEST(TimerTest, SchedulingACancelledTaskDoesNothing)
{
	Timer timer;
	AutoPtr<CountingTask> pTask(new CountingTask);
	pTask->cancel();
	timer.schedule(pTask, 0, 1);
	ASSERT_TRUE(passTime(timer, 10));
	EXPECT_EQ(pTask->runs(), 0);
	EXPECT_EQ(pTask->referenceCount(), 1);
}

TEST(TimerTest, SchedulingATaskTwiceIsRefused)
{
	Timer timer;
	AutoPtr<CountingTask> pTask(new CountingTask);
	timer.schedule(pTask, 3'600'000);
	EXPECT_THROW(timer.schedule(pTask, 0), IllegalStateException);
	Timer other;
	EXPECT_THROW(other.schedule(pTask, 0, 10), IllegalStateException);
}

struct InvalidScheduleRow
{
	const char* name;
	long delay;
	long interval; // -2: schedule once
};

class InvalidScheduleTest : public ::testing::TestWithParam<InvalidScheduleRow>
{
};

TEST_P(InvalidScheduleTest, IsRefused)
{
	const InvalidScheduleRow& row = GetParam();
	Timer timer;
	AutoPtr<CountingTask> pTask(new CountingTask);
	if (row.interval == -2)
		EXPECT_THROW(timer.schedule(pTask, row.delay), InvalidArgumentException);
	else
		EXPECT_THROW(timer.schedule(pTask, row.delay, row.interval), InvalidArgumentException);
	EXPECT_EQ(pTask->referenceCount(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    TimerTest, InvalidScheduleTest,
    ::testing::Values(InvalidScheduleRow{"negativeDelay", -1, 10},
                      InvalidScheduleRow{"negativeInterval", 0, -1}, InvalidScheduleRow{"zeroInterval", 0, 0},
                      InvalidScheduleRow{"delayAboveMaximum", Timer::MAX_DELAY + 1, 10},
                      InvalidScheduleRow{"intervalAboveMaximum", 0, Timer::MAX_DELAY + 1},
                      InvalidScheduleRow{"negativeDelayOnce", -1, -2},
                      InvalidScheduleRow{"delayAboveMaximumOnce", Timer::MAX_DELAY + 1, -2}),
    [](const ::testing::TestParamInfo<InvalidScheduleRow>& info) { return info.param.name; });

TEST(TimerTest, NullTaskIsRefused)
{
	Timer timer;
	EXPECT_THROW(timer.schedule(AutoPtr<TimerTask>(), 0), NullPointerException);
	EXPECT_THROW(timer.schedule(AutoPtr<TimerTask>(), 0, 10), NullPointerException);
}
