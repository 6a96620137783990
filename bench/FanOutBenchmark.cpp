// One event fanned out to N subscribers on loopback through the publisher's
// real path: the GENA transport factory registered with the framework, an
// event dispatcher with its default delivery threads, and one sink HTTP
// server that answers every NOTIFY with 200 (each subscriber has its own
// callback path on it). An iteration fires one event and ends when the sink
// has received it from every subscriber.
//
// Counters: notifications/s (all subscribers together), events/s (complete
// fan-outs), and the publisher's heap bytes per idle subscriber (measured
// with mallinfo2 around subscribing all N, before any event and again once
// each has received one).

#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/Serializer.h"
#include "Tavik/Clock.h"
#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/HTTPServerParams.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"
#include "Tavik/NullStream.h"
#include "Tavik/StreamCopier.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

using namespace Tavik;
using Tavik::Callweave::EventDispatcher;

namespace {

const std::chrono::seconds DEADLINE(60);

/// Counts the notifications that arrived and lets the benchmark wait for a count.
class Sink
{
public:
	Sink()
	{
		Net::HTTPServerParams params;
		params.maxQueued = 2048; // a burst of 1000 connections must not meet a 503
		_pServer =
		    std::make_unique<Net::HTTPServer>(std::make_shared<Factory>(*this), "127.0.0.1", 0, params);
		_pServer->start();
	}

	~Sink() { _pServer->stop(); }

	std::string url(int subscriber) const
	{
		return "http://127.0.0.1:" + std::to_string(_pServer->port()) + "/cb/" + std::to_string(subscriber);
	}

	std::uint64_t received() const
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _received;
	}

	bool waitFor(std::uint64_t count)
	{
		std::unique_lock<std::mutex> lock(_mutex);
		return _changed.wait_for(lock, DEADLINE, [&] { return _received >= count; });
	}

private:
	class Handler : public Net::HTTPRequestHandler
	{
	public:
		explicit Handler(Sink& sink) : _sink(sink) {}

		void handleRequest(Net::HTTPServerRequest& request, Net::HTTPServerResponse& response) override
		{
			NullOutputStream discard;
			StreamCopier::copyStream(request.stream(), discard, 8192);
			response.setStatusAndReason(Net::HTTPResponse::HTTP_OK);
			response.send();
			std::lock_guard<std::mutex> lock(_sink._mutex);
			++_sink._received;
			_sink._changed.notify_all();
		}

	private:
		Sink& _sink;
	};

	class Factory : public Net::HTTPRequestHandlerFactory
	{
	public:
		explicit Factory(Sink& sink) : _sink(sink) {}
		Net::HTTPRequestHandler* createRequestHandler(const Net::HTTPServerRequest&) override
		{
			return new Handler(_sink);
		}

	private:
		Sink& _sink;
	};

	mutable std::mutex _mutex;
	std::condition_variable _changed;
	std::uint64_t _received = 0;
	std::unique_ptr<Net::HTTPServer> _pServer;
};

std::size_t heapInUse()
{
	return mallinfo2().uordblks;
}

/// Arguments: the number of subscribers, and keep-alive (0 off, the default; 1 on).
void BM_FanOut(benchmark::State& state)
{
	const int subscribers = static_cast<int>(state.range(0));
	const bool keepAlive = state.range(1) != 0;
	UPnP::GENA::TransportFactory::registerFactory(UPnP::GENA::TransportFactory::DEFAULT_TIMEOUT, keepAlive,
	                                              UPnP::GENA::TransportFactory::DEFAULT_KEEP_ALIVE_TIMEOUT);
	{
		Sink sink;
		AutoPtr<EventDispatcher> pDispatcher = new EventDispatcher(UPnP::GENA::Transport::PROTOCOL);

		const std::size_t heapBefore = heapInUse();
		for (int i = 0; i < subscribers; ++i)
		{
			pDispatcher->subscribe("uuid:" + std::to_string(i), sink.url(i), Clock(0));
		}
		const double bytesPerSubscriber = (static_cast<double>(heapInUse()) - heapBefore) / subscribers;

		int value = 0;
		// Once every transport has carried an event, an idle subscriber is
		// what the publisher holds between events.
		const std::uint64_t warmedUp = sink.received() + subscribers;
		pDispatcher->fireEvent("Status", [v = value](Callweave::Serializer& serializer) {
			serializer.serialize("data", v);
		});
		if (!sink.waitFor(warmedUp)) state.SkipWithError("not every subscriber received the first event in time");
		const double bytesPerUsedSubscriber = (static_cast<double>(heapInUse()) - heapBefore) / subscribers;

		for (auto _ : state)
		{
			const std::uint64_t target = sink.received() + subscribers;
			pDispatcher->fireEvent("Status", [v = ++value](Callweave::Serializer& serializer) {
				serializer.serialize("data", v);
			});
			if (!sink.waitFor(target))
			{
				state.SkipWithError("not every subscriber received the event in time");
				break;
			}
		}
		pDispatcher->stop();

		state.counters["bytes/subscriber"] = bytesPerSubscriber;
		state.counters["bytes/used subscriber"] = bytesPerUsedSubscriber;
		state.counters["notifications/s"] = benchmark::Counter(
		    static_cast<double>(state.iterations()) * subscribers, benchmark::Counter::kIsRate);
		state.counters["events/s"] =
		    benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
	}
	UPnP::GENA::TransportFactory::unregisterFactory();
}

} // namespace

BENCHMARK(BM_FanOut)
    ->ArgsProduct({{10, 100, 1000}, {0, 1}})
    ->ArgNames({"subscribers", "keepAlive"})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
