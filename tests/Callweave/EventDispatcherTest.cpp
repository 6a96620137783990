#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/TransportFactoryManager.h"
#include "Tavik/Logger.h"
#include "Tavik/TestChannel.h"

#include "CallweaveFakes.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <thread>

using namespace CallweaveFakes;

namespace {

const Clock::ClockVal SECOND = Timespan::SECONDS;
const Clock NEVER(0);

EventDispatcher::EventWriter value(int data)
{
	return [data](Serializer& serializer) { serializer.serialize("data", data); };
}

class EventDispatcherTest : public ::testing::Test
{
protected:
	void SetUp() override
	{
		TransportFactoryManager::instance().registerFactory("fake", new FakeTransportFactory(network));
		Logger::setChannel("Tavik.Callweave", pChannel); // the dispatcher's and the transports' logs
	}

	void TearDown() override { TransportFactoryManager::instance().unregisterFactory("fake"); }

	AutoPtr<EventDispatcher> makeDispatcher(EventDispatcherParams params = EventDispatcherParams())
	{
		params.clock = [this] { return Clock(now.load()); };
		return new EventDispatcher("fake", params);
	}

	/// Subscribers that never expire, each named as its end point.
	static void subscribe(EventDispatcher& dispatcher, std::initializer_list<const char*> names)
	{
		for (const char* name : names)
			dispatcher.subscribe(name, name, NEVER);
	}

	bool logged(const std::string& text, std::size_t n = 1) { return pChannel->waitFor(n, text); }
	bool waitFor(const std::string& to, const std::string& record, std::size_t n = 1) { return logged(to + ": " + record, n); }

	FakeNetwork network;
	AutoPtr<TestChannel> pChannel = new TestChannel;
	std::atomic<Clock::ClockVal> now{100 * SECOND};
};

} // namespace

TEST_F(EventDispatcherTest, SubscribersJoinOnceConnectedAndLeaveWhenTheyUnsubscribeOrExpire)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	EXPECT_EQ(errorOf([&] { subscribe(*pDispatcher, {"unreachable"}); }), "I/O error: cannot connect");
	AutoPtr<EventDispatcher> pNoFactory(new EventDispatcher("none"));
	EXPECT_EQ(errorOf([&] { subscribe(*pNoFactory, {"a"}); }), "Not found: No transport factory registered: none");
	for (const char* name : {"a", "b", "c"})
		pDispatcher->subscribe(name, name, Clock(now + SECOND / 2));
	pDispatcher->subscribe("c", "", Clock(now + 100 * SECOND)); // renewed
	pDispatcher->subscribe("e", "e", Clock(now + 300 * SECOND));
	subscribe(*pDispatcher, {"d"});
	pDispatcher->unsubscribe("d");
	EXPECT_EQ(pChannel->count("d: destroyed"), 1u);

	// Within a second of the last sweep: a and b are gone all the same.
	now += SECOND / 2;
	EXPECT_EQ(pDispatcher->subscriberCount() + pNoFactory->subscriberCount(), 2u);
	EXPECT_EQ(errorOf([&] { pDispatcher->subscribe("a", "", NEVER); }), "Not found: Unknown subscriber: a");
	pDispatcher->subscribe("b", "b2", NEVER);
	EXPECT_EQ(pChannel->count("a: destroyed") + pChannel->count("b: destroyed"), 2u);

	// The sweep of a new subscription removes c, an event removes e.
	now += 100 * SECOND;
	subscribe(*pDispatcher, {"f"});
	EXPECT_EQ(pChannel->count("c: destroyed"), 1u);
	now += 200 * SECOND;
	pDispatcher->fireEvent("Ev", value(1));
	EXPECT_EQ(pChannel->count("e: destroyed"), 1u);
	EXPECT_TRUE(waitFor("b2", "[") && waitFor("f", "["));
	EXPECT_EQ(errorOf([&] { pDispatcher->unsubscribe("e"); }), "Not found: Unknown subscriber: e");
}

TEST_F(EventDispatcherTest, EverySubscriberGetsEveryEventInTheOrderFired)
{
	EventDispatcherParams params;
	params.deliveryThreads = 2;
	params.maxQueuedEvents = 1000;
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher(params);
	subscribe(*pDispatcher, {"a", "b", "c"});
	std::vector<std::thread> firing;
	for (int thread = 0; thread < 4; ++thread)
	{
		firing.emplace_back([&, thread] {
			for (int i = 0; i < 100; ++i)
				pDispatcher->fireEvent("T" + std::to_string(thread), value(i));
		});
	}
	for (std::thread& thread : firing)
		thread.join();
	pDispatcher->fireEvent("End", nullptr);

	for (const char* name : {"a", "b", "c"})
	{
		ASSERT_TRUE(waitFor(name, "[End]"));
		const std::string prefix = name + std::string(": [T");
		std::vector<int> next(4, 0);
		for (const Message& message : pChannel->messages())
		{
			if (message.text().rfind(prefix, 0) != 0) continue;
			const int thread = message.text()[prefix.size()] - '0';
			EXPECT_EQ(message.text(), prefix + std::to_string(thread) + " data=" + std::to_string(next[thread]++) + "]");
		}
		EXPECT_EQ(next, std::vector<int>(4, 100));
	}
}

TEST_F(EventDispatcherTest, ASlowSubscriberDelaysNoOtherAndIsDroppedOnceItsQueueIsFullAndStopWaitsForIt)
{
	EventDispatcherParams params;
	params.maxQueuedEvents = 2;
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher(params);
	std::vector<std::string> drops;
	pDispatcher->subscriberDropped += Delegate<const EventDispatcher::SubscriberDrop>(
	    [&](const void*, const EventDispatcher::SubscriberDrop& drop) {
		    drops.push_back(drop.sid + " at " + drop.endPoint + ": " + drop.message + " " + std::to_string(drop.reason));
	    });
	subscribe(*pDispatcher, {"slow", "b"});
	pDispatcher->fireEvent("Ev", value(1));
	ASSERT_TRUE(waitFor("slow", "blocked"));
	for (int i = 2; i <= 4; ++i) // 1 in flight, 2 and 3 wait, 4 is one too many; b keeps up
	{
		ASSERT_TRUE(waitFor("b", "[", std::size_t(i - 1)));
		pDispatcher->fireEvent("Ev", value(i));
	}
	EXPECT_TRUE(waitFor("b", "[", 4));

	// Dropped on the firing thread, before fireEvent() returned.
	EXPECT_EQ(drops, std::vector<std::string>{"slow at slow: event queue full 0"});
	EXPECT_EQ(pChannel->count("Dropped subscriber slow at slow: event queue full", Message::PRIO_WARNING), 1u);
	EXPECT_EQ(pDispatcher->subscriberCount(), 1u);

	std::thread releasing([&] { network.released.open(); });
	pDispatcher->stop();
	releasing.join();
	EXPECT_EQ(pChannel->count("slow: ["), 1u);
	EXPECT_EQ(pChannel->count("slow: [Ev data=1]"), 1u);
	EXPECT_EQ(network.transports, 0);
	EXPECT_EQ(pDispatcher->subscriberCount(), 0u);
	EXPECT_EQ(errorOf([&] { subscribe(*pDispatcher, {"late"}); }), "Illegal state: Event dispatcher stopped");
	pDispatcher->stop();
}

TEST_F(EventDispatcherTest, ASubscriberFailingForTheGraceIsDroppedAndASuccessRestartsTheGrace)
{
	EventDispatcherParams params;
	params.failureGrace = Timespan(10 * SECOND);
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher(params);
	subscribe(*pDispatcher, {"flaky", "b"});
	// A failure is logged once counted: only then does the clock move on.
	auto failAfter = [&, failures = std::size_t(0)](int seconds) mutable {
		now += seconds * SECOND;
		pDispatcher->fireEvent("Ev", value(seconds));
		return logged("Event Ev to subscriber flaky at flaky failed: Transport exception: HTTP Error: Gone",
		              ++failures);
	};

	ASSERT_TRUE(failAfter(0) && failAfter(9));
	network.failing = false;
	pDispatcher->fireEvent("Ev", value(0));
	ASSERT_TRUE(waitFor("flaky", "["));
	network.failing = true;
	ASSERT_TRUE(failAfter(1) && failAfter(9) && failAfter(1)); // 10 s into the second run of failures
	EXPECT_TRUE(logged("Dropped subscriber flaky at flaky: deliveries failing"));
	EXPECT_EQ(pChannel->count("Dropped subscriber", Message::PRIO_WARNING), 1u);
	EXPECT_EQ(pDispatcher->subscriberCount(), 1u);
}

TEST_F(EventDispatcherTest, AFailureAnywhereIsLoggedAndReportedAndStillEndsTheRequest)
{
	AutoPtr<EventDispatcher> pDispatcher = makeDispatcher();
	// Delegates run unlocked, or the first call would deadlock; the second fails, which is logged.
	pDispatcher->deliveryFailed += Delegate<const EventDispatcher::DeliveryFailure>(
	    [&](const void*, const EventDispatcher::DeliveryFailure& failure) {
		    EXPECT_EQ(pDispatcher->subscriberCount(), 4u) << failure.sid;
		    pDispatcher->stop();
	    });
	subscribe(*pDispatcher, {"fail-begin", "fail-send", "fail-end", "ok"});
	pDispatcher->fireEvent("Ev", value(1));
	pDispatcher->fireEvent("Std", [](Serializer&) { throw std::runtime_error("bad value"); });
	pDispatcher->fireEvent("Foreign", [](Serializer&) { throw 42; });

	for (const char* name : {"fail-begin", "fail-send", "fail-end", "ok"})
		EXPECT_TRUE(waitFor(name, "endRequest", 3)) << name;
	for (const char* text : {"Event Ev to subscriber fail-begin at fail-begin failed: I/O error: cannot begin",
	                         "Event Ev to subscriber fail-send at fail-send failed: Transport exception: HTTP Error: Gone",
	                         "Event Ev to subscriber fail-end at fail-end failed: I/O error: cannot end",
	                         "Event Std to subscriber ok at ok failed: bad value",
	                         "Event Foreign to subscriber ok at ok failed: unknown exception"})
		EXPECT_TRUE(logged(text)) << text;
	EXPECT_TRUE(pChannel->waitFor(11, "failed", Message::PRIO_NOTICE));
	EXPECT_TRUE(pChannel->waitFor(
	    11, "Event dispatcher delegate failed: Illegal state: Event dispatcher stopped from its own delivery thread",
	    Message::PRIO_ERROR));
}

TEST(EventDispatcherParamsTest, LimitsOutOfRangeAreRefused)
{
	EventDispatcherParams params[3];
	params[0].deliveryThreads = 0;
	params[1].maxQueuedEvents = 0;
	params[2].failureGrace = Timespan(-1);
	const char* errors[] = {"Delivery threads must be at least 1", "Maximum queued events must be at least 1",
	                        "Failure grace must not be negative"};
	for (int i = 0; i < 3; ++i)
		EXPECT_EQ(errorOf([&] { AutoPtr<EventDispatcher>(new EventDispatcher("p", params[i])); }),
		          std::string("Invalid argument: ") + errors[i]);
}
