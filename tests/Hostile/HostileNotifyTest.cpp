// Hostile requests at the event endpoint: NOTIFY bodies that are huge,
// deeply nested or full of entities, and a flood of SUBSCRIBE requests from
// one peer. Each ends in its status at once, memory stays within the
// configured limits, and a well-behaved request served afterwards still gets
// its answer.

#include "../Net/LoopbackPeers.h"
#include "GENATestSupport.h"
#include "RecordingServer.h"

#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <thread>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;

namespace {

const std::string PROPERTYSET_BEGIN =
    "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\"><e:property>";
const std::string PROPERTYSET_END = "</e:property></e:propertyset>";

const std::string SERVICE_PATH = "/dev/svc";

std::string repeat(const std::string& text, std::size_t times)
{
	std::string result;
	result.reserve(text.size() * times);
	for (std::size_t i = 0; i < times; ++i)
		result += text;
	return result;
}

/// A property set of one property whose element holds inner.
std::string propertySet(const std::string& inner)
{
	return PROPERTYSET_BEGIN + "<V>" + inner + "</V>" + PROPERTYSET_END;
}

/// The classic exponential entity expansion: ten levels of ten references.
std::string entityExpansion()
{
	std::string doctype = "<?xml version=\"1.0\"?><!DOCTYPE e:propertyset [<!ENTITY l0 \"lol\">";
	for (int level = 1; level <= 10; ++level)
		doctype += "<!ENTITY l" + std::to_string(level) + " \"" +
		           repeat("&l" + std::to_string(level - 1) + ";", 10) + "\">";
	return doctype + "]>" + propertySet("&l10;");
}

struct NotifyCase
{
	const char* name;
	std::string body;
	const char* status;
};

const NotifyCase NOTIFY_CASES[] = {
    // Over the deserializer's 1 MiB document limit, under the server's 16 MiB
    // body limit: the handler stops reading at the document limit.
    {"BodyOverTheDocumentLimit", propertySet(std::string(1536 * 1024, 'x')), "500"},
    // Markup nested in a value ends it: the value arrives empty.
    {"DeeplyNested", propertySet(repeat("<a>", 100000) + repeat("</a>", 100000)), "200"},
    {"EntityExpansion", entityExpansion(), "500"},
    // Not loaded: the value arrives empty.
    {"ExternalEntity",
     "<?xml version=\"1.0\"?><!DOCTYPE e:propertyset [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>" +
         propertySet("&x;"),
     "200"},
};

/// The event endpoint on a real HTTP server on 127.0.0.1 (default limits),
/// with one object with events at SERVICE_PATH and one subscription of the
/// listener's own ("uuid:mine").
class HostileNotifyTest : public testing::TestWithParam<NotifyCase>
{
protected:
	void SetUp() override
	{
		TransportFactory::registerFactory();
		Callweave::ORB::instance().registerEventDispatcher(serviceURL(), Transport::PROTOCOL, pDispatcher);
		endpoint.pListener->addSubscription(
		    "uuid:mine", Listener::Subscription{recorder.pSubscriber, AutoPtr<Util::TimerTask>()});
	}

	void TearDown() override
	{
		endpoint.stop();
		ThreadPool::defaultPool().joinAll();
		Callweave::ORB::instance().unregisterEventDispatcher(serviceURL(), Transport::PROTOCOL);
		pDispatcher->stop();
		TransportFactory::unregisterFactory();
	}

	std::string serviceURL() const { return "http://" + endpoint.endPoint() + SERVICE_PATH; }

	/// Sends request on a new connection from a thread of its own (the
	/// server may answer and close before it has read all of it) and returns
	/// the status code of the answer.
	std::string statusOf(const std::string& request)
	{
		NetTest::RawConnection connection(endpoint.port());
		std::thread sender([&] {
			try
			{
				connection.send(request);
			}
			catch (const std::runtime_error&)
			{
				// Closed early by the server after its answer.
			}
		});
		std::string head;
		try
		{
			head = connection.readHead();
		}
		catch (const std::runtime_error&)
		{}
		::shutdown(connection.fd(), SHUT_RDWR);
		sender.join();
		return head.size() < 12 ? "no answer: " + head : head.substr(9, 3);
	}

	std::string notify(const std::string& sid, const std::string& body)
	{
		return "NOTIFY /cb HTTP/1.1\r\nHost: " + endpoint.endPoint() + "\r\nSID: " + sid +
		       "\r\nContent-Type: text/xml\r\nNT: upnp:event\r\nNTS: upnp:propchange\r\nContent-Length: " +
		       std::to_string(body.size()) + "\r\n\r\n" + body;
	}

	/// A well-behaved NOTIFY is answered and delivered.
	void expectServed()
	{
		const std::size_t before = recorder.events().size();
		EXPECT_EQ("200", statusOf(notify("uuid:mine", propertySet("1"))));
		ASSERT_EQ(before + 1, recorder.events().size());
		EXPECT_EQ("V=1", recorder.events().back());
	}

	Util::Timer timer;
	TestSupport::ListenerEndpoint endpoint{timer};
	AutoPtr<Callweave::EventDispatcher> pDispatcher = new Callweave::EventDispatcher(Transport::PROTOCOL);
	TestSupport::EventRecorder recorder{"http://127.0.0.1:1/remote"};
};

} // namespace

TEST_P(HostileNotifyTest, EndsInItsStatusAndTheEndpointServesOn)
{
	EXPECT_EQ(GetParam().status, statusOf(notify("uuid:mine", GetParam().body)));
	for (const std::string& event : recorder.events())
		EXPECT_EQ("V=", event.substr(0, 80));
	expectServed();
}

INSTANTIATE_TEST_SUITE_P(Bodies, HostileNotifyTest, testing::ValuesIn(NOTIFY_CASES),
                         [](const testing::TestParamInfo<NotifyCase>& info) { return info.param.name; });

// A body of many megabytes ends at once: announced, it is refused before
// any of it is read; arriving in chunks, the handler stops reading it at the
// document limit.
TEST_F(HostileNotifyTest, BodyOfManyMegabytesEndsAtOnce)
{
	const std::string head = "NOTIFY /cb HTTP/1.1\r\nHost: " + endpoint.endPoint() + "\r\nSID: uuid:mine\r\n";
	EXPECT_EQ("413", statusOf(head + "Content-Length: 67108864\r\n\r\n"));
	const std::string begin = PROPERTYSET_BEGIN + "<V>";
	std::ostringstream firstChunk;
	firstChunk << std::hex << begin.size() << "\r\n" << begin << "\r\n";
	const std::string chunk = "10000\r\n" + std::string(64 * 1024, 'x') + "\r\n";
	EXPECT_EQ("500", statusOf(head + "Transfer-Encoding: chunked\r\n\r\n" + firstChunk.str() +
	                          repeat(chunk, 64) + "0\r\n\r\n"));
	EXPECT_TRUE(recorder.events().empty());
	expectServed();
}

/// Sends 2000 SUBSCRIBE requests for callbackURL, pipelined on four
/// connections, and counts the answers by status code.
std::map<std::string, int> subscribeFlood(unsigned short port, const std::string& endPoint,
                                          const std::string& callbackURL)
{
	const std::string request = "SUBSCRIBE " + SERVICE_PATH + " HTTP/1.1\r\nHost: " + endPoint +
	                            "\r\nCALLBACK: <" + callbackURL +
	                            ">\r\nNT: upnp:event\r\nTIMEOUT: Second-300\r\nContent-Length: 0\r\n\r\n";
	std::map<std::string, int> statuses;
	for (int connection = 0; connection < 4; ++connection)
	{
		NetTest::RawConnection flood(port);
		flood.send(repeat(request, 500));
		for (int i = 0; i < 500; ++i)
			++statuses[flood.readHead().substr(9, 3)];
	}
	return statuses;
}

// Thousands of SUBSCRIBE requests from one peer: each is answered, the limit
// refuses most of them, and the endpoint serves on.
TEST_F(HostileNotifyTest, SubscribeFloodIsAnsweredAndRefusedBeyondTheLimit)
{
	Listener::Settings settings;
	settings.maxSubscriptions = 20;
	endpoint.pListener->setSettings(settings);
	TestSupport::RecordingServer callback;

	std::map<std::string, int> statuses =
	    subscribeFlood(endpoint.port(), endpoint.endPoint(), callback.url("/cb"));
	ASSERT_TRUE(endpoint.pListener->waitForInitialEvents(Timespan(TestSupport::DEADLINE.count(), 0)));

	EXPECT_EQ(2000, statuses["200"] + statuses["503"]);
	EXPECT_GT(statuses["503"], 1000);
	expectServed();
}

// Regression: a new subscription joins the dispatcher only after its initial
// notification (100 ms later), so a limit counting the dispatcher's
// subscribers alone let a burst through (82 of 2000 with a limit of 20).
TEST_F(HostileNotifyTest, SubscribeBurstNeverExceedsTheLimit)
{
	const std::size_t LIMIT = 20;
	Listener::Settings settings;
	settings.maxSubscriptions = LIMIT;
	endpoint.pListener->setSettings(settings);
	TestSupport::RecordingServer callback;

	std::map<std::string, int> statuses =
	    subscribeFlood(endpoint.port(), endpoint.endPoint(), callback.url("/cb"));
	ASSERT_TRUE(endpoint.pListener->waitForInitialEvents(Timespan(TestSupport::DEADLINE.count(), 0)));

	EXPECT_LE(std::size_t(statuses["200"]), LIMIT);
	EXPECT_LE(pDispatcher->subscriberCount(), LIMIT);
}
