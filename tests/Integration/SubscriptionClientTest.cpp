// The subscription client on loopback: Listener::subscribeToEvents and
// unsubscribeFromEvents, and the renewal task and worker, against a scripted
// publisher that records what it receives.

#include "GENATestSupport.h"
#include "ScriptedPublisher.h"
#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/Net/HTTPClientSession.h"
#include "Tavik/TestChannel.h"
#include "Tavik/Thread.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/Util/Timer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Callweave::EventSubscriber;
using Tavik::Callweave::GenericEventSubscriber;
using Tavik::Net::HTTPResponse;
using TestSupport::EventCounter;
using TestSupport::EventRecorder;
using TestSupport::ListenerEndpoint;
using TestSupport::PublisherAnswer;
using TestSupport::PublisherRequest;
using TestSupport::ScriptedPublisher;

namespace {

const std::string END_POINT = "10.0.0.5:8080";
const std::string PATH = "/dev/svc?x=1";
const std::string RENEWAL_LOGGER = "UPnP.GENA.SubscriptionRenewalThread";

bool isRenewal(const PublisherRequest& request)
{
	return request.method == "SUBSCRIBE" && request.headers.has("SID");
}

PublisherAnswer grant(const std::string& sid, const std::string& timeout)
{
	return PublisherAnswer{HTTPResponse::HTTP_OK, {{"SID", sid}, {"TIMEOUT", timeout}}};
}

PublisherAnswer status(HTTPResponse::HTTPStatus code)
{
	return PublisherAnswer{code, {}};
}

/// Grants each new subscription "uuid:s<n>" for timeout and answers renewals
/// and UNSUBSCRIBE with renewalStatus.
ScriptedPublisher::Script granting(const std::string& timeout,
                                   HTTPResponse::HTTPStatus renewalStatus = HTTPResponse::HTTP_OK)
{
	auto pCount = std::make_shared<std::atomic<int>>(0);
	return [=](const PublisherRequest& request, std::size_t) {
		if (request.method == "SUBSCRIBE" && !isRenewal(request))
			return grant("uuid:s" + std::to_string(++*pCount), timeout);
		return status(renewalStatus);
	};
}

/// Polls condition until it holds; false at the deadline. For state that no
/// event announces (the table after a re-subscription).
template <class Condition> bool eventually(Condition condition)
{
	const auto deadline = std::chrono::steady_clock::now() + TestSupport::DEADLINE;
	while (!condition())
	{
		if (std::chrono::steady_clock::now() > deadline) return false;
		Thread::sleep(10);
	}
	return true;
}

class SubscriptionClientTest : public ::testing::Test
{
protected:
	void SetUp() override
	{
		Logger::setChannel("UPnP.GENA", pChannel);
		Logger::setLevel("UPnP.GENA", Message::PRIO_DEBUG);
	}

	void TearDown() override { Logger::setChannel("UPnP.GENA", nullptr); }

	AutoPtr<EventSubscriber> subscriberOf(const ScriptedPublisher& publisher)
	{
		return new GenericEventSubscriber(publisher.url(PATH));
	}

	AutoPtr<TestChannel> pChannel = new TestChannel;
	// Declared before the listener: the timer must outlive it.
	Util::Timer timer;
	AutoPtr<Listener> pListener = new Listener(END_POINT, timer);
};

} // namespace

TEST_F(SubscriptionClientTest, NewSubscriptionSendsCallbackTimeoutAndNt)
{
	ScriptedPublisher publisher(granting("Second-1800"));
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);

	EXPECT_EQ("", pListener->subscribeToEvents(pSubscriber));

	const std::vector<PublisherRequest> requests = publisher.requests();
	ASSERT_EQ(1u, requests.size());
	const PublisherRequest& request = requests[0];
	EXPECT_EQ("SUBSCRIBE", request.method);
	EXPECT_EQ(PATH, request.uri);
	EXPECT_EQ("<http://10.0.0.5:8080/upnp-eventing>", request.headers.get("CALLBACK", ""));
	EXPECT_EQ("Second-1800", request.headers.get("TIMEOUT", ""));
	EXPECT_EQ("upnp:event", request.headers.get("NT", ""));
	EXPECT_FALSE(request.headers.has("SID"));
	EXPECT_EQ(pSubscriber, pListener->findSubscriber("uuid:s1"));
	pListener->unsubscribeFromEvents(pSubscriber);
}

struct RequestedTimeoutRow
{
	const char* name;
	int listenerTimeout;
	const char* header;
};

void PrintTo(const RequestedTimeoutRow& row, std::ostream* pStream)
{
	*pStream << row.name;
}

class RequestedTimeoutTest : public SubscriptionClientTest,
                             public ::testing::WithParamInterface<RequestedTimeoutRow>
{
};

TEST_P(RequestedTimeoutTest, FollowsTheListenerTimeout)
{
	ScriptedPublisher publisher(granting("Second-infinite"));
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);
	pListener->setEventSubscriptionTimeout(GetParam().listenerTimeout);

	pListener->subscribeToEvents(pSubscriber);

	EXPECT_EQ(GetParam().header, publisher.requests().at(0).headers.get("TIMEOUT", ""));
	pListener->unsubscribeFromEvents(pSubscriber);
}

INSTANTIATE_TEST_SUITE_P(SubscriptionClient, RequestedTimeoutTest,
                         ::testing::Values(RequestedTimeoutRow{"Positive", 300, "Second-300"},
                                           RequestedTimeoutRow{"Zero", 0, "Second-infinite"},
                                           RequestedTimeoutRow{"Negative", -5, "Second-infinite"}),
                         [](const ::testing::TestParamInfo<RequestedTimeoutRow>& info) {
	                         return std::string(info.param.name);
                         });

struct AcceptedGrantRow
{
	const char* name;
	std::vector<std::pair<std::string, std::string>> headers;
};

void PrintTo(const AcceptedGrantRow& row, std::ostream* pStream)
{
	*pStream << row.name;
}

class AcceptedGrantTest : public SubscriptionClientTest,
                          public ::testing::WithParamInterface<AcceptedGrantRow>
{
};

TEST_P(AcceptedGrantTest, StoresTheSubscription)
{
	ScriptedPublisher publisher([](const PublisherRequest&, std::size_t) {
		PublisherAnswer answer{HTTPResponse::HTTP_OK, GetParam().headers};
		answer.headers.emplace_back("SID", "uuid:granted");
		return answer;
	});
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);

	pListener->subscribeToEvents(pSubscriber);

	EXPECT_EQ(pSubscriber, pListener->findSubscriber("uuid:granted"));
	pListener->unsubscribeFromEvents(pSubscriber);
	EXPECT_TRUE(pListener->findSubscriber("uuid:granted").isNull());
}

INSTANTIATE_TEST_SUITE_P(
    SubscriptionClient, AcceptedGrantTest,
    ::testing::Values(AcceptedGrantRow{"NoTimeout", {}}, AcceptedGrantRow{"EmptyTimeout", {{"TIMEOUT", ""}}},
                      AcceptedGrantRow{"LowerCase", {{"TIMEOUT", "second-300"}}},
                      AcceptedGrantRow{"UpperCaseInfinite", {{"TIMEOUT", "SECOND-INFINITE"}}},
                      AcceptedGrantRow{"Infinite", {{"TIMEOUT", "Second-infinite"}}},
                      AcceptedGrantRow{"Zero", {{"TIMEOUT", "Second-0"}}},
                      AcceptedGrantRow{"Negative", {{"TIMEOUT", "Second--5"}}},
                      AcceptedGrantRow{"ThousandsSeparator", {{"TIMEOUT", "Second-1,800"}}},
                      AcceptedGrantRow{"LargestInt", {{"TIMEOUT", "Second-2147483647"}}}),
    [](const ::testing::TestParamInfo<AcceptedGrantRow>& info) { return std::string(info.param.name); });

struct RefusedResponseRow
{
	const char* name;
	PublisherAnswer answer;
	const char* message;
	int code;
};

void PrintTo(const RefusedResponseRow& row, std::ostream* pStream)
{
	*pStream << row.name;
}

class RefusedResponseTest : public SubscriptionClientTest,
                            public ::testing::WithParamInterface<RefusedResponseRow>
{
};

TEST_P(RefusedResponseTest, ThrowsIOExceptionAndStoresNothing)
{
	ScriptedPublisher publisher([](const PublisherRequest&, std::size_t) { return GetParam().answer; });
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);

	try
	{
		pListener->subscribeToEvents(pSubscriber);
		FAIL() << "no exception";
	}
	catch (const IOException& exc)
	{
		EXPECT_STREQ("Tavik::IOException", exc.className());
		EXPECT_EQ(GetParam().message, exc.message());
		EXPECT_EQ(GetParam().code, exc.code());
	}
	EXPECT_TRUE(pListener->findSubscriber("uuid:x").isNull());
	EXPECT_THROW(pListener->unsubscribeFromEvents(pSubscriber), NotFoundException);
	EXPECT_EQ(1u, publisher.requests().size());
}

INSTANTIATE_TEST_SUITE_P(
    SubscriptionClient, RefusedResponseTest,
    ::testing::Values(
        RefusedResponseRow{
            "Status201", {HTTPResponse::HTTP_CREATED, {{"SID", "uuid:x"}}}, "HTTP error: Created", 201},
        RefusedResponseRow{
            "Status204", {HTTPResponse::HTTP_NO_CONTENT, {{"SID", "uuid:x"}}}, "HTTP error: No Content", 204},
        RefusedResponseRow{"Status412",
                           {HTTPResponse::HTTP_PRECONDITION_FAILED, {}},
                           "HTTP error: Precondition Failed",
                           412},
        RefusedResponseRow{"Status500",
                           {HTTPResponse::HTTP_INTERNAL_SERVER_ERROR, {}},
                           "HTTP error: Internal Server Error",
                           500},
        RefusedResponseRow{"NoSid",
                           {HTTPResponse::HTTP_OK, {{"TIMEOUT", "Second-60"}}},
                           "Missing SID header in subscription response",
                           0},
        RefusedResponseRow{"NoSidBeforeBadTimeout",
                           {HTTPResponse::HTTP_OK, {{"TIMEOUT", "60"}}},
                           "Missing SID header in subscription response",
                           0},
        RefusedResponseRow{"PrefixOnly",
                           {HTTPResponse::HTTP_OK, {{"SID", "uuid:x"}, {"TIMEOUT", "Second-"}}},
                           "Invalid TIMEOUT header in subscription response",
                           0},
        RefusedResponseRow{"NotANumber",
                           {HTTPResponse::HTTP_OK, {{"SID", "uuid:x"}, {"TIMEOUT", "Second-abc"}}},
                           "Invalid TIMEOUT header in subscription response",
                           0},
        RefusedResponseRow{"WrongPrefix",
                           {HTTPResponse::HTTP_OK, {{"SID", "uuid:x"}, {"TIMEOUT", "Seconds-60"}}},
                           "Invalid TIMEOUT header in subscription response",
                           0},
        RefusedResponseRow{"NoPrefix",
                           {HTTPResponse::HTTP_OK, {{"SID", "uuid:x"}, {"TIMEOUT", "60"}}},
                           "Invalid TIMEOUT header in subscription response",
                           0},
        RefusedResponseRow{"Overflow",
                           {HTTPResponse::HTTP_OK, {{"SID", "uuid:x"}, {"TIMEOUT", "Second-2147483648"}}},
                           "Invalid TIMEOUT header in subscription response",
                           0}),
    [](const ::testing::TestParamInfo<RefusedResponseRow>& info) { return std::string(info.param.name); });

TEST_F(SubscriptionClientTest, RepeatedSidIsRefusedAndKeepsTheFirstEntry)
{
	ScriptedPublisher publisher(
	    [](const PublisherRequest&, std::size_t) { return grant("uuid:same", "Second-1800"); });
	AutoPtr<EventSubscriber> pFirst = subscriberOf(publisher);
	AutoPtr<EventSubscriber> pSecond = subscriberOf(publisher);
	pListener->subscribeToEvents(pFirst);

	try
	{
		pListener->subscribeToEvents(pSecond);
		FAIL() << "no exception";
	}
	catch (const ExistsException& exc)
	{
		EXPECT_EQ("A subscription with the given SID already exists: uuid:same", exc.message());
	}
	EXPECT_EQ(pFirst, pListener->findSubscriber("uuid:same"));
	pListener->unsubscribeFromEvents(pFirst);
}

TEST_F(SubscriptionClientTest, NullSubscriberIsRefused)
{
	EXPECT_THROW(pListener->subscribeToEvents(nullptr), NullPointerException);
	EXPECT_THROW(pListener->unsubscribeFromEvents(nullptr), NotFoundException);
}

TEST_F(SubscriptionClientTest, UnsubscribeSendsSidOnlyAndSecondCallIsUnknown)
{
	ScriptedPublisher publisher(granting("Second-1800"));
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);
	pListener->subscribeToEvents(pSubscriber);

	pListener->unsubscribeFromEvents(pSubscriber);

	std::vector<PublisherRequest> requests = publisher.requests();
	ASSERT_EQ(2u, requests.size());
	EXPECT_EQ("UNSUBSCRIBE", requests[1].method);
	EXPECT_EQ(PATH, requests[1].uri);
	EXPECT_EQ("uuid:s1", requests[1].headers.get("SID", ""));
	for (const char* absent : {"CALLBACK", "NT", "TIMEOUT"})
		EXPECT_FALSE(requests[1].headers.has(absent)) << absent;
	EXPECT_TRUE(pListener->findSubscriber("uuid:s1").isNull());

	try
	{
		pListener->unsubscribeFromEvents(pSubscriber);
		FAIL() << "no exception";
	}
	catch (const NotFoundException& exc)
	{
		EXPECT_EQ("Unknown subscriber", exc.message());
	}
	EXPECT_EQ(2u, publisher.requests().size());
}

TEST_F(SubscriptionClientTest, RefusedUnsubscribeIsOnlyAWarning)
{
	ScriptedPublisher publisher(granting("Second-1800", HTTPResponse::HTTP_PRECONDITION_FAILED));
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);
	pListener->subscribeToEvents(pSubscriber);

	pListener->unsubscribeFromEvents(pSubscriber);

	EXPECT_EQ(1u, pChannel->count("Unsubscribe (SID: uuid:s1) failed: 412 Precondition Failed",
	                              Message::PRIO_WARNING));
	EXPECT_EQ("UPnP.GENA.Listener", pChannel->messages().at(0).source());
	EXPECT_TRUE(pListener->findSubscriber("uuid:s1").isNull());
}

TEST_F(SubscriptionClientTest, UnreachableUnsubscribeThrowsAfterRemovingTheEntry)
{
	auto pPublisher = std::make_unique<ScriptedPublisher>(granting("Second-1800"));
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(*pPublisher);
	pListener->subscribeToEvents(pSubscriber);
	pPublisher->stop();

	EXPECT_THROW(pListener->unsubscribeFromEvents(pSubscriber), IOException);
	EXPECT_TRUE(pListener->findSubscriber("uuid:s1").isNull());
	EXPECT_THROW(pListener->unsubscribeFromEvents(pSubscriber), NotFoundException);
}

TEST_F(SubscriptionClientTest, TwoSubscriptionsLeaveSmallestSidFirst)
{
	ScriptedPublisher publisher([](const PublisherRequest& request, std::size_t index) {
		if (request.method != "SUBSCRIBE") return status(HTTPResponse::HTTP_OK);
		return grant(index == 0 ? "uuid:b" : "uuid:a", "Second-1800");
	});
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);
	pListener->subscribeToEvents(pSubscriber);
	pListener->subscribeToEvents(pSubscriber);

	pListener->unsubscribeFromEvents(pSubscriber);
	EXPECT_TRUE(pListener->findSubscriber("uuid:a").isNull());
	EXPECT_EQ(pSubscriber, pListener->findSubscriber("uuid:b"));
	pListener->unsubscribeFromEvents(pSubscriber);

	const std::vector<PublisherRequest> requests = publisher.requests();
	ASSERT_EQ(4u, requests.size());
	EXPECT_EQ("uuid:a", requests[2].headers.get("SID", ""));
	EXPECT_EQ("uuid:b", requests[3].headers.get("SID", ""));
}

TEST_F(SubscriptionClientTest, OneSecondGrantIsRenewedEvery750MsWithItsOwnTimeout)
{
	ScriptedPublisher publisher(granting("Second-1"));
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);
	EventCounter renewed(pListener->subscriptionRenewed);
	pListener->setEventSubscriptionTimeout(1800);
	const auto subscribedAt = std::chrono::steady_clock::now();

	pListener->subscribeToEvents(pSubscriber);
	ASSERT_TRUE(renewed.waitFor(3));
	pListener->unsubscribeFromEvents(pSubscriber);

	std::vector<PublisherRequest> renewals;
	for (const PublisherRequest& request : publisher.requests())
		if (isRenewal(request)) renewals.push_back(request);
	ASSERT_GE(renewals.size(), 3u);
	for (std::size_t k = 0; k < 3; ++k)
	{
		EXPECT_EQ(PATH, renewals[k].uri);
		EXPECT_EQ("uuid:s1", renewals[k].headers.get("SID"));
		EXPECT_EQ("Second-1", renewals[k].headers.get("TIMEOUT", ""));
		EXPECT_FALSE(renewals[k].headers.has("CALLBACK"));
		EXPECT_FALSE(renewals[k].headers.has("NT"));
		// The timer is never early: renewal k+1 comes 750 ms per period at the soonest.
		EXPECT_GE(renewals[k].receivedAt - subscribedAt, std::chrono::milliseconds(750 * (k + 1)));
	}
	EXPECT_EQ(publisher.url(PATH), renewed.uris().at(0));
}

TEST_F(SubscriptionClientTest, RenewalAnswered412ResubscribesUnderTheNewSid)
{
	ScriptedPublisher publisher([](const PublisherRequest& request, std::size_t index) {
		if (index == 0) return grant("uuid:old", "Second-1");
		if (isRenewal(request)) return status(HTTPResponse::HTTP_PRECONDITION_FAILED);
		if (request.method == "UNSUBSCRIBE") return status(HTTPResponse::HTTP_OK);
		return grant("uuid:new", "Second-1800");
	});
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);

	pListener->subscribeToEvents(pSubscriber);
	ASSERT_TRUE(eventually([&] { return !pListener->findSubscriber("uuid:new").isNull(); }));

	EXPECT_TRUE(pListener->findSubscriber("uuid:old").isNull());
	EXPECT_EQ(1u, pChannel->count("Renewal failed; attempting to re-subscribe (URI=/dev/svc?x=1, "
	                              "SID=uuid:old): 412 Precondition Failed",
	                              Message::PRIO_WARNING));
	const std::vector<PublisherRequest> requests = publisher.requests();
	ASSERT_EQ(4u, requests.size());
	EXPECT_TRUE(isRenewal(requests[1]));
	EXPECT_EQ("UNSUBSCRIBE", requests[2].method);
	EXPECT_EQ("uuid:old", requests[2].headers.get("SID", ""));
	EXPECT_EQ("SUBSCRIBE", requests[3].method);
	EXPECT_FALSE(requests[3].headers.has("SID"));
	EXPECT_EQ("<http://10.0.0.5:8080/upnp-eventing>", requests[3].headers.get("CALLBACK", ""));
	EXPECT_EQ("upnp:event", requests[3].headers.get("NT", ""));
	EXPECT_EQ("Second-1800", requests[3].headers.get("TIMEOUT", ""));
	pListener->unsubscribeFromEvents(pSubscriber);
}

TEST_F(SubscriptionClientTest, FailedResubscriptionReportsTheSubscriptionLost)
{
	ScriptedPublisher publisher([](const PublisherRequest& request, std::size_t index) {
		if (index == 0) return grant("uuid:old", "Second-1");
		if (isRenewal(request)) return status(HTTPResponse::HTTP_PRECONDITION_FAILED);
		if (request.method == "UNSUBSCRIBE") return status(HTTPResponse::HTTP_OK);
		return status(HTTPResponse::HTTP_SERVICE_UNAVAILABLE);
	});
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);
	EventCounter lost(pListener->subscriptionLost);

	pListener->subscribeToEvents(pSubscriber);
	ASSERT_TRUE(lost.waitFor(1));

	EXPECT_EQ(publisher.url(PATH), lost.uris().at(0));
	const std::vector<Message> messages = pChannel->messages();
	ASSERT_EQ(3u, messages.size());
	EXPECT_EQ(Message::PRIO_WARNING, messages[0].priority());
	EXPECT_EQ("I/O error: HTTP error: Service Unavailable", messages[1].text());
	EXPECT_EQ(Message::PRIO_ERROR, messages[1].priority());
	EXPECT_EQ("Event subscription lost (URI=/dev/svc?x=1, SID=uuid:old): 412 Precondition Failed",
	          messages[2].text());
	EXPECT_EQ(Message::PRIO_ERROR, messages[2].priority());
	EXPECT_TRUE(pListener->findSubscriber("uuid:old").isNull());
	EXPECT_THROW(pListener->unsubscribeFromEvents(pSubscriber), NotFoundException);
}

TEST_F(SubscriptionClientTest, RenewalAnswered500FailsAndRenewsAgainNextPeriod)
{
	ScriptedPublisher publisher(granting("Second-1", HTTPResponse::HTTP_INTERNAL_SERVER_ERROR));
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);
	EventCounter failed(pListener->subscriptionRenewalFailed);

	pListener->subscribeToEvents(pSubscriber);
	ASSERT_TRUE(failed.waitFor(2));

	EXPECT_EQ(publisher.url(PATH), failed.uris().at(0));
	EXPECT_GE(pChannel->count("HTTP Error while renewing event subscription (URI=/dev/svc?x=1, SID=uuid:s1): "
	                          "500 Internal Server Error",
	                          Message::PRIO_ERROR),
	          2u);
	EXPECT_EQ(pSubscriber, pListener->findSubscriber("uuid:s1"));
	pListener->unsubscribeFromEvents(pSubscriber);
}

TEST_F(SubscriptionClientTest, UnreachablePublisherLogsTheRenewalError)
{
	auto pPublisher = std::make_unique<ScriptedPublisher>(granting("Second-1"));
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(*pPublisher);
	EventCounter failed(pListener->subscriptionRenewalFailed);
	pListener->subscribeToEvents(pSubscriber);
	pPublisher->stop();

	ASSERT_TRUE(failed.waitFor(1));
	ASSERT_TRUE(pChannel->waitFor(
	    1, "Error while renewing event subscription (URI=/dev/svc?x=1, SID=uuid:s1): ", Message::PRIO_ERROR));
	for (const Message& message : pChannel->messages())
		EXPECT_EQ(RENEWAL_LOGGER, message.source()) << message.text();
	EXPECT_EQ(pSubscriber, pListener->findSubscriber("uuid:s1"));
}

TEST_F(SubscriptionClientTest, DestroyingWithRenewingSubscriptionsWaitsForWorkersInFlight)
{
	TestSupport::Gate gate;
	std::atomic<int> renewalsStarted{0};
	ScriptedPublisher publisher([&](const PublisherRequest& request, std::size_t index) {
		if (!isRenewal(request)) return grant("uuid:s" + std::to_string(index), "Second-1");
		++renewalsStarted;
		gate.wait();
		// Every other renewal re-subscribes while the listener is going.
		return status(index % 2 ? HTTPResponse::HTTP_PRECONDITION_FAILED : HTTPResponse::HTTP_OK);
	});
	std::vector<AutoPtr<EventSubscriber>> subscribers;
	for (int i = 0; i < 4; ++i)
	{
		subscribers.push_back(subscriberOf(publisher));
		pListener->subscribeToEvents(subscribers.back());
	}
	ASSERT_TRUE(eventually([&] { return renewalsStarted >= 4; }));

	auto destroyed = std::async(std::launch::async, [this] { pListener = nullptr; });
	EXPECT_EQ(std::future_status::timeout, destroyed.wait_for(std::chrono::milliseconds(100)))
	    << "the listener did not wait for its renewal workers";
	gate.open();
	ASSERT_EQ(std::future_status::ready, destroyed.wait_for(TestSupport::DEADLINE));
}

TEST_F(SubscriptionClientTest, ThrowingRenewedDelegateCountsAsAFailedRenewal)
{
	ScriptedPublisher publisher(granting("Second-1"));
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);
	Delegate<const std::string> throwing(
	    [](const void*, const std::string&) { throw IllegalStateException("application says no"); });
	pListener->subscriptionRenewed += throwing;
	EventCounter failed(pListener->subscriptionRenewalFailed);

	pListener->subscribeToEvents(pSubscriber);

	ASSERT_TRUE(failed.waitFor(1));
	EXPECT_TRUE(pChannel->waitFor(1,
	                              "Error while renewing event subscription (URI=/dev/svc?x=1, SID=uuid:s1): "
	                              "Illegal state: application says no",
	                              Message::PRIO_ERROR));
	pListener->subscriptionRenewed -= throwing;
	pListener->unsubscribeFromEvents(pSubscriber);
}

TEST_F(SubscriptionClientTest, RenewalGrantingAnotherTimeoutKeepsThePeriod)
{
	ScriptedPublisher publisher([](const PublisherRequest& request, std::size_t) {
		if (isRenewal(request)) return grant(request.headers.get("SID"), "Second-1800");
		return grant("uuid:s1", "Second-1");
	});
	AutoPtr<EventSubscriber> pSubscriber = subscriberOf(publisher);
	EventCounter renewed(pListener->subscriptionRenewed);

	pListener->subscribeToEvents(pSubscriber);

	// A period taken from the renewal's grant would be 1350 s.
	ASSERT_TRUE(renewed.waitFor(3));
	pListener->unsubscribeFromEvents(pSubscriber);
	for (const PublisherRequest& request : publisher.requests())
	{
		if (isRenewal(request))
		{
			EXPECT_EQ("Second-1", request.headers.get("TIMEOUT", ""));
		}
	}
}

// ---- The listener's settings for NOTIFY: early-NOTIFY grace and SEQ tracking ----

namespace {

const std::string EARLY_WAIT_PREFIX = "NOTIFY for unknown SID ";

/// Sends a NOTIFY with sid, seq (no SEQ header when empty) and the property
/// Count=value to port on 127.0.0.1; returns the status.
int sendNotify(unsigned short port, const std::string& sid, const std::string& seq, const std::string& value)
{
	const std::string body =
	    "<?xml version=\"1.0\"?><e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">"
	    "<e:property><Count>" +
	    value + "</Count></e:property></e:propertyset>";
	Net::HTTPClientSession session("127.0.0.1", port);
	Net::HTTPRequest request("NOTIFY", "/upnp-eventing", Net::HTTPMessage::HTTP_1_1);
	request.set("NT", "upnp:event");
	request.set("NTS", "upnp:propchange");
	request.set("SID", sid);
	if (!seq.empty()) request.set("SEQ", seq);
	request.setContentLength(static_cast<std::streamsize>(body.size()));
	session.sendRequest(request) << body;
	Net::HTTPResponse response;
	session.receiveResponse(response);
	return response.getStatus();
}

/// A subscriber listener with a real event endpoint, and a publisher that
/// holds its answer to the first SUBSCRIBE until the test releases it.
class ListenerSettingsTest : public ::testing::Test
{
protected:
	void SetUp() override
	{
		Logger::setChannel("UPnP.GENA", pChannel);
		Logger::setLevel("UPnP.GENA", Message::PRIO_DEBUG);
	}

	void TearDown() override
	{
		release.open();
		Logger::setChannel("UPnP.GENA", nullptr);
	}

	void configure(Timespan grace, bool trackSequence = false, bool resubscribeOnGap = false)
	{
		Listener::Settings settings = endpoint.pListener->settings();
		settings.earlyNotifyGrace = grace;
		settings.trackSequence = trackSequence;
		settings.resubscribeOnGap = resubscribeOnGap;
		endpoint.pListener->setSettings(settings);
	}

	/// Starts subscribing and returns once the publisher holds the SUBSCRIBE.
	std::future<void> subscribeHeld()
	{
		auto subscribed = std::async(std::launch::async,
		                             [this] { endpoint.pListener->subscribeToEvents(recorder.pSubscriber); });
		EXPECT_TRUE(subscribeArrived.wait());
		return subscribed;
	}

	std::future<int> notifyAsync(const std::string& sid)
	{
		return std::async(std::launch::async,
		                  [this, sid] { return sendNotify(endpoint.port(), sid, "0", "7"); });
	}

	AutoPtr<TestChannel> pChannel = new TestChannel;
	TestSupport::Gate subscribeArrived;
	TestSupport::Gate release;
	ScriptedPublisher publisher{[this](const PublisherRequest& request, std::size_t) {
		if (request.method != "SUBSCRIBE") return status(HTTPResponse::HTTP_OK);
		subscribeArrived.open();
		release.wait();
		return grant("uuid:s1", "Second-1800");
	}};
	EventRecorder recorder{publisher.url(PATH)};
	Util::Timer timer;
	ListenerEndpoint endpoint{timer};
};

} // namespace

struct EarlyNotifyRow
{
	const char* name;
	Timespan grace;
	int status;
};

void PrintTo(const EarlyNotifyRow& row, std::ostream* pStream)
{
	*pStream << row.name;
}

class EarlyNotifyTest : public ListenerSettingsTest, public ::testing::WithParamInterface<EarlyNotifyRow>
{
};

TEST_P(EarlyNotifyTest, InitialNotifyBeforeTheSubscribeResponse)
{
	configure(GetParam().grace);
	std::future<void> subscribed = subscribeHeld();

	std::future<int> notified = notifyAsync("uuid:s1");
	if (GetParam().status == HTTPResponse::HTTP_OK)
		ASSERT_TRUE(pChannel->waitFor(1, EARLY_WAIT_PREFIX + "uuid:s1 waits", Message::PRIO_DEBUG));
	else
		EXPECT_EQ(GetParam().status, notified.get());
	release.open();
	subscribed.get();

	if (GetParam().status == HTTPResponse::HTTP_OK)
	{
		EXPECT_EQ(GetParam().status, notified.get());
		EXPECT_EQ(std::vector<std::string>{"Count=7"}, recorder.events());
	}
	else
	{
		EXPECT_TRUE(recorder.events().empty());
	}
	endpoint.pListener->unsubscribeFromEvents(recorder.pSubscriber);
}

INSTANTIATE_TEST_SUITE_P(
    ListenerSettings, EarlyNotifyTest,
    ::testing::Values(EarlyNotifyRow{"NoGrace", Timespan(), HTTPResponse::HTTP_PRECONDITION_FAILED},
                      EarlyNotifyRow{"GraceWaitsForTheSid", Timespan(20, 0), HTTPResponse::HTTP_OK}),
    [](const ::testing::TestParamInfo<EarlyNotifyRow>& info) { return std::string(info.param.name); });

TEST_F(ListenerSettingsTest, UnknownSidGets412WhenTheGraceRunsOut)
{
	configure(Timespan(0, 200 * 1000));
	std::future<void> subscribed = subscribeHeld();

	// The subscription request is still held: only the grace ends the wait.
	EXPECT_EQ(HTTPResponse::HTTP_PRECONDITION_FAILED, notifyAsync("uuid:other").get());
	EXPECT_EQ(1u, pChannel->count(EARLY_WAIT_PREFIX + "uuid:other waits for a subscription request in flight",
	                              Message::PRIO_DEBUG));
	release.open();
	subscribed.get();
	EXPECT_TRUE(recorder.events().empty());
}

TEST_F(ListenerSettingsTest, WaitsBeyondTheBoundGet412AtOnce)
{
	configure(Timespan(20, 0));
	std::future<void> subscribed = subscribeHeld();
	std::vector<std::future<int>> parked;
	for (std::size_t i = 0; i < Listener::MAX_EARLY_NOTIFY_WAITS; ++i)
		parked.push_back(notifyAsync("uuid:other"));
	ASSERT_TRUE(pChannel->waitFor(Listener::MAX_EARLY_NOTIFY_WAITS, EARLY_WAIT_PREFIX, Message::PRIO_DEBUG));

	// Answered while the others still wait and the SUBSCRIBE is still held.
	EXPECT_EQ(HTTPResponse::HTTP_PRECONDITION_FAILED, notifyAsync("uuid:s1").get());
	EXPECT_EQ(Listener::MAX_EARLY_NOTIFY_WAITS, pChannel->count(EARLY_WAIT_PREFIX, Message::PRIO_DEBUG));

	// The end of the subscription request ends the waits of unknown SIDs.
	release.open();
	subscribed.get();
	for (std::future<int>& notified : parked)
		EXPECT_EQ(HTTPResponse::HTTP_PRECONDITION_FAILED, notified.get());
	EXPECT_TRUE(recorder.events().empty());
}

struct SequenceRow
{
	const char* name;
	bool trackSequence;
	std::vector<std::string> seqs;
	std::vector<std::pair<std::uint32_t, std::uint32_t>> gaps; // expected, received
};

void PrintTo(const SequenceRow& row, std::ostream* pStream)
{
	*pStream << row.name;
}

class SequenceGapTest : public ListenerSettingsTest, public ::testing::WithParamInterface<SequenceRow>
{
};

TEST_P(SequenceGapTest, ReportsSkippedNumbersAndDeliversEveryNotify)
{
	configure(Timespan(), GetParam().trackSequence);
	endpoint.pListener->addSubscription("uuid:t", Listener::Subscription{recorder.pSubscriber, nullptr});
	std::mutex mutex;
	std::vector<Listener::SequenceGap> gaps;
	// Fired on the server's thread before the response: recorded once a NOTIFY is answered.
	Delegate<const Listener::SequenceGap> onGap([&](const void*, const Listener::SequenceGap& gap) {
		std::lock_guard<std::mutex> lock(mutex);
		gaps.push_back(gap);
	});
	endpoint.pListener->sequenceGap += onGap;

	for (const std::string& seq : GetParam().seqs)
		EXPECT_EQ(HTTPResponse::HTTP_OK, sendNotify(endpoint.port(), "uuid:t", seq, "v" + seq)) << seq;

	endpoint.pListener->sequenceGap -= onGap;
	std::lock_guard<std::mutex> lock(mutex);
	ASSERT_EQ(GetParam().gaps.size(), gaps.size());
	for (std::size_t k = 0; k < gaps.size(); ++k)
	{
		EXPECT_EQ("uuid:t", gaps[k].sid);
		EXPECT_EQ(publisher.url(PATH), gaps[k].endpointURI);
		EXPECT_EQ(GetParam().gaps[k].first, gaps[k].expected);
		EXPECT_EQ(GetParam().gaps[k].second, gaps[k].received);
	}
	EXPECT_EQ(GetParam().seqs.size(), recorder.events().size());
}

INSTANTIATE_TEST_SUITE_P(
    ListenerSettings, SequenceGapTest,
    ::testing::Values(
        SequenceRow{"InOrder", true, {"0", "1", "2", "3"}, {}},
        SequenceRow{"Skipped", true, {"0", "1", "4", "5"}, {{2, 4}}},
        SequenceRow{"FirstIsNotZero", true, {"3", "4"}, {{0, 3}}},
        SequenceRow{"Duplicate", true, {"0", "1", "1", "2"}, {}},
        SequenceRow{"Older", true, {"0", "1", "2", "3", "1", "4"}, {}},
        SequenceRow{"ZeroStartsAgain", true, {"0", "1", "2", "0", "1"}, {}},
        SequenceRow{"WrapToOne", true, {"4294967294", "4294967295", "1", "2"}, {{0, 4294967294u}}},
        SequenceRow{"GapAcrossTheWrap", true, {"4294967294", "2"}, {{0, 4294967294u}, {4294967295u, 2}}},
        SequenceRow{"OlderAcrossTheWrap", true, {"4294967295", "1", "4294967295"}, {{0, 4294967295u}}},
        SequenceRow{"NoDecimalSeqIsNotTracked", true, {"0", "", "x", "-1", "1"}, {}},
        SequenceRow{"Off", false, {"0", "5", "9"}, {}}),
    [](const ::testing::TestParamInfo<SequenceRow>& info) { return std::string(info.param.name); });

TEST(ListenerSettings, ResubscribeOnGapBringsTheInitialStateAgain)
{
	AutoPtr<TestChannel> pChannel = new TestChannel;
	Logger::setChannel("UPnP.GENA", pChannel);
	Logger::setLevel("UPnP.GENA", Message::PRIO_DEBUG);
	Util::Timer timer;
	ListenerEndpoint endpoint(timer);
	std::mutex mutex;
	std::vector<std::future<int>> initialNotifies;
	// Like a real publisher: a new subscription gets its initial NOTIFY (SEQ 0)
	// on a connection of its own, which may overtake the SUBSCRIBE response.
	ScriptedPublisher publisher([&](const PublisherRequest& request, std::size_t) {
		if (request.method != "SUBSCRIBE" || isRenewal(request)) return status(HTTPResponse::HTTP_OK);
		std::lock_guard<std::mutex> lock(mutex);
		const std::string sid = "uuid:s" + std::to_string(initialNotifies.size() + 1);
		initialNotifies.push_back(std::async(std::launch::async, [&endpoint, sid] {
			return sendNotify(endpoint.port(), sid, "0", "state of " + sid);
		}));
		return grant(sid, "Second-1800");
	});
	EventRecorder recorder(publisher.url(PATH));
	Listener::Settings settings;
	settings.earlyNotifyGrace = Timespan(20, 0);
	settings.trackSequence = true;
	settings.resubscribeOnGap = true;
	endpoint.pListener->setSettings(settings);

	endpoint.pListener->subscribeToEvents(recorder.pSubscriber);
	ASSERT_TRUE(recorder.waitFor(1));
	EXPECT_EQ(HTTPResponse::HTTP_OK, sendNotify(endpoint.port(), "uuid:s1", "2", "after a gap"));

	ASSERT_TRUE(recorder.waitFor(3));
	EXPECT_EQ(
	    (std::vector<std::string>{"Count=state of uuid:s1", "Count=after a gap", "Count=state of uuid:s2"}),
	    recorder.events());
	EXPECT_EQ(
	    1u, pChannel->count("Event sequence gap; attempting to re-subscribe (URI=/dev/svc?x=1, SID=uuid:s1)",
	                        Message::PRIO_WARNING));
	const std::vector<PublisherRequest> requests = publisher.requests();
	ASSERT_EQ(3u, requests.size());
	EXPECT_EQ("UNSUBSCRIBE", requests[1].method);
	EXPECT_EQ("uuid:s1", requests[1].headers.get("SID", ""));
	EXPECT_EQ("SUBSCRIBE", requests[2].method);
	EXPECT_FALSE(requests[2].headers.has("SID"));
	EXPECT_TRUE(endpoint.pListener->findSubscriber("uuid:s1").isNull());
	EXPECT_EQ(AutoPtr<EventSubscriber>(recorder.pSubscriber), endpoint.pListener->findSubscriber("uuid:s2"));
	{
		std::lock_guard<std::mutex> lock(mutex);
		for (std::future<int>& notified : initialNotifies)
			EXPECT_EQ(HTTPResponse::HTTP_OK, notified.get());
	}
	endpoint.pListener->unsubscribeFromEvents(recorder.pSubscriber);
	Logger::setChannel("UPnP.GENA", nullptr);
}
