#ifndef Tavik_Util_Timer_INCLUDED
#define Tavik_Util_Timer_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Clock.h"
#include "Tavik/Util/TimerTask.h"

#include <functional>
#include <memory>
#include <thread>

namespace Tavik {
namespace Util {

/// Runs TimerTasks at given times on one thread of its own, which the
/// constructor starts and the destructor stops and joins.
///
/// Periodic tasks run at a fixed rate: the k-th run is due at the time of
/// schedule() + delay + k * interval. A run that starts late stands for every
/// due time up to its start; a due time that passes while a run is executing
/// gets one run right after it, and any further missed ones are skipped. So a
/// late timer makes at most two runs in a row, and the schedule keeps its grid.
///
/// An exception escaping a task's run() is logged on the logger
/// "Tavik.Util.Timer" and does not stop the timer or the task.
///
/// Thread safety: every operation may be called from any thread, also while
/// the caller holds a mutex of its own; the timer thread never takes such a
/// mutex, and no task runs while the timer's lock is held.
class Timer
{
public:
	/// The largest delay or interval in milliseconds (about 317 years); larger
	/// values are refused with InvalidArgumentException.
	static constexpr long MAX_DELAY = 10'000'000'000'000L;

	/// Where a timer reads the time: a callable that any thread may call.
	using ClockSource = std::function<Clock()>;

	/// Starts the timer thread, on the system's monotonic clock. Throws
	/// SystemException when the system refuses it.
	Timer();
	/// Starts the timer thread on the given clock, for tests that move time
	/// forward instead of waiting for it (see wakeUp()); an empty clock is the
	/// system's. Throws SystemException when the system refuses the thread.
	explicit Timer(ClockSource clock);
	/// Cancels every task, waits for a task running at this moment to return,
	/// and joins the thread. Must not be called from one of its tasks.
	~Timer();
	Timer(const Timer&) = delete;
	Timer& operator=(const Timer&) = delete;

	/// Runs pTask every intervalMs milliseconds, the first time after delayMs.
	/// A cancelled task is not scheduled (nothing happens).
	/// Throws NullPointerException for a null task, InvalidArgumentException
	/// when delayMs < 0 or intervalMs < 1 or either exceeds MAX_DELAY, and
	/// IllegalStateException when the task has been scheduled before.
	void schedule(AutoPtr<TimerTask> pTask, long delayMs, long intervalMs);
	/// Runs pTask once after delayMs milliseconds; as above otherwise.
	void schedule(AutoPtr<TimerTask> pTask, long delayMs);

	/// Cancels every task. With wait, also waits until a task running at this
	/// moment has returned (not when called from a task).
	void cancel(bool wait = false);

	/// The time on this timer's clock: due times, and the users of the timer
	/// that measure time against its schedule, read it here.
	Clock now() const;
	/// Makes the timer read its clock again at once. The system's clock needs
	/// no call; a clock that jumps forward needs one after each jump.
	void wakeUp();

private:
	std::shared_ptr<TimerQueue> _pQueue;
	std::thread _thread;
};

} // namespace Util
} // namespace Tavik

#endif // Tavik_Util_Timer_INCLUDED
