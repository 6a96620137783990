#ifndef Tavik_Util_TimerTestSupport_INCLUDED
#define Tavik_Util_TimerTestSupport_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Util/Timer.h"
#include "Tavik/Util/TimerTask.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace TimerTestSupport {

const std::chrono::seconds DEADLINE(30);

// A task that counts its runs and calls an optional function in each; tests
// wait for a number of runs without sleeping. A run counts as soon as it has
// started, before the function is called.
class CountingTask : public Tavik::Util::TimerTask
{
public:
	explicit CountingTask(std::function<void(CountingTask&, int run)> onRun = {}) : _onRun(std::move(onRun))
	{}

	void run() override
	{
		int run;
		{
			std::lock_guard<std::mutex> lock(_mutex);
			run = ++_runs;
		}
		_changed.notify_all();
		if (_onRun) _onRun(*this, run);
	}

	bool waitForRuns(int n)
	{
		std::unique_lock<std::mutex> lock(_mutex);
		return _changed.wait_for(lock, DEADLINE, [&] { return _runs >= n; });
	}

	int runs()
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _runs;
	}

private:
	std::function<void(CountingTask&, int)> _onRun;
	std::mutex _mutex;
	std::condition_variable _changed;
	int _runs = 0;
};

// Waits until every task due before now + delayMs has had its turn: the timer
// runs its tasks one at a time in due order, so a task scheduled behind them
// runs only after them.
inline bool passTime(Tavik::Util::Timer& timer, long delayMs)
{
	Tavik::AutoPtr<CountingTask> pFence(new CountingTask);
	timer.schedule(pFence, delayMs);
	return pFence->waitForRuns(1);
}

} // namespace TimerTestSupport

#endif // Tavik_Util_TimerTestSupport_INCLUDED
