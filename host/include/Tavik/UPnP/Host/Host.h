#ifndef Tavik_UPnP_Host_Host_INCLUDED
#define Tavik_UPnP_Host_Host_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/BasicEvent.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Net/HTTPServerParams.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/Util/Timer.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Tavik {
namespace Net {
class HTTPServer;
}
namespace UPnP {
namespace Host {

/// A ready-made UPnP eventing host: one HTTP server, one GENA Listener and one
/// Timer, wired the way every host needs them. Small on purpose; copy it when
/// your application owns its HTTP server already.
///
/// The HTTP server routes every path under "/upnp-eventing" (the listener's
/// callback path and the services' event URLs) to the GENA RequestHandler,
/// answers GET for the device description and the SCPD documents, and 404 for
/// anything else. Publisher side: setDevice() registers each service's event
/// dispatcher with the ORB and its state provider with the listener.
/// Subscriber side: subscribe() and unsubscribe() go through the listener and
/// are remembered, so that shutdown() can cancel what is left.
///
/// Thread safety: setDevice() and start() belong to the set-up thread;
/// subscribe(), unsubscribe() and the accessors may be called from any thread
/// once started; shutdown() from one thread, not from a delegate or handler.
class Host
{
public:
	/// The listening address: a numeric address the peers can reach (the
	/// description and CALLBACK URLs carry it), port 0 picks a free port.
	struct Params
	{
		/// The numeric address to listen on.
		std::string address = "127.0.0.1";
		/// The port to listen on; 0 for a free one.
		unsigned short port = 0;
		/// The HTTP server's threads, queue and limits.
		Net::HTTPServerParams server;
	};

	/// One evented service of the device.
	struct Service
	{
		/// For example "urn:schemas-upnp-org:service:SwitchPower:1".
		std::string serviceType;
		/// For example "urn:upnp-org:serviceId:SwitchPower".
		std::string serviceId;
		/// The path segment of the service's URLs: events are at
		/// "/upnp-eventing/<name>", the SCPD at "/scpd/<name>.xml".
		std::string name;
		/// The SCPD document, served as text/xml.
		std::string scpd;
		/// Fires the service's events; stopped by shutdown().
		AutoPtr<Callweave::EventDispatcher> pDispatcher;
		/// Current state for each new subscriber's initial event; not owned,
		/// must outlive the host's shutdown().
		GENA::StateProvider* pStateProvider = nullptr;
	};

	/// The root device served at DESCRIPTION_PATH.
	struct Device
	{
		std::string deviceType;        ///< "urn:schemas-upnp-org:device:DimmableLight:1"
		std::string friendlyName;      ///< a short name for people, e.g. "Lamp"
		std::string udn;               ///< "uuid:..."
		std::vector<Service> services; ///< the evented services, in description order
	};

	/// A change of one subscription to a local service, seen at the event
	/// endpoint after the answer went out.
	struct SubscriptionChange
	{
		/// What happened to the subscription.
		enum Kind
		{
			SUBSCRIBED,
			RENEWED,
			UNSUBSCRIBED
		};
		Kind kind;           ///< what happened
		std::string sid;     ///< the subscription id, "uuid:..."
		std::string path;    ///< the request path: the service's event URL path
		std::string timeout; ///< the granted TIMEOUT header; empty for UNSUBSCRIBED
	};

	/// What a local subscriber's event handler may learn about the NOTIFY it
	/// is being called for.
	struct Notification
	{
		std::string sid; ///< the SID header: the subscription
		std::string seq; ///< the SEQ header: the event's sequence number, as sent
	};

	/// "/description.xml": where the device description is served.
	static const std::string DESCRIPTION_PATH;
	/// "/upnp-eventing": every path under it goes to the GENA request handler.
	static const std::string EVENT_PATH;

	/// Binds the HTTP server (throws what Net::HTTPServer throws when the
	/// address cannot be bound), creates the listener on the bound host:port
	/// with settings and registers the GENA transport factory (once per
	/// process; a count lets several hosts share it). Serves nothing before
	/// start().
	explicit Host(const Params& params,
	              const GENA::Listener::Settings& settings = GENA::Listener::Settings());
	/// Calls shutdown().
	~Host();

	Host(const Host&) = delete;
	Host& operator=(const Host&) = delete;

	/// Publishes device: registers each service's dispatcher with the ORB and
	/// its state provider with the listener under its event URL. Call once,
	/// before start(). Throws ExistsException when another object of the
	/// process holds one of the event paths.
	void setDevice(const Device& device);

	/// Starts serving requests.
	void start();

	/// Subscribes pSubscriber (whose endpoint URI is the remote event URL)
	/// through the listener; throws what Listener::subscribeToEvents throws.
	void subscribe(AutoPtr<Callweave::EventSubscriber> pSubscriber);
	/// Cancels the subscription of pSubscriber; throws what
	/// Listener::unsubscribeFromEvents throws (it is forgotten either way).
	void unsubscribe(AutoPtr<Callweave::EventSubscriber> pSubscriber);

	/// Waits until the initial event notifications started so far are done:
	/// a new subscriber enters its service's dispatcher only after its
	/// initial NOTIFY, so an event fired before that misses it. False when
	/// timeout passed first.
	bool waitForInitialEvents(const Timespan& timeout = Timespan(60, 0));

	/// Shuts down in the order that keeps every background task safe:
	/// unsubscribes the local subscribers still held, stops the HTTP server,
	/// waits for initial notifications in flight, withdraws the services and
	/// stops their dispatchers, unregisters the transport factory and releases
	/// the listener (which waits for renewals in flight) before the timer.
	/// Logs failures to "UPnP.Host" and throws nothing. Idempotent.
	void shutdown();

	/// The host:port the server listens on.
	const std::string& endPoint() const;
	/// "http://" + endPoint() + path.
	std::string url(const std::string& path) const;
	/// The URL of the device description.
	std::string descriptionURL() const;
	/// The event URL of the service named name (see Service::name).
	std::string eventURL(const std::string& name) const;

	/// The listener, for its settings and events. Valid until shutdown().
	GENA::Listener& listener();

	/// Fired on the HTTP server's worker threads for every subscription,
	/// renewal and cancellation the event endpoint accepted.
	BasicEvent<const SubscriptionChange> subscriptionChanged;

	/// The NOTIFY being delivered on the calling thread: set while the event
	/// endpoint calls a local subscriber, empty elsewhere.
	static Notification currentNotification();

private:
	class Router;
	class EventHandler;

	void notifySubscriptionChange(const SubscriptionChange& change);

	Util::Timer _timer; // declared first: it must outlive the listener
	AutoPtr<GENA::Listener> _pListener;
	std::unique_ptr<Net::HTTPServer> _pServer;
	std::string _endPoint;
	std::vector<Service> _services;
	std::map<std::string, std::string> _documents; // path -> XML; fixed once started
	bool _factoryRegistered = false;
	bool _shutDown = false;
	std::mutex _mutex; // guards _subscribers
	std::vector<AutoPtr<Callweave::EventSubscriber>> _subscribers;
};

} // namespace Host
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_Host_Host_INCLUDED
