#ifndef Tavik_Callweave_EventDispatcher_INCLUDED
#define Tavik_Callweave_EventDispatcher_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/BasicEvent.h"
#include "Tavik/Callweave/EventDispatcherParams.h"
#include "Tavik/Callweave/Transport.h"
#include "Tavik/Clock.h"
#include "Tavik/Mutex.h"
#include "Tavik/RefCountedObject.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace Tavik {

class Logger;

namespace Callweave {

class Serializer;

/// The subscribers of one remote object for one protocol, and the delivery of
/// the object's events to them.
///
/// Each subscriber, named by its subscription id (SID), has its own transport,
/// made by the protocol's factory (TransportFactoryManager) and connected to
/// the subscriber's end point, and its own queue of events. fireEvent() only
/// queues: delivery runs on the dispatcher's own threads (at most
/// EventDispatcherParams::deliveryThreads), and a subscriber is driven by one
/// thread at a time, so its events arrive in the order they were fired and
/// its transport is used by one thread at a time, while a slow or unreachable
/// subscriber holds up only itself.
///
/// A subscriber leaves when it unsubscribes, when its expiry passes (noticed
/// by fireEvent(), by a renewal, and by a sweep of subscribe() at most once a
/// second), and when it is dropped: when its queue is
/// full or its deliveries keep failing beyond the failure grace. Drops are
/// logged at warning priority, failed deliveries at notice priority, on the
/// logger "Tavik.Callweave.EventDispatcher", and both are reported through the
/// events subscriberDropped and deliveryFailed.
///
/// Thread safety: every operation may be called from any thread; none holds
/// the dispatcher's lock across network I/O or while calling a delegate or a
/// transport factory. Delegates must not stop the dispatcher or release the
/// last reference to it.
class EventDispatcher : public RefCountedObject
{
public:
	/// Writes the arguments of one event. One writer serves every subscriber
	/// of an event and runs on several delivery threads at once, so it must
	/// only read what it captures.
	using EventWriter = std::function<void(Serializer&)>;

	/// Why a subscriber was dropped.
	enum DropReason
	{
		DROP_QUEUE_FULL,       ///< maxQueuedEvents events were waiting
		DROP_DELIVERY_FAILING, ///< deliveries failed for failureGrace
	};

	/// A subscriber that was dropped.
	struct SubscriberDrop
	{
		std::string sid;      ///< the subscription id
		std::string endPoint; ///< where its events went
		DropReason reason;    ///< why it was dropped
		std::string message;  ///< "event queue full" or "deliveries failing"
	};

	/// An event that did not reach a subscriber.
	struct DeliveryFailure
	{
		std::string sid;       ///< the subscription id
		std::string endPoint;  ///< where the event was sent
		std::string eventName; ///< the event's name, as given to fireEvent()
		std::string error;     ///< the display text of the exception
	};

	/// A dispatcher for protocol, with no subscribers. Throws
	/// InvalidArgumentException for params out of range.
	explicit EventDispatcher(const std::string& protocol,
	                         const EventDispatcherParams& params = EventDispatcherParams());

	/// Adds the subscriber sid, reached at endPoint, or refreshes the expiry
	/// of a known one (whose end point and transport stay as they are). An
	/// expiry holding 0 never expires. A new subscriber gets a transport from
	/// the protocol's factory, connected to endPoint.
	/// Throws NotFoundException "Unknown subscriber" (with sid) when sid is
	/// unknown and endPoint is empty (a renewal of a subscription that expired
	/// or was dropped: there is nothing to deliver to); IllegalStateException
	/// after stop(); and the exceptions of the factory and of connect(), in
	/// which case nothing is added.
	void subscribe(const std::string& sid, const std::string& endPoint, Clock expiry);
	/// Removes the subscriber sid; events still queued for it are dropped.
	/// Throws NotFoundException "Unknown subscriber" (with sid) when unknown.
	void unsubscribe(const std::string& sid);
	/// The transport of subscriber sid. The caller must hold mutex(); the
	/// transport may be used after releasing it, but only through its
	/// attributes, since delivery threads drive it.
	/// Throws NotFoundException "Unknown subscriber" (with sid) when unknown.
	AutoPtr<Transport> transportForSubscriber(const std::string& sid);
	/// The number of subscribers whose expiry has not passed.
	std::size_t subscriberCount() const;

	/// Queues the event eventName, written by writer, for every subscriber and
	/// returns without waiting for any delivery. Each delivery is
	/// beginMessage(), serializeMessageBegin(eventName, MESSAGE_EVENT), the
	/// writer (none when empty), serializeMessageEnd(), sendMessage() and,
	/// whether these succeeded or not, endRequest(); the transport is given
	/// empty object and interface names, since it is connected to the
	/// subscriber already. Drops subscribers whose expiry has
	/// passed or whose queue is full. Does nothing after stop().
	void fireEvent(const std::string& eventName, EventWriter writer);

	/// Removes every subscriber, drops the queued events, waits for the
	/// deliveries in flight (each is bounded by its transport's own timeout)
	/// and joins the delivery threads. Afterwards subscribe() throws and
	/// fireEvent() does nothing. Called by the destructor; further calls do
	/// nothing. Throws IllegalStateException when called on a delivery thread.
	void stop();

	/// The protocol given to the constructor.
	const std::string& protocol() const;
	/// The dispatcher's lock, to be held around transportForSubscriber().
	FastMutex& mutex();

	/// Fired for every dropped subscriber, on the thread that dropped it (the
	/// one calling fireEvent() or a delivery thread), with no lock held.
	/// Exceptions of delegates are logged and otherwise ignored.
	BasicEvent<const SubscriberDrop> subscriberDropped;
	/// Fired on the delivery thread for every event that did not reach a
	/// subscriber, with no lock held. Exceptions of delegates are logged and
	/// otherwise ignored.
	BasicEvent<const DeliveryFailure> deliveryFailed;

protected:
	~EventDispatcher() override;

private:
	struct Event;
	struct Subscriber;
	using EventPtr = std::shared_ptr<const Event>;
	using SubscriberPtr = std::shared_ptr<Subscriber>;
	using Subscribers = std::vector<SubscriberPtr>;

	/// Takes the next event to deliver, waiting for one. False when stopping.
	bool nextDelivery(SubscriberPtr& pSubscriber, EventPtr& pEvent);
	/// Records the outcome of a delivery (error is empty on success) and
	/// schedules the subscriber's next event; adds the drop it causes to drops.
	void finishDelivery(const SubscriberPtr& pSubscriber, const std::string& error,
	                    std::vector<SubscriberDrop>& drops);
	/// The body of every delivery thread.
	void runDeliveries();

	// The ...Locked operations need _mutex. Removed subscribers go to removed,
	// to be released after the lock, since that may destroy their transport.
	void removeLocked(const SubscriberPtr& pSubscriber, Subscribers& removed);
	/// Removes the expired subscribers, unless the last sweep was less than
	/// SWEEP_INTERVAL_MICROSECONDS ago.
	void sweepExpiredLocked(Clock now, Subscribers& removed);
	void dropLocked(const SubscriberPtr& pSubscriber, DropReason reason, Subscribers& removed,
	                std::vector<SubscriberDrop>& drops);
	/// Starts threads for waiting events and wakes idle ones; the error text
	/// when the system refuses a thread, else empty.
	std::string startThreadsLocked();
	bool isDeliveryThread();

	void reportDrops(const std::vector<SubscriberDrop>& drops);
	void reportFailure(const DeliveryFailure& failure);
	void reportDelegateError(const std::string& error);

	Clock now() const;

	const std::string _protocol;
	const EventDispatcherParams _params;
	Logger& _logger;

	mutable FastMutex _mutex;
	std::condition_variable_any _deliveryWaiting; // signalled when _ready grows or on stop
	std::map<std::string, SubscriberPtr> _subscribers;
	std::deque<SubscriberPtr> _ready; // subscribers with queued events and no thread driving them
	std::vector<std::thread> _threads;
	int _idleThreads = 0;
	bool _stopped = false;
	Clock _nextSweep{0}; // guarded by _mutex

	static constexpr Clock::ClockDiff SWEEP_INTERVAL_MICROSECONDS = 1000000;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_EventDispatcher_INCLUDED
