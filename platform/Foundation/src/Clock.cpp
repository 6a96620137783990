#include "Tavik/Clock.h"

#include <chrono>

namespace Tavik {

namespace {

Clock::ClockVal now()
{
	using namespace std::chrono;
	return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

Clock::Clock() : _clock(now())
{
}

void Clock::update()
{
	_clock = now();
}

Clock::ClockDiff Clock::elapsed() const
{
	return now() - _clock;
}

} // namespace Tavik
