// Timer and TimerTask on a clock the tests move; real time only for cancel and ~Timer waiting for a run.
#include "Tavik/Util/Timer.h"
#include "ManualTimer.h"
#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/TestChannel.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace Tavik;
using namespace Tavik::Util;

namespace {

const auto ms = [](long count) { return Timespan(count * Timespan::MILLISECONDS); };

struct CountingTask : TimerTask
{
	explicit CountingTask(std::function<void(CountingTask&)> onRun = {}) : onRun(std::move(onRun)) {}
	void run() override
	{
		++runs;
		started.open();
		if (onRun) onRun(*this);
	}
	std::atomic<int> runs{0};
	TestSupport::Gate started;
	std::function<void(CountingTask&)> onRun;
};

TEST(TimerTest, TasksRunWhenTheClockReachesTheirDueTimeInOrderAndOnTheirGrid)
{
	TestSupport::ManualTimer manual;
	std::string order;
	std::vector<AutoPtr<CountingTask>> tasks;
	for (const auto& [name, delay] : {std::pair('c', 40), {'b', 20}, {'a', 10}, {'d', 40}}) // d is due with c
	{
		tasks.emplace_back(new CountingTask([&order, name = name](CountingTask&) { order += name; }));
		manual.timer().schedule(tasks.back(), delay);
	}
	AutoPtr<CountingTask> pPeriodic(new CountingTask);
	manual.timer().schedule(pPeriodic, 100, 50);
	ASSERT_TRUE(manual.advance(ms(9)) && order.empty() && manual.advance(ms(90)));
	EXPECT_EQ(order, "abcd");
	EXPECT_TRUE(tasks[0]->referenceCount() == 1 && !tasks[0]->isCancelled()) << "a task that ran once is released";
	ASSERT_TRUE(manual.advance(ms(1)) && manual.advance(ms(50)));
	EXPECT_EQ(pPeriodic->runs, 2);
	ASSERT_TRUE(manual.advance(ms(175))); // due at 200, 250 and 300: one late run at 325
	EXPECT_EQ(pPeriodic->runs, 3);
	EXPECT_EQ(pPeriodic->lastExecution(), manual.now());
	ASSERT_TRUE(manual.advance(ms(24)) && pPeriodic->runs == 3 && manual.advance(ms(1))); // on the grid at 350
	EXPECT_EQ(pPeriodic->runs, 4);
}

// A task may cancel itself or another task of its timer; an exception escaping a run is logged and
// the timer goes on; what cannot be scheduled is refused.
TEST(TimerTest, CancelledFailingAndRefusedTasks)
{
	AutoPtr<TestChannel> pChannel(new TestChannel);
	Logger::setChannel("Tavik.Util.Timer", pChannel);
	TestSupport::ManualTimer manual;
	AutoPtr<CountingTask> pSelf(new CountingTask([](CountingTask& task) {
		if (task.runs == 1) throw IOException("connection refused");
		if (task.runs == 2) throw std::runtime_error("bad state");
		task.cancel();
		throw 42;
	}));
	AutoPtr<CountingTask> pVictim(new CountingTask), pOnce(new CountingTask), pPeriodic(new CountingTask);
	AutoPtr<CountingTask> pKiller(new CountingTask([&](CountingTask&) { pVictim->cancel(); }));
	manual.timer().schedule(pSelf, 1, 1);
	manual.timer().schedule(pVictim, 3'600'000);
	manual.timer().schedule(pKiller, 1);
	manual.timer().schedule(pOnce, Timer::MAX_DELAY);
	manual.timer().schedule(pPeriodic, 1, 1);
	for (int step = 0; step < 4; ++step)
		ASSERT_TRUE(manual.advance(ms(1)));
	manual.timer().cancel();
	ASSERT_TRUE(manual.advance(ms(10))) << "the timer itself goes on";
	EXPECT_TRUE(pSelf->runs == 3 && pPeriodic->runs == 4);
	for (CountingTask* pTask : {pSelf.get(), pVictim.get(), pOnce.get(), pPeriodic.get()})
		EXPECT_TRUE(pTask->isCancelled() && pTask->referenceCount() == 1);
	for (const char* text : {"I/O error: connection refused", "bad state", "unknown exception"})
		EXPECT_EQ(pChannel->count(std::string("Timer task failed: ") + text, Message::PRIO_ERROR), 1u) << text;
	manual.timer().schedule(pPeriodic, 0, 1); // cancelled: nothing happens
	EXPECT_EQ(pPeriodic->referenceCount(), 1);
	for (const auto& [delay, interval] : {std::pair(-1L, 10L), {0L, 0L}, {Timer::MAX_DELAY + 1, 10L}, {0L, Timer::MAX_DELAY + 1}})
		EXPECT_THROW(manual.timer().schedule(pKiller, delay, interval), InvalidArgumentException) << delay << " " << interval;
	for (long delay : {-1L, Timer::MAX_DELAY + 1})
		EXPECT_THROW(manual.timer().schedule(pKiller, delay), InvalidArgumentException) << delay;
	EXPECT_THROW(manual.timer().schedule(AutoPtr<TimerTask>(), 0), NullPointerException);
	EXPECT_THROW(manual.timer().schedule(AutoPtr<TimerTask>(), 0, 10), NullPointerException);
	EXPECT_THROW(manual.timer().schedule(pKiller, 0), IllegalStateException) << "it ran once already";
}

// The run goes on only once it is cancelled, and takes a while after that, so a cancel() or a
// destructor that did not wait would return before the run ends.
TEST(TimerTest, CancelAndTheDestructorWaitForTheRunningRun)
{
	std::atomic<int> returned{0};
	const auto slowAfterCancel = [&](CountingTask& task) {
		while (!task.isCancelled())
			std::this_thread::yield();
		std::this_thread::sleep_for(std::chrono::milliseconds(30));
		++returned;
	};
	AutoPtr<CountingTask> pTask(new CountingTask(slowAfterCancel)), pAll(new CountingTask(slowAfterCancel));
	AutoPtr<CountingTask> pRunning(new CountingTask(slowAfterCancel)), pPending(new CountingTask);
	std::mutex callersMutex; // held around every call below; the runs never take it
	{
		const std::lock_guard<std::mutex> lock(callersMutex);
		Timer timer;
		timer.schedule(pTask, 0, 1);
		ASSERT_TRUE(pTask->started.wait());
		pTask->cancel();
		EXPECT_EQ(returned, 1);
		timer.schedule(pAll, 0);
		ASSERT_TRUE(pAll->started.wait());
		timer.cancel(true);
		EXPECT_EQ(returned, 2);
		timer.schedule(pPending, Timer::MAX_DELAY);
		timer.schedule(pRunning, 0);
		ASSERT_TRUE(pRunning->started.wait());
	}
	EXPECT_EQ(returned, 3);
	EXPECT_TRUE(pTask->runs == 1 && pPending->isCancelled() && pPending->referenceCount() == 1);
}

} // namespace
