#ifndef Tavik_RefCountedObject_INCLUDED
#define Tavik_RefCountedObject_INCLUDED

#include <atomic>

namespace Tavik {

/// Base of objects shared through AutoPtr. The count starts at 1, owned by the
/// creator; the object deletes itself when release() drops the count to 0.
/// duplicate() and release() are thread-safe.
class RefCountedObject
{
public:
	RefCountedObject() : _counter(1) {}
	RefCountedObject(const RefCountedObject&) = delete;
	RefCountedObject& operator=(const RefCountedObject&) = delete;

	/// Adds a reference.
	void duplicate() const noexcept { _counter.fetch_add(1, std::memory_order_relaxed); }

	/// Drops a reference; the last one deletes the object.
	void release() const noexcept
	{
		if (_counter.fetch_sub(1, std::memory_order_acq_rel) == 1)
			delete this;
	}

	/// The number of references; only a snapshot while other threads share the object.
	int referenceCount() const noexcept { return _counter.load(std::memory_order_relaxed); }

protected:
	virtual ~RefCountedObject();

private:
	mutable std::atomic<int> _counter;
};

} // namespace Tavik

#endif // Tavik_RefCountedObject_INCLUDED
