#include "Tavik/Callweave/EventSubscriber.h"

#include "CallweaveTexts.h"

#include "Tavik/Callweave/Deserializer.h"
#include "Tavik/Callweave/DeserializerException.h"
#include "Tavik/Callweave/ServerTransport.h"

namespace Tavik {
namespace Callweave {

const std::string EventSubscriber::VALUE_ARGUMENT("data");

EventSubscriber::EventSubscriber(const std::string& endpointURI) : _endpointURI(endpointURI) {}

EventSubscriber::~EventSubscriber() = default;

void EventSubscriber::invoke(ServerTransport& transport, AutoPtr<RemoteObject>)
{
	try
	{
		Deserializer& deserializer = transport.beginRequest();
		std::string name;
		if (deserializer.findMessage(name) != SerializerBase::MESSAGE_EVENT)
			throw DeserializerException(Texts::NOT_AN_EVENT, name);
		deserializer.deserializeMessageBegin(name, SerializerBase::MESSAGE_EVENT);
		handleEvent(name, deserializer);
		deserializer.deserializeMessageEnd(name, SerializerBase::MESSAGE_EVENT);
	}
	catch (...)
	{
		try
		{
			transport.endRequest();
		}
		catch (...)
		{
			// The failure that brought us here is the one the caller must see.
		}
		throw;
	}
	transport.endRequest();
}

const std::string& EventSubscriber::endpointURI() const
{
	return _endpointURI;
}

} // namespace Callweave
} // namespace Tavik
