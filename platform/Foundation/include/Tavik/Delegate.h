#ifndef Tavik_Delegate_INCLUDED
#define Tavik_Delegate_INCLUDED

#include <memory>
#include <type_traits>
#include <utility>

namespace Tavik {

/// A target of a BasicEvent<TArgs>: something called with the sender and the
/// event's argument. Delegates are small values; copies are equal to each other.
///
/// Two kinds exist, and equality (what BasicEvent::operator-= uses) differs:
/// - delegate(&object, &Class::method): equal to every delegate made for the
///   same object and the same member function, so an object can remove itself
///   with a fresh delegate(this, &Class::method).
/// - Delegate<TArgs>(callable), for lambdas and std::function: each construction
///   makes a new identity, equal only to its own copies; keep a copy to remove it.
template <class TArgs> class Delegate
{
public:
	/// A delegate that calls `callable(pSender, args)`.
	template <class Callable,
	          std::enable_if_t<std::is_invocable_v<const Callable&, const void*, TArgs&>, int> = 0>
	explicit Delegate(Callable callable)
	    : _pTarget(std::make_shared<CallableTarget<Callable>>(std::move(callable)))
	{}

	/// Calls the target. Exceptions of the target propagate.
	void notify(const void* pSender, TArgs& args) const { _pTarget->notify(pSender, args); }

	/// Equality as described for the class: same object and member function,
	/// or copies of one callable delegate.
	///@{
	bool operator==(const Delegate& other) const
	{
		return _pTarget == other._pTarget || _pTarget->equals(*other._pTarget);
	}
	bool operator!=(const Delegate& other) const { return !(*this == other); }
	///@}

private:
	class Target
	{
	public:
		virtual ~Target() = default;
		virtual void notify(const void* pSender, TArgs& args) const = 0;
		virtual bool equals(const Target& other) const = 0;
	};

	template <class Callable> class CallableTarget : public Target
	{
	public:
		explicit CallableTarget(Callable callable) : _callable(std::move(callable)) {}
		void notify(const void* pSender, TArgs& args) const override { _callable(pSender, args); }
		// Identity is the target object itself, shared by the copies of one Delegate.
		bool equals(const Target& other) const override { return this == &other; }

	private:
		Callable _callable;
	};

	template <class C> class MemberTarget : public Target
	{
	public:
		using Method = void (C::*)(const void*, TArgs&);

		MemberTarget(C* pObject, Method method) : _pObject(pObject), _method(method) {}
		void notify(const void* pSender, TArgs& args) const override { (_pObject->*_method)(pSender, args); }
		bool equals(const Target& other) const override
		{
			const auto* pOther = dynamic_cast<const MemberTarget*>(&other);
			return pOther && pOther->_pObject == _pObject && pOther->_method == _method;
		}

	private:
		C* _pObject;
		Method _method;
	};

	explicit Delegate(std::shared_ptr<const Target> pTarget) : _pTarget(std::move(pTarget)) {}

	template <class C, class Args>
	friend Delegate<Args> delegate(C* pObject, void (C::*method)(const void*, Args&));

	std::shared_ptr<const Target> _pTarget;
};

/// A delegate calling `(pObject->*method)(pSender, args)`. The object is not
/// owned: remove the delegate from the event before the object is destroyed.
template <class C, class TArgs> Delegate<TArgs> delegate(C* pObject, void (C::*method)(const void*, TArgs&))
{
	using Target = typename Delegate<TArgs>::template MemberTarget<C>;
	return Delegate<TArgs>(
	    std::shared_ptr<const typename Delegate<TArgs>::Target>(std::make_shared<Target>(pObject, method)));
}

} // namespace Tavik

#endif // Tavik_Delegate_INCLUDED
