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

#include "BenchSupport.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/Serializer.h"
#include "Tavik/Clock.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>

using namespace Tavik;
using Tavik::Callweave::EventDispatcher;

namespace {

const std::chrono::seconds DEADLINE(60);

/// Counts the notifications the sink received and lets the benchmark wait for a count.
class Received
{
public:
	void add()
	{
		std::lock_guard<std::mutex> lock(_mutex);
		++_count;
		_changed.notify_all();
	}

	std::uint64_t count() const
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _count;
	}

	bool waitFor(std::uint64_t count)
	{
		std::unique_lock<std::mutex> lock(_mutex);
		return _changed.wait_for(lock, DEADLINE, [&] { return _count >= count; });
	}

private:
	mutable std::mutex _mutex;
	std::condition_variable _changed;
	std::uint64_t _count = 0;
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
		Received received;
		BenchSupport::Sink sink(
		    [&received](const Net::HTTPServerRequest&, const std::string&) { received.add(); });
		AutoPtr<EventDispatcher> pDispatcher = new EventDispatcher(UPnP::GENA::Transport::PROTOCOL);

		const std::size_t heapBefore = heapInUse();
		for (int i = 0; i < subscribers; ++i)
		{
			pDispatcher->subscribe("uuid:" + std::to_string(i), sink.url() + "/" + std::to_string(i),
			                       Clock(0));
		}
		const double bytesPerSubscriber = (static_cast<double>(heapInUse()) - heapBefore) / subscribers;

		int value = 0;
		// Once every transport has carried an event, an idle subscriber is
		// what the publisher holds between events.
		const std::uint64_t warmedUp = received.count() + subscribers;
		pDispatcher->fireEvent("Status", [v = value](Callweave::Serializer& serializer) {
			serializer.serialize("data", v);
		});
		if (!received.waitFor(warmedUp))
			state.SkipWithError("not every subscriber received the first event in time");
		const double bytesPerUsedSubscriber = (static_cast<double>(heapInUse()) - heapBefore) / subscribers;

		for (auto _ : state)
		{
			const std::uint64_t target = received.count() + subscribers;
			pDispatcher->fireEvent("Status", [v = ++value](Callweave::Serializer& serializer) {
				serializer.serialize("data", v);
			});
			if (!received.waitFor(target))
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
