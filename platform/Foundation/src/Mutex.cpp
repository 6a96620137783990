#include "Tavik/Mutex.h"

#include "Tavik/Exception.h"

#include <system_error>

namespace Tavik {

void FastMutex::lock()
{
	try
	{
		_mutex.lock();
	}
	catch (const std::system_error& exc)
	{
		throw SystemException("cannot lock mutex", exc.what());
	}
}

} // namespace Tavik
