#ifndef Tavik_Callweave_EventListener_INCLUDED
#define Tavik_Callweave_EventListener_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Callweave/Listener.h"

#include <string>

namespace Tavik {
namespace Callweave {

/// A listener that also receives events: it subscribes local event
/// subscribers to the events of remote objects and delivers the incoming
/// events to them.
class EventListener : public Listener
{
public:
	/// A listener for endPoint, as Listener(endPoint).
	explicit EventListener(const std::string& endPoint);

	/// Subscribes pSubscriber to the events of the remote object at its
	/// endpointURI(). Returns what the protocol makes of the subscription
	/// (possibly empty). Throws the protocol's exceptions when the remote side
	/// refuses or cannot be reached.
	virtual std::string subscribeToEvents(AutoPtr<EventSubscriber> pSubscriber) = 0;
	/// Ends the subscription of pSubscriber.
	virtual void unsubscribeFromEvents(AutoPtr<EventSubscriber> pSubscriber) = 0;

protected:
	~EventListener() override;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_EventListener_INCLUDED
