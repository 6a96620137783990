#include "../Net/LoopbackPeers.h"
#include "RecordingServer.h"

#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/RequestHandler.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include "GENATestSupport.h"

#include <gtest/gtest.h>

#include <mutex>
#include <vector>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;

using TestSupport::RecordingSubscriber;
using TestSupport::TestListener;

namespace {

const std::string SERVICE_PATH = "/dev/svc";


class HandlerFactory : public Net::HTTPRequestHandlerFactory
{
public:
	Net::HTTPRequestHandler* createRequestHandler(const Net::HTTPServerRequest&) override
	{
		return new RequestHandler(*pListener);
	}

	Listener* pListener = nullptr;
};

class OneVariable : public StateProvider
{
public:
	std::vector<std::pair<std::string, std::string> > currentState() override { return {{"Volume", "7"}}; }
};


/// A real HTTP server on 127.0.0.1 serving the event endpoint, and one
/// object with events at SERVICE_PATH.
class EndpointTest : public testing::Test
{
protected:
	void SetUp() override
	{
		TransportFactory::registerFactory();
		_pServer.reset(new Net::HTTPServer(_pFactory, "127.0.0.1", 0));
		_endPoint = "127.0.0.1:" + std::to_string(_pServer->port());
		_pListener = new TestListener(_endPoint, _timer);
		_pFactory->pListener = _pListener.get();
		_pListener->registerStateProvider(SERVICE_PATH, &_state);
		_pDispatcher = new Callweave::EventDispatcher(Transport::PROTOCOL);
		Callweave::ORB::instance().registerEventDispatcher("http://" + _endPoint + SERVICE_PATH, Transport::PROTOCOL, _pDispatcher);
		_pServer->start();
	}

	void TearDown() override
	{
		_pServer->stop();
		ThreadPool::defaultPool().joinAll();
		Callweave::ORB::instance().unregisterEventDispatcher("http://" + _endPoint + SERVICE_PATH, Transport::PROTOCOL);
		_pDispatcher->stop();
		TransportFactory::unregisterFactory();
	}

	/// Sends raw request text and returns the response head.
	std::string exchange(const std::string& request)
	{
		NetTest::RawConnection connection(_pServer->port());
		connection.send(request);
		return connection.readHead();
	}

	static std::string headerOf(const std::string& head, const std::string& name)
	{
		const std::string::size_type start = head.find("\r\n" + name + ": ");
		if (start == std::string::npos) return "";
		const std::string::size_type value = start + name.size() + 4;
		return head.substr(value, head.find("\r\n", value) - value);
	}

	Util::Timer _timer;
	OneVariable _state;
	std::shared_ptr<HandlerFactory> _pFactory = std::make_shared<HandlerFactory>();
	std::unique_ptr<Net::HTTPServer> _pServer;
	std::string _endPoint;
	AutoPtr<TestListener> _pListener;
	AutoPtr<Callweave::EventDispatcher> _pDispatcher;
};

TEST_F(EndpointTest, SubscribeBringsInitialEventThenUnsubscribeEnds)
{
	TestSupport::RecordingServer sink;
	const std::string head = exchange("SUBSCRIBE " + SERVICE_PATH + " HTTP/1.1\r\nHost: " + _endPoint
		+ "\r\nCALLBACK: <" + sink.url("/cb") + ">\r\nNT: upnp:event\r\nTIMEOUT: Second-300\r\nContent-Length: 0\r\n\r\n");
	ASSERT_EQ(0u, head.find("HTTP/1.1 200 OK\r\n")) << head;
	const std::string sid = headerOf(head, "SID");
	EXPECT_EQ(41u, sid.size());
	EXPECT_EQ("Second-300", headerOf(head, "TIMEOUT"));

	ASSERT_TRUE(sink.waitFor(1));
	const TestSupport::RecordedRequest initial = sink.requests()[0];
	EXPECT_EQ("NOTIFY", initial.method);
	EXPECT_EQ(sid, initial.headers.get("SID", ""));
	EXPECT_EQ("0", initial.headers.get("SEQ", ""));
	EXPECT_NE(std::string::npos, initial.body.find("<Volume>7</Volume>"));

	const std::string unsubscribe = "UNSUBSCRIBE " + SERVICE_PATH + " HTTP/1.1\r\nHost: " + _endPoint + "\r\nSID: " + sid
		+ "\r\nContent-Length: 0\r\n\r\n";
	ThreadPool::defaultPool().joinAll(); // the initial notification has entered the subscriber
	EXPECT_EQ(0u, exchange(unsubscribe).find("HTTP/1.1 200 OK\r\n"));
	EXPECT_EQ(0u, exchange(unsubscribe).find("HTTP/1.1 412 "));
}

TEST_F(EndpointTest, MalformedBeatsUnknownObjectOverTheWire)
{
	const std::string prefix = "SUBSCRIBE /nothing HTTP/1.1\r\nHost: " + _endPoint + "\r\n";
	EXPECT_EQ(0u, exchange(prefix + "CALLBACK: <http://127.0.0.1:1/>\r\nNT: upnp:event\r\n\r\n").find("HTTP/1.1 404 "));
	EXPECT_EQ(0u, exchange(prefix + "CALLBACK: <http://127.0.0.1:1/>\r\nSID: uuid:x\r\n\r\n").find("HTTP/1.1 400 "));
	EXPECT_EQ(0u, exchange(prefix + "CALLBACK: http://127.0.0.1:1/\r\nNT: upnp:event\r\n\r\n").find("HTTP/1.1 412 "));
	EXPECT_EQ(0u, exchange("Subscribe /nothing HTTP/1.1\r\nHost: x\r\n\r\n").find("HTTP/1.1 405 "));
}

TEST_F(EndpointTest, NotifyOnKeepAliveConnectionDeliversLastFirst)
{
	AutoPtr<RecordingSubscriber> pSubscriber(new RecordingSubscriber);
	_pListener->addSubscription("uuid:mine", Listener::Subscription{pSubscriber, AutoPtr<Util::TimerTask>()});
	const std::string body =
		"<?xml version=\"1.0\"?><e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">"
		"<e:property><A>1</A></e:property><e:property><B>2</B></e:property><e:property><C>3</C></e:property>"
		"</e:propertyset>";
	const std::string notify = "NOTIFY /cb HTTP/1.1\r\nHost: " + _endPoint + "\r\nSID: uuid:mine\r\nContent-Type: text/xml\r\n"
		"Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
	NetTest::RawConnection connection(_pServer->port());
	for (int i = 0; i < 2; ++i)
	{
		connection.send(notify);
		EXPECT_EQ(0u, connection.readHead().find("HTTP/1.1 200 OK\r\n"));
	}
	EXPECT_EQ((std::vector<std::string>{"C", "B", "A", "C", "B", "A"}), pSubscriber->names());
}

} // namespace
