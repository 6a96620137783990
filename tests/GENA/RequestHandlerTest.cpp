#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Logger.h"
#include "Tavik/Message.h"
#include "Tavik/TestChannel.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/RequestHandler.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/Clock.h"
#include "Tavik/Util/Timer.h"

#include "GENATestSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <set>
#include <sstream>
#include <vector>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Net::HTTPResponse;
using Tavik::Net::HTTPServerRequest;
using Tavik::Net::HTTPServerResponse;
using Tavik::Net::SocketAddress;

using TestSupport::RecordingSubscriber;
using TestSupport::TestListener;

namespace {

const std::string END_POINT = "127.0.0.1:4711";
const std::string SERVICE_PATH = "/dev/svc";

class TestResponse : public HTTPServerResponse
{
protected:
	std::ostream& beginBody() override { return _body; }
	void endBody() override {}

private:
	std::ostringstream _body;
};



struct Exchange
{
	HTTPResponse::HTTPStatus status;
	std::string sid;
	std::string timeout;
};

class RequestHandlerTest : public testing::Test
{
protected:
	void SetUp() override
	{
		_pDispatcher = new Callweave::EventDispatcher(Transport::PROTOCOL);
		Callweave::ORB::instance().registerEventDispatcher("http://" + END_POINT + SERVICE_PATH, Transport::PROTOCOL,
			_pDispatcher);
	}

	void TearDown() override
	{
		Callweave::ORB::instance().unregisterEventDispatcher("http://" + END_POINT + SERVICE_PATH, Transport::PROTOCOL);
		_pDispatcher->stop();
	}

	Exchange run(const std::string& method, const std::map<std::string, std::string>& headers,
		const std::string& uri = SERVICE_PATH, const std::string& body = "")
	{
		std::istringstream bodyStream(body);
		HTTPServerRequest request(method, uri, "HTTP/1.1", SocketAddress("127.0.0.1", 50000), bodyStream);
		for (const auto& header : headers) request.set(header.first, header.second);
		TestResponse response;
		_handler.handleRequest(request, response);
		EXPECT_TRUE(response.sent());
		return Exchange{response.getStatus(), response.get("SID", ""), response.get("TIMEOUT", "")};
	}

	Util::Timer _timer;
	AutoPtr<TestListener> _pListener{new TestListener(END_POINT, _timer)};
	RequestHandler _handler{*_pListener};
	AutoPtr<Callweave::EventDispatcher> _pDispatcher;
};

struct StatusRow
{
	const char* name;
	std::string method;
	std::map<std::string, std::string> headers;
	std::string uri;
	HTTPResponse::HTTPStatus status;
};

void PrintTo(const StatusRow& row, std::ostream* pOut)
{
	*pOut << row.name;
}

class RequestHandlerStatusTest : public RequestHandlerTest, public testing::WithParamInterface<StatusRow>
{
};

// Rows follow the order in which the checks run; the unknown-URI rows show
// that an earlier refusal wins over the missing object.
const StatusRow STATUS_ROWS[] = {
	{"LowerCaseMethod", "subscribe", {{"CALLBACK", "<http://127.0.0.1:1/>"}, {"NT", "upnp:event"}}, SERVICE_PATH, HTTPResponse::HTTP_METHOD_NOT_ALLOWED},
	{"Get", "GET", {}, SERVICE_PATH, HTTPResponse::HTTP_METHOD_NOT_ALLOWED},
	{"Head", "HEAD", {}, "/anything", HTTPResponse::HTTP_OK},
	{"SubscribeNoCallbackNoSid", "SUBSCRIBE", {{"NT", "upnp:event"}}, "/unknown", HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"SubscribeCallbackAndSid", "SUBSCRIBE", {{"CALLBACK", "<http://h:1/>"}, {"SID", "uuid:x"}}, "/unknown", HTTPResponse::HTTP_BAD_REQUEST},
	{"SubscribeNtAndSid", "SUBSCRIBE", {{"NT", "upnp:event"}, {"SID", "uuid:x"}}, "/unknown", HTTPResponse::HTTP_BAD_REQUEST},
	{"CallbackWithoutBrackets", "SUBSCRIBE", {{"CALLBACK", "http://h:1/a"}, {"NT", "upnp:event"}}, "/unknown", HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"CallbackClosedBeforeOpened", "SUBSCRIBE", {{"CALLBACK", ">http://h:1/a<"}, {"NT", "upnp:event"}}, "/unknown", HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"NoNt", "SUBSCRIBE", {{"CALLBACK", "<http://h:1/a>"}}, "/unknown", HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"UpperCaseNt", "SUBSCRIBE", {{"CALLBACK", "<http://h:1/a>"}, {"NT", "UPNP:EVENT"}}, "/unknown", HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"TimeoutEmptyNumber", "SUBSCRIBE", {{"CALLBACK", "<http://h:1/a>"}, {"NT", "upnp:event"}, {"TIMEOUT", "Second-"}}, "/unknown", HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"TimeoutNotNumber", "SUBSCRIBE", {{"CALLBACK", "<http://h:1/a>"}, {"NT", "upnp:event"}, {"TIMEOUT", "Second-abc"}}, "/unknown", HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"TimeoutMinutes", "SUBSCRIBE", {{"CALLBACK", "<http://h:1/a>"}, {"NT", "upnp:event"}, {"TIMEOUT", "Minute-5"}}, "/unknown", HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"RenewalUpperCaseUuid", "SUBSCRIBE", {{"SID", "UUID:x"}}, "/unknown", HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"SubscribeUnknownObject", "SUBSCRIBE", {{"CALLBACK", "<http://h:1/a>"}, {"NT", "upnp:event"}}, "/unknown", HTTPResponse::HTTP_NOT_FOUND},
	{"RenewalUnknownObject", "SUBSCRIBE", {{"SID", "uuid:x"}}, "/unknown", HTTPResponse::HTTP_NOT_FOUND},
	{"UnsubscribeNoSidUnknownObject", "UNSUBSCRIBE", {}, "/unknown", HTTPResponse::HTTP_BAD_REQUEST},
	{"UnsubscribeUnknownObject", "UNSUBSCRIBE", {{"SID", "uuid:x"}}, "/unknown", HTTPResponse::HTTP_INTERNAL_SERVER_ERROR},
	{"UnsubscribeUnknownSid", "UNSUBSCRIBE", {{"SID", "uuid:x"}, {"NT", "upnp:event"}}, SERVICE_PATH, HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"NotifyNoSid", "NOTIFY", {}, SERVICE_PATH, HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"NotifyEmptySid", "NOTIFY", {{"SID", ""}}, SERVICE_PATH, HTTPResponse::HTTP_PRECONDITION_FAILED},
	{"NotifyUnknownSid", "NOTIFY", {{"SID", "uuid:never"}}, SERVICE_PATH, HTTPResponse::HTTP_PRECONDITION_FAILED},
};

TEST_P(RequestHandlerStatusTest, AnswersInCheckOrder)
{
	const StatusRow& row = GetParam();
	const Exchange answer = run(row.method, row.headers, row.uri);
	EXPECT_EQ(row.status, answer.status);
	if (row.method != "HEAD" || row.status != HTTPResponse::HTTP_OK)
	{
		EXPECT_EQ("", answer.sid);
		EXPECT_EQ("", answer.timeout);
	}
}

INSTANTIATE_TEST_SUITE_P(Rows, RequestHandlerStatusTest, testing::ValuesIn(STATUS_ROWS),
	[](const testing::TestParamInfo<StatusRow>& info) { return std::string(info.param.name); });

struct TimeoutRow
{
	const char* name;
	std::string header; // empty: no TIMEOUT header
	std::string granted;
};

void PrintTo(const TimeoutRow& row, std::ostream* pOut)
{
	*pOut << row.name;
}

class RequestHandlerTimeoutTest : public RequestHandlerTest, public testing::WithParamInterface<TimeoutRow>
{
};

const TimeoutRow TIMEOUT_ROWS[] = {
	{"Absent", "", "Second-1800"},
	{"InfiniteAnyCase", "second-INFINITE", "Second-infinite"},
	{"PrefixAnyCase", "SECOND-300", "Second-300"},
	{"ThousandsSeparator", "Second-1,800", "Second-1800"},
	{"ZeroIsInfinite", "Second-0", "Second-infinite"},
	{"NegativeEchoed", "Second--5", "Second--5"},
};

TEST_P(RequestHandlerTimeoutTest, GrantsTimeout)
{
	// A renewal of an unknown SID is answered before the dispatcher refuses it.
	std::map<std::string, std::string> headers{{"SID", "uuid:renewed"}};
	if (!GetParam().header.empty()) headers["TIMEOUT"] = GetParam().header;
	std::istringstream body;
	HTTPServerRequest request("SUBSCRIBE", SERVICE_PATH, "HTTP/1.1", SocketAddress("127.0.0.1", 1), body);
	for (const auto& header : headers) request.set(header.first, header.second);
	TestResponse response;
	EXPECT_THROW(_handler.handleRequest(request, response), NotFoundException);
	EXPECT_EQ(HTTPResponse::HTTP_OK, response.getStatus());
	EXPECT_EQ("uuid:renewed", response.get("SID", ""));
	EXPECT_EQ(GetParam().granted, response.get("TIMEOUT", ""));
}

INSTANTIATE_TEST_SUITE_P(Rows, RequestHandlerTimeoutTest, testing::ValuesIn(TIMEOUT_ROWS),
	[](const testing::TestParamInfo<TimeoutRow>& info) { return std::string(info.param.name); });

TEST_F(RequestHandlerTest, ListenerDefaultTimeoutZeroGrantsInfinite)
{
	_pListener->setEventSubscriptionTimeout(0);
	std::istringstream body;
	HTTPServerRequest request("SUBSCRIBE", SERVICE_PATH, "HTTP/1.1", SocketAddress("127.0.0.1", 1), body);
	request.set("SID", "uuid:renewed");
	TestResponse response;
	EXPECT_THROW(_handler.handleRequest(request, response), NotFoundException);
	EXPECT_EQ("Second-infinite", response.get("TIMEOUT", ""));
}

TEST_F(RequestHandlerTest, NewSubscriptionsGetDistinctUuidSids)
{
	std::set<std::string> sids;
	for (int i = 0; i < 20; ++i)
	{
		// Port 1 refuses: the initial notification fails quietly in the background.
		const Exchange answer = run("SUBSCRIBE", {{"CALLBACK", "junk<http://127.0.0.1:1/a><http://127.0.0.1:1/b>"}, {"NT", "upnp:event"}});
		ASSERT_EQ(HTTPResponse::HTTP_OK, answer.status);
		EXPECT_EQ(41u, answer.sid.size());
		EXPECT_EQ(0u, answer.sid.compare(0, 5, "uuid:"));
		EXPECT_EQ("Second-1800", answer.timeout);
		sids.insert(answer.sid);
	}
	EXPECT_EQ(20u, sids.size());
	ThreadPool::defaultPool().joinAll();
}

TEST_F(RequestHandlerTest, NotifyDeliversPropertiesLastFirst)
{
	AutoPtr<RecordingSubscriber> pSubscriber(new RecordingSubscriber);
	_pListener->addSubscription("uuid:mine", Listener::Subscription{pSubscriber, AutoPtr<Util::TimerTask>()});
	const std::string body =
		"<?xml version=\"1.0\"?><e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">"
		"<e:property><A>1</A></e:property><e:property><B>2</B></e:property><e:property><C>3</C></e:property>"
		"</e:propertyset>";
	EXPECT_EQ(HTTPResponse::HTTP_OK, run("NOTIFY", {{"SID", "uuid:mine"}}, "/any", body).status);
	EXPECT_EQ((std::vector<std::string>{"C", "B", "A"}), pSubscriber->names());

	EXPECT_EQ(HTTPResponse::HTTP_PRECONDITION_FAILED, run("NOTIFY", {{"SID", "UUID:mine"}}, "/any", body).status);
	EXPECT_EQ(3u, pSubscriber->names().size());
}

TEST_F(RequestHandlerTest, NotifyWithBadBodyLogsOnceAndAnswers500)
{
	AutoPtr<RecordingSubscriber> pSubscriber(new RecordingSubscriber);
	_pListener->addSubscription("uuid:mine", Listener::Subscription{pSubscriber, AutoPtr<Util::TimerTask>()});
	AutoPtr<TestChannel> pChannel(new TestChannel);
	Logger::setChannel("UPnP.GENA.RequestHandler", pChannel);
	Logger::setLevel("UPnP.GENA.RequestHandler", Message::PRIO_INFORMATION);
	EXPECT_EQ(HTTPResponse::HTTP_INTERNAL_SERVER_ERROR, run("NOTIFY", {{"SID", "uuid:mine"}}, "/any", "<e:propertyset").status);
	EXPECT_EQ(HTTPResponse::HTTP_INTERNAL_SERVER_ERROR, run("NOTIFY", {{"SID", "uuid:mine"}}, "/any", "").status);
	EXPECT_EQ(2u, pChannel->messages().size());
	EXPECT_EQ(2u, pChannel->count("", Message::PRIO_ERROR));
	EXPECT_EQ(HTTPResponse::HTTP_OK, run("NOTIFY", {{"SID", "uuid:mine"}}, "/any", "<other/>").status);
	EXPECT_TRUE(pSubscriber->names().empty());
}

TEST_F(RequestHandlerTest, DebugLinesOnlyAtDebugLevel)
{
	AutoPtr<TestChannel> pChannel(new TestChannel);
	Logger::setChannel("UPnP.GENA.RequestHandler", pChannel);
	Logger::setLevel("UPnP.GENA.RequestHandler", Message::PRIO_INFORMATION);
	run("SUBSCRIBE", {{"CALLBACK", "<http://h:1/>"}, {"SID", "uuid:x"}}, "/unknown?q=1");
	EXPECT_TRUE(pChannel->messages().empty());

	Logger::setLevel("UPnP.GENA.RequestHandler", Message::PRIO_DEBUG);
	run("SUBSCRIBE", {{"CALLBACK", "<http://h:1/>"}, {"SID", "uuid:x"}}, "/unknown?q=1");
	Logger::setLevel("UPnP.GENA.RequestHandler", Message::PRIO_INFORMATION);
	const std::vector<Message> messages = pChannel->messages();
	ASSERT_EQ(3u, messages.size());
	EXPECT_EQ("SUBSCRIBE /unknown?q=1 HTTP/1.1 from 127.0.0.1:50000", messages[0].text());
	EXPECT_EQ("Callback: <http://h:1/>", messages[1].text());
	EXPECT_EQ("SID: uuid:x", messages[2].text());
	for (const Message& message : messages) EXPECT_EQ(Message::PRIO_DEBUG, message.priority());
}

TEST_F(RequestHandlerTest, CallbackCheckRefusesThirdPartyHost)
{
	Listener::Settings settings;
	settings.checkCallback = true;
	_pListener->setSettings(settings);
	EXPECT_EQ(HTTPResponse::HTTP_PRECONDITION_FAILED,
		run("SUBSCRIBE", {{"CALLBACK", "<http://192.0.2.1:1/a>"}, {"NT", "upnp:event"}}).status);
	EXPECT_EQ(HTTPResponse::HTTP_OK, run("SUBSCRIBE", {{"CALLBACK", "<http://127.0.0.1:1/a>"}, {"NT", "upnp:event"}}).status);
	ThreadPool::defaultPool().joinAll();
}

TEST_F(RequestHandlerTest, StrictRenewalRefusesUnknownSid)
{
	Listener::Settings settings;
	settings.strictRenewal = true;
	_pListener->setSettings(settings);
	EXPECT_EQ(HTTPResponse::HTTP_PRECONDITION_FAILED, run("SUBSCRIBE", {{"SID", "uuid:unknown"}}).status);
}

TEST_F(RequestHandlerTest, StrictRenewalRefusesExpiredSid)
{
	TransportFactory::registerFactory();
	_pDispatcher->subscribe("uuid:late", "http://127.0.0.1:1/cb", Clock(1));
	Listener::Settings settings;
	settings.strictRenewal = true;
	_pListener->setSettings(settings);
	EXPECT_EQ(HTTPResponse::HTTP_PRECONDITION_FAILED, run("SUBSCRIBE", {{"SID", "uuid:late"}}).status);
	EXPECT_EQ(0u, _pDispatcher->subscriberCount());
	TransportFactory::unregisterFactory();
}

TEST_F(RequestHandlerTest, SubscriptionCapAndStrictRenewalOfKnownSid)
{
	TransportFactory::registerFactory();
	_pDispatcher->subscribe("uuid:held", "http://127.0.0.1:1/cb", Clock(0));
	Listener::Settings settings;
	settings.maxSubscriptions = 1;
	settings.strictRenewal = true;
	_pListener->setSettings(settings);
	EXPECT_EQ(HTTPResponse::HTTP_SERVICE_UNAVAILABLE,
		run("SUBSCRIBE", {{"CALLBACK", "<http://127.0.0.1:1/a>"}, {"NT", "upnp:event"}}).status);
	EXPECT_EQ(HTTPResponse::HTTP_OK, run("SUBSCRIBE", {{"SID", "uuid:held"}}).status);
	TransportFactory::unregisterFactory();
}

TEST_F(RequestHandlerTest, MaxTimeoutClampsInfiniteAndLarge)
{
	Listener::Settings settings;
	settings.maxTimeout = 600;
	_pListener->setSettings(settings);
	for (const char* timeout : {"Second-infinite", "Second-0", "Second-601"})
	{
		const Exchange answer = run("SUBSCRIBE", {{"CALLBACK", "<http://127.0.0.1:1/a>"}, {"NT", "upnp:event"}, {"TIMEOUT", timeout}});
		EXPECT_EQ("Second-600", answer.timeout) << timeout;
	}
	EXPECT_EQ("Second-30", run("SUBSCRIBE", {{"CALLBACK", "<http://127.0.0.1:1/a>"}, {"NT", "upnp:event"}, {"TIMEOUT", "Second-30"}}).timeout);
	ThreadPool::defaultPool().joinAll();
}

} // namespace
