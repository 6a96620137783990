#include "Tavik/Thread.h"

#include "Tavik/Exception.h"

#include <chrono>
#include <thread>

namespace Tavik {

void Thread::sleep(long milliseconds)
{
	if (milliseconds < 0) throw InvalidArgumentException("negative sleep time", std::to_string(milliseconds));
	std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

} // namespace Tavik
