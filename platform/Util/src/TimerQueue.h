#ifndef Tavik_Util_TimerQueue_INCLUDED
#define Tavik_Util_TimerQueue_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Clock.h"
#include "Tavik/Util/TimerTask.h"

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace Tavik {
namespace Util {

/// The state a Timer shares with its thread and its tasks: the tasks by due
/// time and the task running now. Tasks refer to it weakly, so that cancel()
/// still works, and does nothing, after the timer is gone.
///
/// Lock order: a task's own mutex is never held while _mutex is taken, and
/// _mutex is never held while a task runs or is released.
class TimerQueue : public std::enable_shared_from_this<TimerQueue>
{
public:
	/// A queue on clock; the system's monotonic clock when it is empty.
	explicit TimerQueue(std::function<Clock()> clock);

	Clock now() const { return _clock ? _clock() : Clock(); }
	/// Makes the waiting timer thread read the clock again.
	void wakeUp();
	/// Queues pTask, due after delayUs; periodic when intervalUs > 0.
	void schedule(AutoPtr<TimerTask> pTask, Clock::ClockDiff delayUs, Clock::ClockDiff intervalUs);
	/// TimerTask::cancel() after the task's flag is set.
	void cancel(TimerTask& task);
	/// Cancels every task; with wait, waits for a running task as cancel() does.
	void cancelAll(bool wait);
	/// The timer thread's loop; returns after stop().
	void run();
	/// Cancels every task and makes run() return after the running task.
	void stop();

private:
	struct Entry
	{
		AutoPtr<TimerTask> pTask;
		Clock due;
		Clock::ClockDiff interval = 0; // microseconds; 0 for a task run once
	};
	using Queue = std::multimap<Clock, Entry>; // by due time; equal times in scheduling order

	bool takeNext(Entry& entry);
	void finishRun(Entry& entry, Clock started);
	bool mustWaitFor(const TimerTask& task) const;
	Queue cancelAllLocked();

	const std::function<Clock()> _clock;
	std::mutex _mutex;
	std::condition_variable _changed;     // the queue changed or the timer stops
	std::condition_variable _runFinished; // _pRunning went back to null
	Queue _queue;
	TimerTask* _pRunning = nullptr;
	std::thread::id _threadId;
	bool _stopped = false;
};

} // namespace Util
} // namespace Tavik

#endif // Tavik_Util_TimerQueue_INCLUDED
