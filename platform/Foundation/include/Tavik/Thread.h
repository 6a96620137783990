#ifndef Tavik_Thread_INCLUDED
#define Tavik_Thread_INCLUDED

namespace Tavik {

/// Operations on the calling thread. Threads themselves are owned by
/// ThreadPool and by the Util library's Timer.
class Thread
{
public:
	Thread() = delete;

	/// Suspends the calling thread for at least the given milliseconds (0 yields).
	/// Throws InvalidArgumentException when milliseconds is negative.
	static void sleep(long milliseconds);
};

} // namespace Tavik

#endif // Tavik_Thread_INCLUDED
