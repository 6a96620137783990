// The publisher side end to end on loopback: the GENA transport factory
// registered with the framework, a real event dispatcher, initial
// notifications run on the default thread pool, and recording subscribers.

#include "GENATestSupport.h"
#include "RecordingServer.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Clock.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/InitialEventNotificationThread.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Callweave::EventDispatcher;
using TestSupport::RecordedRequest;
using TestSupport::RecordingServer;

namespace {

const Clock NEVER(0);
const Timespan::TimeDiff SECOND = Timespan::SECONDS;

void fireStatus(EventDispatcher& dispatcher, int value)
{
	dispatcher.fireEvent("Status",
	                     [value](Callweave::Serializer& serializer) { serializer.serialize("data", value); });
}

class PublisherTest : public ::testing::Test
{
protected:
	void TearDown() override
	{
		if (pDispatcher) pDispatcher->stop();
		TransportFactory::unregisterFactory();
	}

	/// Subscribes sid the way the SUBSCRIBE handler does, and waits until its
	/// initial notification has finished.
	void subscribe(const std::string& sid, const std::string& callbackURL)
	{
		ThreadPool::defaultPool().start(*new InitialEventNotificationThread(
		    *pListener, pDispatcher, callbackURL, sid, "/svc/evt", NEVER));
		ThreadPool::defaultPool().joinAll();
	}

	std::vector<std::string> sequenceNumbers(const RecordingServer& subscriber)
	{
		std::vector<std::string> numbers;
		for (const RecordedRequest& request : subscriber.requests())
			numbers.push_back(request.headers.get("SEQ"));
		return numbers;
	}

	Util::Timer timer;
	AutoPtr<Listener> pListener = new Listener("127.0.0.1:4711", timer);
	TestSupport::TestState provider{{{"Status", "0"}}};
	// Members, so that TearDown() stops the deliveries before the servers go.
	RecordingServer first;
	RecordingServer second;
	AutoPtr<EventDispatcher> pDispatcher;
};

} // namespace

TEST_F(PublisherTest, SlowSubscriberDoesNotDelayTheOthers)
{
	TransportFactory::registerFactory();
	pDispatcher = new EventDispatcher(Transport::PROTOCOL);
	pListener->registerStateProvider("/svc/evt", &provider);
	RecordingServer& fast = first;
	RecordingServer& slow = second;
	TestSupport::Gate slowAnswers;
	// Holds every regular event to the slow subscriber until the test opens the gate.
	slow.answerWith([&](const RecordedRequest& request) {
		if (request.headers.get("SEQ") != "0") slowAnswers.wait();
		return Net::HTTPResponse::HTTP_OK;
	});
	subscribe("uuid:fast", fast.url("/cb"));
	subscribe("uuid:slow", slow.url("/cb"));

	for (int value = 1; value <= 3; ++value)
		fireStatus(*pDispatcher, value);

	const bool fastServed = fast.waitFor(4);
	slowAnswers.open();
	ASSERT_TRUE(fastServed);
	ASSERT_TRUE(slow.waitFor(4));
	const std::vector<std::string> inOrder = {"0", "1", "2", "3"};
	EXPECT_EQ(sequenceNumbers(fast), inOrder);
	EXPECT_EQ(sequenceNumbers(slow), inOrder);
}

TEST_F(PublisherTest, KeepAliveFactoryReusesOneConnectionPerSubscriber)
{
	TransportFactory::registerFactory(Timespan(10 * SECOND), true, Timespan(60 * SECOND));
	pDispatcher = new EventDispatcher(Transport::PROTOCOL);
	RecordingServer& subscriber = first;
	subscribe("uuid:a", subscriber.url("/cb"));

	for (int value = 1; value <= 3; ++value)
		fireStatus(*pDispatcher, value);

	ASSERT_TRUE(subscriber.waitFor(3));
	const auto requests = subscriber.requests();
	EXPECT_EQ(sequenceNumbers(subscriber), std::vector<std::string>({"1", "2", "3"}));
	EXPECT_EQ(requests[0].clientPort, requests[1].clientPort);
	EXPECT_EQ(requests[1].clientPort, requests[2].clientPort);
}

TEST_F(PublisherTest, DeadSubscriberIsDroppedAfterTheGrace)
{
	TransportFactory::registerFactory();
	std::atomic<Clock::ClockVal> now{100 * SECOND};
	Callweave::EventDispatcherParams params;
	params.failureGrace = Timespan(30 * SECOND);
	params.clock = [&now] { return Clock(now.load()); };
	pDispatcher = new EventDispatcher(Transport::PROTOCOL, params);

	std::mutex mutex;
	std::condition_variable changed;
	int failures = 0;
	std::vector<std::string> dropped;
	pDispatcher->deliveryFailed += Delegate<const EventDispatcher::DeliveryFailure>(
	    [&](const void*, const EventDispatcher::DeliveryFailure&) {
		    std::lock_guard<std::mutex> lock(mutex);
		    ++failures;
		    changed.notify_all();
	    });
	pDispatcher->subscriberDropped += Delegate<const EventDispatcher::SubscriberDrop>(
	    [&](const void*, const EventDispatcher::SubscriberDrop& drop) {
		    std::lock_guard<std::mutex> lock(mutex);
		    dropped.push_back(drop.sid);
		    changed.notify_all();
	    });

	std::string deadURL;
	{
		RecordingServer gone;
		deadURL = gone.url("/cb");
	}
	RecordingServer& alive = first;
	subscribe("uuid:dead", deadURL);
	subscribe("uuid:alive", alive.url("/cb"));

	// The first failure starts the grace; the subscriber stays.
	fireStatus(*pDispatcher, 1);
	{
		std::unique_lock<std::mutex> lock(mutex);
		ASSERT_TRUE(changed.wait_for(lock, TestSupport::DEADLINE, [&] { return failures >= 1; }));
		EXPECT_TRUE(dropped.empty());
	}
	EXPECT_EQ(pDispatcher->subscriberCount(), 2u);

	// A failure once the grace has passed drops it; the other one is served on.
	now += 30 * SECOND;
	fireStatus(*pDispatcher, 2);
	{
		std::unique_lock<std::mutex> lock(mutex);
		ASSERT_TRUE(changed.wait_for(lock, TestSupport::DEADLINE, [&] { return !dropped.empty(); }));
		EXPECT_EQ(dropped, std::vector<std::string>({"uuid:dead"}));
	}
	EXPECT_EQ(pDispatcher->subscriberCount(), 1u);
	ASSERT_TRUE(alive.waitFor(2));
	EXPECT_EQ(sequenceNumbers(alive), std::vector<std::string>({"1", "2"}));
}
