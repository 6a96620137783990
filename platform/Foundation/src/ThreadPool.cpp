#include "Tavik/ThreadPool.h"

#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/Runnable.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace Tavik {

namespace {

const char* const LOGGER_NAME = "Tavik.ThreadPool";
const std::string RUNNABLE_FAILED = "Runnable failed: ";

// Runs target and keeps whatever it throws from ending the pool thread.
void runGuarded(Runnable& target)
{
	try
	{
		target.run();
	}
	catch (const Exception& exc)
	{
		Logger::get(LOGGER_NAME).error(RUNNABLE_FAILED + exc.displayText());
	}
	catch (const std::exception& exc)
	{
		Logger::get(LOGGER_NAME).error(RUNNABLE_FAILED + exc.what());
	}
	catch (...)
	{
		Logger::get(LOGGER_NAME).error(RUNNABLE_FAILED + "unknown exception");
	}
}

} // namespace

class ThreadPool::Impl
{
public:
	struct Worker
	{
		std::thread thread;
		std::condition_variable wakeUp;
		Runnable* pTarget = nullptr;
		bool finished = false; // the loop has ended; the thread waits to be joined
	};
	using WorkerList = std::list<std::unique_ptr<Worker>>;

	Impl(int minCapacity, int maxCapacity, int idleTimeSeconds)
	    : minCapacity(minCapacity), maxCapacity(maxCapacity), idleTime(idleTimeSeconds)
	{}

	void start(Runnable& target);
	void joinAll();
	void stopAll();
	void checkNotOwnThread() const;

	mutable std::mutex mutex;
	int minCapacity;
	int maxCapacity;
	int used = 0;
	int allocated = 0;

private:
	void loop(Worker& worker);
	void retireLocked(Worker& worker);
	WorkerList takeFinishedLocked();
	static void join(WorkerList& toJoin);

	// The pool whose thread is running, so that joinAll() and stopAll() can
	// refuse to wait for themselves.
	static thread_local const Impl* pCurrentPool;

	const std::chrono::seconds idleTime;
	std::condition_variable allDone; // signalled when used drops to 0
	WorkerList workers;              // every thread not joined yet
	std::vector<Worker*> idle;       // most recently idle last: it is reused first
	int stoppers = 0;                // stopAll() calls in progress
};

thread_local const ThreadPool::Impl* ThreadPool::Impl::pCurrentPool = nullptr;

void ThreadPool::Impl::start(Runnable& target)
{
	WorkerList finished;
	{
		std::lock_guard<std::mutex> lock(mutex);
		finished = takeFinishedLocked();
		if (stoppers > 0) throw NoThreadAvailableException("thread pool is stopping");
		if (!idle.empty())
		{
			Worker* pWorker = idle.back();
			idle.pop_back();
			pWorker->pTarget = &target;
			++used;
			pWorker->wakeUp.notify_one();
		}
		else if (allocated < maxCapacity)
		{
			workers.push_back(std::make_unique<Worker>());
			Worker& worker = *workers.back();
			worker.pTarget = &target;
			try
			{
				worker.thread = std::thread(&Impl::loop, this, std::ref(worker));
			}
			catch (const std::system_error& exc)
			{
				workers.pop_back();
				throw NoThreadAvailableException("cannot create thread", exc.what());
			}
			++used;
			++allocated;
		}
		else
		{
			throw NoThreadAvailableException();
		}
	}
	join(finished);
}

void ThreadPool::Impl::joinAll()
{
	checkNotOwnThread();
	WorkerList finished;
	{
		std::unique_lock<std::mutex> lock(mutex);
		allDone.wait(lock, [this] { return used == 0; });
		finished = takeFinishedLocked();
	}
	join(finished);
}

void ThreadPool::Impl::stopAll()
{
	checkNotOwnThread();
	WorkerList stopping;
	{
		std::lock_guard<std::mutex> lock(mutex);
		++stoppers;
		for (Worker* pWorker : idle)
			pWorker->wakeUp.notify_one();
		stopping.swap(workers);
	}
	// Busy threads finish their runnable first and then see the stop.
	join(stopping);
	std::lock_guard<std::mutex> lock(mutex);
	--stoppers;
}

void ThreadPool::Impl::checkNotOwnThread() const
{
	if (pCurrentPool == this) throw IllegalStateException("thread pool cannot wait for its own thread");
}

void ThreadPool::Impl::loop(Worker& worker)
{
	pCurrentPool = this;
	std::unique_lock<std::mutex> lock(mutex);
	for (;;)
	{
		auto idleDeadline = std::chrono::steady_clock::now() + idleTime;
		while (!worker.pTarget && stoppers == 0)
		{
			if (worker.wakeUp.wait_until(lock, idleDeadline) == std::cv_status::timeout && !worker.pTarget)
			{
				if (allocated > minCapacity) break;
				idleDeadline = std::chrono::steady_clock::now() + idleTime;
			}
		}
		if (!worker.pTarget)
		{
			retireLocked(worker);
			return;
		}
		Runnable* pTarget = worker.pTarget;
		lock.unlock();
		// The runnable may delete itself in run(): nothing touches it afterwards.
		runGuarded(*pTarget);
		lock.lock();
		worker.pTarget = nullptr;
		idle.push_back(&worker);
		if (--used == 0) allDone.notify_all();
	}
}

void ThreadPool::Impl::retireLocked(Worker& worker)
{
	idle.erase(std::remove(idle.begin(), idle.end(), &worker), idle.end());
	--allocated;
	worker.finished = true;
}

ThreadPool::Impl::WorkerList ThreadPool::Impl::takeFinishedLocked()
{
	WorkerList finished;
	for (auto it = workers.begin(); it != workers.end();)
	{
		auto next = std::next(it);
		if ((*it)->finished) finished.splice(finished.end(), workers, it);
		it = next;
	}
	return finished;
}

void ThreadPool::Impl::join(WorkerList& toJoin)
{
	for (auto& pWorker : toJoin)
		pWorker->thread.join();
}

ThreadPool::ThreadPool(int minCapacity, int maxCapacity, int idleTimeSeconds)
{
	if (minCapacity < 0 || maxCapacity < 1 || minCapacity > maxCapacity || idleTimeSeconds < 0)
		throw InvalidArgumentException("invalid thread pool capacity or idle time");
	_pImpl = std::make_unique<Impl>(minCapacity, maxCapacity, idleTimeSeconds);
}

ThreadPool::~ThreadPool()
{
	_pImpl->stopAll();
}

void ThreadPool::start(Runnable& target)
{
	_pImpl->start(target);
}

void ThreadPool::joinAll()
{
	_pImpl->joinAll();
}

void ThreadPool::stopAll()
{
	_pImpl->stopAll();
}

void ThreadPool::addCapacity(int n)
{
	std::lock_guard<std::mutex> lock(_pImpl->mutex);
	const int capacity = _pImpl->maxCapacity + n;
	if (capacity < 1 || capacity < _pImpl->minCapacity)
		throw InvalidArgumentException("invalid thread pool capacity", std::to_string(capacity));
	_pImpl->maxCapacity = capacity;
}

int ThreadPool::capacity() const
{
	std::lock_guard<std::mutex> lock(_pImpl->mutex);
	return _pImpl->maxCapacity;
}

int ThreadPool::used() const
{
	std::lock_guard<std::mutex> lock(_pImpl->mutex);
	return _pImpl->used;
}

int ThreadPool::allocated() const
{
	std::lock_guard<std::mutex> lock(_pImpl->mutex);
	return _pImpl->allocated;
}

int ThreadPool::available() const
{
	std::lock_guard<std::mutex> lock(_pImpl->mutex);
	return std::max(0, _pImpl->maxCapacity - _pImpl->used);
}

ThreadPool& ThreadPool::defaultPool()
{
	static ThreadPool pool(DEFAULT_MIN_CAPACITY, DEFAULT_MAX_CAPACITY, DEFAULT_IDLE_TIME);
	return pool;
}

} // namespace Tavik
