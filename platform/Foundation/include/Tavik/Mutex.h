#ifndef Tavik_Mutex_INCLUDED
#define Tavik_Mutex_INCLUDED

#include <mutex>

namespace Tavik {

/// A non-recursive mutex. lock() throws SystemException "cannot lock mutex"
/// when the system refuses; unlock() of a held mutex cannot fail.
class FastMutex
{
public:
	FastMutex() = default;
	FastMutex(const FastMutex&) = delete;
	FastMutex& operator=(const FastMutex&) = delete;

	/// Waits until the mutex is free and holds it. The thread holding it must
	/// not lock it again.
	void lock();
	/// True when the mutex was free and is now held by the caller.
	bool tryLock() noexcept { return _mutex.try_lock(); }
	/// Frees the mutex, which the calling thread holds.
	void unlock() noexcept { _mutex.unlock(); }

	/// Lockable names, so that std::unique_lock and std::condition_variable_any work.
	bool try_lock() noexcept { return tryLock(); }

private:
	std::mutex _mutex;
};

/// Holds a mutex for the lifetime of the scope.
template <class M>
class ScopedLock
{
public:
	/// Locks mutex (what its lock() throws propagates) until the scope ends.
	explicit ScopedLock(M& mutex) : _mutex(mutex) { _mutex.lock(); }
	~ScopedLock() { _mutex.unlock(); }
	ScopedLock(const ScopedLock&) = delete;
	ScopedLock& operator=(const ScopedLock&) = delete;

private:
	M& _mutex;
};

} // namespace Tavik

#endif // Tavik_Mutex_INCLUDED
