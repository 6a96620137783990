#include "Tavik/Callweave/GenericEventSubscriber.h"

#include "Tavik/Callweave/Deserializer.h"

namespace Tavik {
namespace Callweave {

GenericEventSubscriber::GenericEventSubscriber(const std::string& endpointURI) : EventSubscriber(endpointURI)
{}

GenericEventSubscriber::~GenericEventSubscriber() = default;

void GenericEventSubscriber::handleEvent(const std::string& eventName, Deserializer& deserializer)
{
	Event event{eventName, std::string()};
	deserializer.deserialize(VALUE_ARGUMENT, true, event.value);
	eventReceived.notify(this, event);
}

} // namespace Callweave
} // namespace Tavik
