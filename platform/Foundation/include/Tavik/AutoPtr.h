#ifndef Tavik_AutoPtr_INCLUDED
#define Tavik_AutoPtr_INCLUDED

#include "Tavik/Exception.h"

#include <cstddef>
#include <utility>

namespace Tavik {

/// Intrusive smart pointer for objects with duplicate() and release()
/// (RefCountedObject and its subclasses).
///
/// AutoPtr(p) takes over the reference the caller holds; AutoPtr(p, true) adds
/// one of its own. Copies share the object; the last release deletes it.
template <class C>
class AutoPtr
{
public:
	AutoPtr() noexcept : _ptr(nullptr) {}
	/// A null pointer.
	AutoPtr(std::nullptr_t) noexcept : _ptr(nullptr) {}
	/// Takes over the reference to ptr that the caller holds.
	AutoPtr(C* ptr) noexcept : _ptr(ptr) {}
	/// With shared, adds a reference of its own to ptr; otherwise takes over
	/// the caller's.
	AutoPtr(C* ptr, bool shared) noexcept : _ptr(ptr)
	{
		if (shared && _ptr) _ptr->duplicate();
	}
	/// Shares other's object.
	AutoPtr(const AutoPtr& other) noexcept : _ptr(other._ptr)
	{
		if (_ptr) _ptr->duplicate();
	}
	/// Takes other's reference; other becomes null.
	AutoPtr(AutoPtr&& other) noexcept : _ptr(other._ptr) { other._ptr = nullptr; }
	/// Shares the object of a pointer to a class derived from C.
	template <class Other>
	AutoPtr(const AutoPtr<Other>& other) noexcept : _ptr(other.get())
	{
		if (_ptr) _ptr->duplicate();
	}
	~AutoPtr() { reset(); }

	/// Releases the current object and shares (or, from an rvalue, takes) other's.
	AutoPtr& operator=(AutoPtr other) noexcept
	{
		swap(other);
		return *this;
	}

	/// Releases the object, if any, and becomes null.
	void reset() noexcept
	{
		if (_ptr)
		{
			C* ptr = _ptr;
			_ptr = nullptr;
			ptr->release();
		}
	}
	/// Exchanges the objects of the two pointers.
	void swap(AutoPtr& other) noexcept { std::swap(_ptr, other._ptr); }

	/// The pointer cast with dynamic_cast, sharing the object; null if the
	/// object is not an Other.
	template <class Other>
	AutoPtr<Other> cast() const noexcept
	{
		return AutoPtr<Other>(dynamic_cast<Other*>(_ptr), true);
	}

	/// Hands the reference over to the caller.
	C* duplicate() const noexcept
	{
		if (_ptr) _ptr->duplicate();
		return _ptr;
	}

	/// The object, or null; the reference stays with this pointer.
	C* get() const noexcept { return _ptr; }
	/// True when the pointer holds no object.
	bool isNull() const noexcept { return _ptr == nullptr; }
	/// True when the pointer holds an object.
	explicit operator bool() const noexcept { return _ptr != nullptr; }

	/// Throws NullPointerException when null.
	C* operator->() const
	{
		if (!_ptr) throw NullPointerException();
		return _ptr;
	}
	/// Throws NullPointerException when null.
	C& operator*() const
	{
		if (!_ptr) throw NullPointerException();
		return *_ptr;
	}

private:
	C* _ptr;
};

template <class C, class D>
bool operator==(const AutoPtr<C>& a, const AutoPtr<D>& b) noexcept { return a.get() == b.get(); }
template <class C, class D>
bool operator!=(const AutoPtr<C>& a, const AutoPtr<D>& b) noexcept { return a.get() != b.get(); }
template <class C, class D>
bool operator<(const AutoPtr<C>& a, const AutoPtr<D>& b) noexcept { return a.get() < b.get(); }
template <class C>
bool operator==(const AutoPtr<C>& a, std::nullptr_t) noexcept { return a.isNull(); }
template <class C>
bool operator!=(const AutoPtr<C>& a, std::nullptr_t) noexcept { return !a.isNull(); }

/// Makes a new reference-counted C held by an AutoPtr.
template <class C, class... Args>
AutoPtr<C> makeAuto(Args&&... args)
{
	return AutoPtr<C>(new C(std::forward<Args>(args)...));
}

} // namespace Tavik

#endif // Tavik_AutoPtr_INCLUDED
