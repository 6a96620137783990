#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/Serializer.h"
#include "Tavik/Callweave/TransportFactoryManager.h"
#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/TestChannel.h"

#include "CallweaveFakes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Tavik;
using namespace Tavik::Callweave;
using namespace CallweaveFakes;

namespace {

const Clock::ClockVal SECOND = Timespan::SECONDS;
const Clock NEVER(0);

EventDispatcher::EventWriter value(int data)
{
	return [data](Serializer& serializer) { serializer.serialize("data", data); };
}

/// Polls condition until it holds or the deadline passes, for states that
/// nothing signals (such as the subscriber count while another thread stops).
bool eventually(const std::function<bool()>& condition)
{
	const auto deadline = std::chrono::steady_clock::now() + DEADLINE;
	while (!condition())
	{
		if (std::chrono::steady_clock::now() > deadline) return false;
		std::this_thread::sleep_for(std::chrono::milliseconds(1));
	}
	return true;
}

/// Records what a dispatcher reports through its events.
class Reports
{
public:
	explicit Reports(EventDispatcher& dispatcher)
	{
		dispatcher.subscriberDropped += Delegate<const EventDispatcher::SubscriberDrop>(
		    [this](const void*, const EventDispatcher::SubscriberDrop& drop) { add(_drops, drop); });
		dispatcher.deliveryFailed += Delegate<const EventDispatcher::DeliveryFailure>(
		    [this](const void*, const EventDispatcher::DeliveryFailure& failure) {
			    add(_failures, failure);
		    });
	}

	/// The first n drops, once there are n; fails the test after the deadline.
	std::vector<EventDispatcher::SubscriberDrop> drops(std::size_t n) { return wait(_drops, n); }
	std::vector<EventDispatcher::DeliveryFailure> failures(std::size_t n) { return wait(_failures, n); }

private:
	template <class T> void add(std::vector<T>& list, const T& item)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		list.push_back(item);
		_changed.notify_all();
	}

	template <class T> std::vector<T> wait(const std::vector<T>& list, std::size_t n)
	{
		std::unique_lock<std::mutex> lock(_mutex);
		EXPECT_TRUE(_changed.wait_for(lock, DEADLINE, [&] { return list.size() >= n; }));
		return list;
	}

	std::mutex _mutex;
	std::condition_variable _changed;
	std::vector<EventDispatcher::SubscriberDrop> _drops;
	std::vector<EventDispatcher::DeliveryFailure> _failures;
};

} // namespace

class EventDispatcherTest : public ::testing::Test
{
protected:
	void SetUp() override
	{
		const auto* pInfo = ::testing::UnitTest::GetInstance()->current_test_info();
		protocol = std::string(pInfo->test_suite_name()) + "." + pInfo->name();
		pFactory = new FakeTransportFactory(network);
		TransportFactoryManager::instance().registerFactory(protocol, pFactory);
		pChannel = new TestChannel;
		Logger::setChannel("Tavik.Callweave.EventDispatcher", pChannel);
		Logger::setLevel("Tavik.Callweave.EventDispatcher", Message::PRIO_INFORMATION);
	}

	void TearDown() override { TransportFactoryManager::instance().unregisterFactory(protocol); }

	/// A dispatcher reading the test's clock.
	AutoPtr<EventDispatcher> makeDispatcher(EventDispatcherParams params = EventDispatcherParams())
	{
		params.clock = [this] { return Clock(now.load()); };
		return new EventDispatcher(protocol, params);
	}

	FakeNetwork network; // outlives every transport of the test
	std::string protocol;
	AutoPtr<FakeTransportFactory> pFactory;
	AutoPtr<TestChannel> pChannel;
	std::atomic<Clock::ClockVal> now{100 * SECOND};
};

TEST_F(EventDispatcherTest, NewSubscriberGetsAConnectedTransportThatRenewalsKeep)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	pDispatcher->subscribe("uuid:a", "http://a/cb", NEVER);
	pDispatcher->subscribe("uuid:a", "", Clock(now + 60 * SECOND));
	pDispatcher->subscribe("uuid:a", "http://elsewhere/cb", NEVER);

	EXPECT_EQ(pFactory->created, 1);
	EXPECT_EQ(pDispatcher->subscriberCount(), 1u);
	EXPECT_EQ(network.records("http://a/cb"), std::vector<std::string>{"connect"});
	AutoPtr<Transport> pTransport;
	{
		ScopedLock<FastMutex> lock(pDispatcher->mutex());
		pTransport = pDispatcher->transportForSubscriber("uuid:a");
	}
	EXPECT_EQ(pTransport->endPoint(), "http://a/cb");
}

TEST_F(EventDispatcherTest, UnknownSubscribersAreRefusedWithOneMessage)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	const std::vector<std::pair<const char*, std::function<void()>>> calls = {
	    {"renewal", [&] { pDispatcher->subscribe("uuid:x", "", NEVER); }},
	    {"unsubscribe", [&] { pDispatcher->unsubscribe("uuid:x"); }},
	    {"transportForSubscriber",
	     [&] {
		     ScopedLock<FastMutex> lock(pDispatcher->mutex());
		     pDispatcher->transportForSubscriber("uuid:x");
	     }},
	};
	for (const auto& call : calls)
	{
		SCOPED_TRACE(call.first);
		try
		{
			call.second();
			ADD_FAILURE() << "no exception";
		}
		catch (const NotFoundException& exc)
		{
			EXPECT_EQ(exc.message(), "Unknown subscriber: uuid:x");
		}
	}
	EXPECT_EQ(pFactory->created, 0);
}

TEST_F(EventDispatcherTest, UnsubscribeReleasesTheTransport)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	pDispatcher->subscribe("uuid:a", "http://a", NEVER);
	pDispatcher->subscribe("uuid:b", "http://b", NEVER);
	pDispatcher->unsubscribe("uuid:a");

	EXPECT_EQ(pDispatcher->subscriberCount(), 1u);
	EXPECT_EQ(network.records("http://a").back(), "destroyed");
	EXPECT_THROW(pDispatcher->unsubscribe("uuid:a"), NotFoundException);
	pDispatcher->fireEvent("Ev", value(1));
	ASSERT_TRUE(network.waitFor("http://b", "sent"));
	EXPECT_TRUE(network.delivered("http://a").empty());
}

TEST_F(EventDispatcherTest, ExpiredSubscribersLeaveWhenEventsAreFiredOrSubscribersAdded)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	pDispatcher->subscribe("uuid:short", "http://short", Clock(now + 10 * SECOND));
	pDispatcher->subscribe("uuid:renewed", "http://renewed", Clock(now + 10 * SECOND));
	pDispatcher->subscribe("uuid:infinite", "http://infinite", NEVER);
	pDispatcher->subscribe("uuid:renewed", "", Clock(now + 1000 * SECOND));

	now += 10 * SECOND;
	EXPECT_EQ(pDispatcher->subscriberCount(), 2u);
	pDispatcher->fireEvent("Ev", value(1));
	EXPECT_EQ(network.records("http://short").back(), "destroyed");
	EXPECT_THROW(pDispatcher->subscribe("uuid:short", "", Clock(now + 10 * SECOND)), NotFoundException);
	ASSERT_TRUE(network.waitFor("http://renewed", "sent"));
	ASSERT_TRUE(network.waitFor("http://infinite", "sent"));

	now += 1000 * 1000 * SECOND;
	pDispatcher->subscribe("uuid:new", "http://new", NEVER);
	EXPECT_TRUE(network.waitFor("http://renewed", "destroyed"));
	EXPECT_EQ(pDispatcher->subscriberCount(), 2u); // the infinite one and the new one
}

TEST_F(EventDispatcherTest, ExpiredSubscriberIsNotRevivedBetweenSweeps)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	pDispatcher->subscribe("uuid:a", "http://a", Clock(now + SECOND / 2));
	pDispatcher->subscribe("uuid:b", "http://b", Clock(now + SECOND / 2));

	// Within the second after the last sweep: no sweep, but a renewal of an
	// expired subscriber finds it gone all the same.
	now += SECOND / 2;
	pDispatcher->subscribe("uuid:c", "http://c", NEVER);
	EXPECT_THROW(pDispatcher->subscribe("uuid:a", "", Clock(now + 10 * SECOND)), NotFoundException);
	EXPECT_EQ(network.records("http://a").back(), "destroyed");
	pDispatcher->subscribe("uuid:b", "http://b2", NEVER);
	EXPECT_EQ(network.records("http://b").back(), "destroyed");
	EXPECT_EQ(pDispatcher->subscriberCount(), 2u);
}

TEST_F(EventDispatcherTest, DeliveryDrivesTheTransportInOrderAndEndsTheRequest)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	pDispatcher->subscribe("uuid:a", "http://a", NEVER);
	pDispatcher->fireEvent("Status", [](Serializer& serializer) {
		serializer.serialize("data", std::string("on"));
		serializer.serialize("Level", 7);
	});
	pDispatcher->fireEvent("Ping", nullptr);
	ASSERT_TRUE(network.waitFor("http://a", "endRequest", 2));

	const std::vector<std::string> expected = {
	    "connect",
	    "beginMessage Status 2",
	    "wrote [messageBegin Status 2] [data=on] [Level=7] [messageEnd Status 2]",
	    "sent Status data=on Level=7",
	    "endRequest",
	    "beginMessage Ping 2",
	    "wrote [messageBegin Ping 2] [messageEnd Ping 2]",
	    "sent Ping",
	    "endRequest",
	};
	EXPECT_EQ(network.records("http://a"), expected);
}

TEST_F(EventDispatcherTest, EverySubscriberGetsEveryEventInTheOrderFired)
{
	EventDispatcherParams params;
	params.deliveryThreads = 2;
	params.maxQueuedEvents = 1000;
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher(params);
	const std::vector<std::string> endPoints = {"http://a", "http://b", "http://c"};
	for (const std::string& endPoint : endPoints)
		pDispatcher->subscribe("uuid:" + endPoint, endPoint, NEVER);

	// Four threads fire at once while a fifth keeps writing the SID attributes
	// that the protocol's transports read while they deliver.
	const int perThread = 100;
	std::vector<std::thread> firing;
	for (int thread = 0; thread < 4; ++thread)
	{
		firing.emplace_back([&, thread] {
			for (int i = 0; i < perThread; ++i)
				pDispatcher->fireEvent("T" + std::to_string(thread), value(i));
		});
	}
	std::atomic<bool> firingDone{false};
	std::thread attributes([&] {
		while (!firingDone)
		{
			for (const std::string& endPoint : endPoints)
			{
				ScopedLock<FastMutex> lock(pDispatcher->mutex());
				pDispatcher->transportForSubscriber("uuid:" + endPoint)->setAttribute("SID", endPoint);
			}
		}
	});
	for (std::thread& thread : firing)
		thread.join();
	firingDone = true;
	attributes.join();

	for (const std::string& endPoint : endPoints)
	{
		SCOPED_TRACE(endPoint);
		ASSERT_TRUE(network.waitFor(endPoint, "sent", 4 * perThread));
		std::vector<int> next(4, 0);
		for (const std::string& event : network.delivered(endPoint))
		{
			const int thread = event[1] - '0';
			EXPECT_EQ(event, "T" + std::to_string(thread) + " data=" + std::to_string(next[thread]));
			++next[thread];
		}
	}
	EXPECT_EQ(network.overlaps, 0);
}

TEST_F(EventDispatcherTest, ABlockedSubscriberDoesNotDelayTheOthers)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	network.setBehaviour("http://slow", Behaviour::BLOCK);
	for (const char* endPoint : {"http://slow", "http://b", "http://c"})
		pDispatcher->subscribe(std::string("uuid:") + endPoint, endPoint, NEVER);

	for (int i = 0; i < 3; ++i)
		pDispatcher->fireEvent("Ev", value(i));
	ASSERT_TRUE(network.waitFor("http://b", "sent", 3));
	ASSERT_TRUE(network.waitFor("http://c", "sent", 3));
	ASSERT_TRUE(network.waitFor("http://slow", "blocked"));
	EXPECT_TRUE(network.delivered("http://slow").empty());

	network.release();
	ASSERT_TRUE(network.waitFor("http://slow", "sent", 3));
	EXPECT_EQ(network.delivered("http://slow"),
	          (std::vector<std::string>{"Ev data=0", "Ev data=1", "Ev data=2"}));
}

TEST_F(EventDispatcherTest, ASubscriberFailingForTheGraceIsDroppedAndASuccessRestartsTheGrace)
{
	EventDispatcherParams params;
	params.failureGrace = Timespan(10 * SECOND);
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher(params);
	Reports reports(*pDispatcher);
	network.setBehaviour("http://a", Behaviour::FAIL_SEND);
	pDispatcher->subscribe("uuid:a", "http://a", NEVER);
	pDispatcher->subscribe("uuid:b", "http://b", NEVER);

	// Failures at 0 s and 9 s are within the grace...
	// (A failure is reported after the dispatcher has accounted for it, so the
	// clock moves on only then.)
	pDispatcher->fireEvent("Ev", value(1));
	ASSERT_EQ(reports.failures(1).size(), 1u);
	now += 9 * SECOND;
	pDispatcher->fireEvent("Ev", value(2));
	ASSERT_EQ(reports.failures(2).size(), 2u);
	// ...a success ends the run of failures...
	network.setBehaviour("http://a", Behaviour::DELIVER);
	pDispatcher->fireEvent("Ev", value(3));
	ASSERT_TRUE(network.waitFor("http://a", "sent"));
	// ...so failures at 10 s and 19 s start a new one, and the one at 20 s,
	// 10 s after its start, drops the subscriber.
	network.setBehaviour("http://a", Behaviour::FAIL_SEND);
	std::size_t failures = 2;
	for (int seconds : {1, 9, 1})
	{
		now += seconds * SECOND;
		pDispatcher->fireEvent("Ev", value(seconds));
		++failures;
		ASSERT_EQ(reports.failures(failures).size(), failures);
	}
	const auto drops = reports.drops(1);
	ASSERT_EQ(drops.size(), 1u);
	EXPECT_EQ(drops[0].sid, "uuid:a");
	EXPECT_EQ(drops[0].endPoint, "http://a");
	EXPECT_EQ(drops[0].reason, EventDispatcher::DROP_DELIVERY_FAILING);
	EXPECT_EQ(drops[0].message, "deliveries failing");
	EXPECT_EQ(pDispatcher->subscriberCount(), 1u);
	EXPECT_THROW(pDispatcher->subscribe("uuid:a", "", NEVER), NotFoundException);
	EXPECT_TRUE(network.waitFor("http://b", "sent", 6));

	const auto failed = reports.failures(5);
	EXPECT_EQ(failed[0].eventName, "Ev");
	EXPECT_EQ(failed[0].error, "Transport exception: HTTP Error: Gone");
	EXPECT_EQ(
	    pChannel->count("Dropped subscriber uuid:a at http://a: deliveries failing", Message::PRIO_WARNING),
	    1u);
	EXPECT_EQ(pChannel->count(
	              "Event Ev to subscriber uuid:a at http://a failed: Transport exception: HTTP Error: Gone",
	              Message::PRIO_NOTICE),
	          5u);
}

namespace {

struct FailurePoint
{
	const char* name;
	Behaviour behaviour;
	bool writerThrows;
	const char* error;
};

void PrintTo(const FailurePoint& point, std::ostream* pStream)
{
	*pStream << point.name;
}

} // namespace

class EventDispatcherFailureTest : public EventDispatcherTest,
                                   public ::testing::WithParamInterface<FailurePoint>
{
};

TEST_P(EventDispatcherFailureTest, AFailureAnywhereIsReportedAndStillEndsTheRequest)
{
	const FailurePoint& point = GetParam();
	EventDispatcherParams params;
	params.failureGrace = Timespan(0);
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher(params);
	Reports reports(*pDispatcher);
	network.setBehaviour("http://a", point.behaviour);
	pDispatcher->subscribe("uuid:a", "http://a", NEVER);

	pDispatcher->fireEvent("Ev", [&](Serializer& serializer) {
		if (point.writerThrows) throw std::runtime_error("bad value");
		serializer.serialize("data", 1);
	});
	ASSERT_EQ(reports.drops(1).size(), 1u);

	const std::vector<std::string> records = network.records("http://a");
	EXPECT_EQ(std::count(records.begin(), records.end(), "endRequest"), 1);
	EXPECT_EQ(reports.failures(1).at(0).error, point.error);
}

INSTANTIATE_TEST_SUITE_P(
    Points, EventDispatcherFailureTest,
    ::testing::Values(FailurePoint{"beginMessage", Behaviour::FAIL_BEGIN, false, "I/O error: cannot begin"},
                      FailurePoint{"writer", Behaviour::DELIVER, true, "bad value"},
                      FailurePoint{"serializer", Behaviour::FAIL_SERIALIZE, false, "I/O error: cannot write"},
                      FailurePoint{"sendMessage", Behaviour::FAIL_SEND, false,
                                   "Transport exception: HTTP Error: Gone"},
                      FailurePoint{"endRequest", Behaviour::FAIL_END, false, "I/O error: cannot end"}),
    [](const ::testing::TestParamInfo<FailurePoint>& info) { return std::string(info.param.name); });

TEST_F(EventDispatcherTest, ASubscriberWhoseQueueIsFullIsDroppedAtOnce)
{
	EventDispatcherParams params;
	params.maxQueuedEvents = 2;
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher(params);
	Reports reports(*pDispatcher);
	network.setBehaviour("http://slow", Behaviour::BLOCK);
	pDispatcher->subscribe("uuid:slow", "http://slow", NEVER);
	pDispatcher->subscribe("uuid:b", "http://b", NEVER);

	// b takes each event before the next is fired, so only slow's queue fills.
	pDispatcher->fireEvent("Ev", value(1));
	ASSERT_TRUE(network.waitFor("http://slow", "blocked")); // 1 in flight
	for (int i = 2; i <= 4; ++i)                            // 2 and 3 queued, then 4 overflows
	{
		ASSERT_TRUE(network.waitFor("http://b", "sent", std::size_t(i - 1)));
		pDispatcher->fireEvent("Ev", value(i));
	}

	EXPECT_EQ(pDispatcher->subscriberCount(), 1u);
	// The drop happens on the firing thread, before fireEvent() returns.
	const auto drops = reports.drops(1);
	EXPECT_EQ(drops.at(0).reason, EventDispatcher::DROP_QUEUE_FULL);
	EXPECT_EQ(drops.at(0).message, "event queue full");
	EXPECT_EQ(pChannel->count("Dropped subscriber uuid:slow at http://slow: event queue full",
	                          Message::PRIO_WARNING),
	          1u);
	ASSERT_TRUE(network.waitFor("http://b", "sent", 4));

	network.release();
	ASSERT_TRUE(network.waitFor("http://slow", "destroyed"));
	EXPECT_EQ(network.delivered("http://slow"), std::vector<std::string>{"Ev data=1"});
}

TEST_F(EventDispatcherTest, StopDropsQueuedEventsAndWaitsForTheDeliveryInFlight)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	network.setBehaviour("http://slow", Behaviour::BLOCK);
	pDispatcher->subscribe("uuid:slow", "http://slow", NEVER);
	for (int i = 1; i <= 3; ++i)
		pDispatcher->fireEvent("Ev", value(i));
	ASSERT_TRUE(network.waitFor("http://slow", "blocked"));

	std::thread stopping([&] { pDispatcher->stop(); });
	ASSERT_TRUE(eventually([&] { return pDispatcher->subscriberCount() == 0; }));
	network.release();
	stopping.join();

	EXPECT_EQ(network.delivered("http://slow"), std::vector<std::string>{"Ev data=1"});
	EXPECT_EQ(network.transports, 0);
	pDispatcher->fireEvent("Ev", value(4));
	try
	{
		pDispatcher->subscribe("uuid:late", "http://late", NEVER);
		ADD_FAILURE() << "no exception";
	}
	catch (const IllegalStateException& exc)
	{
		EXPECT_EQ(exc.message(), "Event dispatcher stopped");
	}
	pDispatcher->stop();
}

TEST_F(EventDispatcherTest, DestructionWithADeliveryInFlightJoinsItsThreads)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	network.setBehaviour("http://slow", Behaviour::BLOCK);
	pDispatcher->subscribe("uuid:slow", "http://slow", NEVER);
	pDispatcher->subscribe("uuid:b", "http://b", NEVER);
	pDispatcher->fireEvent("Ev", value(1));
	pDispatcher->fireEvent("Ev", value(2));

	ASSERT_TRUE(network.waitFor("http://slow", "blocked"));
	std::thread releasing([&] { network.release(); });
	pDispatcher = nullptr;
	releasing.join();
	EXPECT_EQ(network.transports, 0);
}

TEST_F(EventDispatcherTest, DelegatesRunWithoutLocksAndTheirFailuresAreLogged)
{
	EventDispatcherParams params;
	params.failureGrace = Timespan(0);
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher(params);
	// A delegate that calls back into the dispatcher would deadlock if a lock
	// were held; stopping from a delivery thread is refused.
	pDispatcher->deliveryFailed += Delegate<const EventDispatcher::DeliveryFailure>(
	    [&](const void*, const EventDispatcher::DeliveryFailure&) {
		    EXPECT_EQ(pDispatcher->subscriberCount(), 0u);
		    pDispatcher->stop();
	    });
	network.setBehaviour("http://a", Behaviour::FAIL_SEND);
	pDispatcher->subscribe("uuid:a", "http://a", NEVER);
	pDispatcher->fireEvent("Ev", value(1));

	EXPECT_TRUE(pChannel->waitFor(1,
	                              "Event dispatcher delegate failed: Illegal state: Event dispatcher stopped "
	                              "from its own delivery thread",
	                              Message::PRIO_ERROR));
}

TEST_F(EventDispatcherTest, FactoryAndConnectFailuresAddNoSubscriber)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	EXPECT_THROW(pDispatcher->subscribe("uuid:a", "unreachable", NEVER), IOException);
	EXPECT_EQ(pDispatcher->subscriberCount(), 0u);
	EXPECT_EQ(network.transports, 0);

	AutoPtr<EventDispatcher> pNoFactory(new EventDispatcher("no-such-protocol"));
	EXPECT_THROW(pNoFactory->subscribe("uuid:a", "http://a", NEVER), NotFoundException);
	EXPECT_EQ(pNoFactory->subscriberCount(), 0u);
}

TEST(EventDispatcherParamsTest, LimitsOutOfRangeAreRefused)
{
	struct Row
	{
		const char* name;
		std::function<void(EventDispatcherParams&)> change;
		const char* message;
	};
	const Row rows[] = {
	    {"no threads", [](EventDispatcherParams& p) { p.deliveryThreads = 0; },
	     "Delivery threads must be at least 1"},
	    {"no queue", [](EventDispatcherParams& p) { p.maxQueuedEvents = 0; },
	     "Maximum queued events must be at least 1"},
	    {"negative grace", [](EventDispatcherParams& p) { p.failureGrace = Timespan(-1); },
	     "Failure grace must not be negative"},
	};
	for (const Row& row : rows)
	{
		SCOPED_TRACE(row.name);
		EventDispatcherParams params;
		row.change(params);
		try
		{
			AutoPtr<EventDispatcher> pDispatcher(new EventDispatcher("p", params));
			ADD_FAILURE() << "no exception";
		}
		catch (const InvalidArgumentException& exc)
		{
			EXPECT_EQ(exc.message(), row.message);
		}
	}
}
