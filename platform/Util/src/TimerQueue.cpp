#include "TimerQueue.h"

#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/Timespan.h"

#include <algorithm>
#include <chrono>

namespace Tavik {
namespace Util {

namespace {

const char* const LOGGER_NAME = "Tavik.Util.Timer";
const std::string TASK_FAILED = "Timer task failed: ";

// Long delays are waited for in pieces of at most a day, because the standard
// library's deadline arithmetic in nanoseconds overflows beyond about 292 years.
const Clock::ClockDiff LONGEST_WAIT = Timespan::DAYS;

void runGuarded(TimerTask& task)
{
	try
	{
		task.run();
	}
	catch (const Exception& exc)
	{
		Logger::get(LOGGER_NAME).error(TASK_FAILED + exc.displayText());
	}
	catch (const std::exception& exc)
	{
		Logger::get(LOGGER_NAME).error(TASK_FAILED + exc.what());
	}
	catch (...)
	{
		Logger::get(LOGGER_NAME).error(TASK_FAILED + "unknown exception");
	}
}

} // namespace

TimerQueue::TimerQueue(std::function<Clock()> clock) : _clock(std::move(clock))
{
}

void TimerQueue::wakeUp()
{
	std::lock_guard<std::mutex> lock(_mutex);
	_changed.notify_one();
}

void TimerQueue::schedule(AutoPtr<TimerTask> pTask, Clock::ClockDiff delayUs, Clock::ClockDiff intervalUs)
{
	{
		ScopedLock<FastMutex> taskLock(pTask->_mutex);
		if (pTask->isCancelled()) return;
		if (pTask->_scheduled) throw IllegalStateException("timer task already scheduled");
		pTask->_scheduled = true;
		pTask->_pQueue = weak_from_this();
	}
	Entry entry{pTask, now() + delayUs, intervalUs};
	std::lock_guard<std::mutex> lock(_mutex);
	// Checked under the lock: cancel() sets the flag before it takes the lock.
	if (pTask->isCancelled() || _stopped) return;
	_queue.emplace(entry.due, std::move(entry));
	_changed.notify_one();
}

void TimerQueue::cancel(TimerTask& task)
{
	AutoPtr<TimerTask> pRemoved; // released after the lock
	std::unique_lock<std::mutex> lock(_mutex);
	for (auto it = _queue.begin(); it != _queue.end(); ++it)
	{
		if (it->second.pTask.get() == &task)
		{
			pRemoved = std::move(it->second.pTask);
			_queue.erase(it);
			break;
		}
	}
	_runFinished.wait(lock, [&] { return !mustWaitFor(task); });
}

void TimerQueue::cancelAll(bool wait)
{
	Queue removed; // released after the lock
	std::unique_lock<std::mutex> lock(_mutex);
	removed = cancelAllLocked();
	if (wait && _pRunning) _runFinished.wait(lock, [&] { return !_pRunning || !mustWaitFor(*_pRunning); });
}

void TimerQueue::stop()
{
	Queue removed; // released after the lock
	std::lock_guard<std::mutex> lock(_mutex);
	removed = cancelAllLocked();
	_stopped = true;
	_changed.notify_one();
}

void TimerQueue::run()
{
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_threadId = std::this_thread::get_id();
	}
	for (;;)
	{
		Entry entry;
		if (!takeNext(entry)) return;
		const Clock started = now();
		entry.pTask->_lastExecution.store(started.raw());
		runGuarded(*entry.pTask);
		finishRun(entry, started);
		// The timer's reference, if not queued again, is released here without the lock.
	}
}

bool TimerQueue::takeNext(Entry& entry)
{
	std::unique_lock<std::mutex> lock(_mutex);
	for (;;)
	{
		if (_stopped) return false;
		if (_queue.empty())
		{
			_changed.wait(lock);
			continue;
		}
		auto first = _queue.begin();
		const Clock::ClockDiff wait = first->first - now();
		if (wait > 0)
		{
			_changed.wait_for(lock, std::chrono::microseconds(std::min(wait, LONGEST_WAIT)));
			continue;
		}
		entry = std::move(first->second);
		_queue.erase(first);
		if (!entry.pTask->isCancelled())
		{
			_pRunning = entry.pTask.get();
			return true;
		}
		// Cancelled between setting its flag and taking the lock: drop it unlocked.
		lock.unlock();
		entry.pTask.reset();
		lock.lock();
	}
}

void TimerQueue::finishRun(Entry& entry, Clock started)
{
	std::lock_guard<std::mutex> lock(_mutex);
	_pRunning = nullptr;
	_runFinished.notify_all();
	if (entry.interval == 0 || entry.pTask->isCancelled() || _stopped) return;
	// Fixed rate: the next due time after the start of this run; when that has
	// passed already (the run took longer than the interval), it runs at once.
	Clock next = entry.due + entry.interval;
	if (next <= started) next += ((started - next) / entry.interval + 1) * entry.interval;
	entry.due = next;
	_queue.emplace(next, std::move(entry));
}

bool TimerQueue::mustWaitFor(const TimerTask& task) const
{
	// A task cancelling itself (or a sibling) on the timer thread cannot wait.
	return _pRunning == &task && std::this_thread::get_id() != _threadId;
}

TimerQueue::Queue TimerQueue::cancelAllLocked()
{
	for (auto& due : _queue)
		due.second.pTask->_cancelled.store(true);
	if (_pRunning) _pRunning->_cancelled.store(true);
	Queue removed;
	removed.swap(_queue);
	return removed;
}

} // namespace Util
} // namespace Tavik
