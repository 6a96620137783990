// The GENA event endpoint (an HTTPServer handing every request to a
// RequestHandler) for load generators (wrk, see bench/endpoint-load.sh).
//
// "notify": the listener holds one subscription, SID "uuid:bench", whose
// subscriber counts the properties delivered to it.
// "subscribe": one object with events at /svc, with a state of three
// variables; a sink server in the same process answers the initial events
// (200) and counts them. Each granted SUBSCRIBE starts an initial
// notification on the default thread pool, as in a real host.
//
// Usage: EndpointLoad notify|subscribe [server-threads] [pool-capacity]
// (pool-capacity: the most threads of the default pool; its default otherwise)
// Prints the endpoint's port and, for "subscribe", the callback URL of the
// sink; serves until SIGINT or SIGTERM, then waits for the initial
// notifications in flight and prints what it counted.

#include "BenchSupport.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Exception.h"
#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/HTTPServerParams.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/RequestHandler.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>

using namespace Tavik;

namespace {

const std::string SERVICE_PATH = "/svc";

/// Counters shared by the handlers of both servers.
struct Counts
{
	std::atomic<long> granted{0};       ///< SUBSCRIBE answered 200
	std::atomic<long> poolRefused{0};   ///< initial notifications the default pool could not start
	std::atomic<long> initialEvents{0}; ///< NOTIFY with SEQ 0 received by the sink
	std::atomic<long> properties{0};    ///< properties delivered to the "notify" subscriber
	std::atomic<int> peakPoolThreads{0};
};

class BenchListener : public UPnP::GENA::Listener
{
public:
	using Listener::addSubscription;
	using Listener::Listener;
};

class CountingSubscriber : public Callweave::EventSubscriber
{
public:
	explicit CountingSubscriber(Counts& counts)
	    : Callweave::EventSubscriber("http://127.0.0.1:1/remote"), _counts(counts)
	{}

protected:
	void handleEvent(const std::string&, Callweave::Deserializer&) override { ++_counts.properties; }

private:
	Counts& _counts;
};

class ThreeVariables : public UPnP::GENA::StateProvider
{
public:
	std::vector<std::pair<std::string, std::string>> currentState() override
	{
		return {{"Volume", "7"}, {"Mute", "0"}, {"Status", "OK"}};
	}
};

/// The endpoint's handler, counting granted subscriptions and the initial
/// notifications the default pool refused (after the 200 has gone out).
class EndpointHandler : public Net::HTTPRequestHandler
{
public:
	EndpointHandler(UPnP::GENA::Listener& listener, Counts& counts) : _handler(listener), _counts(counts) {}

	void handleRequest(Net::HTTPServerRequest& request, Net::HTTPServerResponse& response) override
	{
		try
		{
			_handler.handleRequest(request, response);
		}
		catch (const NoThreadAvailableException&)
		{
			++_counts.poolRefused;
		}
		if (request.getMethod() == UPnP::GENA::Listener::SUBSCRIBE &&
		    response.getStatus() == Net::HTTPResponse::HTTP_OK)
			++_counts.granted;
	}

private:
	UPnP::GENA::RequestHandler _handler;
	Counts& _counts;
};

/// Serves the listener set after the server is made (the listener's end
/// point holds the server's port).
class EndpointFactory : public Net::HTTPRequestHandlerFactory
{
public:
	explicit EndpointFactory(Counts& counts) : _counts(counts) {}
	Net::HTTPRequestHandler* createRequestHandler(const Net::HTTPServerRequest&) override
	{
		return new EndpointHandler(*pListener, _counts);
	}

	UPnP::GENA::Listener* pListener = nullptr;

private:
	Counts& _counts;
};

} // namespace

int main(int argc, char** argv)
{
	const std::string mode = argc > 1 ? argv[1] : "";
	if (mode != "notify" && mode != "subscribe")
	{
		std::cerr << "usage: EndpointLoad notify|subscribe [server-threads] [pool-capacity]\n";
		return 2;
	}
	const sigset_t signals = BenchSupport::blockStopSignals();

	Counts counts;
	Util::Timer timer;
	Net::HTTPServerParams params;
	if (argc > 2 && std::atoi(argv[2]) > 0) params.maxThreads = unsigned(std::atoi(argv[2]));
	if (argc > 3) ThreadPool::defaultPool().addCapacity(std::atoi(argv[3]) - ThreadPool::defaultPool().capacity());
	auto pFactory = std::make_shared<EndpointFactory>(counts);
	Net::HTTPServer server(pFactory, "127.0.0.1", 0, params);
	const std::string endPoint = "127.0.0.1:" + std::to_string(server.port());
	AutoPtr<BenchListener> pListener = new BenchListener(endPoint, timer);
	pFactory->pListener = pListener.get();

	ThreeVariables state;
	UPnP::GENA::TransportFactory::registerFactory();
	AutoPtr<Callweave::EventDispatcher> pDispatcher =
	    new Callweave::EventDispatcher(UPnP::GENA::Transport::PROTOCOL);
	const std::string serviceURL = "http://" + endPoint + SERVICE_PATH;
	// The sink answers the initial events of "subscribe" and counts them.
	std::unique_ptr<BenchSupport::Sink> pSink;
	if (mode == "notify")
	{
		pListener->addSubscription("uuid:bench",
		                           UPnP::GENA::Listener::Subscription{
		                               AutoPtr<Callweave::EventSubscriber>(new CountingSubscriber(counts)),
		                               AutoPtr<Util::TimerTask>()});
	}
	else
	{
		pListener->registerStateProvider(serviceURL, &state);
		Callweave::ORB::instance().registerEventDispatcher(serviceURL, UPnP::GENA::Transport::PROTOCOL,
		                                                   pDispatcher);
		pSink = std::make_unique<BenchSupport::Sink>(
		    [&counts](const Net::HTTPServerRequest& request, const std::string&) {
			    if (request.get("SEQ", "") == "0") ++counts.initialEvents;
		    });
	}
	std::atomic<bool> running{true};
	std::thread poolWatch([&] {
		while (running)
		{
			const int used = ThreadPool::defaultPool().used();
			if (used > counts.peakPoolThreads) counts.peakPoolThreads = used;
			std::this_thread::sleep_for(std::chrono::milliseconds(5));
		}
	});
	server.start();
	std::cout << server.port() << std::endl;
	if (pSink) std::cout << pSink->url() << std::endl;

	BenchSupport::waitForStop(signals);
	server.stop();
	ThreadPool::defaultPool().joinAll();
	running = false;
	poolWatch.join();
	if (mode == "notify")
	{
		std::cout << "properties delivered: " << counts.properties << std::endl;
	}
	else
	{
		const long lost = counts.granted - counts.initialEvents;
		std::cout << "subscriptions granted: " << counts.granted
		          << ", initial events received: " << counts.initialEvents << ", lost: " << lost << " ("
		          << (counts.granted ? 100.0 * lost / counts.granted : 0.0)
		          << " %), refused by the pool: " << counts.poolRefused
		          << ", peak busy pool threads: " << counts.peakPoolThreads
		          << ", subscribers: " << pDispatcher->subscriberCount() << std::endl;
		Callweave::ORB::instance().unregisterEventDispatcher(serviceURL, UPnP::GENA::Transport::PROTOCOL);
		pSink.reset();
	}
	pDispatcher->stop();
	UPnP::GENA::TransportFactory::unregisterFactory();
	return 0;
}
