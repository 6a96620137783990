// Peers on a host that stops answering: packets to it are dropped, nothing is
// refused. The other host is a network namespace on a veth link (see
// NetworkNamespace); the tests skip where one cannot be made.

#include "GENATestSupport.h"
#include "ManualTimer.h"
#include "NetworkNamespace.h"
#include "Tavik/Callweave/Serializer.h"
#include "Tavik/ThreadPool.h"

#include <gtest/gtest.h>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Callweave::EventDispatcher;
using namespace TestSupport;

namespace {

class DeadHostTest : public testing::Test
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
	}

	std::unique_ptr<DeadHost::NetworkNamespace> pNet;
};

} // namespace

TEST_F(DeadHostTest, SilentSubscriberTimesOutWithoutDelayingTheOthersAndIsDropped)
{
	// A NOTIFY waits 3 s for the silent host: long against a loopback delivery.
	TransportFactory::registerFactory(Timespan(3, 0), false, Timespan(1, 0));
	Callweave::EventDispatcherParams params;
	params.failureGrace = Timespan(); // the first failure drops
	AutoPtr<EventDispatcher> pDispatcher = new EventDispatcher(Transport::PROTOCOL, params);
	auto pReports = std::make_shared<StringLog>();
	pDispatcher->deliveryFailed += Delegate<const EventDispatcher::DeliveryFailure>(
	    [pReports](const void*, const EventDispatcher::DeliveryFailure& failure) {
		    pReports->add(failure.sid + ": " + failure.error);
	    });
	pDispatcher->subscriberDropped += Delegate<const EventDispatcher::SubscriberDrop>(
	    [pReports](const void*, const EventDispatcher::SubscriberDrop& drop) {
		    pReports->add("drop " + drop.sid);
	    });
	HTTPPeer alive;
	// With its link-layer address pinned, a connection to the silent host waits for its timeout.
	pNet->pinPeerAddress();
	pNet->setPeerAnswering(false);
	for (const auto& [sid, url] :
	     {std::pair<std::string, std::string>("uuid:silent", "http://" + pNet->peerAddress() + ":80/cb"),
	      {"uuid:alive", alive.url("/cb")}})
	{
		pDispatcher->subscribe(sid, url, Clock(0));
		ScopedLock<FastMutex> lock(pDispatcher->mutex());
		pDispatcher->transportForSubscriber(sid)->setAttribute(Transport::HDR_SID, sid);
	}

	for (int value = 1; value <= 3; ++value)
		pDispatcher->fireEvent("Status",
		                       [value](Callweave::Serializer& out) { out.serialize("data", value); });

	ASSERT_TRUE(alive.waitFor(3));
	EXPECT_EQ(std::vector<std::string>(), pReports->entries()) << "the silent host's delivery ended first";
	ASSERT_TRUE(pReports->waitFor(2));
	EXPECT_EQ(0u, pReports->entries()[0].find("uuid:silent: Timeout")) << pReports->entries()[0];
	EXPECT_EQ("drop uuid:silent", pReports->entries()[1]);
	EXPECT_EQ(1u, pDispatcher->subscriberCount());
	pDispatcher->stop();
	TransportFactory::unregisterFactory();
}

TEST_F(DeadHostTest, RenewalsFailWhileThePublisherIsGoneAndSucceedWhenItReturns)
{
	std::unique_ptr<HTTPPeer> pPublisher = pNet->inside([&] {
		return std::make_unique<HTTPPeer>(
		    [](const Received&, std::size_t) {
			    return Answer{Net::HTTPResponse::HTTP_OK, {{"SID", "uuid:p1"}}};
		    },
		    pNet->peerAddress());
	});
	ManualTimer manual;
	AutoPtr<Listener> pListener = new Listener("127.0.0.1:1", manual.timer());
	EventCounter renewed(pListener->subscriptionRenewed);
	EventCounter failed(pListener->subscriptionRenewalFailed);
	AutoPtr<Callweave::EventSubscriber> pSubscriber =
	    new Callweave::GenericEventSubscriber(pPublisher->url("/light"));
	pListener->subscribeToEvents(pSubscriber);

	// The publisher's host leaves the LAN: the kernel's ARP probes go
	// unanswered, and the renewal at 75 % of the 1800 s fails after them.
	pNet->setPeerAnswering(false);
	ASSERT_TRUE(manual.advance(Timespan(1350, 0)));
	ASSERT_TRUE(failed.waitFor(1));
	pNet->setPeerAnswering(true);
	ASSERT_TRUE(manual.advance(Timespan(1350, 0)));
	ASSERT_TRUE(renewed.waitFor(1));
	EXPECT_EQ(1u, failed.uris().size());
	EXPECT_EQ(pSubscriber, pListener->findSubscriber("uuid:p1"));
	pListener->unsubscribeFromEvents(pSubscriber);
	EXPECT_EQ("UNSUBSCRIBE", pPublisher->requests().back().method);
}
