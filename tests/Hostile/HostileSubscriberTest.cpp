// Subscribers whose callbacks misbehave, as the publisher meets them: the
// event dispatcher delivers through GENA transports to a hostile peer and to
// a well-behaved one side by side. The hostile subscriber ends in a failed
// delivery and is dropped; the other one gets every event in order.

#include "HostilePeer.h"
#include "RecordingServer.h"

#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Clock.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using HostileTesting::HostilePeer;
using Tavik::Callweave::EventDispatcher;

namespace {

const Clock NEVER(0);

/// What a misbehaving callback does with each NOTIFY, and the text its
/// failed delivery reports.
struct SubscriberCase
{
	const char* name;
	HostilePeer::Behaviour behaviour;
	const char* failure;
};

/// Records the dispatcher's reports on failed deliveries and drops.
class DispatcherReports
{
public:
	explicit DispatcherReports(EventDispatcher& dispatcher)
	{
		dispatcher.deliveryFailed += Delegate<const EventDispatcher::DeliveryFailure>(
		    [this](const void*, const EventDispatcher::DeliveryFailure& failure) {
			    std::lock_guard<std::mutex> lock(_mutex);
			    _failures.push_back(failure);
			    _changed.notify_all();
		    });
		dispatcher.subscriberDropped += Delegate<const EventDispatcher::SubscriberDrop>(
		    [this](const void*, const EventDispatcher::SubscriberDrop& drop) {
			    std::lock_guard<std::mutex> lock(_mutex);
			    _drops.push_back(drop);
			    _changed.notify_all();
		    });
	}

	/// The first drop, once there is one; fails the test at the deadline.
	EventDispatcher::SubscriberDrop firstDrop()
	{
		std::unique_lock<std::mutex> lock(_mutex);
		EXPECT_TRUE(_changed.wait_for(lock, TestSupport::DEADLINE, [this] { return !_drops.empty(); }));
		return _drops.empty() ? EventDispatcher::SubscriberDrop{} : _drops.front();
	}

	std::vector<EventDispatcher::DeliveryFailure> failures()
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _failures;
	}

private:
	std::mutex _mutex;
	std::condition_variable _changed;
	std::vector<EventDispatcher::DeliveryFailure> _failures;
	std::vector<EventDispatcher::SubscriberDrop> _drops;
};

class HostileSubscriberTest : public testing::TestWithParam<SubscriberCase>
{
protected:
	void TearDown() override
	{
		if (pDispatcher) pDispatcher->stop();
		TransportFactory::unregisterFactory();
	}

	/// A dispatcher whose NOTIFY exchanges give up after timeoutSeconds.
	void start(const Callweave::EventDispatcherParams& params, long timeoutSeconds = 1)
	{
		TransportFactory::registerFactory(Timespan(timeoutSeconds, 0), false, Timespan(1, 0));
		pDispatcher = new EventDispatcher(Transport::PROTOCOL, params);
		pReports.reset(new DispatcherReports(*pDispatcher));
	}

	/// Enters a subscriber as the initial event notification does.
	void subscribe(const std::string& sid, const std::string& callbackURL)
	{
		pDispatcher->subscribe(sid, callbackURL, NEVER);
		ScopedLock<FastMutex> lock(pDispatcher->mutex());
		pDispatcher->transportForSubscriber(sid)->setAttribute(Transport::HDR_SID, sid);
	}

	void fire(int value)
	{
		pDispatcher->fireEvent(
		    "Status", [value](Callweave::Serializer& serializer) { serializer.serialize("data", value); });
	}

	static std::vector<std::string> sequenceNumbers(const TestSupport::RecordingServer& subscriber)
	{
		std::vector<std::string> numbers;
		for (const TestSupport::RecordedRequest& request : subscriber.requests())
			numbers.push_back(request.headers.get("SEQ"));
		return numbers;
	}

	// Members in this order, so that TearDown() stops deliveries before the peers go.
	TestSupport::RecordingServer good;
	AutoPtr<EventDispatcher> pDispatcher;
	std::unique_ptr<DispatcherReports> pReports;
};

const SubscriberCase SUBSCRIBER_CASES[] = {
    {"ResetsMidNotify",
     [](int fd) {
	     HostileTesting::readHead(fd);
	     HostileTesting::resetConnection(fd);
	     return false;
     },
     "Connection reset"},
    {"AcceptsAndNeverReads", [](int) { return true; }, "Timeout"},
    {"AnswersGarbage",
     [](int fd) {
	     HostileTesting::readRequest(fd);
	     HostileTesting::sendAll(fd, "\x16\x03\x01 this is no HTTP at all\r\n\r\n");
	     ::close(fd);
	     return false;
     },
     "Malformed"},
};

} // namespace

TEST_P(HostileSubscriberTest, IsDroppedWhileTheOthersGetEveryEvent)
{
	HostilePeer hostile(GetParam().behaviour);
	Callweave::EventDispatcherParams params;
	params.failureGrace = Timespan(0);
	start(params);
	subscribe("uuid:good", good.url("/cb"));
	subscribe("uuid:hostile", hostile.url("/cb"));

	for (int value = 1; value <= 3; ++value)
		fire(value);

	const EventDispatcher::SubscriberDrop drop = pReports->firstDrop();
	EXPECT_EQ("uuid:hostile", drop.sid);
	EXPECT_EQ(EventDispatcher::DROP_DELIVERY_FAILING, drop.reason);
	ASSERT_FALSE(pReports->failures().empty());
	EXPECT_NE(std::string::npos, pReports->failures().front().error.find(GetParam().failure))
	    << pReports->failures().front().error;
	ASSERT_TRUE(good.waitFor(3));
	EXPECT_EQ(std::vector<std::string>({"1", "2", "3"}), sequenceNumbers(good));
	EXPECT_EQ(1u, pDispatcher->subscriberCount());
}

INSTANTIATE_TEST_SUITE_P(Callbacks, HostileSubscriberTest, testing::ValuesIn(SUBSCRIBER_CASES),
                         [](const testing::TestParamInfo<SubscriberCase>& info) { return info.param.name; });

// A callback that never reads holds its delivery until the time-out (longer
// than the test); the events fired meanwhile wait in its queue, which is
// bounded: the subscriber is dropped when it is full, however many events
// follow. Each event is fired once the good subscriber has the one before,
// so that only the hostile queue fills.
TEST_F(HostileSubscriberTest, NeverReadingCallbackIsDroppedWhenItsQueueIsFull)
{
	HostilePeer hostile([](int) { return true; });
	Callweave::EventDispatcherParams params;
	params.maxQueuedEvents = 4;
	start(params, 60);
	subscribe("uuid:good", good.url("/cb"));
	subscribe("uuid:hostile", hostile.url("/cb"));

	for (int value = 1; value <= 50; ++value)
	{
		fire(value);
		ASSERT_TRUE(good.waitFor(std::size_t(value)));
	}

	const EventDispatcher::SubscriberDrop drop = pReports->firstDrop();
	EXPECT_EQ("uuid:hostile", drop.sid);
	EXPECT_EQ(EventDispatcher::DROP_QUEUE_FULL, drop.reason);
	EXPECT_EQ("event queue full", drop.message);
	EXPECT_EQ("50", sequenceNumbers(good).back());
	EXPECT_EQ(1u, pDispatcher->subscriberCount());
}
