#ifndef GENATestSupport_INCLUDED
#define GENATestSupport_INCLUDED

// Our own GENA endpoint as a peer, the messages a GENA peer sends, and the
// doubles the GENA tests share.

#include "Tavik/Callweave/Deserializer.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/RequestHandler.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"
#include "HTTPPeer.h"
#include "RawPeer.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

using Properties = std::vector<std::pair<std::string, std::string>>;

/// A Listener that opens the test-only door to its subscription table.
class TestListener : public Tavik::UPnP::GENA::Listener
{
public:
	using Listener::addSubscription;
	using Listener::Listener;
};

/// Evented variables the test sets, for the initial events. Thread safe.
class TestState : public Tavik::UPnP::GENA::StateProvider
{
public:
	explicit TestState(Properties variables = {}) : _variables(std::move(variables)) {}

	Properties currentState() override
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _variables;
	}

	/// Sets the value of variable name; a new one goes last.
	void set(const std::string& name, const std::string& value)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		for (auto& variable : _variables)
		{
			if (variable.first == name)
			{
				variable.second = value;
				return;
			}
		}
		_variables.emplace_back(name, value);
	}

private:
	std::mutex _mutex;
	Properties _variables;
};

/// A listener's event endpoint: our HTTP server on host (127.0.0.1 by
/// default) on a free port or the given one, handing every request to a
/// RequestHandler of the listener. The server stops before the listener goes.
class ListenerEndpoint
{
public:
	explicit ListenerEndpoint(Tavik::Util::Timer& timer, unsigned short port = 0,
	                          const std::string& host = "127.0.0.1")
	    : _host(host)
	{
		// The listener needs the port, which the server has once it is bound:
		// the server starts serving only after the listener is there.
		_pServer = std::make_unique<Tavik::Net::HTTPServer>(
		    makeFactory([this](Tavik::Net::HTTPServerRequest& request, Tavik::Net::HTTPServerResponse& response) {
			    Tavik::UPnP::GENA::RequestHandler(*pListener).handleRequest(request, response);
		    }),
		    host, port);
		pListener = new TestListener(endPoint(), timer);
		_pServer->start();
	}

	ListenerEndpoint(const ListenerEndpoint&) = delete;
	ListenerEndpoint& operator=(const ListenerEndpoint&) = delete;
	~ListenerEndpoint() { stop(); }

	/// Stops serving (idempotent); the port is free again afterwards.
	void stop() { _pServer->stop(); }

	unsigned short port() const { return _pServer->port(); }
	std::string endPoint() const { return _host + ":" + std::to_string(port()); }

	Tavik::AutoPtr<TestListener> pListener;

private:
	std::string _host;
	std::unique_ptr<Tavik::Net::HTTPServer> _pServer;
};

/// A subscriber to the events at an endpoint URI that records each event as
/// "name=value" and lets a test wait for them. The delegate shares the
/// record, so that a delivery after the recorder is gone does no harm.
class EventRecorder
{
public:
	explicit EventRecorder(const std::string& endpointURI)
	    : pSubscriber(new Tavik::Callweave::GenericEventSubscriber(endpointURI)), _pEvents(std::make_shared<StringLog>())
	{
		pSubscriber->eventReceived += Tavik::Delegate<const Tavik::Callweave::GenericEventSubscriber::Event>(
		    [pEvents = _pEvents](const void*, const Tavik::Callweave::GenericEventSubscriber::Event& event) {
			    pEvents->add(event.name + "=" + event.value);
		    });
	}

	/// Waits until at least n events have arrived; false at the deadline.
	bool waitFor(std::size_t n) { return _pEvents->waitFor(n); }
	std::vector<std::string> events() { return _pEvents->entries(); }

	Tavik::AutoPtr<Tavik::Callweave::GenericEventSubscriber> pSubscriber;

private:
	std::shared_ptr<StringLog> _pEvents;
};

/// Counts the firings of one listener event (with the endpoint URI each
/// carries) and lets a test wait for them. The delegate shares its state, so
/// that a renewal still firing after the counter is gone does no harm.
class EventCounter
{
public:
	explicit EventCounter(Tavik::BasicEvent<const std::string>& event)
	    : _event(event), _pURIs(std::make_shared<StringLog>()),
	      _delegate([pURIs = _pURIs](const void*, const std::string& uri) { pURIs->add(uri); })
	{
		_event += _delegate;
	}

	~EventCounter() { _event -= _delegate; }

	/// Waits until the event has fired at least n times; false at the deadline.
	bool waitFor(std::size_t n) { return _pURIs->waitFor(n); }
	std::vector<std::string> uris() { return _pURIs->entries(); }

private:
	Tavik::BasicEvent<const std::string>& _event;
	std::shared_ptr<StringLog> _pURIs;
	Tavik::Delegate<const std::string> _delegate;
};

/// A property-set body with one property per (name, value), in order.
inline std::string propertySet(const Properties& properties)
{
	std::string body = "<?xml version=\"1.0\"?><e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">";
	for (const auto& property : properties)
		body += "<e:property><" + property.first + ">" + property.second + "</" + property.first + "></e:property>";
	return body + "</e:propertyset>";
}

/// A new subscription to path, as raw request text.
inline std::string subscribeRequest(const std::string& path, const std::string& callbackURL,
                                    const std::string& timeout = "Second-300")
{
	return "SUBSCRIBE " + path + " HTTP/1.1\r\nHost: gena\r\nCALLBACK: <" + callbackURL +
	       ">\r\nNT: upnp:event\r\nTIMEOUT: " + timeout + "\r\nContent-Length: 0\r\n\r\n";
}

/// A renewal of sid at path, as raw request text.
inline std::string renewRequest(const std::string& path, const std::string& sid, const std::string& timeout)
{
	return "SUBSCRIBE " + path + " HTTP/1.1\r\nHost: gena\r\nSID: " + sid + "\r\nTIMEOUT: " + timeout +
	       "\r\nContent-Length: 0\r\n\r\n";
}

/// A NOTIFY of sid at path with SEQ seq (none when empty), as raw request text.
inline std::string notifyRequest(const std::string& path, const std::string& sid, const std::string& seq,
                                 const Properties& properties)
{
	const std::string body = propertySet(properties);
	return "NOTIFY " + path + " HTTP/1.1\r\nHost: gena\r\nNT: upnp:event\r\nNTS: upnp:propchange\r\nSID: " + sid +
	       (seq.empty() ? "" : "\r\nSEQ: " + seq) + "\r\nContent-Type: text/xml\r\nContent-Length: " +
	       std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// Sends request on a new connection to 127.0.0.1:port; the response head.
inline std::string exchange(unsigned short port, const std::string& request)
{
	RawConnection connection(port);
	connection.send(request);
	return connection.readHead();
}

/// The status code of a response head.
inline int statusOf(const std::string& head)
{
	return head.size() > 12 ? std::stoi(head.substr(9, 3)) : 0;
}

/// The value of header name in a response head, or empty.
inline std::string headerOf(const std::string& head, const std::string& name)
{
	const std::string::size_type start = head.find("\r\n" + name + ": ");
	if (start == std::string::npos) return "";
	const std::string::size_type value = start + name.size() + 4;
	return head.substr(value, head.find("\r\n", value) - value);
}

/// The publisher side of one service on a real endpoint: the transport
/// factory registered, an event dispatcher at SERVICE_PATH registered with the
/// ORB and reading the test's clock (time only moves when the test says), and
/// a state provider holding Volume=7.
class PublisherFixture : public testing::Test
{
protected:
	static constexpr const char* SERVICE_PATH = "/dev/svc";

	void SetUp() override
	{
		Tavik::UPnP::GENA::TransportFactory::registerFactory();
		pListener->registerStateProvider(SERVICE_PATH, &state);
		Tavik::Callweave::EventDispatcherParams params;
		params.clock = [this] { return Tavik::Clock(_now.load()); };
		pDispatcher = new Tavik::Callweave::EventDispatcher(Tavik::UPnP::GENA::Transport::PROTOCOL, params);
		Tavik::Callweave::ORB::instance().registerEventDispatcher(serviceURL(), Tavik::UPnP::GENA::Transport::PROTOCOL,
		                                                         pDispatcher);
	}

	void TearDown() override
	{
		// Nothing new starts once the endpoint has stopped; then the initial
		// events still on their way are waited for.
		endpoint.stop();
		Tavik::ThreadPool::defaultPool().joinAll();
		Tavik::Callweave::ORB::instance().unregisterEventDispatcher(serviceURL(), Tavik::UPnP::GENA::Transport::PROTOCOL);
		pDispatcher->stop();
		Tavik::UPnP::GENA::TransportFactory::unregisterFactory();
	}

	std::string serviceURL() const { return "http://" + endpoint.endPoint() + SERVICE_PATH; }

	/// Moves the dispatcher's clock forward.
	void advanceClock(int seconds) { _now += Tavik::Clock::ClockDiff(seconds) * 1000000; }

	/// Sends request to the endpoint on a new connection; the response head.
	std::string exchange(const std::string& request) { return TestSupport::exchange(endpoint.port(), request); }

	std::atomic<Tavik::Clock::ClockVal> _now{Tavik::Clock().raw()};
	TestState state{{{"Volume", "7"}}}; // before the endpoint, whose initial events ask it
	Tavik::Util::Timer timer;
	ListenerEndpoint endpoint{timer};
	Tavik::AutoPtr<TestListener> pListener = endpoint.pListener;
	Tavik::AutoPtr<Tavik::Callweave::EventDispatcher> pDispatcher;
};

} // namespace TestSupport

#endif // GENATestSupport_INCLUDED
