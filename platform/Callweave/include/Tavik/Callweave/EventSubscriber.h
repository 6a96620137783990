#ifndef Tavik_Callweave_EventSubscriber_INCLUDED
#define Tavik_Callweave_EventSubscriber_INCLUDED

#include "Tavik/Callweave/Skeleton.h"

#include <string>

namespace Tavik {
namespace Callweave {

class Deserializer;

/// The receiving end of the events of one remote object: an event listener
/// subscribes it to the object at endpointURI() and calls invoke() once per
/// incoming event.
///
/// An event travels as an event message named after the event, holding its
/// value under the argument name VALUE_ARGUMENT.
class EventSubscriber : public Skeleton
{
public:
	/// The argument name of an event's value: "data".
	static const std::string VALUE_ARGUMENT;

	/// A subscriber to the events of the remote object at endpointURI (for
	/// HTTP protocols an absolute URL).
	explicit EventSubscriber(const std::string& endpointURI);

	/// Reads one event from transport and hands it to handleEvent():
	/// beginRequest(), findMessage(), deserializeMessageBegin(), handleEvent(),
	/// deserializeMessageEnd(), then endRequest(), which runs also when a step
	/// before it fails. No reply is written. pObject is not used.
	/// Throws DeserializerException (with the name as argument) when the
	/// message is not an event, and whatever reading or handling throws.
	/// May run on several threads at once, as far as handleEvent() allows.
	void invoke(ServerTransport& transport, AutoPtr<RemoteObject> pObject) override;

	/// The URI of the remote object whose events this subscriber receives.
	const std::string& endpointURI() const;

protected:
	~EventSubscriber() override;

	/// Reads the arguments of the event eventName from deserializer and
	/// delivers it to the application.
	virtual void handleEvent(const std::string& eventName, Deserializer& deserializer) = 0;

private:
	const std::string _endpointURI;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_EventSubscriber_INCLUDED
