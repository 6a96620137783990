#include "Tavik/Bugcheck.h"
#include "Tavik/Callweave/TransportException.h"
#include "Tavik/Callweave/TransportFactoryManager.h"
#include "Tavik/Exception.h"
#include "Tavik/Net/HTTPClientSession.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "RecordingServer.h"

#include <gtest/gtest.h>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Callweave::SerializerBase;
using TestSupport::RecordedRequest;
using TestSupport::RecordingServer;

namespace {

const std::string EXPECTED_BODY = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                  "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">\n"
                                  "\t<e:property>\n"
                                  "\t\t<Status>1</Status>\n"
                                  "\t</e:property>\n"
                                  "</e:propertyset>\n";

AutoPtr<Transport> makeTransport(bool keepAlive = false)
{
	return AutoPtr<Transport>(new Transport(Timespan(10, 0), keepAlive, Timespan(8, 0)));
}

// One regular event "Status" = 1 through the one-way pair, as the dispatcher sends it.
void sendStatusEvent(Transport& transport)
{
	Callweave::Serializer& serializer =
		transport.beginMessage("", "", "Status", SerializerBase::MESSAGE_EVENT);
	serializer.serializeMessageBegin("Status", SerializerBase::MESSAGE_EVENT);
	serializer.serialize("data", 1);
	serializer.serializeMessageEnd("Status", SerializerBase::MESSAGE_EVENT);
	transport.sendMessage("", "", "Status", SerializerBase::MESSAGE_EVENT);
	transport.endRequest();
}

} // namespace

TEST(TransportTest, RegularEventsAreNotifyRequestsNumberedFromOne)
{
	RecordingServer subscriber;
	AutoPtr<Transport> pTransport = makeTransport();
	pTransport->connect(subscriber.url("/cb?x=1"));
	pTransport->setAttribute(Transport::HDR_SID, "uuid:abc");

	sendStatusEvent(*pTransport);
	sendStatusEvent(*pTransport);

	ASSERT_TRUE(subscriber.waitFor(2));
	const std::vector<RecordedRequest> requests = subscriber.requests();
	const RecordedRequest& first = requests[0];
	EXPECT_EQ(first.method, "NOTIFY");
	EXPECT_EQ(first.uri, "/cb?x=1");
	EXPECT_EQ(first.headers.get("Transfer-Encoding"), "chunked");
	EXPECT_FALSE(first.headers.has("Content-Length"));
	EXPECT_EQ(first.headers.get("Content-Type"), "text/xml; charset=\"utf-8\"");
	EXPECT_EQ(first.headers.get("NT"), "upnp:event");
	EXPECT_EQ(first.headers.get("NTS"), "upnp:propchange");
	EXPECT_EQ(first.headers.get("SID"), "uuid:abc");
	EXPECT_EQ(first.headers.get("SEQ"), "1");
	EXPECT_EQ(first.body, EXPECTED_BODY);
	EXPECT_EQ(requests[1].headers.get("SEQ"), "2");
}

TEST(TransportTest, NumberAfterTheLargestIsOneNeverZero)
{
	class LateTransport : public Transport
	{
	public:
		LateTransport() : Transport(Timespan(10, 0), false, Timespan(8, 0)) { setNextSequenceNumber(4294967295u); }
	};

	RecordingServer subscriber;
	AutoPtr<Transport> pTransport(new LateTransport);
	pTransport->connect(subscriber.url("/cb"));
	sendStatusEvent(*pTransport);
	sendStatusEvent(*pTransport);

	ASSERT_TRUE(subscriber.waitFor(2));
	EXPECT_EQ(subscriber.requests()[0].headers.get("SEQ"), "4294967295");
	EXPECT_EQ(subscriber.requests()[1].headers.get("SEQ"), "1");
}

TEST(TransportTest, NumberingSurvivesReconnectionAndLostMessages)
{
	RecordingServer subscriber;
	AutoPtr<Transport> pTransport = makeTransport();

	// Never connected: the message fails but uses up number 1.
	EXPECT_THROW(pTransport->beginRequest("", "", "", SerializerBase::MESSAGE_EVENT), NullPointerException);
	pTransport->connect(subscriber.url("/cb"));
	sendStatusEvent(*pTransport);
	pTransport->disconnect();
	EXPECT_FALSE(pTransport->connected());
	EXPECT_EQ(pTransport->endPoint(), "");
	pTransport->connect(subscriber.url("/cb"));
	sendStatusEvent(*pTransport);

	ASSERT_TRUE(subscriber.waitFor(2));
	EXPECT_EQ(subscriber.requests()[0].headers.get("SEQ"), "2");
	EXPECT_EQ(subscriber.requests()[1].headers.get("SEQ"), "3");
}

TEST(TransportTest, OtherMessageTypesAreABugcheckThatUsesNoNumber)
{
	AutoPtr<Transport> pTransport = makeTransport();
	pTransport->connect("http://127.0.0.1:9/cb");
	for (auto type : {SerializerBase::MESSAGE_REQUEST, SerializerBase::MESSAGE_REPLY, SerializerBase::MESSAGE_FAULT})
	{
		try
		{
			pTransport->beginMessage("", "", "", type);
			FAIL() << "no bugcheck for type " << type;
		}
		catch (const BugcheckException& exc)
		{
			EXPECT_NE(exc.message().find("in file \"src/Transport\", line "), std::string::npos) << exc.message();
		}
	}
	EXPECT_EQ(pTransport->nextSequenceNumber(), 1u);
}

TEST(TransportTest, ConnectParsesTheCallbackWithoutNetworkIO)
{
	AutoPtr<Transport> pTransport = makeTransport();
	pTransport->connect("http://10.0.0.5/cb");
	EXPECT_TRUE(pTransport->connected());
	EXPECT_EQ(pTransport->endPoint(), "http://10.0.0.5/cb");
	EXPECT_EQ(pTransport->session()->getHost(), "10.0.0.5");
	EXPECT_EQ(pTransport->session()->getPort(), 80);

	pTransport->connect("http://10.0.0.5:49152/cb?x=1");
	EXPECT_EQ(pTransport->session()->getPort(), 49152);
	EXPECT_THROW(pTransport->connect("http://h:x/"), SyntaxException);
}

TEST(TransportTest, TwoWayEventsRequireStatus200)
{
	RecordingServer subscriber;
	subscriber.answerWith([](const RecordedRequest&) { return Net::HTTPResponse::HTTP_NO_CONTENT; });
	AutoPtr<Transport> pTransport = makeTransport();
	pTransport->connect(subscriber.url("/cb"));

	// One-way: every status counts as delivered.
	sendStatusEvent(*pTransport);

	pTransport->beginRequest("", "", "Status", SerializerBase::MESSAGE_EVENT);
	try
	{
		pTransport->sendRequest("", "", "Status", SerializerBase::MESSAGE_EVENT);
		FAIL();
	}
	catch (const Callweave::TransportException& exc)
	{
		EXPECT_EQ(exc.message(), "HTTP Error: No Content");
		EXPECT_EQ(exc.code(), 0);
	}
	pTransport->endRequest();

	// 200 with an empty body is not a property set.
	subscriber.answerWith([](const RecordedRequest&) { return Net::HTTPResponse::HTTP_OK; });
	pTransport->beginRequest("", "", "Status", SerializerBase::MESSAGE_EVENT);
	EXPECT_THROW(pTransport->sendRequest("", "", "Status", SerializerBase::MESSAGE_EVENT), Exception);
	pTransport->endRequest();
}

TEST(TransportTest, KeepAliveReusesOneConnection)
{
	for (bool keepAlive : {false, true})
	{
		RecordingServer subscriber;
		AutoPtr<Transport> pTransport = makeTransport(keepAlive);
		pTransport->connect(subscriber.url("/cb"));
		sendStatusEvent(*pTransport);
		sendStatusEvent(*pTransport);
		ASSERT_TRUE(subscriber.waitFor(2));
		const auto requests = subscriber.requests();
		EXPECT_EQ(requests[0].clientPort == requests[1].clientPort, keepAlive) << "keep-alive " << keepAlive;
	}
}

TEST(TransportFactoryTest, DefaultSettingsReachTheSession)
{
	AutoPtr<TransportFactory> pFactory(new TransportFactory);
	AutoPtr<Transport> pTransport(dynamic_cast<Transport*>(pFactory->createTransport()));
	ASSERT_FALSE(pTransport.isNull());
	pTransport->connect("http://127.0.0.1:9/cb");
	EXPECT_EQ(pTransport->session()->getTimeout(), Timespan(10, 0));
	EXPECT_FALSE(pTransport->session()->getKeepAlive());
	EXPECT_EQ(pTransport->session()->getKeepAliveTimeout(), Timespan(8, 0));
}

TEST(TransportFactoryTest, RegisteredSettingsApplyToEveryTransport)
{
	TransportFactory::registerFactory(Timespan(30, 0), true, Timespan(60, 0));
	AutoPtr<Callweave::Transport> pFirst =
		Callweave::TransportFactoryManager::instance().createTransport(Transport::PROTOCOL);
	AutoPtr<Callweave::Transport> pSecond =
		Callweave::TransportFactoryManager::instance().createTransport(Transport::PROTOCOL);
	EXPECT_THROW(TransportFactory::registerFactory(), ExistsException);
	TransportFactory::unregisterFactory();
	EXPECT_THROW(TransportFactory::unregisterFactory(), NotFoundException);

	for (const auto& pTransport : {pFirst.cast<Transport>(), pSecond.cast<Transport>()})
	{
		ASSERT_FALSE(pTransport.isNull());
		pTransport->connect("http://127.0.0.1:9/cb");
		EXPECT_EQ(pTransport->session()->getTimeout(), Timespan(30, 0));
		EXPECT_TRUE(pTransport->session()->getKeepAlive());
		EXPECT_EQ(pTransport->session()->getKeepAliveTimeout(), Timespan(60, 0));
		EXPECT_EQ(pTransport->nextSequenceNumber(), 1u);
	}
	EXPECT_NE(pFirst.get(), pSecond.get());
}
