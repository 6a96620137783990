#ifndef Tavik_Callweave_GenericEventSubscriber_INCLUDED
#define Tavik_Callweave_GenericEventSubscriber_INCLUDED

#include "Tavik/BasicEvent.h"
#include "Tavik/Callweave/EventSubscriber.h"

#include <string>

namespace Tavik {
namespace Callweave {

/// An event subscriber for applications and tools that take every event as
/// text: each incoming event is read as a string and reported through
/// eventReceived.
class GenericEventSubscriber : public EventSubscriber
{
public:
	/// One received event.
	struct Event
	{
		std::string name;  ///< the event (for UPnP, the state variable)
		std::string value; ///< its value as text
	};

	/// A subscriber to the events of the remote object at endpointURI.
	explicit GenericEventSubscriber(const std::string& endpointURI);

	/// Fired once per incoming event, on the thread that calls invoke(), with
	/// this subscriber as sender. An exception of a delegate passes out of
	/// invoke().
	BasicEvent<const Event> eventReceived;

protected:
	~GenericEventSubscriber() override;

	void handleEvent(const std::string& eventName, Deserializer& deserializer) override;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_GenericEventSubscriber_INCLUDED
