// Over loopback: the publisher side on a real endpoint, with HTTP peers, many
// clients, and a subscriber host renewing on a test-driven timer.

#include "GENATestSupport.h"
#include "ManualTimer.h"
#include "Tavik/Callweave/Serializer.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Callweave::EventDispatcher;
using namespace TestSupport;

namespace {

const Timespan WAIT(DEADLINE.count(), 0);

class EndpointTest : public PublisherFixture
{
protected:
	/// Subscribes callback over the wire; returns the SID once the initial
	/// event has been answered and the subscriber is in the dispatcher.
	std::string subscribe(const HTTPPeer& callback, const std::string& timeout = "Second-300")
	{
		const std::string head = exchange(subscribeRequest(SERVICE_PATH, callback.url("/cb/7"), timeout));
		EXPECT_TRUE(callback.waitFor(1)) << head;
		EXPECT_TRUE(pListener->waitForInitialEvents(WAIT));
		return headerOf(head, "SID");
	}

	void fire(int value)
	{
		pDispatcher->fireEvent("Status",
		                       [value](Callweave::Serializer& out) { out.serialize("data", value); });
	}

	static std::vector<std::string> seqs(const HTTPPeer& callback)
	{
		std::vector<std::string> numbers;
		for (const Received& request : callback.requests())
			numbers.push_back(request.headers.get("SEQ", ""));
		return numbers;
	}

	ManualTimer manual;
};

} // namespace

TEST_F(EndpointTest, SubscriberGetsTheStateThenTheEventsInOrderKeptByRenewalsUntilUnsubscribed)
{
	ListenerEndpoint subscriber(manual.timer());
	Listener& listener = *subscriber.pListener;
	EventRecorder recorder(serviceURL());
	EventCounter renewed(listener.subscriptionRenewed);
	state.set("Mute", "0");

	listener.subscribeToEvents(recorder.pSubscriber);
	ASSERT_TRUE(recorder.waitFor(2));
	ASSERT_TRUE(pListener->waitForInitialEvents(WAIT));
	for (int value = 8; value <= 10; ++value)
		fire(value);
	ASSERT_TRUE(recorder.waitFor(5));
	for (std::size_t n = 1; n <= 2; ++n) // at 75 % of the 1800 s asked for and granted
	{
		ASSERT_TRUE(manual.advance(Timespan(1350, 0)));
		ASSERT_TRUE(renewed.waitFor(n));
	}
	EXPECT_EQ(serviceURL(), renewed.uris().at(0));
	fire(11);
	ASSERT_TRUE(recorder.waitFor(6));
	EXPECT_EQ(
	    (std::vector<std::string>{"Mute=0", "Volume=7", "Status=8", "Status=9", "Status=10", "Status=11"}),
	    recorder.events());

	listener.unsubscribeFromEvents(recorder.pSubscriber);
	EXPECT_EQ(0u, pDispatcher->subscriberCount());
}

TEST_F(EndpointTest, EventsAreNumberedFromOneAndASubscriberGoneIsDroppedAfterTheGrace)
{
	auto pFailed = std::make_shared<StringLog>();
	auto pDropped = std::make_shared<StringLog>();
	pDispatcher->deliveryFailed += Delegate<const EventDispatcher::DeliveryFailure>(
	    [pFailed](const void*, const EventDispatcher::DeliveryFailure& failure) {
		    pFailed->add(failure.sid);
	    });
	pDispatcher->subscriberDropped += Delegate<const EventDispatcher::SubscriberDrop>(
	    [pDropped](const void*, const EventDispatcher::SubscriberDrop& drop) { pDropped->add(drop.sid); });
	HTTPPeer callback;
	HTTPPeer gone;
	const std::string sid = subscribe(callback);
	const std::string goneSid = subscribe(gone);
	gone.stop();

	fire(11); // the first failure starts the grace of 30 s
	ASSERT_TRUE(pFailed->waitFor(1));
	EXPECT_EQ(2u, pDispatcher->subscriberCount());
	advanceClock(30);
	fire(12);
	ASSERT_TRUE(pDropped->waitFor(1));
	EXPECT_EQ(std::vector<std::string>{goneSid}, pDropped->entries());
	EXPECT_EQ(1u, pDispatcher->subscriberCount());
	fire(13);
	ASSERT_TRUE(callback.waitFor(4));
	const std::vector<Received> requests = callback.requests();
	for (std::size_t i = 0; i < requests.size(); ++i)
	{
		EXPECT_EQ("NOTIFY /cb/7 " + sid,
		          requests[i].method + " " + requests[i].uri + " " + requests[i].headers.get("SID"));
		const std::string property =
		    i ? "<Status>" + std::to_string(10 + i) + "</Status>" : "<Volume>7</Volume>";
		EXPECT_NE(std::string::npos, requests[i].body.find(property)) << requests[i].body;
	}
	EXPECT_EQ((std::vector<std::string>{"0", "1", "2", "3"}), seqs(callback));
	EXPECT_EQ(std::vector<std::string>(2, goneSid), pFailed->entries());

	const std::string unsubscribe = "UNSUBSCRIBE /dev/svc HTTP/1.1\r\nHost: gena\r\nSID: " + sid + "\r\n\r\n";
	EXPECT_EQ(200, statusOf(exchange(unsubscribe)));
	EXPECT_EQ(412, statusOf(exchange(unsubscribe)));
	EXPECT_EQ(0u, pDispatcher->subscriberCount());
}

TEST_F(EndpointTest, RenewalExtendsTheExpiryOnTheDispatchersClock)
{
	HTTPPeer callback;
	const std::string sid = subscribe(callback, "Second-100");

	// The handler extends the expiry after its answer is on the wire; the
	// answer to a second request on the connection shows that it is done.
	RawConnection connection(endpoint.port());
	connection.send(renewRequest(SERVICE_PATH, sid, "Second-300"));
	const std::string head = connection.readHead();
	connection.send("HEAD / HTTP/1.1\r\nHost: gena\r\n\r\n");
	connection.readHead();
	EXPECT_EQ("200 " + sid + " Second-300",
	          std::to_string(statusOf(head)) + " " + headerOf(head, "SID") + " " + headerOf(head, "TIMEOUT"));

	advanceClock(200); // past the first grant, within the renewed one
	EXPECT_EQ(1u, pDispatcher->subscriberCount());
	advanceClock(200);
	EXPECT_EQ(0u, pDispatcher->subscriberCount());
}

TEST_F(EndpointTest, SlowSubscriberDoesNotDelayTheOthersOnTheirKeepAliveConnections)
{
	TransportFactory::unregisterFactory();
	TransportFactory::registerFactory(Timespan(10, 0), true, Timespan(60, 0));
	Gate slowAnswers;
	HTTPPeer fast;
	HTTPPeer slow([&](const Received& request, std::size_t) {
		if (request.headers.get("SEQ") != "0") slowAnswers.wait();
		return Answer();
	});
	subscribe(fast);
	subscribe(slow);

	for (int value = 1; value <= 3; ++value)
		fire(value);

	const bool fastServed = fast.waitFor(4);
	slowAnswers.open();
	ASSERT_TRUE(fastServed);
	ASSERT_TRUE(slow.waitFor(4));
	EXPECT_EQ(seqs(fast), seqs(slow));
	EXPECT_EQ((std::vector<std::string>{"0", "1", "2", "3"}), seqs(fast));
	const std::vector<Received> requests = fast.requests();
	EXPECT_EQ(1u,
	          std::set<int>({requests[1].clientPort, requests[2].clientPort, requests[3].clientPort}).size());
}

TEST_F(EndpointTest, ManySubscribeAndNotifyRequestsAtOnceAreAllServed)
{
	// Every fifth NOTIFY after a SUBSCRIBE: 160 subscriptions, each holding a thread
	// of the default pool for its initial event, stay below the pool's 256.
	constexpr int CLIENTS = 16, ROUNDS = 50, SUBSCRIPTIONS = CLIENTS * ROUNDS / 5;
	Net::HTTPServerParams sinkParams;
	sinkParams.maxQueued = SUBSCRIPTIONS; // every initial event may arrive at once
	HTTPPeer sink({}, "127.0.0.1", sinkParams);
	EventRecorder recorder("http://127.0.0.1:1/remote");
	pListener->addSubscription("uuid:mine", Listener::Subscription{recorder.pSubscriber, nullptr});
	const std::string notify = notifyRequest("/upnp-eventing", "uuid:mine", "", {{"A", "1"}, {"B", "2"}});
	StringLog subscribed, errors;

	std::vector<std::thread> clients;
	for (int i = 0; i < CLIENTS; ++i)
		clients.emplace_back([&] {
			try
			{
				RawConnection connection(endpoint.port());
				for (int round = 0; round < ROUNDS; ++round)
				{
					if (round % 5 == 0) connection.send(subscribeRequest(SERVICE_PATH, sink.url("/cb")));
					if (round % 5 == 0) subscribed.add(connection.readHead());
					connection.send(notify);
					if (statusOf(connection.readHead()) != 200) errors.add("NOTIFY refused");
				}
			}
			catch (const std::exception& exc)
			{
				errors.add(exc.what());
			}
		});
	for (std::thread& client : clients)
		client.join();

	EXPECT_EQ(std::vector<std::string>(), errors.entries());
	std::set<std::string> granted, notified;
	for (const std::string& head : subscribed.entries())
	{
		EXPECT_EQ(200, statusOf(head)) << head;
		granted.insert(headerOf(head, "SID") + " SEQ 0");
	}
	EXPECT_EQ(std::size_t(SUBSCRIPTIONS), granted.size()) << "every SID granted once";
	EXPECT_EQ(std::size_t(CLIENTS * ROUNDS * 2), recorder.events().size());
	ASSERT_TRUE(sink.waitFor(granted.size()));
	ASSERT_TRUE(pListener->waitForInitialEvents(WAIT));
	for (const Received& request : sink.requests())
		notified.insert(request.headers.get("SID", "") + " SEQ " + request.headers.get("SEQ", ""));
	EXPECT_EQ(granted.size(), sink.requests().size());
	EXPECT_EQ(granted, notified) << "one initial event for every subscription";
	EXPECT_EQ(granted.size(), pDispatcher->subscriberCount());
}
