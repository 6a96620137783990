#ifndef Tavik_Callweave_ORB_INCLUDED
#define Tavik_Callweave_ORB_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Mutex.h"

#include <map>
#include <string>
#include <utility>

namespace Tavik {
namespace Callweave {

/// The object request broker: finds the event dispatcher of a local remote
/// object by the object's URI and a protocol.
///
/// Dispatchers are registered and found by the path of the URI (parsed as
/// Tavik::URI): scheme, authority, query and fragment play no part, so
/// "http://h:1/dev/svc?x=1" and "/dev/svc" name the same object. Paths and
/// protocols are compared byte for byte.
///
/// Thread safety: every operation may be called from any thread. The lock is
/// held only around the table; unregistered dispatchers are released after it.
class ORB
{
public:
	/// An empty broker. The framework uses instance(); separate brokers serve
	/// tests.
	ORB();
	ORB(const ORB&) = delete;
	ORB& operator=(const ORB&) = delete;
	~ORB();

	/// The process-wide broker.
	static ORB& instance();

	/// Registers pDispatcher for the object at uri and protocol. Throws
	/// NullPointerException for a null dispatcher, ExistsException (with the
	/// path as argument) when one is registered, and SyntaxException for a
	/// malformed uri.
	void registerEventDispatcher(const std::string& uri, const std::string& protocol,
	                             AutoPtr<EventDispatcher> pDispatcher);
	/// Removes the dispatcher of uri and protocol. Throws NotFoundException
	/// (with the path as argument) when there is none, and SyntaxException for
	/// a malformed uri.
	void unregisterEventDispatcher(const std::string& uri, const std::string& protocol);
	/// The dispatcher of the object at uri for protocol, or null. Throws
	/// SyntaxException for a malformed uri.
	AutoPtr<EventDispatcher> findEventDispatcher(const std::string& uri, const std::string& protocol) const;

private:
	using Key = std::pair<std::string, std::string>; // path, protocol

	static Key keyOf(const std::string& uri, const std::string& protocol);

	mutable FastMutex _mutex;
	std::map<Key, AutoPtr<EventDispatcher>> _dispatchers;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_ORB_INCLUDED
