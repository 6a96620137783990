#ifndef Tavik_Util_TimerTask_INCLUDED
#define Tavik_Util_TimerTask_INCLUDED

#include "Tavik/Clock.h"
#include "Tavik/Mutex.h"
#include "Tavik/RefCountedObject.h"
#include "Tavik/Runnable.h"

#include <atomic>
#include <memory>

namespace Tavik {
namespace Util {

class TimerQueue;

/// Work that a Timer runs once or periodically on its thread. Subclasses
/// implement run(); it must be short, since all tasks of a timer share one
/// thread, and it must not take a lock that a caller of schedule() or cancel()
/// may hold while calling them.
///
/// A task is scheduled once; it stays with its timer until it is cancelled,
/// its single run is done or the timer is destroyed.
class TimerTask : public RefCountedObject, public Runnable
{
public:
	TimerTask() = default;

	/// Cancels the task: once cancel() has returned, run() is not started
	/// again. When run() is executing on the timer thread at that moment,
	/// cancel() waits until it has returned, unless called from run() itself
	/// (or from another task of the same timer). The timer releases its
	/// reference to the task.
	/// Thread safety: may be called from any thread, also while holding a
	/// mutex of the caller's (that mutex first, then the timer's lock).
	void cancel();

	/// True once the task has been cancelled, by cancel() or by its timer.
	bool isCancelled() const noexcept { return _cancelled.load(); }
	/// When the latest run started, or Clock(0) before the first run.
	Clock lastExecution() const noexcept { return Clock(_lastExecution.load()); }

protected:
	~TimerTask() override;

private:
	friend class TimerQueue;

	std::atomic<bool> _cancelled{false};
	std::atomic<Clock::ClockVal> _lastExecution{0};
	FastMutex _mutex; // guards _scheduled and _pQueue
	bool _scheduled = false;
	std::weak_ptr<TimerQueue> _pQueue;
};

} // namespace Util
} // namespace Tavik

#endif // Tavik_Util_TimerTask_INCLUDED
