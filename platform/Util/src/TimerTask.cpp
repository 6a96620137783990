#include "Tavik/Util/TimerTask.h"

#include "TimerQueue.h"

namespace Tavik {
namespace Util {

TimerTask::~TimerTask() = default;

void TimerTask::cancel()
{
	// The flag comes first: the timer checks it under its lock before it starts
	// or re-queues a run, so no run can start once the queue's lock is passed.
	_cancelled.store(true);
	std::shared_ptr<TimerQueue> pQueue;
	{
		ScopedLock<FastMutex> lock(_mutex);
		pQueue = _pQueue.lock();
	}
	if (pQueue) pQueue->cancel(*this);
}

} // namespace Util
} // namespace Tavik
