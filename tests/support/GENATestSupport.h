#ifndef GENATestSupport_INCLUDED
#define GENATestSupport_INCLUDED

#include "Tavik/Callweave/Deserializer.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/RequestHandler.h"
#include "TestSupport.h"

#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
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
	      _pState(std::make_shared<State>())
	{
		pSubscriber->eventReceived += Tavik::Delegate<const Tavik::Callweave::GenericEventSubscriber::Event>(
		    [pState = _pState](const void*, const Tavik::Callweave::GenericEventSubscriber::Event& event) {
			    std::lock_guard<std::mutex> lock(pState->mutex);
			    pState->events.push_back(event.name + "=" + event.value);
			    pState->changed.notify_all();
		    });
	}

	/// Waits until at least n events have arrived; false at the deadline.
	bool waitFor(std::size_t n)
	{
		std::unique_lock<std::mutex> lock(_pState->mutex);
		return _pState->changed.wait_for(lock, DEADLINE, [&] { return _pState->events.size() >= n; });
	}

	std::vector<std::string> events()
	{
		std::lock_guard<std::mutex> lock(_pState->mutex);
		return _pState->events;
	}

	Tavik::AutoPtr<Tavik::Callweave::GenericEventSubscriber> pSubscriber;

private:
	struct State
	{
		std::mutex mutex;
		std::condition_variable changed;
		std::vector<std::string> events;
	};

	std::shared_ptr<State> _pState;
};

/// Counts the firings of one listener event, and lets a test wait for them.
/// The delegate shares its state, so that a renewal worker still firing
/// after the counter is gone does no harm.
class EventCounter
{
public:
	explicit EventCounter(Tavik::BasicEvent<const std::string>& event)
	    : _event(event), _pState(std::make_shared<State>()),
	      _delegate([pState = _pState](const void*, const std::string& uri) {
		      std::lock_guard<std::mutex> lock(pState->mutex);
		      pState->uris.push_back(uri);
		      pState->changed.notify_all();
	      })
	{
		_event += _delegate;
	}

	~EventCounter() { _event -= _delegate; }

	bool waitFor(std::size_t n)
	{
		std::unique_lock<std::mutex> lock(_pState->mutex);
		return _pState->changed.wait_for(lock, DEADLINE, [&] { return _pState->uris.size() >= n; });
	}

	std::vector<std::string> uris()
	{
		std::lock_guard<std::mutex> lock(_pState->mutex);
		return _pState->uris;
	}

private:
	struct State
	{
		std::mutex mutex;
		std::condition_variable changed;
		std::vector<std::string> uris;
	};

	Tavik::BasicEvent<const std::string>& _event;
	std::shared_ptr<State> _pState;
	Tavik::Delegate<const std::string> _delegate;
};

} // namespace TestSupport

#endif // GENATestSupport_INCLUDED
