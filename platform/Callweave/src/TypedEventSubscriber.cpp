#include "Tavik/Callweave/TypedEventSubscriber.h"

namespace Tavik {
namespace Callweave {

TypedEventSubscriber::TypedEventSubscriber(const std::string& endpointURI) : EventSubscriber(endpointURI) {}

TypedEventSubscriber::~TypedEventSubscriber() = default;

void TypedEventSubscriber::handleEvent(const std::string& eventName, Deserializer& deserializer)
{
	Reader reader;
	{
		ScopedLock<FastMutex> lock(_mutex);
		const auto it = _readers.find(eventName);
		if (it == _readers.end()) return;
		reader = it->second;
	}
	reader(deserializer);
}

void TypedEventSubscriber::setReader(const std::string& eventName, Reader reader)
{
	ScopedLock<FastMutex> lock(_mutex);
	_readers[eventName].swap(reader); // the replaced handler is destroyed after the lock
}

} // namespace Callweave
} // namespace Tavik
