#ifndef Tavik_BasicEvent_INCLUDED
#define Tavik_BasicEvent_INCLUDED

#include "Tavik/Delegate.h"
#include "Tavik/Mutex.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

namespace Tavik {

/// An event that calls its delegates, in the order they were added, with a
/// sender and an argument of type TArgs& (TArgs may be const, as in
/// BasicEvent<const std::string>).
///
/// Thread safety: every operation may be called from any thread. The event's
/// mutex is held only while the delegate list is read or changed; delegates run
/// with no lock held, so they may add or remove delegates (themselves included)
/// and notify again. A delegate added during a notification is first called by
/// the next one. A delegate removed during a notification is not called by it
/// any more, except when another thread is calling it at that very moment or is
/// about to: such a notification may still reach it once.
template <class TArgs> class BasicEvent
{
public:
	BasicEvent() = default;
	BasicEvent(const BasicEvent&) = delete;
	BasicEvent& operator=(const BasicEvent&) = delete;

	/// Adds a delegate; one equal to a delegate already added is not added again.
	void operator+=(const Delegate<TArgs>& aDelegate)
	{
		ScopedLock<FastMutex> lock(_mutex);
		if (find(aDelegate) == _entries.end())
			_entries.push_back(Entry{aDelegate, std::make_shared<std::atomic<bool>>(true)});
	}

	/// Removes the delegate equal to the given one; does nothing when there is none.
	void operator-=(const Delegate<TArgs>& aDelegate)
	{
		ScopedLock<FastMutex> lock(_mutex);
		auto it = find(aDelegate);
		if (it != _entries.end())
		{
			it->pActive->store(false);
			_entries.erase(it);
		}
	}

	/// Calls every delegate with pSender and args. An exception thrown by a
	/// delegate propagates to the caller, and the delegates after it are not called.
	void notify(const void* pSender, TArgs& args)
	{
		std::vector<Entry> entries;
		{
			ScopedLock<FastMutex> lock(_mutex);
			entries = _entries;
		}
		for (const Entry& entry : entries)
		{
			if (entry.pActive->load()) entry.delegate.notify(pSender, args);
		}
	}

	/// Removes every delegate.
	void clear()
	{
		ScopedLock<FastMutex> lock(_mutex);
		for (const Entry& entry : _entries)
			entry.pActive->store(false);
		_entries.clear();
	}

	/// True when no delegate is registered.
	bool empty() const
	{
		ScopedLock<FastMutex> lock(_mutex);
		return _entries.empty();
	}

private:
	struct Entry
	{
		Delegate<TArgs> delegate;
		// Shared with the copies a running notify() works on, so that a removal
		// reaches delegates that it has not called yet.
		std::shared_ptr<std::atomic<bool>> pActive;
	};

	typename std::vector<Entry>::iterator find(const Delegate<TArgs>& aDelegate)
	{
		return std::find_if(_entries.begin(), _entries.end(),
		                    [&](const Entry& entry) { return entry.delegate == aDelegate; });
	}

	mutable FastMutex _mutex;
	std::vector<Entry> _entries;
};

} // namespace Tavik

#endif // Tavik_BasicEvent_INCLUDED
