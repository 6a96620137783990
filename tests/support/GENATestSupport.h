#ifndef GENATestSupport_INCLUDED
#define GENATestSupport_INCLUDED

#include "Tavik/Callweave/Deserializer.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/RequestHandler.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "TestSupport.h"

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Test doubles shared by the GENA unit and integration tests.
namespace TestSupport {

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
	using Variables = std::vector<std::pair<std::string, std::string>>;

	explicit TestState(Variables variables = {}) : _variables(std::move(variables)) {}

	Variables currentState() override
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
	Variables _variables;
};

/// An event subscriber that records the names of the events it receives.
class RecordingSubscriber : public Tavik::Callweave::EventSubscriber
{
public:
	RecordingSubscriber() : Tavik::Callweave::EventSubscriber("http://127.0.0.1:1/remote") {}

	std::vector<std::string> names()
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _names;
	}

protected:
	void handleEvent(const std::string& eventName, Tavik::Callweave::Deserializer&) override
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_names.push_back(eventName);
	}

private:
	std::mutex _mutex;
	std::vector<std::string> _names;
};

/// A listener's event endpoint on 127.0.0.1: an HTTP server (on a free port,
/// or on the given one) that hands every request to a RequestHandler of the
/// listener. The server stops before the listener is released.
class ListenerEndpoint
{
public:
	explicit ListenerEndpoint(Tavik::Util::Timer& timer, unsigned short port = 0)
	{
		auto pFactory = std::make_shared<Factory>();
		_pServer = std::make_unique<Tavik::Net::HTTPServer>(pFactory, "127.0.0.1", port);
		pListener = new TestListener(endPoint(), timer);
		pFactory->pListener = pListener.get();
		_pServer->start();
	}

	~ListenerEndpoint() { stop(); }

	/// Stops serving (idempotent); the port is free again afterwards.
	void stop() { _pServer->stop(); }

	unsigned short port() const { return _pServer->port(); }
	std::string endPoint() const { return "127.0.0.1:" + std::to_string(port()); }

	Tavik::AutoPtr<TestListener> pListener;

private:
	class Factory : public Tavik::Net::HTTPRequestHandlerFactory
	{
	public:
		Tavik::Net::HTTPRequestHandler* createRequestHandler(const Tavik::Net::HTTPServerRequest&) override
		{
			return new Tavik::UPnP::GENA::RequestHandler(*pListener);
		}

		Tavik::UPnP::GENA::Listener* pListener = nullptr;
	};

	std::unique_ptr<Tavik::Net::HTTPServer> _pServer;
};

/// A subscriber to the events at an endpoint URI that records each event as
/// "name=value" and lets a test wait for them. The delegate shares the
/// record, so that a delivery after the recorder is gone does no harm.
class EventRecorder
{
public:
	explicit EventRecorder(const std::string& endpointURI)
	    : pSubscriber(new Tavik::Callweave::GenericEventSubscriber(endpointURI)),
	      _pEvents(std::make_shared<StringLog>())
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

/// Counts the firings of one listener event, and lets a test wait for them.
/// The delegate shares its state, so that a renewal worker still firing
/// after the counter is gone does no harm.
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

} // namespace TestSupport

#endif // GENATestSupport_INCLUDED
