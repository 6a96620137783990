#include "Tavik/Util/Timer.h"

#include "Tavik/Exception.h"
#include "Tavik/Timespan.h"

#include "TimerQueue.h"

#include <string>
#include <system_error>

namespace Tavik {
namespace Util {

namespace {

void checkMilliseconds(long value, long minimum, const char* what)
{
	if (value < minimum || value > Timer::MAX_DELAY)
		throw InvalidArgumentException(std::string("invalid timer ") + what, std::to_string(value));
}

} // namespace

Timer::Timer() : Timer(ClockSource())
{
}

Timer::Timer(ClockSource clock) : _pQueue(std::make_shared<TimerQueue>(std::move(clock)))
{
	try
	{
		_thread = std::thread(&TimerQueue::run, _pQueue.get());
	}
	catch (const std::system_error& exc)
	{
		throw SystemException("cannot create timer thread", exc.what());
	}
}

Timer::~Timer()
{
	_pQueue->stop();
	_thread.join();
}

void Timer::schedule(AutoPtr<TimerTask> pTask, long delayMs, long intervalMs)
{
	if (!pTask) throw NullPointerException();
	checkMilliseconds(delayMs, 0, "delay");
	checkMilliseconds(intervalMs, 1, "interval");
	_pQueue->schedule(std::move(pTask), delayMs * Timespan::MILLISECONDS,
	                  intervalMs * Timespan::MILLISECONDS);
}

void Timer::schedule(AutoPtr<TimerTask> pTask, long delayMs)
{
	if (!pTask) throw NullPointerException();
	checkMilliseconds(delayMs, 0, "delay");
	_pQueue->schedule(std::move(pTask), delayMs * Timespan::MILLISECONDS, 0);
}

void Timer::cancel(bool wait)
{
	_pQueue->cancelAll(wait);
}

Clock Timer::now() const
{
	return _pQueue->now();
}

void Timer::wakeUp()
{
	_pQueue->wakeUp();
}

} // namespace Util
} // namespace Tavik
