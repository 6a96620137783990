// Any bytes on a connection to the event endpoint: a real HTTPServer on
// 127.0.0.1 parses them and hands each request to a GENA RequestHandler, as a
// host does. The endpoint has one object with events (at /svc) and one
// subscription of its own ("uuid:fuzz"), so that SUBSCRIBE, UNSUBSCRIBE and
// NOTIFY all reach their full handling. The client sends the input, closes
// its sending side and reads until the server closes: a server that keeps
// the connection beyond its own timeouts is a hang.
//
// Callbacks must name 127.0.0.1 (the listener's checkCallback), so the
// initial NOTIFY of a subscription the fuzzer makes never leaves the machine;
// subscriptions last at most 1 second and at most 20 are held at a time.

#include "FuzzSupport.h"

#include "Tavik/Callweave/Deserializer.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Exception.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/RequestHandler.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;

namespace {

class FuzzListener : public Listener
{
public:
	using Listener::addSubscription;
	using Listener::Listener;
};

/// Reads every delivered property as text and as a number, as an
/// application's generated skeleton would.
class ReadingSubscriber : public Callweave::EventSubscriber
{
public:
	ReadingSubscriber() : Callweave::EventSubscriber("http://127.0.0.1:1/remote") {}

protected:
	void handleEvent(const std::string& eventName, Callweave::Deserializer& deserializer) override
	{
		std::string text;
		deserializer.deserialize(eventName, true, text);
		int number = 0;
		try
		{
			deserializer.deserialize(eventName, true, number);
		}
		catch (const SyntaxException&)
		{}
	}
};

class HandlerFactory : public Net::HTTPRequestHandlerFactory
{
public:
	explicit HandlerFactory(Listener*& pListener) : _pListener(pListener) {}

	Net::HTTPRequestHandler* createRequestHandler(const Net::HTTPServerRequest&) override
	{
		return new RequestHandler(*_pListener);
	}

private:
	Listener*& _pListener;
};

/// The endpoint, set up on the first input and kept for the whole run.
struct Endpoint
{
	Endpoint()
	{
		FuzzSupport::discardLogs();
		TransportFactory::registerFactory(Timespan(1, 0), false, Timespan(1, 0));
		Net::HTTPServerParams params;
		params.maxThreads = 2;
		params.timeout = Timespan(1, 0);
		params.keepAliveTimeout = Timespan(1, 0);
		params.maxBodyBytes = 64 * 1024;
		server.reset(
		    new Net::HTTPServer(std::make_shared<HandlerFactory>(pListener), "127.0.0.1", 0, params));
		const std::string endPoint = "127.0.0.1:" + std::to_string(server->port());
		listener = new FuzzListener(endPoint, timer);
		pListener = listener.get();
		Listener::Settings settings;
		settings.checkCallback = true;
		settings.maxSubscriptions = 20;
		settings.maxTimeout = 1;
		listener->setSettings(settings);
		listener->addSubscription("uuid:fuzz", Listener::Subscription{new ReadingSubscriber, nullptr});
		Callweave::ORB::instance().registerEventDispatcher(
		    "http://" + endPoint + "/svc", Transport::PROTOCOL,
		    new Callweave::EventDispatcher(Transport::PROTOCOL));
		server->start();
	}

	Util::Timer timer;
	Listener* pListener = nullptr;
	AutoPtr<FuzzListener> listener;
	std::unique_ptr<Net::HTTPServer> server;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size)
{
	// Never destroyed: the server's threads serve until the process ends.
	static Endpoint* pEndpoint = new Endpoint;

	const int fd = FuzzSupport::connectTo(pEndpoint->server->port());
	FuzzSupport::sendAll(fd, std::string(reinterpret_cast<const char*>(pData), size));
	::shutdown(fd, SHUT_WR);
	FuzzSupport::drainUntilClosed(fd);
	::close(fd);
	return 0;
}
