#ifndef Tavik_UPnP_GENA_Listener_INCLUDED
#define Tavik_UPnP_GENA_Listener_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/BasicEvent.h"
#include "Tavik/Callweave/EventListener.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Logger.h"
#include "Tavik/Mutex.h"
#include "Tavik/Timespan.h"
#include "Tavik/Util/Timer.h"
#include "Tavik/Util/TimerTask.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace Tavik {
namespace Callweave {
class EventDispatcher;
}
namespace UPnP {
namespace GENA {

class StateProvider;

/// The host's GENA event endpoint ("upnp-eventing"): the shared state of the
/// request handler, the initial event notification and the application's own
/// subscriptions to remote services. Owns no socket and no thread; the host's
/// HTTP server feeds it requests through a RequestHandler.
///
/// All operations are thread safe. The listener must outlive every
/// RequestHandler and initial notification that uses it. Its destructor stops
/// the renewal of the subscriptions still held, but does not unsubscribe them.
class Listener : public Callweave::EventListener
{
public:
	/// One outgoing subscription of the application.
	struct Subscription
	{
		/// The local subscriber; never null in a stored entry.
		AutoPtr<Callweave::EventSubscriber> pSubscriber;
		/// The renewal task, or null when the granted timeout is below 1 second.
		/// Declared last so that it is released first.
		AutoPtr<Util::TimerTask> pRenewalTask;
	};

	/// Hardening beyond the GENA defaults. Every setting is off by default, so
	/// that an untouched listener answers exactly as the protocol describes.
	struct Settings
	{
		/// Refuse (412) a new subscription whose CALLBACK host is not the
		/// address of the requesting peer. Stops a device being used to send
		/// NOTIFY traffic to third parties (the CallStranger class of attack,
		/// CVE-2020-12695). Off: any callback is accepted.
		bool checkCallback = false;
		/// Most subscribers one event dispatcher accepts, counting those whose
		/// initial event is still on its way; 0 means no limit.
		/// A new subscription beyond it gets 503 (Service Unavailable): the
		/// condition is temporary, and 503 tells the control point to retry
		/// later rather than that its request was malformed.
		std::size_t maxSubscriptions = 0;
		/// Refuse (412) a renewal whose SID the dispatcher does not know, or
		/// finds expired (the renewal came too late); such a renewal is
		/// applied before it is answered.
		/// Plain GENA answers 200, which leaves a control point that renews
		/// after the publisher restarted believing it is subscribed; 412 makes
		/// it subscribe anew (UPnP Device Architecture 1.1).
		bool strictRenewal = false;
		/// Largest timeout granted, in seconds; 0 means no limit. A request
		/// above it, "Second-infinite" and "Second-0" included, is granted the
		/// maximum (UPnP Device Architecture 1.1 forbids granting infinite).
		int maxTimeout = 0;
		/// How long a NOTIFY whose SID is unknown may wait for that SID while
		/// a subscribeToEvents() of this listener is in flight. A publisher
		/// may send the initial NOTIFY before the SUBSCRIBE response has been
		/// read and the SID stored, and many publishers delete a subscription
		/// whose initial NOTIFY got 412. The waiting NOTIFY is handled as
		/// usual once the SID is stored, or when the grace has run out or no
		/// subscription request is in flight any more (412 if the SID is
		/// still unknown). It waits on a condition variable, holding no lock,
		/// on the HTTP server's worker thread. At most MAX_EARLY_NOTIFY_WAITS
		/// NOTIFY requests wait at once; more get 412 at once, so that a flood
		/// of unknown SIDs cannot park the server's workers. Zero (the
		/// default): 412 at once, as plain GENA does.
		Timespan earlyNotifyGrace;
		/// Remember the last SEQ of each outgoing subscription and fire
		/// sequenceGap when a NOTIFY skips numbers, that is events were lost.
		/// A subscription starts at SEQ 0 (its initial NOTIFY; a first NOTIFY
		/// with another SEQ is a gap from 0), and 0 starts it again; after
		/// 4294967295 comes 1. A duplicate or older SEQ (judged by serial
		/// number arithmetic, half the number space back) is no gap and is
		/// delivered as before; a NOTIFY without a decimal SEQ is not tracked.
		/// NOTIFY requests of one subscription handled concurrently may be
		/// judged out of order; publishers send them one at a time. Set it
		/// before subscribing. Off (the default): SEQ is not examined.
		bool trackSequence = false;
		/// With trackSequence: after firing sequenceGap, re-subscribe (the
		/// renewal worker's path after 412: unsubscribe the subscriber's
		/// first subscription in SID order, subscribe anew) on a thread of
		/// the default pool, so that the whole state arrives again with SEQ 0.
		/// One re-subscription per SID at a time. Off (the default): the gap
		/// is only reported.
		bool resubscribeOnGap = false;
	};

	/// A NOTIFY that skipped sequence numbers (see Settings::trackSequence).
	struct SequenceGap
	{
		/// The SID of the subscription.
		std::string sid;
		/// The endpoint URI of its subscriber.
		std::string endpointURI;
		/// The SEQ that should have come.
		std::uint32_t expected = 0;
		/// The SEQ that came.
		std::uint32_t received = 0;
	};

	/// The most NOTIFY requests that wait for their SID at once (see
	/// Settings::earlyNotifyGrace): 4, half the HTTP server's default
	/// workers. One subscription needs one (its initial NOTIFY).
	static const std::size_t MAX_EARLY_NOTIFY_WAITS;

	/// Fired by the renewal machinery after a successful renewal, with the
	/// subscriber's endpoint URI.
	BasicEvent<const std::string> subscriptionRenewed;
	/// Fired by the renewal machinery after a failed renewal attempt.
	BasicEvent<const std::string> subscriptionRenewalFailed;
	/// Fired by the renewal machinery when a subscription is given up.
	BasicEvent<const std::string> subscriptionLost;
	/// Fired with Settings::trackSequence on the HTTP server's thread when a
	/// NOTIFY skips sequence numbers, before its properties are delivered. A
	/// Tavik::Exception of a delegate is logged on "UPnP.GENA.Listener" and
	/// does not stop the delivery.
	BasicEvent<const SequenceGap> sequenceGap;

	/// A listener for the HTTP server at endPoint (host:port); timer runs the
	/// renewal tasks and must outlive the listener. Default event subscription
	/// timeout 1800 seconds, settings all off.
	Listener(const std::string& endPoint, Util::Timer& timer);

	/// Stores the timeout, in seconds, granted to a SUBSCRIBE without TIMEOUT;
	/// 0 means infinite. Not validated.
	void setEventSubscriptionTimeout(int seconds);
	/// The timeout granted to a SUBSCRIBE without TIMEOUT, in seconds.
	int getEventSubscriptionTimeout() const;

	/// Replaces the hardening settings; they apply to requests handled after.
	void setSettings(const Settings& settings);
	/// A copy of the hardening settings.
	Settings settings() const;

	/// The provider registered for the path of uri, or null.
	/// Throws what Tavik::URI throws for an unparsable uri.
	StateProvider* findStateProvider(const std::string& uri);
	/// Registers pProvider (not owned; kept alive by the caller until it is
	/// unregistered) for the path of uri, replacing an earlier registration.
	/// Throws what Tavik::URI throws for an unparsable uri.
	void registerStateProvider(const std::string& uri, StateProvider* pProvider);
	/// Removes the registration for the path of uri, if any.
	/// Throws what Tavik::URI throws for an unparsable uri.
	void unregisterStateProvider(const std::string& uri);

	/// The subscriber of the outgoing subscription with exactly this SID
	/// (case-sensitive), or null.
	AutoPtr<Callweave::EventSubscriber> findSubscriber(const std::string& sid);

	/// Does nothing: the listener is ready once constructed.
	void start() override;
	/// Does nothing.
	void stop() override;
	/// "upnp-eventing".
	const std::string& protocol() const override;
	/// "http://" + endPoint() + "/" + protocol() + "/" + first + "/" + second,
	/// nothing escaped.
	std::string createURI(const std::string& interfaceName, const std::string& objectName) override;
	/// Always false: objects are not invoked through this endpoint.
	bool handlesURI(const std::string& uri) override;
	/// Does nothing.
	void registerObject(AutoPtr<Callweave::RemoteObject> pObject, AutoPtr<Callweave::Skeleton> pSkeleton) override;
	/// Does nothing.
	void unregisterObject(AutoPtr<Callweave::RemoteObject> pObject) override;
	/// Subscribes pSubscriber to the events of its remote service: sends
	/// SUBSCRIBE with CALLBACK <http://endPoint()/protocol()>, TIMEOUT (the
	/// event subscription timeout, or Second-infinite when it is not above 0)
	/// and NT, stores the granted SID and, for a grant of 1 s or more,
	/// schedules a SubscriptionRenewalTask every 750 ms per granted second.
	/// Returns the empty string. Throws NullPointerException for a null
	/// subscriber, the URI and Net exceptions of the exchange, IOException
	/// "HTTP error" (reason as argument, status as code) for a status other
	/// than 200, IOException for a missing SID or an invalid TIMEOUT, and
	/// ExistsException when the SID is already in the table; after a failure
	/// nothing is stored. The exchange (up to 30 s per step) runs unlocked;
	/// while it runs, a NOTIFY for an unknown SID may wait for it (see
	/// Settings::earlyNotifyGrace).
	std::string subscribeToEvents(AutoPtr<Callweave::EventSubscriber> pSubscriber) override;
	/// Removes the first subscription of pSubscriber in SID order, cancels its
	/// renewal task and sends UNSUBSCRIBE with its SID; a status other than
	/// 200 is logged as a warning on "UPnP.GENA.Listener". Throws
	/// NotFoundException "Unknown subscriber" when pSubscriber has no
	/// subscription, and the URI and Net exceptions of the exchange (the
	/// subscription is removed by then).
	void unsubscribeFromEvents(AutoPtr<Callweave::EventSubscriber> pSubscriber) override;

	/// "SUBSCRIBE": the method of a new subscription and of a renewal.
	static const std::string SUBSCRIBE;
	/// "UNSUBSCRIBE": the method that cancels a subscription.
	static const std::string UNSUBSCRIBE;
	/// "CALLBACK": the header carrying the callback URL in angle brackets.
	static const std::string HDR_CALLBACK;
	/// "TIMEOUT": the requested or granted subscription duration.
	static const std::string HDR_TIMEOUT;
	/// "Second-": prefix of a finite TIMEOUT value, followed by decimal seconds.
	/// It is also a prefix of TIMEOUT_INFINITE: test for that first.
	static const std::string TIMEOUT_SECOND;
	/// "Second-infinite": the TIMEOUT value of a subscription that never expires.
	static const std::string TIMEOUT_INFINITE;
	/// The empty string.
	static const std::string EMPTY;

	/// Reads a received TIMEOUT value, ignoring ASCII letter case: "Second-infinite"
	/// gives 0 (infinite); "Second-" followed by a decimal int (',' allowed as
	/// thousands separator) gives that number, 0 and negative ones included.
	/// Returns false, leaving seconds unchanged, for anything else. Both the
	/// SUBSCRIBE handler and the subscription client read TIMEOUT through it.
	static bool parseTimeout(const std::string& value, int& seconds);

	/// Waits until no initial event notification of this listener is in
	/// flight: then every subscription granted so far is in its dispatcher
	/// (or has failed) and receives the events fired from then on. False
	/// when timeout passed first.
	bool waitForInitialEvents(const Timespan& timeout);

protected:
	/// Cancels the renewal task of every subscription still in the table and
	/// waits for renewal workers still in flight (each may take up to 30 s per
	/// exchange with its publisher) and for initial event notifications, so
	/// that none runs after the listener is gone. Sends no UNSUBSCRIBE. Must not run on a thread of a renewal
	/// (inside a listener event delegate), which it would wait for.
	~Listener() override;

	/// Stores subscription under sid, replacing an entry of the same SID.
	void addSubscription(const std::string& sid, const Subscription& subscription);

private:
	friend class InitialEventNotificationThread;
	friend class RequestHandler;
	friend class SubscriptionRenewalThread;

	/// The sequence of one outgoing subscription (Settings::trackSequence).
	struct Sequence
	{
		std::uint32_t last = 0;
		bool resubscribing = false; // a re-subscription after a gap is on its way
	};

	static std::string pathOf(const std::string& uri);

	/// Counts a renewal worker in flight (SubscriptionRenewalThread, from its
	/// construction to its destruction) for the destructor to wait for.
	void renewalStarted();
	void renewalFinished();
	/// Counts an initial event notification for pDispatcher in flight (from
	/// its construction to its destruction), for the destructor, for
	/// waitForInitialEvents() and for Settings::maxSubscriptions.
	void initialEventStarted(const Callweave::EventDispatcher* pDispatcher);
	void initialEventFinished(const Callweave::EventDispatcher* pDispatcher);
	/// The initial event notifications for dispatcher in flight.
	std::size_t pendingInitialEvents(const Callweave::EventDispatcher& dispatcher);

	/// For handleNotify, after findSubscriber(sid) found nothing: waits for
	/// sid as Settings::earlyNotifyGrace says, and returns its subscriber or
	/// null.
	AutoPtr<Callweave::EventSubscriber> awaitSubscriber(const std::string& sid);
	/// For handleNotify, before delivering a NOTIFY of sid with the SEQ
	/// header seq: tracks the sequence, fires sequenceGap and starts a
	/// re-subscription as Settings::trackSequence and resubscribeOnGap say.
	void sequenceReceived(const std::string& sid, const std::string& seq);
	/// Counts a subscribeToEvents() in flight for awaitSubscriber().
	void subscribeStarted();
	void subscribeFinished();

	std::map<std::string, Subscription> _subscriptions;
	std::map<std::string, StateProvider*> _stateProviders;
	Util::Timer& _timer;
	int _eventSubscriptionTimeout;
	mutable FastMutex _mutex;
	Logger& _logger;
	Settings _settings; // guarded by _mutex
	bool _closing = false; // guarded by _mutex; set by the destructor, stops new renewal tasks
	std::mutex _workMutex;
	std::condition_variable _workFinished; // a renewal worker or initial notification ended
	int _renewalsInFlight = 0; // guarded by _workMutex
	std::map<const Callweave::EventDispatcher*, std::size_t> _initialEvents; // guarded by _workMutex; in flight, by dispatcher
	std::map<std::string, Sequence> _sequences; // guarded by _mutex; an entry per tracked SID of _subscriptions
	std::mutex _subscribeMutex; // taken before _mutex, never after it
	std::condition_variable _subscribeFinished;
	int _subscribesInFlight = 0; // guarded by _subscribeMutex
	std::size_t _earlyNotifyWaits = 0; // guarded by _subscribeMutex
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_Listener_INCLUDED
