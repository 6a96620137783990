#include "Tavik/ThreadPool.h"
#include "Tavik/AutoPtr.h"
#include "Tavik/Clock.h"
#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/Runnable.h"
#include "Tavik/TestChannel.h"
#include "Tavik/Thread.h"
#include "Tavik/Timespan.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Tavik;

namespace {

using TestSupport::DEADLINE;
using TestSupport::Gate;

// Counts events and lets the test wait for a number of them.
class Counter
{
public:
	void increment()
	{
		std::lock_guard<std::mutex> lock(_mutex);
		++_count;
		_changed.notify_all();
	}
	bool waitFor(int n)
	{
		std::unique_lock<std::mutex> lock(_mutex);
		return _changed.wait_for(lock, DEADLINE, [&] { return _count >= n; });
	}
	int count()
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _count;
	}

private:
	std::mutex _mutex;
	std::condition_variable _changed;
	int _count = 0;
};

// Runs a function; the test keeps it alive until the pool has finished with it.
class FunctionRunnable : public Runnable
{
public:
	explicit FunctionRunnable(std::function<void()> function) : _function(std::move(function)) {}
	void run() override { _function(); }

private:
	std::function<void()> _function;
};

// Deletes itself at the end of run(), as the library's background runnables do.
class SelfDeletingRunnable : public Runnable
{
public:
	explicit SelfDeletingRunnable(std::atomic<int>& runs) : _runs(runs), _payload(64, 'x') {}
	void run() override
	{
		_runs.fetch_add(1);
		delete this;
	}

private:
	std::atomic<int>& _runs;
	std::string _payload;
};

// Polls a value that no event announces (threads ending on their idle time).
bool eventually(const std::function<bool()>& condition)
{
	const Clock start;
	while (!condition())
	{
		if (start.isElapsed(DEADLINE.count() * Timespan::SECONDS)) return false;
		Thread::sleep(1);
	}
	return true;
}

} // namespace

TEST(ThreadPoolTest, ExhaustedPoolThrowsAndReusesItsThreadsAfterwards)
{
	const int CAPACITY = 3;
	ThreadPool pool(1, CAPACITY, 60);
	Gate gate;
	Counter started;
	std::mutex idsMutex;
	std::set<std::thread::id> ids;
	FunctionRunnable blocker([&] {
		{
			std::lock_guard<std::mutex> lock(idsMutex);
			ids.insert(std::this_thread::get_id());
		}
		started.increment();
		gate.wait();
	});

	for (int i = 0; i < CAPACITY; ++i)
		pool.start(blocker);
	ASSERT_TRUE(started.waitFor(CAPACITY));
	EXPECT_EQ(pool.used(), CAPACITY);
	EXPECT_EQ(pool.allocated(), CAPACITY);
	EXPECT_EQ(pool.available(), 0);
	EXPECT_THROW(pool.start(blocker), NoThreadAvailableException);

	gate.open();
	pool.joinAll();
	EXPECT_EQ(pool.used(), 0);
	EXPECT_EQ(pool.available(), CAPACITY);
	const std::set<std::thread::id> firstIds = ids;

	for (int i = 0; i < CAPACITY; ++i)
		pool.start(blocker);
	pool.joinAll();
	EXPECT_EQ(pool.allocated(), CAPACITY);
	EXPECT_EQ(ids, firstIds);
}

TEST(ThreadPoolTest, SelfDeletingRunnablesAreNotTouchedAfterRun)
{
	ThreadPool pool(2, 16, 60);
	std::atomic<int> runs{0};
	const int BATCHES = 20;
	const int PER_BATCH = 16;
	for (int batch = 0; batch < BATCHES; ++batch)
	{
		for (int i = 0; i < PER_BATCH; ++i)
			pool.start(*new SelfDeletingRunnable(runs));
		pool.joinAll();
	}
	EXPECT_EQ(runs.load(), BATCHES * PER_BATCH);
}

TEST(ThreadPoolTest, ExceptionsEscapingRunAreLoggedAndTheThreadStaysUsable)
{
	AutoPtr<TestChannel> pChannel(new TestChannel);
	Logger::setChannel("Tavik.ThreadPool", pChannel);
	ThreadPool pool(1, 1, 60);
	FunctionRunnable tavikFailure([] { throw IOException("connection refused"); });
	FunctionRunnable stdFailure([] { throw std::runtime_error("bad state"); });
	FunctionRunnable otherFailure([] { throw 42; });
	Counter done;
	FunctionRunnable healthy([&] { done.increment(); });

	for (Runnable* pRunnable : std::vector<Runnable*>{&tavikFailure, &stdFailure, &otherFailure})
	{
		pool.start(*pRunnable);
		pool.joinAll();
	}
	pool.start(healthy);
	EXPECT_TRUE(done.waitFor(1));
	pool.joinAll();
	EXPECT_EQ(pool.allocated(), 1);

	EXPECT_EQ(pChannel->count("Runnable failed: I/O error: connection refused", Message::PRIO_ERROR), 1u);
	EXPECT_EQ(pChannel->count("Runnable failed: bad state", Message::PRIO_ERROR), 1u);
	EXPECT_EQ(pChannel->count("Runnable failed: unknown exception", Message::PRIO_ERROR), 1u);
	Logger::setChannel("Tavik.ThreadPool", Logger::root().getChannel());
}

TEST(ThreadPoolTest, StopAllWaitsForRunningRunnablesThenEndsEveryThread)
{
	ThreadPool pool(2, 4, 60);
	std::atomic<bool> finished{false};
	FunctionRunnable slow([&] {
		Thread::sleep(50);
		finished = true;
	});
	pool.start(slow);
	pool.stopAll();
	EXPECT_TRUE(finished.load());
	EXPECT_EQ(pool.allocated(), 0);

	Counter done;
	FunctionRunnable again([&] { done.increment(); });
	pool.start(again);
	EXPECT_TRUE(done.waitFor(1));
}

TEST(ThreadPoolTest, IdleThreadsAboveTheMinimumEnd)
{
	ThreadPool pool(1, 3, 0);
	Gate gate;
	Counter started;
	FunctionRunnable blocker([&] {
		started.increment();
		gate.wait();
	});
	for (int i = 0; i < 3; ++i)
		pool.start(blocker);
	ASSERT_TRUE(started.waitFor(3));
	gate.open();
	pool.joinAll();
	EXPECT_TRUE(eventually([&] { return pool.allocated() == 1; }));
}

TEST(ThreadPoolTest, WaitingForThePoolFromItsOwnThreadIsRefused)
{
	ThreadPool pool(1, 2, 60);
	std::atomic<int> refusals{0};
	FunctionRunnable waiter([&] {
		for (auto wait : {&ThreadPool::joinAll, &ThreadPool::stopAll})
		{
			try
			{
				(pool.*wait)();
			}
			catch (const IllegalStateException&)
			{
				refusals.fetch_add(1);
			}
		}
	});
	pool.start(waiter);
	pool.joinAll();
	EXPECT_EQ(refusals.load(), 2);
}

TEST(ThreadPoolTest, AddCapacityRaisesTheLimitAndRefusesToGoBelowTheMinimum)
{
	ThreadPool pool(2, 2, 60);
	pool.addCapacity(3);
	EXPECT_EQ(pool.capacity(), 5);
	pool.addCapacity(-3);
	EXPECT_EQ(pool.capacity(), 2);
	EXPECT_THROW(pool.addCapacity(-1), InvalidArgumentException);
	EXPECT_EQ(pool.capacity(), 2);
}

struct InvalidPoolRow
{
	const char* name;
	int minCapacity;
	int maxCapacity;
	int idleTime;
};

class InvalidPoolTest : public ::testing::TestWithParam<InvalidPoolRow>
{
};

TEST_P(InvalidPoolTest, ConstructorRefusesTheArguments)
{
	const InvalidPoolRow& row = GetParam();
	EXPECT_THROW(ThreadPool(row.minCapacity, row.maxCapacity, row.idleTime), InvalidArgumentException);
}

INSTANTIATE_TEST_SUITE_P(ThreadPoolTest, InvalidPoolTest,
                         ::testing::Values(InvalidPoolRow{"negativeMinimum", -1, 4, 60},
                                           InvalidPoolRow{"zeroMaximum", 0, 0, 60},
                                           InvalidPoolRow{"minimumAboveMaximum", 5, 4, 60},
                                           InvalidPoolRow{"negativeIdleTime", 1, 4, -1}),
                         [](const ::testing::TestParamInfo<InvalidPoolRow>& info) {
	                         return info.param.name;
                         });

TEST(ThreadPoolTest, DefaultPoolIsOneProcessWidePoolOfTheDocumentedSize)
{
	ThreadPool& pool = ThreadPool::defaultPool();
	EXPECT_EQ(&pool, &ThreadPool::defaultPool());
	EXPECT_EQ(pool.capacity(), ThreadPool::DEFAULT_MAX_CAPACITY);

	std::atomic<int> runs{0};
	pool.start(*new SelfDeletingRunnable(runs));
	pool.joinAll();
	EXPECT_EQ(runs.load(), 1);
}
