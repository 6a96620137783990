#include "Tavik/Timestamp.h"

#include <chrono>

namespace Tavik {

namespace {

Timestamp::TimeVal now()
{
	using namespace std::chrono;
	return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace

Timestamp::Timestamp() : _ts(now())
{
}

void Timestamp::update()
{
	_ts = now();
}

} // namespace Tavik
