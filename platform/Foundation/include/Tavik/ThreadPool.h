#ifndef Tavik_ThreadPool_INCLUDED
#define Tavik_ThreadPool_INCLUDED

#include <memory>

namespace Tavik {

class Runnable;

/// A bounded set of reusable threads that run Runnables, one at a time each.
///
/// start() hands the runnable to an idle thread, or creates a thread when none
/// is idle and fewer than capacity() exist; otherwise it throws. Nothing is
/// ever queued. Threads are created on demand; those beyond minCapacity that
/// stay idle for idleTimeSeconds end, the others wait for work.
///
/// A runnable may delete itself as the last statement of run(): the pool does
/// not touch it after run() returns. An exception escaping run() is logged on
/// the logger "Tavik.ThreadPool" and otherwise ignored; the thread stays usable.
///
/// Thread safety: every operation may be called from any thread, but joinAll()
/// and stopAll() not from a thread of the same pool (they would wait for
/// themselves, so they throw IllegalStateException instead).
class ThreadPool
{
public:
	/// Creates an empty pool.
	/// Throws InvalidArgumentException unless 0 <= minCapacity <= maxCapacity,
	/// maxCapacity >= 1 and idleTimeSeconds >= 0.
	ThreadPool(int minCapacity = 2, int maxCapacity = 16, int idleTimeSeconds = 60);
	/// Stops the pool as stopAll() does. Must not run on a thread of this pool.
	~ThreadPool();
	ThreadPool(const ThreadPool&) = delete;
	ThreadPool& operator=(const ThreadPool&) = delete;

	/// Runs target.run() on a thread of the pool. The target must stay alive
	/// until its run() has returned (or delete itself at its end).
	/// Throws NoThreadAvailableException when capacity() threads are busy, the
	/// system refuses a new thread or the pool is being stopped.
	void start(Runnable& target);

	/// Waits until every runnable started so far has returned.
	/// Throws IllegalStateException when called from a thread of this pool.
	void joinAll();

	/// Waits for the running runnables to return (it does not interrupt them),
	/// then ends and joins every thread. While it runs, start() throws; after it
	/// the pool is empty and start() creates threads again as needed.
	/// Throws IllegalStateException when called from a thread of this pool.
	void stopAll();

	/// Raises (or, with a negative n, lowers) the maximum number of threads.
	/// Throws InvalidArgumentException when the maximum would fall below
	/// minCapacity or below 1. Lowering it ends no busy thread.
	void addCapacity(int n);

	/// The maximum number of threads.
	int capacity() const;
	/// The number of threads running a runnable.
	int used() const;
	/// The number of threads that exist, busy or idle.
	int allocated() const;
	/// capacity() - used(): how many more runnables could start now.
	int available() const;

	/// The process-wide pool, created on first use and stopped at exit (exit
	/// waits for the runnables running then).
	///
	/// Size: DEFAULT_MIN_CAPACITY (4) threads kept, at most DEFAULT_MAX_CAPACITY
	/// (1024), idle threads above the minimum end after DEFAULT_IDLE_TIME (60 s).
	/// The UPnP eventing hosts start one runnable per new subscription that
	/// sleeps 100 ms before doing its network exchange, and one per renewal,
	/// whose exchange may last up to 30 s against a slow publisher. A burst of
	/// 3,000 new subscriptions per second therefore keeps 300 to 400 threads
	/// busy, and slow publishers more: 1024 leaves room for both while still
	/// bounding what a flood of requests can cost (an idle thread costs its
	/// touched stack, some KiB; beyond the bound start() throws and the caller
	/// skips the work, or refuses it first by checking available()).
	static ThreadPool& defaultPool();

	/// Threads defaultPool() keeps.
	static constexpr int DEFAULT_MIN_CAPACITY = 4;
	/// Threads defaultPool() creates at most.
	static constexpr int DEFAULT_MAX_CAPACITY = 1024;
	/// Seconds after which defaultPool()'s idle threads above the minimum end.
	static constexpr int DEFAULT_IDLE_TIME = 60;

private:
	class Impl;
	std::unique_ptr<Impl> _pImpl;
};

} // namespace Tavik

#endif // Tavik_ThreadPool_INCLUDED
