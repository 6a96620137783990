#include "Tavik/Callweave/ORB.h"

#include "CallweaveTexts.h"

#include "Tavik/Exception.h"
#include "Tavik/URI.h"

namespace Tavik {
namespace Callweave {

ORB::ORB() = default;

ORB::~ORB() = default;

ORB& ORB::instance()
{
	static ORB orb;
	return orb;
}

void ORB::registerEventDispatcher(const std::string& uri, const std::string& protocol,
                                  AutoPtr<EventDispatcher> pDispatcher)
{
	if (!pDispatcher) throw NullPointerException(Texts::DISPATCHER_NULL, uri);
	const Key key = keyOf(uri, protocol);
	ScopedLock<FastMutex> lock(_mutex);
	if (!_dispatchers.emplace(key, pDispatcher).second)
		throw ExistsException(Texts::DISPATCHER_EXISTS, key.first);
}

void ORB::unregisterEventDispatcher(const std::string& uri, const std::string& protocol)
{
	const Key key = keyOf(uri, protocol);
	AutoPtr<EventDispatcher> pRemoved; // released after the lock: its destructor joins threads
	ScopedLock<FastMutex> lock(_mutex);
	const auto it = _dispatchers.find(key);
	if (it == _dispatchers.end()) throw NotFoundException(Texts::DISPATCHER_NOT_FOUND, key.first);
	pRemoved = it->second;
	_dispatchers.erase(it);
}

AutoPtr<EventDispatcher> ORB::findEventDispatcher(const std::string& uri, const std::string& protocol) const
{
	const Key key = keyOf(uri, protocol);
	ScopedLock<FastMutex> lock(_mutex);
	const auto it = _dispatchers.find(key);
	return it == _dispatchers.end() ? AutoPtr<EventDispatcher>() : it->second;
}

ORB::Key ORB::keyOf(const std::string& uri, const std::string& protocol)
{
	return Key(URI(uri).getPath(), protocol);
}

} // namespace Callweave
} // namespace Tavik
