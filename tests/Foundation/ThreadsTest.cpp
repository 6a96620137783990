// ThreadPool and Thread: exhaustion, waiting and stopping, and misuse, which the library's own use
// of them does not reach.
#include "Tavik/Exception.h"
#include "Tavik/Runnable.h"
#include "Tavik/Thread.h"
#include "Tavik/ThreadPool.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <thread>

using namespace Tavik;

namespace {

struct Task : Runnable
{
	explicit Task(std::function<void()> function) : function(std::move(function)) {}
	void run() override { function(); }
	std::function<void()> function;
};

TEST(ThreadPoolTest, ExhaustedPoolThrowsAndReusesItsThreadsAfterwards)
{
	ThreadPool pool(1, 3, 60);
	TestSupport::Gate gate;
	TestSupport::StringLog threads;
	Task blocker([&] {
		threads.add(std::to_string(std::hash<std::thread::id>()(std::this_thread::get_id())));
		gate.wait();
	});
	for (int i = 0; i < 3; ++i)
		pool.start(blocker);
	ASSERT_TRUE(threads.waitFor(3));
	EXPECT_EQ(pool.used(), 3);
	EXPECT_EQ(pool.available(), 0);
	EXPECT_THROW(pool.start(blocker), NoThreadAvailableException);
	gate.open();
	pool.joinAll();
	EXPECT_EQ(pool.available(), 3);
	for (int i = 0; i < 3; ++i)
		pool.start(blocker);
	ASSERT_TRUE(threads.waitFor(6));
	pool.joinAll();
	const auto ids = threads.entries();
	EXPECT_EQ(std::set<std::string>(ids.begin(), ids.end()).size(), 3u) << "the second round ran on the same threads";
}

TEST(ThreadPoolTest, StopAllWaitsForTheRunningRunnablesAndEndsEveryThread)
{
	ThreadPool pool(2, 4, 60);
	std::atomic<bool> finished{false};
	Task slow([&] {
		Thread::sleep(50);
		finished = true;
	});
	pool.start(slow);
	pool.stopAll();
	EXPECT_TRUE(finished.load());
	EXPECT_EQ(pool.allocated(), 0);
}

TEST(ThreadPoolTest, MisuseIsRefused)
{
	ThreadPool pool(2, 2, 60);
	Task waiter([&] {
		EXPECT_THROW(pool.joinAll(), IllegalStateException) << "waiting for the pool from its own thread";
		EXPECT_THROW(pool.stopAll(), IllegalStateException);
	});
	pool.start(waiter);
	pool.joinAll();
	pool.addCapacity(3);
	pool.addCapacity(-3);
	EXPECT_THROW(pool.addCapacity(-1), InvalidArgumentException);
	EXPECT_EQ(pool.capacity(), 2);
	for (const auto& [min, max, idle] : {std::tuple(-1, 4, 60), {0, 0, 60}, {5, 4, 60}, {1, 4, -1}})
		EXPECT_THROW(ThreadPool(min, max, idle), InvalidArgumentException) << min << " " << max << " " << idle;
	EXPECT_THROW(Thread::sleep(-1), InvalidArgumentException);
}

} // namespace
