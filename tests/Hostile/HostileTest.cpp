// Peers that misbehave on purpose, one table per kind: subscriber callbacks,
// publishers, and requests at the event endpoint.

#include "GENATestSupport.h"
#include "Tavik/Callweave/Serializer.h"

#include <gtest/gtest.h>

#include <map>
#include <thread>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Callweave::EventDispatcher;
using namespace TestSupport;

namespace {

template <class Row> std::string nameOf(const testing::TestParamInfo<Row>& info)
{
	return info.param.name;
}

std::string repeat(const std::string& text, std::size_t times)
{
	std::string result;
	for (std::size_t i = 0; i < times; ++i)
		result += text;
	return result;
}

/// A peer behaviour that reads a request, answers reply and closes, or resets.
RawPeer::Behaviour answering(const std::string& reply, bool reset = false)
{
	return [reply, reset](int fd) {
		readRequest(fd); // all of it: unread bytes would make the close a reset
		sendAll(fd, reply);
		reset ? resetConnection(fd) : void(::close(fd));
		return false;
	};
}

struct SubscriberRow
{
	const char* name;
	RawPeer::Behaviour behaviour;
	const char* failure;
	friend void PrintTo(const SubscriberRow& row, std::ostream* pStream) { *pStream << row.name; }
};

class HostileSubscriberTest : public testing::TestWithParam<SubscriberRow>
{
protected:
	~HostileSubscriberTest() override
	{
		if (pDispatcher) pDispatcher->stop();
		TransportFactory::unregisterFactory();
	}

	/// Enters a subscriber as the initial event notification does.
	void subscribe(const std::string& sid, const std::string& callbackURL)
	{
		pDispatcher->subscribe(sid, callbackURL, Clock(0));
		ScopedLock<FastMutex> lock(pDispatcher->mutex());
		pDispatcher->transportForSubscriber(sid)->setAttribute(Transport::HDR_SID, sid);
	}

	HTTPPeer good; // outlives the deliveries, which the destructor stops
	AutoPtr<EventDispatcher> pDispatcher;
};

TEST_P(HostileSubscriberTest, IsDroppedWhileTheOthersGetEveryEvent)
{
	const SubscriberRow& row = GetParam();
	RawPeer hostile(row.behaviour);
	TransportFactory::registerFactory(Timespan(1, 0), false, Timespan(1, 0));
	Callweave::EventDispatcherParams params;
	params.failureGrace = Timespan(); // the first failure drops
	pDispatcher = new EventDispatcher(Transport::PROTOCOL, params);
	auto pReports = std::make_shared<StringLog>();
	pDispatcher->deliveryFailed += Delegate<const EventDispatcher::DeliveryFailure>(
	    [pReports](const void*, const EventDispatcher::DeliveryFailure& failure) {
		    pReports->add(failure.error);
	    });
	pDispatcher->subscriberDropped += Delegate<const EventDispatcher::SubscriberDrop>(
	    [pReports](const void*, const EventDispatcher::SubscriberDrop& drop) {
		    pReports->add("drop " + drop.sid + " " + std::to_string(drop.reason) + " " + drop.message);
	    });
	subscribe("uuid:good", good.url("/cb"));
	subscribe("uuid:hostile", hostile.url("/cb"));

	for (int value = 1; value <= 3; ++value)
		pDispatcher->fireEvent("Status",
		                       [value](Callweave::Serializer& out) { out.serialize("data", value); });
	ASSERT_TRUE(good.waitFor(3));
	ASSERT_TRUE(pReports->waitFor(2)); // a failure, then the drop
	const std::vector<std::string> reports = pReports->entries();
	EXPECT_NE(std::string::npos, reports.front().find(row.failure)) << reports.front();
	EXPECT_EQ("drop uuid:hostile 1 deliveries failing", reports.back());
	EXPECT_EQ("3", good.requests().back().headers.get("SEQ", ""));
	EXPECT_EQ(1u, pDispatcher->subscriberCount());
}

INSTANTIATE_TEST_SUITE_P(
    Callbacks, HostileSubscriberTest,
    testing::Values(SubscriberRow{"ResetsMidNotify", answering("", true), "Connection reset"},
                    SubscriberRow{"AcceptsAndNeverReads", [](int) { return true; }, "Timeout"},
                    SubscriberRow{"AnswersGarbage", answering("\x16\x03\x01 this is no HTTP at all\r\n\r\n"),
                                  "Malformed"}),
    nameOf<SubscriberRow>);

struct PublisherRow
{
	const char* name;
	RawPeer::Behaviour behaviour;
	const char* exception;
	friend void PrintTo(const PublisherRow& row, std::ostream* pStream) { *pStream << row.name; }
};

class HostilePublisherTest : public testing::TestWithParam<PublisherRow>
{
protected:
	Util::Timer timer; // outlives the listener
	AutoPtr<Listener> pListener = new Listener("127.0.0.1:1", timer);
};

TEST_P(HostilePublisherTest, SubscribeFailsWithTheExchangesExceptionAndStoresNothing)
{
	RawPeer publisher(GetParam().behaviour);
	AutoPtr<Callweave::EventSubscriber> pSubscriber =
	    new Callweave::GenericEventSubscriber(publisher.url("/svc"));
	std::string thrown = "nothing";
	try
	{
		pListener->subscribeToEvents(pSubscriber);
	}
	catch (const Exception& exc)
	{
		thrown = exc.className();
	}
	EXPECT_EQ(GetParam().exception, thrown);
	EXPECT_FALSE(pListener->findSubscriber("uuid:x"));
	EXPECT_THROW(pListener->unsubscribeFromEvents(pSubscriber), NotFoundException);
}

INSTANTIATE_TEST_SUITE_P(
    Answers, HostilePublisherTest,
    testing::Values(
        PublisherRow{"AnswersGarbage", answering("SSH-2.0-OpenSSH\r\n\r\n"), "Tavik::Net::MessageException"},
        PublisherRow{"AnswersWithHugeHeader",
                     answering("HTTP/1.1 200 OK\r\nSID: uuid:x\r\nX-Padding: " +
                               std::string(100 * 1024, 'a') + "\r\n\r\n"),
                     "Tavik::Net::MessageException"},
        PublisherRow{"ClosesBeforeAnswering", answering(""), "Tavik::Net::NoMessageException"},
        PublisherRow{"ClosesMidHead", answering("HTTP/1.1 200 OK\r\nSID: uu"),
                     "Tavik::Net::MessageException"},
        PublisherRow{"ResetsMidHead", answering("HTTP/1.1 200 OK\r\n", true), "Tavik::Net::NetException"},
        PublisherRow{"AnswersWithBadTimeout",
                     answering("HTTP/1.1 200 OK\r\nSID: uuid:x\r\nTIMEOUT: Minute-5\r\n\r\n"),
                     "Tavik::IOException"}),
    nameOf<PublisherRow>);

const std::string PROPERTYSET = "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\"><e:property><V>";
const std::string HEAD = "NOTIFY /upnp-eventing HTTP/1.1\r\nHost: gena\r\nNT: upnp:event\r\nNTS: "
                         "upnp:propchange\r\nSID: uuid:mine\r\n";

/// A NOTIFY of one property V whose element holds inner, after prolog.
std::string notify(const std::string& inner, const std::string& prolog = "")
{
	const std::string body = prolog + PROPERTYSET + inner + "</V></e:property></e:propertyset>";
	return HEAD + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

struct RequestRow
{
	const char* name;
	std::string request;
	int status;
	friend void PrintTo(const RequestRow& row, std::ostream* pStream) { *pStream << row.name; }
};

/// The endpoint with default limits, and a subscription of its listener's own.
class HostileRequestTest : public PublisherFixture, public testing::WithParamInterface<RequestRow>
{
protected:
	HostileRequestTest() { pListener->addSubscription("uuid:mine", {recorder.pSubscriber, nullptr}); }

	/// Sends request from a thread of its own (the server may answer and
	/// close before it has read all of it); the status of the answer.
	int statusOf(const std::string& request)
	{
		RawConnection connection(endpoint.port());
		std::thread sender([&] { connection.send(request); });
		const std::string head = readHead(connection.fd());
		::shutdown(connection.fd(), SHUT_RDWR);
		sender.join();
		return TestSupport::statusOf(head);
	}

	/// A well-behaved NOTIFY is answered and delivered.
	void expectServed()
	{
		const std::size_t before = recorder.events().size();
		EXPECT_EQ(200, statusOf(notify("1")));
		EXPECT_EQ(before + 1, recorder.events().size());
		EXPECT_EQ("V=1", recorder.events().back());
	}

	EventRecorder recorder{"http://127.0.0.1:1/remote"};
};

TEST_P(HostileRequestTest, EndsInItsStatusAndTheEndpointServesOn)
{
	EXPECT_EQ(GetParam().status, statusOf(GetParam().request));
	for (const std::string& event : recorder.events())
		EXPECT_EQ("V=", event.substr(0, 80)); // nested markup ends the value
	expectServed();
}

INSTANTIATE_TEST_SUITE_P(
    Requests, HostileRequestTest,
    testing::Values(
        // Over the deserializer's 1 MiB document limit, under the server's 16 MiB body limit.
        RequestRow{"BodyOverTheDocumentLimit", notify(std::string(1536 * 1024, 'x')), 500},
        RequestRow{"AnnouncedBodyOfManyMegabytes", HEAD + "Content-Length: 67108864\r\n\r\n", 413},
        RequestRow{
            "ChunkedBodyOfManyMegabytes",
            HEAD + "Transfer-Encoding: chunked\r\n\r\n" +
                repeat("10000\r\n" + PROPERTYSET + std::string(65536 - PROPERTYSET.size(), 'x') + "\r\n",
                       64) +
                "0\r\n\r\n",
            500},
        RequestRow{"DeeplyNested", notify(repeat("<a>", 100000) + repeat("</a>", 100000)), 200}),
    nameOf<RequestRow>);

// Regression: a subscription joins the dispatcher after its initial event; a limit
// counting the dispatcher's subscribers alone let a burst through (82 of 2000).
TEST_F(HostileRequestTest, SubscribeFloodIsAnsweredAndNeverExceedsTheLimit)
{
	Listener::Settings settings;
	settings.maxSubscriptions = 20;
	pListener->setSettings(settings);
	HTTPPeer callback;
	std::map<int, int> statuses;
	for (int connection = 0; connection < 4; ++connection) // 500 pipelined on each
	{
		RawConnection flood(endpoint.port());
		flood.send(repeat(subscribeRequest(SERVICE_PATH, callback.url("/cb")), 500));
		for (int i = 0; i < 500; ++i)
			++statuses[TestSupport::statusOf(flood.readHead())];
	}
	ASSERT_TRUE(pListener->waitForInitialEvents(Timespan(DEADLINE.count(), 0)));

	EXPECT_EQ(2000, statuses[200] + statuses[503]);
	EXPECT_LE(statuses[200], 20);
	EXPECT_LE(pDispatcher->subscriberCount(), 20u);
	expectServed();
}

} // namespace
