#include "EndpointFixture.h"
#include "RecordingServer.h"

#include "Tavik/Callweave/Serializer.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/Listener.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;

using TestSupport::RecordingSubscriber;

namespace {

using EndpointTesting::SERVICE_PATH;

class EndpointTest : public EndpointTesting::EndpointFixture
{
protected:
	/// The subscribers' callback server; a member, so that it outlives the
	/// deliveries still in flight when a test ends (TearDown waits for them).
	TestSupport::RecordingServer _sink;

	void fire(int value)
	{
		_pDispatcher->fireEvent(
		    "Status", [value](Callweave::Serializer& serializer) { serializer.serialize("data", value); });
	}
};

TEST_F(EndpointTest, SubscribeBringsInitialEventThenUnsubscribeEnds)
{
	const std::string head = exchange(subscribeRequest(_sink.url("/cb")));
	ASSERT_EQ(0u, head.find("HTTP/1.1 200 OK\r\n")) << head;
	const std::string sid = headerOf(head, "SID");
	EXPECT_EQ(41u, sid.size());
	EXPECT_EQ("Second-300", headerOf(head, "TIMEOUT"));

	ASSERT_TRUE(_sink.waitFor(1));
	const TestSupport::RecordedRequest initial = _sink.requests()[0];
	EXPECT_EQ("NOTIFY", initial.method);
	EXPECT_EQ(sid, initial.headers.get("SID", ""));
	EXPECT_EQ("0", initial.headers.get("SEQ", ""));
	EXPECT_NE(std::string::npos, initial.body.find("<Volume>7</Volume>"));

	const std::string unsubscribe = "UNSUBSCRIBE " + SERVICE_PATH + " HTTP/1.1\r\nHost: " + _endPoint +
	                                "\r\nSID: " + sid + "\r\nContent-Length: 0\r\n\r\n";
	ThreadPool::defaultPool().joinAll(); // the initial notification has entered the subscriber
	EXPECT_EQ(0u, exchange(unsubscribe).find("HTTP/1.1 200 OK\r\n"));
	EXPECT_EQ(0u, exchange(unsubscribe).find("HTTP/1.1 412 "));
	fire(1);
	EXPECT_EQ(0u, _pDispatcher->subscriberCount());
}

TEST_F(EndpointTest, RegularEventsFollowTheInitialOneFromSequenceOne)
{
	const std::string sid = headerOf(exchange(subscribeRequest(_sink.url("/cb/7"))), "SID");
	ASSERT_TRUE(_sink.waitFor(1));
	ThreadPool::defaultPool().joinAll(); // the initial notification has entered the subscriber
	for (int value = 11; value <= 13; ++value)
		fire(value);

	ASSERT_TRUE(_sink.waitFor(4));
	const std::vector<TestSupport::RecordedRequest> requests = _sink.requests();
	ASSERT_EQ(4u, requests.size());
	for (int i = 0; i < 4; ++i)
	{
		SCOPED_TRACE(i);
		EXPECT_EQ("NOTIFY", requests[i].method);
		EXPECT_EQ("/cb/7", requests[i].uri);
		EXPECT_EQ(sid, requests[i].headers.get("SID", ""));
		EXPECT_EQ(std::to_string(i), requests[i].headers.get("SEQ", ""));
		const std::string property =
		    i == 0 ? "<Volume>7</Volume>" : "<Status>" + std::to_string(10 + i) + "</Status>";
		EXPECT_NE(std::string::npos, requests[i].body.find(property)) << requests[i].body;
	}
}

TEST_F(EndpointTest, RenewalExtendsTheExpiry)
{
	const std::string sid = headerOf(exchange(subscribeRequest(_sink.url("/cb"), "Second-100")), "SID");
	ASSERT_TRUE(_sink.waitFor(1));
	ThreadPool::defaultPool().joinAll();

	// The handler extends the expiry after its answer is on the wire; the
	// answer to a second request on the connection shows that it is done.
	NetTest::RawConnection connection(_endpoint.port());
	connection.send(renewRequest(sid, "Second-300"));
	const std::string head = connection.readHead();
	connection.send("HEAD / HTTP/1.1\r\nHost: " + _endPoint + "\r\n\r\n");
	connection.readHead();
	ASSERT_EQ(0u, head.find("HTTP/1.1 200 OK\r\n")) << head;
	EXPECT_EQ(sid, headerOf(head, "SID"));
	EXPECT_EQ("Second-300", headerOf(head, "TIMEOUT"));

	// Past the first grant of 100 s, within the renewed 300 s: still subscribed.
	advanceClock(200);
	EXPECT_EQ(1u, _pDispatcher->subscriberCount());
	fire(1);
	ASSERT_TRUE(_sink.waitFor(2));
	EXPECT_EQ("1", _sink.requests()[1].headers.get("SEQ", ""));

	advanceClock(200);
	EXPECT_EQ(0u, _pDispatcher->subscriberCount());
}

TEST_F(EndpointTest, MalformedBeatsUnknownObjectOverTheWire)
{
	const std::string prefix = "SUBSCRIBE /nothing HTTP/1.1\r\nHost: " + _endPoint + "\r\n";
	EXPECT_EQ(
	    0u,
	    exchange(prefix + "CALLBACK: <http://127.0.0.1:1/>\r\nNT: upnp:event\r\n\r\n").find("HTTP/1.1 404 "));
	EXPECT_EQ(
	    0u,
	    exchange(prefix + "CALLBACK: <http://127.0.0.1:1/>\r\nSID: uuid:x\r\n\r\n").find("HTTP/1.1 400 "));
	EXPECT_EQ(
	    0u,
	    exchange(prefix + "CALLBACK: http://127.0.0.1:1/\r\nNT: upnp:event\r\n\r\n").find("HTTP/1.1 412 "));
	EXPECT_EQ(0u, exchange("Subscribe /nothing HTTP/1.1\r\nHost: x\r\n\r\n").find("HTTP/1.1 405 "));
}

TEST_F(EndpointTest, NotifyOnKeepAliveConnectionDeliversLastFirst)
{
	AutoPtr<RecordingSubscriber> pSubscriber(new RecordingSubscriber);
	_pListener->addSubscription("uuid:mine", Listener::Subscription{pSubscriber, AutoPtr<Util::TimerTask>()});
	const std::string notify = notifyRequest("uuid:mine");
	NetTest::RawConnection connection(_endpoint.port());
	for (int i = 0; i < 2; ++i)
	{
		connection.send(notify);
		EXPECT_EQ(0u, connection.readHead().find("HTTP/1.1 200 OK\r\n"));
	}
	EXPECT_EQ((std::vector<std::string>{"C", "B", "A", "C", "B", "A"}), pSubscriber->names());
}

} // namespace
