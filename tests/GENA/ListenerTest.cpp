// The listener's TIMEOUT parsing, and its request handler over loopback.

#include "Tavik/Callweave/TypedEventSubscriber.h"
#include "Tavik/Logger.h"
#include "Tavik/TestChannel.h"

#include "GENATestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

using namespace Tavik;
using namespace TestSupport;
using Tavik::UPnP::GENA::Listener;

namespace {

struct Timeout
{
	const char* name;
	operator std::string_view() const { return name; } // what gtest prints
	const char* text;
	bool accepted;
	int seconds;
};

using ParseTimeoutTest = ::testing::TestWithParam<Timeout>;

class RequestHandlerTest : public PublisherFixture
{
protected:
	// A renewal of an unknown SID fails after its answer, which the server logs.
	RequestHandlerTest() { Logger::setChannel("Net.HTTPServer", new TestChannel); }

	/// Sends METHOD URI with the header lines to the endpoint; the response head.
	std::string request(const std::string& methodAndURI, const std::vector<std::string>& headers = {})
	{
		std::string text = methodAndURI + " HTTP/1.1\r\nHost: gena\r\n";
		for (const std::string& header : headers)
			text += header + "\r\n";
		return exchange(text + "Content-Length: 0\r\n\r\n");
	}

	HTTPPeer subscriber;
	const std::string callback = "CALLBACK: <" + subscriber.url("/cb") + ">";
};

// Header lines of the rows; "CALLBACK" stands for the test's subscriber.
const std::string NT = "NT: upnp:event", SID = "SID: uuid:x", ELSEWHERE = "CALLBACK: <http://h:1/a>";

struct Status
{
	const char* name;
	operator std::string_view() const { return name; } // what gtest prints
	std::string methodAndURI;
	std::vector<std::string> headers;
	int status;
	std::string timeout = ""; // granted
};

class RequestHandlerStatusTest : public RequestHandlerTest, public ::testing::WithParamInterface<Status> {};

} // namespace

TEST_P(ParseTimeoutTest, AcceptsSecondsOrInfinite)
{
	int seconds = -99;
	EXPECT_EQ(Listener::parseTimeout(GetParam().text, seconds), GetParam().accepted);
	EXPECT_EQ(seconds, GetParam().accepted ? GetParam().seconds : -99);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ParseTimeoutTest,
    ::testing::Values(Timeout{"Seconds", "Second-300", true, 300}, Timeout{"AnyLetterCase", "sECOND-300", true, 300},
                      Timeout{"Infinite", "Second-infinite", true, 0}, Timeout{"Zero", "Second-0", true, 0},
                      Timeout{"InfiniteAnyLetterCase", "SECOND-INFINITE", true, 0},
                      Timeout{"Grouped", "Second-1,800", true, 1800}, Timeout{"Negative", "Second--5", true, -5},
                      Timeout{"Largest", "Second-2147483647", true, 2147483647},
                      Timeout{"Overflow", "Second-2147483648", false, 0}, Timeout{"NoNumber", "Second-", false, 0},
                      Timeout{"NotANumber", "Second-5s", false, 0}, Timeout{"OtherUnit", "Minute-5", false, 0},
                      Timeout{"InfiniteAndMore", "Second-infinite!", false, 0}),
    [](const ::testing::TestParamInfo<Timeout>& info) { return std::string(info.param.name); });

TEST_P(RequestHandlerStatusTest, AnswersInCheckOrder)
{
	std::vector<std::string> headers = GetParam().headers;
	std::replace(headers.begin(), headers.end(), std::string("CALLBACK"), callback);
	const std::string head = request(GetParam().methodAndURI, headers);
	EXPECT_EQ(statusOf(head), GetParam().status) << head;
	EXPECT_EQ(headerOf(head, "TIMEOUT"), GetParam().timeout);
	EXPECT_EQ(headerOf(head, "SID").empty(), GetParam().timeout.empty());
	// The initial event of a new subscription is under way when the answer arrives: it must end in the test.
	EXPECT_TRUE(!std::count(headers.begin(), headers.end(), callback) || subscriber.waitFor(1));
}

// The unknown paths show that an earlier refusal wins over the missing dispatcher.
INSTANTIATE_TEST_SUITE_P(
    Rows, RequestHandlerStatusTest,
    ::testing::Values(
        Status{"LowerCaseMethod", "subscribe /dev/svc", {ELSEWHERE, NT}, 405}, Status{"Get", "GET /dev/svc", {}, 405},
        Status{"Head", "HEAD /anything", {}, 200}, Status{"SubscribeWithoutCallbackOrSID", "SUBSCRIBE /unknown", {NT}, 412},
        Status{"CallbackAndSID", "SUBSCRIBE /unknown", {ELSEWHERE, SID}, 400},
        Status{"NTAndSID", "SUBSCRIBE /unknown", {NT, SID}, 400},
        Status{"CallbackWithoutBrackets", "SUBSCRIBE /unknown", {"CALLBACK: http://h:1/a", NT}, 412},
        Status{"NoNT", "SUBSCRIBE /unknown", {ELSEWHERE}, 412},
        Status{"UpperCaseNT", "SUBSCRIBE /unknown", {ELSEWHERE, "NT: UPNP:EVENT"}, 412},
        Status{"BadTimeout", "SUBSCRIBE /unknown", {ELSEWHERE, NT, "TIMEOUT: Minute-5"}, 412},
        Status{"RenewalOfUpperCaseUUID", "SUBSCRIBE /unknown", {"SID: UUID:x"}, 412},
        Status{"SubscribeUnknownPath", "SUBSCRIBE /unknown", {ELSEWHERE, NT}, 404},
        Status{"UnsubscribeWithoutSID", "UNSUBSCRIBE /unknown", {}, 400},
        Status{"UnsubscribeUnknownPath", "UNSUBSCRIBE /unknown", {SID}, 500},
        Status{"UnsubscribeUnknownSID", "UNSUBSCRIBE /dev/svc", {SID}, 412},
        Status{"NotifyWithoutSID", "NOTIFY /dev/svc", {}, 412}, Status{"NotifyUnknownSID", "NOTIFY /dev/svc", {SID}, 412},
        Status{"Granted", "SUBSCRIBE /dev/svc?q", {"CALLBACK", NT}, 200, "Second-1800"},
        Status{"GrantedAnyLetterCase", "SUBSCRIBE /dev/svc", {"CALLBACK", NT, "TIMEOUT: SECOND-300"}, 200, "Second-300"},
        Status{"GrantedInfinite", "SUBSCRIBE /dev/svc", {"CALLBACK", NT, "TIMEOUT: Second-infinite"}, 200, "Second-infinite"},
        // Answered before the dispatcher is asked (which fails), unless renewals are strict.
        Status{"RenewalOfUnknownSID", "SUBSCRIBE /dev/svc", {"SID: uuid:unknown", "TIMEOUT: Second-5"}, 200, "Second-5"}),
    [](const ::testing::TestParamInfo<Status>& info) { return std::string(info.param.name); });

TEST_F(RequestHandlerTest, GrantsCallbacksOnThePeerAUUIDAndAtMostTheMaximumTimeout)
{
	Listener::Settings settings;
	settings.maxTimeout = 600;
	settings.checkCallback = true;
	pListener->setSettings(settings);
	const auto granted = [&](const std::string& timeout) {
		const std::string head = request("SUBSCRIBE /dev/svc", {callback, "NT: upnp:event", "TIMEOUT: " + timeout});
		EXPECT_EQ(headerOf(head, "SID").substr(0, 5) + std::to_string(headerOf(head, "SID").size()), "uuid:41");
		return headerOf(head, "TIMEOUT");
	};
	EXPECT_EQ(granted("Second-infinite") + " " + granted("Second-601") + " " + granted("Second-30"),
	          "Second-600 Second-600 Second-30");
	EXPECT_EQ(statusOf(request("SUBSCRIBE /dev/svc", {"CALLBACK: <http://127.0.0.2:1/>", "NT: upnp:event"})), 412);
	EXPECT_TRUE(subscriber.waitFor(3));
}

TEST_F(RequestHandlerTest, StrictRenewalAndTheSubscriptionCapRefuseWhatIsNotThere)
{
	pDispatcher->subscribe("uuid:held", subscriber.url("/cb"), Clock(0));
	pDispatcher->subscribe("uuid:expired", subscriber.url("/cb"), Clock(1));
	Listener::Settings settings;
	settings.strictRenewal = true;
	settings.maxSubscriptions = 1;
	pListener->setSettings(settings);
	EXPECT_EQ(statusOf(request("SUBSCRIBE /dev/svc", {"SID: uuid:unknown"})), 412);
	EXPECT_EQ(statusOf(request("SUBSCRIBE /dev/svc", {"SID: uuid:expired"})), 412);
	EXPECT_EQ(statusOf(request("SUBSCRIBE /dev/svc", {"SID: uuid:held"})), 200);
	EXPECT_EQ(statusOf(request("SUBSCRIBE /dev/svc", {callback, "NT: upnp:event"})), 503);
	EXPECT_EQ(pDispatcher->subscriberCount(), 1u);
}

TEST_F(RequestHandlerTest, NotifyDeliversThePropertiesLastFirstToTheSubscriberOfTheSID)
{
	EventRecorder recorder(serviceURL());
	pListener->addSubscription("uuid:generic", Listener::Subscription{recorder.pSubscriber, nullptr});
	AutoPtr<Callweave::TypedEventSubscriber> pTyped(new Callweave::TypedEventSubscriber(serviceURL()));
	StringLog typed; // the server's threads add to it
	pTyped->on<int>("Level", [&](const int& level) { typed.add("Level " + std::to_string(level)); });
	pTyped->on<int>("Name", [&](const int&) { typed.add("replaced handler"); });
	pTyped->on<std::string>("Name", [&](const std::string& name) { typed.add("Name " + name); });
	pListener->addSubscription("uuid:typed", Listener::Subscription{pTyped, nullptr});
	AutoPtr<TestChannel> pChannel = new TestChannel;
	Logger::setChannel("UPnP.GENA.RequestHandler", pChannel);

	const Properties properties = {{"Level", "1,000"}, {"Other", "x"}, {"Name", "Kitchen"}};
	EXPECT_EQ(statusOf(exchange(notifyRequest("/any", "uuid:generic", "1", properties))), 200);
	EXPECT_EQ(recorder.events(), (std::vector<std::string>{"Name=Kitchen", "Other=x", "Level=1,000"}));
	EXPECT_EQ(statusOf(exchange(notifyRequest("/any", "uuid:typed", "1", properties))), 200);
	EXPECT_EQ(typed.entries(), (std::vector<std::string>{"Name Kitchen", "Level 1000"}));
	EXPECT_EQ(statusOf(exchange(notifyRequest("/any", "UUID:generic", "2", properties))), 412);
	// A value that does not convert, and a body that is not XML.
	EXPECT_EQ(statusOf(exchange(notifyRequest("/any", "uuid:typed", "2", {{"Level", "high"}}))), 500);
	EXPECT_EQ(statusOf(exchange(notifyRequest("/any", "uuid:generic", "2", {{"Level", "<"}}))), 500);
	EXPECT_EQ(typed.entries().size() + recorder.events().size(), 5u);
	EXPECT_EQ(pChannel->count("", Message::PRIO_ERROR), 2u);
}

TEST_F(RequestHandlerTest, LogsEveryRequestAtDebugLevel)
{
	AutoPtr<TestChannel> pChannel = new TestChannel;
	Logger::setChannel("UPnP.GENA.RequestHandler", pChannel);
	Logger::setLevel("UPnP.GENA.RequestHandler", Message::PRIO_DEBUG);
	request("SUBSCRIBE /unknown?q=1", {"CALLBACK: <http://h:1/>", "SID: uuid:x"});
	Logger::setLevel("UPnP.GENA.RequestHandler", Message::PRIO_INFORMATION);
	std::string log;
	for (const Message& message : pChannel->messages())
		log += std::to_string(message.priority()) + " " + message.text() + "|";
	EXPECT_THAT(log, testing::MatchesRegex("7 SUBSCRIBE /unknown[?]q=1 HTTP/1.1 from 127.0.0.1:[0-9]+[|]"
	                                       "7 Callback: <http://h:1/>[|]7 SID: uuid:x[|]"));
}
