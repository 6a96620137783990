// Peers on a host that stops answering: packets to it are dropped, nothing is
// refused. The other host is a network namespace on a veth link (see
// NetworkNamespace); the tests skip where one cannot be made.

#include "GENATestSupport.h"
#include "NetworkNamespace.h"
#include "RecordingServer.h"
#include "ScriptedPublisher.h"

#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Clock.h"
#include "Tavik/Logger.h"
#include "Tavik/Message.h"
#include "Tavik/TestChannel.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/InitialEventNotificationThread.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Callweave::EventDispatcher;
using TestSupport::EventCounter;
using TestSupport::PublisherAnswer;
using TestSupport::PublisherRequest;
using TestSupport::RecordingServer;
using TestSupport::ScriptedPublisher;

namespace {

const Timespan::TimeDiff SECOND = Timespan::SECONDS;
/// How long a NOTIFY waits for the silent host. Long against a loopback
/// delivery, so that the others' events all arrive while the first delivery to
/// the silent host is still waiting; short enough to keep the test brief.
const Timespan DELIVERY_TIMEOUT(3 * SECOND);
const Timespan::TimeDiff FAILURE_GRACE = 60 * SECOND;

class Light : public StateProvider
{
public:
	std::vector<std::pair<std::string, std::string>> currentState() override { return {{"Status", "0"}}; }
};

/// Records what the dispatcher reports, for the test to wait on.
struct DispatcherReports
{
	bool waitFor(const std::function<bool()>& condition)
	{
		std::unique_lock<std::mutex> lock(mutex);
		return changed.wait_for(lock, TestSupport::DEADLINE, condition);
	}

	std::mutex mutex;
	std::condition_variable changed;
	std::vector<EventDispatcher::DeliveryFailure> failures;
	std::vector<EventDispatcher::SubscriberDrop> drops;
};

/// The transport factory registered for one test, whatever way it ends.
struct FactoryRegistration
{
	explicit FactoryRegistration(const Timespan& timeout)
	{
		TransportFactory::registerFactory(timeout, false, TransportFactory::DEFAULT_KEEP_ALIVE_TIMEOUT);
	}
	~FactoryRegistration() { TransportFactory::unregisterFactory(); }
};

class DeadHostTest : public ::testing::Test
{
protected:
	void SetUp() override
	{
		try
		{
			pNet = std::make_unique<DeadHost::NetworkNamespace>();
		}
		catch (const DeadHost::NetworkNamespace::Unavailable& exc)
		{
			GTEST_SKIP() << "needs a network namespace (root and iproute2): " << exc.what();
		}
		for (const char* logger : LOGGERS)
		{
			Logger::setChannel(logger, pChannel);
			Logger::setLevel(logger, Message::PRIO_DEBUG);
		}
	}

	void TearDown() override
	{
		for (const char* logger : LOGGERS)
			Logger::setChannel(logger, nullptr);
	}

	static constexpr const char* LOGGERS[] = {"UPnP.GENA", "Tavik.Callweave.EventDispatcher"};

	AutoPtr<TestChannel> pChannel = new TestChannel;

	std::unique_ptr<DeadHost::NetworkNamespace> pNet;
};

std::vector<std::string> sequenceNumbers(const RecordingServer& subscriber)
{
	std::vector<std::string> numbers;
	for (const TestSupport::RecordedRequest& request : subscriber.requests())
		numbers.push_back(request.headers.get("SEQ"));
	return numbers;
}

} // namespace

TEST_F(DeadHostTest, SilentSubscriberTimesOutWithoutDelayingOthersAndIsDropped)
{
	const FactoryRegistration registration(DELIVERY_TIMEOUT);
	std::atomic<Clock::ClockVal> now{100 * SECOND};
	Callweave::EventDispatcherParams params;
	params.failureGrace = Timespan(FAILURE_GRACE);
	params.clock = [&now] { return Clock(now.load()); };
	DispatcherReports reports;
	AutoPtr<EventDispatcher> pDispatcher = new EventDispatcher(Transport::PROTOCOL, params);
	pDispatcher->deliveryFailed += Delegate<const EventDispatcher::DeliveryFailure>(
	    [&](const void*, const EventDispatcher::DeliveryFailure& failure) {
		    std::lock_guard<std::mutex> lock(reports.mutex);
		    reports.failures.push_back(failure);
		    reports.changed.notify_all();
	    });
	pDispatcher->subscriberDropped += Delegate<const EventDispatcher::SubscriberDrop>(
	    [&](const void*, const EventDispatcher::SubscriberDrop& drop) {
		    std::lock_guard<std::mutex> lock(reports.mutex);
		    reports.drops.push_back(drop);
		    reports.changed.notify_all();
	    });
	Util::Timer timer;
	AutoPtr<Listener> pListener = new Listener("127.0.0.1:1", timer);
	Light light;
	pListener->registerStateProvider("/light/event", &light);
	pNet->pinPeerAddress();
	std::unique_ptr<RecordingServer> pSilent = pNet->inside(
	    [&] { return std::make_unique<RecordingServer>(Net::HTTPServerParams(), pNet->peerAddress()); });
	RecordingServer alive;
	// Both subscribe while the other host still answers; each gets its initial event.
	for (const auto& subscriber :
	     {std::make_pair("uuid:silent", pSilent->url("/cb")), std::make_pair("uuid:alive", alive.url("/cb"))})
	{
		ThreadPool::defaultPool().start(*new InitialEventNotificationThread(
		    *pListener, pDispatcher, subscriber.second, subscriber.first, "/light/event", Clock(0)));
	}
	ThreadPool::defaultPool().joinAll();
	ASSERT_EQ(2u, pDispatcher->subscriberCount());
	ASSERT_EQ(1u, pSilent->requests().size());

	pNet->setPeerAnswering(false);
	for (int value = 1; value <= 3; ++value)
		pDispatcher->fireEvent(
		    "Status", [value](Callweave::Serializer& serializer) { serializer.serialize("data", value); });

	ASSERT_TRUE(alive.waitFor(4));
	EXPECT_EQ(std::vector<std::string>({"0", "1", "2", "3"}), sequenceNumbers(alive));
	{
		std::lock_guard<std::mutex> lock(reports.mutex);
		EXPECT_TRUE(reports.failures.empty())
		    << "the other host's first delivery ended before the others arrived";
	}
	// The first delivery times out and starts the grace; the subscriber stays.
	ASSERT_TRUE(reports.waitFor([&] { return !reports.failures.empty(); }));
	{
		std::lock_guard<std::mutex> lock(reports.mutex);
		EXPECT_EQ("uuid:silent", reports.failures[0].sid);
		EXPECT_NE(std::string::npos, reports.failures[0].error.find("imeout")) << reports.failures[0].error;
		EXPECT_TRUE(reports.drops.empty());
	}
	EXPECT_EQ(2u, pDispatcher->subscriberCount());

	// Once the grace has passed, the next failure drops it.
	now += FAILURE_GRACE;
	ASSERT_TRUE(reports.waitFor([&] { return !reports.drops.empty(); }));
	{
		std::lock_guard<std::mutex> lock(reports.mutex);
		EXPECT_EQ("uuid:silent", reports.drops[0].sid);
		EXPECT_EQ(EventDispatcher::DROP_DELIVERY_FAILING, reports.drops[0].reason);
	}
	EXPECT_EQ(1u, pChannel->count("Dropped subscriber uuid:silent", Message::PRIO_WARNING));
	EXPECT_EQ(1u, pDispatcher->subscriberCount());
	pDispatcher->fireEvent("Status",
	                       [](Callweave::Serializer& serializer) { serializer.serialize("data", 4); });
	ASSERT_TRUE(alive.waitFor(5));
	EXPECT_EQ("4", sequenceNumbers(alive).back());
	EXPECT_EQ(1u, pSilent->requests().size());
}

TEST_F(DeadHostTest, RenewalsFailWhilePublisherIsGoneAndRecoverWhenItReturns)
{
	// Grants one second, so that renewals come every 750 ms.
	const auto grant = [](const PublisherRequest& request, std::size_t) {
		if (request.method == "SUBSCRIBE")
			return PublisherAnswer{Net::HTTPResponse::HTTP_OK, {{"SID", "uuid:p1"}, {"TIMEOUT", "Second-1"}}};
		return PublisherAnswer{Net::HTTPResponse::HTTP_OK, {}};
	};
	std::unique_ptr<ScriptedPublisher> pPublisher =
	    pNet->inside([&] { return std::make_unique<ScriptedPublisher>(grant, pNet->peerAddress()); });
	const std::string url = pPublisher->url("/light/event");
	Util::Timer timer;
	AutoPtr<Listener> pListener = new Listener("127.0.0.1:1", timer);
	pListener->setEventSubscriptionTimeout(1);
	EventCounter renewed(pListener->subscriptionRenewed);
	EventCounter failed(pListener->subscriptionRenewalFailed);
	AutoPtr<Callweave::EventSubscriber> pSubscriber = new Callweave::GenericEventSubscriber(url);
	pListener->subscribeToEvents(pSubscriber);
	ASSERT_TRUE(renewed.waitFor(1));

	// The publisher's host leaves the LAN: the kernel's ARP probes go
	// unanswered and each renewal fails after them.
	pNet->setPeerAnswering(false);
	ASSERT_TRUE(failed.waitFor(1));
	EXPECT_TRUE(pChannel->waitFor(
	    1, "Error while renewing event subscription (URI=/light/event, SID=uuid:p1): ", Message::PRIO_ERROR));

	pNet->setPeerAnswering(true);
	const std::size_t renewedBefore = renewed.uris().size();
	EXPECT_TRUE(renewed.waitFor(renewedBefore + 1));
	EXPECT_EQ(pSubscriber, pListener->findSubscriber("uuid:p1"));
	pListener->unsubscribeFromEvents(pSubscriber);
	EXPECT_EQ("UNSUBSCRIBE", pPublisher->requests().back().method);
}
