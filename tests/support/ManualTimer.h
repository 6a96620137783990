#ifndef ManualTimer_INCLUDED
#define ManualTimer_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Clock.h"
#include "Tavik/Timespan.h"
#include "Tavik/Util/Timer.h"
#include "Tavik/Util/TimerTask.h"
#include "TestSupport.h"

#include <atomic>
#include <functional>

namespace TestSupport {

/// A Util::Timer on a clock that stands still until the test moves it, so
/// that tests of periods, grants and expiries pass time instead of waiting
/// for it. Its clock also serves as an event dispatcher's (clock()).
class ManualTimer
{
public:
	ManualTimer() : _timer([this] { return now(); }) {}

	Tavik::Util::Timer& timer() { return _timer; }

	Tavik::Clock now() const { return Tavik::Clock(_now.load()); }
	std::function<Tavik::Clock()> clock() const
	{
		return [this] { return now(); };
	}

	/// Moves the clock forward by span and returns once every task due by
	/// then has run (the tasks' own background work may still go on). False
	/// when that did not happen within the deadline.
	bool advance(const Tavik::Timespan& span)
	{
		_now += span.totalMicroseconds();
		// Due now, and scheduled after every task due by now: the timer runs
		// tasks one at a time in due order, so this one runs last.
		Tavik::AutoPtr<Fence> pFence(new Fence);
		_timer.schedule(pFence, 0);
		_timer.wakeUp();
		return pFence->passed.wait();
	}

private:
	struct Fence : Tavik::Util::TimerTask
	{
		void run() override { passed.open(); }
		Gate passed;
	};

	std::atomic<Tavik::Clock::ClockVal> _now{Tavik::Clock().raw()};
	Tavik::Util::Timer _timer; // after _now, which its thread reads
};

} // namespace TestSupport

#endif // ManualTimer_INCLUDED
