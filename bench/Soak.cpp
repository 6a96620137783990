// A long run of the publisher side under subscription churn, to show that
// nothing grows and no event goes missing: one object with events at /svc
// fires EVENTS_PER_SECOND events; SUBSCRIBERS control points subscribe to
// it, renew, unsubscribe, or stop renewing and let the subscription expire,
// then subscribe anew, over and over. They are raw GENA clients (HTTP
// exchanges written here) with callbacks on one sink server in the same
// process, which checks every NOTIFY: SEQ 0 first, then 1, 2, ... without a
// gap, and the event counter in the body one more than the last.
//
// The endpoint refuses renewals of SIDs its dispatcher no longer knows (the
// listener's strict renewal), so a subscriber the dispatcher dropped learns
// it at its next renewal and subscribes anew; the drop is counted, and the
// events it missed count as lost.
//
// Every REPORT_SECONDS it prints one line: events fired, NOTIFY received,
// subscriptions, resident memory (VmRSS of /proc/self/status), heap bytes in
// use (mallinfo2), open file descriptors (/proc/self/fd) and threads. At the end: delivered/expected
// events of the subscriptions that ended, SEQ gaps, and the growth of
// memory and descriptors after the warm-up (the first WARM_UP_PART of the
// run).
//
// Usage: Soak [seconds (600)] [subscribers (500)] [events-per-second (50)]
// Not part of CI: bench/soak.sh runs it.

#include "BenchSupport.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Callweave/Serializer.h"
#include "Tavik/Delegate.h"
#include "Tavik/Exception.h"
#include "Tavik/Net/HTTPClientSession.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"
#include "Tavik/NullStream.h"
#include "Tavik/StreamCopier.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/RequestHandler.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include <dirent.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace Tavik;
using SteadyClock = std::chrono::steady_clock;

namespace {

const std::string SERVICE_PATH = "/svc";
const std::string EVENT_NAME = "Counter";

/// The TIMEOUT the control points ask for; they renew after half of it.
constexpr int TIMEOUT_SECONDS = 30;
/// Renewals before a subscription ends: 0 to MAX_RENEWALS, at random.
constexpr int MAX_RENEWALS = 3;
/// The share of subscriptions left to expire instead of unsubscribed.
constexpr double EXPIRING_SHARE = 0.2;
/// Control point threads; each serves SUBSCRIBERS / CHURN_THREADS subscribers.
constexpr int CHURN_THREADS = 8;
constexpr int REPORT_SECONDS = 10;
constexpr double WARM_UP_PART = 0.2;
/// How long an unsubscribing control point waits for the events fired before
/// it decided to leave, and how long after its expiry a NOTIFY may still come.
constexpr auto SETTLE = std::chrono::seconds(5);
constexpr auto EXPIRY_SLACK = std::chrono::seconds(1);

/// What the sink saw of one subscription (one SID).
struct Record
{
	bool initial = false;
	long lastSeq = -1;
	long lastEvent = 0;  ///< the event counter of the last NOTIFY
	long firstEvent = 0; ///< the event counter of the first regular NOTIFY
	long delivered = 0;  ///< regular events up to endMark
	long endMark = -1;   ///< the last event expected; -1 while open
	SteadyClock::time_point lastArrival;
};

/// Totals over the run.
struct Totals
{
	std::atomic<long> fired{0};
	std::atomic<long> notifications{0};
	std::atomic<long> seqGaps{0};    ///< a SEQ other than the last one plus 1 (or a first one not 0)
	std::atomic<long> eventGaps{0};  ///< an event counter other than the last one plus 1
	std::atomic<long> unknownSID{0}; ///< NOTIFY for a SID no control point holds
	std::atomic<long> granted{0};
	std::atomic<long> renewed{0};
	std::atomic<long> refused{
	    0}; ///< renewals or UNSUBSCRIBE answered 412: the dispatcher had dropped the SID
	std::atomic<long> unsubscribed{0};
	std::atomic<long> expired{0};
	std::atomic<long> lateEvents{0}; ///< NOTIFY after expiry (plus slack) or after UNSUBSCRIBE was answered
	std::atomic<long> missingInitial{0};
	std::atomic<long> withoutEvents{0}; ///< subscriptions that ended without a regular event
	std::atomic<long> failedExchanges{0};
	std::atomic<long> unsettled{0}; ///< unsubscribed while events fired before were still on their way
	std::atomic<long> dropped{0};   ///< subscribers the dispatcher dropped
	std::atomic<long> expected{0};
	std::atomic<long> delivered{0};
};

/// The callback server of every control point; checks each NOTIFY against
/// the record of its SID.
class Sink
{
public:
	explicit Sink(Totals& totals) : _totals(totals) {}

	std::string url(int subscriber) const { return _server.url() + "/" + std::to_string(subscriber); }

	void open(const std::string& sid)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_records[sid];
	}

	/// Marks the last event the subscription is expected to have received,
	/// unless it was marked before (an expiring one, still held at the end).
	void mark(const std::string& sid, long lastExpected)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		Record& record = _records[sid];
		if (record.endMark < 0) record.endMark = lastExpected;
	}

	/// Waits until the subscription received its marked last event, or the
	/// deadline passes (counted as unsettled).
	void settle(const std::string& sid)
	{
		const SteadyClock::time_point deadline = SteadyClock::now() + SETTLE;
		while (SteadyClock::now() < deadline)
		{
			{
				std::lock_guard<std::mutex> lock(_mutex);
				const Record& record = _records[sid];
				if (record.lastEvent >= record.endMark) return;
			}
			std::this_thread::sleep_for(std::chrono::milliseconds(20));
		}
		++_totals.unsettled;
	}

	/// Adds the subscription's expected and delivered events to the totals
	/// and forgets it. NOTIFY arriving after quietSince count as late.
	void close(const std::string& sid, SteadyClock::time_point quietSince)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		const auto found = _records.find(sid);
		if (found == _records.end()) return;
		const Record& record = found->second;
		if (!record.initial) ++_totals.missingInitial;
		if (record.firstEvent == 0 && record.endMark > 0) ++_totals.withoutEvents;
		if (record.firstEvent > 0 && record.endMark >= record.firstEvent)
		{
			_totals.expected += record.endMark - record.firstEvent + 1;
			_totals.delivered += record.delivered;
		}
		if (record.lastArrival > quietSince) ++_totals.lateEvents;
		_records.erase(found);
	}

private:
	void received(const std::string& sid, long seq, long event)
	{
		++_totals.notifications;
		std::lock_guard<std::mutex> lock(_mutex);
		const auto found = _records.find(sid);
		if (found == _records.end())
		{
			++_totals.unknownSID;
			return;
		}
		Record& record = found->second;
		record.lastArrival = SteadyClock::now();
		if (seq != record.lastSeq + 1) ++_totals.seqGaps;
		record.lastSeq = seq;
		if (seq == 0)
		{
			record.initial = true;
			return;
		}
		if (record.firstEvent == 0)
			record.firstEvent = event;
		else if (event != record.lastEvent + 1)
			++_totals.eventGaps;
		record.lastEvent = event;
		if (record.endMark < 0 || event <= record.endMark) ++record.delivered;
	}

	/// The counter in <Counter>n</Counter>, or 0.
	static long eventOf(const std::string& body)
	{
		const std::string open = "<" + EVENT_NAME + ">";
		const std::string::size_type at = body.find(open);
		return at == std::string::npos ? 0 : std::atol(body.c_str() + at + open.size());
	}

	Totals& _totals;
	mutable std::mutex _mutex;
	std::map<std::string, Record> _records;
	// Last: stops serving before the records go.
	BenchSupport::Sink _server{[this](const Net::HTTPServerRequest& request, const std::string& body) {
		received(request.get("SID", ""), std::atol(request.get("SEQ", "-1").c_str()), eventOf(body));
	}};
};

class HandlerFactory : public Net::HTTPRequestHandlerFactory
{
public:
	Net::HTTPRequestHandler* createRequestHandler(const Net::HTTPServerRequest&) override
	{
		return new UPnP::GENA::RequestHandler(*pListener);
	}

	UPnP::GENA::Listener* pListener = nullptr;
};

class OneVariable : public UPnP::GENA::StateProvider
{
public:
	std::vector<std::pair<std::string, std::string>> currentState() override { return {{EVENT_NAME, "0"}}; }
};

/// The publisher: the endpoint's HTTP server, the listener and the object's dispatcher.
class Publisher
{
public:
	Publisher(Totals& totals) : _totals(totals)
	{
		UPnP::GENA::TransportFactory::registerFactory(
		    UPnP::GENA::TransportFactory::DEFAULT_TIMEOUT, true,
		    UPnP::GENA::TransportFactory::DEFAULT_KEEP_ALIVE_TIMEOUT);
		_pServer = std::make_unique<Net::HTTPServer>(_pFactory, "127.0.0.1", 0);
		_endPoint = "127.0.0.1:" + std::to_string(_pServer->port());
		_pListener = new UPnP::GENA::Listener(_endPoint, _timer);
		UPnP::GENA::Listener::Settings settings;
		settings.strictRenewal = true;
		_pListener->setSettings(settings);
		_pFactory->pListener = _pListener.get();
		_pListener->registerStateProvider(SERVICE_PATH, &_state);
		_pDispatcher = new Callweave::EventDispatcher(UPnP::GENA::Transport::PROTOCOL);
		_pDispatcher->subscriberDropped += Delegate<const Callweave::EventDispatcher::SubscriberDrop>(
		    [this](const void*, const Callweave::EventDispatcher::SubscriberDrop&) { ++_totals.dropped; });
		Callweave::ORB::instance().registerEventDispatcher("http://" + _endPoint + SERVICE_PATH,
		                                                   UPnP::GENA::Transport::PROTOCOL, _pDispatcher);
		_pServer->start();
	}

	~Publisher()
	{
		_pServer->stop();
		ThreadPool::defaultPool().joinAll();
		Callweave::ORB::instance().unregisterEventDispatcher("http://" + _endPoint + SERVICE_PATH,
		                                                     UPnP::GENA::Transport::PROTOCOL);
		_pDispatcher->stop();
		UPnP::GENA::TransportFactory::unregisterFactory();
	}

	void fire()
	{
		const long event = ++_totals.fired;
		_pDispatcher->fireEvent(EVENT_NAME, [event](Callweave::Serializer& serializer) {
			serializer.serialize("data", static_cast<int>(event));
		});
	}

	std::size_t subscribers() const { return _pDispatcher->subscriberCount(); }
	unsigned short port() const { return _pServer->port(); }
	const std::string& endPoint() const { return _endPoint; }

private:
	Totals& _totals;
	Util::Timer _timer;
	OneVariable _state;
	std::shared_ptr<HandlerFactory> _pFactory = std::make_shared<HandlerFactory>();
	std::unique_ptr<Net::HTTPServer> _pServer;
	std::string _endPoint;
	AutoPtr<UPnP::GENA::Listener> _pListener;
	AutoPtr<Callweave::EventDispatcher> _pDispatcher;
};

/// One exchange with the endpoint; the status, and the SID of a 200.
Net::HTTPResponse::HTTPStatus exchange(const Publisher& publisher, const std::string& method,
                                       const std::vector<std::pair<std::string, std::string>>& headers,
                                       std::string& sid)
{
	Net::HTTPClientSession session("127.0.0.1", publisher.port());
	Net::HTTPRequest request(method, SERVICE_PATH);
	for (const auto& header : headers)
		request.set(header.first, header.second);
	request.setContentLength(0);
	session.sendRequest(request);
	Net::HTTPResponse response;
	NullOutputStream discard;
	StreamCopier::copyStream(session.receiveResponse(response), discard);
	if (response.getStatus() == Net::HTTPResponse::HTTP_OK) sid = response.get("SID", sid);
	return response.getStatus();
}

/// The control points: each thread runs the life cycle of its share of the
/// subscribers, one exchange at a time.
class Churn
{
public:
	Churn(Publisher& publisher, Sink& sink, Totals& totals, int subscribers)
	    : _publisher(publisher), _sink(sink), _totals(totals), _subscribers(subscribers)
	{
		for (int i = 0; i < CHURN_THREADS; ++i)
			_threads.emplace_back([this, i] { run(i); });
	}

	~Churn() { stop(); }

	/// Ends the control points; the subscriptions they hold stay open in the sink.
	void stop()
	{
		{
			std::lock_guard<std::mutex> lock(_mutex);
			_stopping = true;
			_wake.notify_all();
		}
		for (std::thread& thread : _threads)
			if (thread.joinable()) thread.join();
		_threads.clear();
	}

	/// The SIDs held when the control points stopped.
	std::vector<std::string> held() const
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _held;
	}

private:
	enum State
	{
		IDLE,
		SUBSCRIBED,
		EXPIRING,
	};

	struct Subscriber
	{
		int id = 0;
		State state = IDLE;
		std::string sid;
		int renewalsLeft = 0;
		bool expire = false;
		SteadyClock::time_point expiry;
		SteadyClock::time_point next;
	};

	void run(int thread)
	{
		std::mt19937 random(thread + 1);
		std::vector<Subscriber> mine;
		// Spread the first subscriptions over the first ten seconds.
		std::uniform_int_distribution<int> start(0, 10000);
		for (int id = thread; id < _subscribers; id += CHURN_THREADS)
		{
			Subscriber subscriber;
			subscriber.id = id;
			subscriber.next = SteadyClock::now() + std::chrono::milliseconds(start(random));
			mine.push_back(subscriber);
		}
		for (;;)
		{
			auto due =
			    std::min_element(mine.begin(), mine.end(),
			                     [](const Subscriber& a, const Subscriber& b) { return a.next < b.next; });
			{
				std::unique_lock<std::mutex> lock(_mutex);
				if (_wake.wait_until(lock, due->next, [this] { return _stopping; })) break;
			}
			try
			{
				step(*due, random);
			}
			catch (const Exception&)
			{
				++_totals.failedExchanges;
				due->next = SteadyClock::now() + std::chrono::seconds(1);
			}
		}
		std::lock_guard<std::mutex> lock(_mutex);
		for (const Subscriber& subscriber : mine)
			if (subscriber.state != IDLE) _held.push_back(subscriber.sid);
	}

	void step(Subscriber& subscriber, std::mt19937& random)
	{
		const std::string timeout = "Second-" + std::to_string(TIMEOUT_SECONDS);
		const auto halfTimeout = std::chrono::seconds(TIMEOUT_SECONDS / 2);
		const SteadyClock::time_point now = SteadyClock::now();
		switch (subscriber.state)
		{
		case IDLE:
		{
			std::string sid;
			if (exchange(_publisher, UPnP::GENA::Listener::SUBSCRIBE,
			             {{"CALLBACK", "<" + _sink.url(subscriber.id) + ">"},
			              {"NT", "upnp:event"},
			              {"TIMEOUT", timeout}},
			             sid) != Net::HTTPResponse::HTTP_OK)
				throw IOException("subscription refused");
			// The initial event comes 100 ms after the answer: the record is open by then.
			_sink.open(sid);
			++_totals.granted;
			subscriber.sid = sid;
			subscriber.state = SUBSCRIBED;
			subscriber.renewalsLeft = std::uniform_int_distribution<int>(0, MAX_RENEWALS)(random);
			subscriber.expire = std::uniform_real_distribution<double>(0, 1)(random) < EXPIRING_SHARE;
			subscriber.expiry = now + std::chrono::seconds(TIMEOUT_SECONDS);
			subscriber.next = now + halfTimeout;
			break;
		}
		case SUBSCRIBED:
			if (subscriber.renewalsLeft > 0)
			{
				const Net::HTTPResponse::HTTPStatus status =
				    exchange(_publisher, UPnP::GENA::Listener::SUBSCRIBE,
				             {{"SID", subscriber.sid}, {"TIMEOUT", timeout}}, subscriber.sid);
				if (status == Net::HTTPResponse::HTTP_PRECONDITION_FAILED)
				{
					++_totals.refused;
					_sink.mark(subscriber.sid, _totals.fired);
					_sink.close(subscriber.sid, now);
					subscriber.state = IDLE;
					subscriber.next = now;
					break;
				}
				if (status != Net::HTTPResponse::HTTP_OK) throw IOException("renewal failed");
				++_totals.renewed;
				--subscriber.renewalsLeft;
				subscriber.expiry = now + std::chrono::seconds(TIMEOUT_SECONDS);
				subscriber.next = now + halfTimeout;
			}
			else if (subscriber.expire)
			{
				_sink.mark(subscriber.sid, _totals.fired);
				subscriber.state = EXPIRING;
				subscriber.next = subscriber.expiry + EXPIRY_SLACK;
			}
			else
			{
				_sink.mark(subscriber.sid, _totals.fired);
				_sink.settle(subscriber.sid);
				std::string sid = subscriber.sid;
				const Net::HTTPResponse::HTTPStatus status =
				    exchange(_publisher, UPnP::GENA::Listener::UNSUBSCRIBE, {{"SID", sid}}, sid);
				if (status == Net::HTTPResponse::HTTP_PRECONDITION_FAILED)
					++_totals.refused;
				else if (status == Net::HTTPResponse::HTTP_OK)
					++_totals.unsubscribed;
				else
					throw IOException("unsubscription failed");
				// A delivery in flight when the UNSUBSCRIBE arrived may still land.
				_sink.close(subscriber.sid, SteadyClock::now() + EXPIRY_SLACK);
				subscriber.state = IDLE;
				subscriber.next =
				    SteadyClock::now() +
				    std::chrono::milliseconds(std::uniform_int_distribution<int>(0, 2000)(random));
			}
			break;
		case EXPIRING:
			++_totals.expired;
			_sink.close(subscriber.sid, subscriber.expiry + EXPIRY_SLACK);
			subscriber.state = IDLE;
			subscriber.next = now;
			break;
		}
	}

	Publisher& _publisher;
	Sink& _sink;
	Totals& _totals;
	const int _subscribers;
	mutable std::mutex _mutex;
	std::condition_variable _wake;
	bool _stopping = false;
	std::vector<std::string> _held;
	std::vector<std::thread> _threads;
};

/// A field of /proc/self/status in kB (or a count), or -1.
long procStatus(const std::string& field)
{
	std::ifstream status("/proc/self/status");
	std::string line;
	while (std::getline(status, line))
	{
		if (line.compare(0, field.size() + 1, field + ":") == 0)
			return std::atol(line.c_str() + field.size() + 1);
	}
	return -1;
}

long openDescriptors()
{
	long count = 0;
	if (DIR* pDir = opendir("/proc/self/fd"))
	{
		while (readdir(pDir))
			++count;
		closedir(pDir);
	}
	return count - 3; // ".", ".." and the directory's own descriptor
}

/// Samples after the warm-up, for the growth figures.
struct Extremes
{
	long first = -1;
	long low = -1;
	long high = -1;
	long last = -1;

	void add(long value)
	{
		if (first < 0) first = low = high = value;
		low = std::min(low, value);
		high = std::max(high, value);
		last = value;
	}
};

} // namespace

int main(int argc, char** argv)
{
	const int seconds = argc > 1 ? std::atoi(argv[1]) : 600;
	const int subscribers = argc > 2 ? std::atoi(argv[2]) : 500;
	const int eventsPerSecond = argc > 3 ? std::atoi(argv[3]) : 50;
	if (seconds <= 0 || subscribers <= 0 || eventsPerSecond <= 0)
	{
		std::cerr << "usage: Soak [seconds (600)] [subscribers (500)] [events-per-second (50)]\n";
		return 2;
	}
	std::cout << "soak: " << seconds << " s, " << subscribers << " subscribers, " << eventsPerSecond
	          << " events/s, TIMEOUT " << TIMEOUT_SECONDS << " s" << std::endl;

	Totals totals;
	Sink sink(totals);
	Publisher publisher(totals);
	Churn churn(publisher, sink, totals, subscribers);

	Extremes rss;
	Extremes heap;
	Extremes descriptors;
	const SteadyClock::time_point begin = SteadyClock::now();
	const SteadyClock::time_point end = begin + std::chrono::seconds(seconds);
	const auto warmUp = std::chrono::duration<double>(seconds * WARM_UP_PART);
	const auto period = std::chrono::microseconds(1000000 / eventsPerSecond);
	SteadyClock::time_point nextFire = begin;
	SteadyClock::time_point nextReport = begin + std::chrono::seconds(REPORT_SECONDS);
	std::printf("%6s %9s %10s %6s %6s %6s %9s %9s %5s %7s\n", "s", "fired", "NOTIFY", "subs", "gaps", "drops",
	            "RSS kB", "heap kB", "fds", "threads");
	while (SteadyClock::now() < end)
	{
		publisher.fire();
		nextFire += period;
		std::this_thread::sleep_until(nextFire);
		if (SteadyClock::now() < nextReport) continue;
		nextReport += std::chrono::seconds(REPORT_SECONDS);
		const long kB = procStatus("VmRSS");
		const long heapKB = static_cast<long>(mallinfo2().uordblks / 1024);
		const long fds = openDescriptors();
		if (SteadyClock::now() - begin >= warmUp)
		{
			rss.add(kB);
			heap.add(heapKB);
			descriptors.add(fds);
		}
		std::printf("%6.0f %9ld %10ld %6zu %6ld %6ld %9ld %9ld %5ld %7ld\n",
		            std::chrono::duration<double>(SteadyClock::now() - begin).count(), totals.fired.load(),
		            totals.notifications.load(), publisher.subscribers(), totals.seqGaps + totals.eventGaps,
		            totals.dropped.load(), kB, heapKB, fds, procStatus("Threads"));
		std::fflush(stdout);
	}
	churn.stop();
	// Let the last events arrive, then close what is still held.
	for (const std::string& sid : churn.held())
		sink.mark(sid, totals.fired);
	std::this_thread::sleep_for(SETTLE);
	for (const std::string& sid : churn.held())
		sink.close(sid, SteadyClock::now());

	const double share = totals.expected ? 100.0 * totals.delivered / totals.expected : 100.0;
	std::cout << "subscriptions: " << totals.granted << " granted, " << totals.renewed << " renewals, "
	          << totals.unsubscribed << " unsubscribed, " << totals.expired << " expired, " << totals.refused
	          << " renewals or unsubscriptions refused after a drop, " << totals.dropped
	          << " dropped by the dispatcher, " << totals.failedExchanges << " failed exchanges, "
	          << totals.unsettled << " unsubscribed with events still queued after " << SETTLE.count()
	          << " s\n"
	          << "events: " << totals.fired << " fired, " << totals.notifications
	          << " NOTIFY received, delivered/expected " << totals.delivered << "/" << totals.expected << " ("
	          << share << " %)\n"
	          << "checks: " << totals.seqGaps << " SEQ gaps, " << totals.eventGaps << " event gaps, "
	          << totals.missingInitial << " without initial event, " << totals.withoutEvents
	          << " without regular events, " << totals.lateEvents
	          << " with NOTIFY after expiry or UNSUBSCRIBE, " << totals.unknownSID
	          << " NOTIFY for unknown SIDs\n"
	          << "after warm-up: RSS " << rss.first << " kB first, " << rss.low << "-" << rss.high << " kB, "
	          << rss.last << " kB last; heap in use " << heap.first << " kB first, " << heap.low << "-"
	          << heap.high << " kB, " << heap.last << " kB last; descriptors " << descriptors.first
	          << " first, " << descriptors.low << "-" << descriptors.high << ", " << descriptors.last
	          << " last" << std::endl;
	return 0;
}
