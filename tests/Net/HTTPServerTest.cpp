// HTTPServer, its requests and responses, seen from the wire: what reaches the handler, the framing a
// response gets, refusals and limits, timeouts, persistence and stopping.
#include "Tavik/Net/HTTPServer.h"
#include "HTTPPeer.h"
#include "RawPeer.h"
#include "Tavik/Net/HTTPClientSession.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/NetException.h"

#include <gtest/gtest.h>

#include <future>
#include <poll.h>

using namespace Tavik;
using namespace Tavik::Net;
using namespace TestSupport;

namespace {

const auto statusLine = [](const std::string& reply) { return reply.substr(0, reply.find("\r\n")); };

// The message of the NetException f throws, or "no exception".
template <class F> std::string outcomeOf(F f)
try
{
	f();
	return "no exception";
}
catch (const NetException& exc)
{
	return exc.message();
}

class HTTPServerTest : public testing::Test
{
protected:
	void serve(HandlerFunction handler, HTTPServerParams params = HTTPServerParams(), const std::string& host = "127.0.0.1")
	{
		_pFactory = makeFactory(std::move(handler));
		_pServer = std::make_unique<HTTPServer>(_pFactory, host, 0, params);
		_pServer->start();
	}

	// What a raw client gets for request until the server closes.
	std::string exchange(const std::string& request)
	{
		RawConnection connection(_pServer->port());
		connection.send(request);
		return connection.readUntilClosed();
	}

	std::shared_ptr<FunctionHandlerFactory> _pFactory;
	std::unique_ptr<HTTPServer> _pServer;
};

class HTTPServerAddressTest : public HTTPServerTest, public testing::WithParamInterface<const char*>
{
};

// A large chunked body each way, through our own client.
TEST_P(HTTPServerAddressTest, RequestReachesTheHandlerAsSent)
{
	serve([](HTTPServerRequest& request, HTTPServerResponse& response) {
		response.set("X-Seen", request.getMethod() + " " + request.getURI() + " " + request.getVersion() + " " +
		                           request.get("sid", "-") + " " + request.clientAddress().host());
		response.send() << readAll(request.stream());
	}, HTTPServerParams(), GetParam());
	std::string body;
	for (std::size_t i = 0; body.size() < 300000; ++i)
		body += std::to_string(i) + ",";
	HTTPClientSession session(GetParam(), _pServer->port());
	HTTPRequest request("SUBSCRIBE", "/events/1?x=1", HTTPMessage::HTTP_1_1);
	request.set("SID", "uuid:abc");
	request.setChunkedTransferEncoding(true);
	session.sendRequest(request) << body;
	HTTPResponse response;
	EXPECT_TRUE(readAll(session.receiveResponse(response)) == body);
	EXPECT_EQ(response.get("X-Seen"), std::string("SUBSCRIBE /events/1?x=1 HTTP/1.1 uuid:abc ") + GetParam());
}

INSTANTIATE_TEST_SUITE_P(Loopback, HTTPServerAddressTest, testing::Values("127.0.0.1", "::1"),
                         [](const testing::TestParamInfo<const char*>& info) { return info.index == 0 ? "IPv4" : "IPv6"; });

// An exception from the handler becomes a 500, or a broken body once the head is out; the server goes on.
TEST_F(HTTPServerTest, ResponseFramingFollowsWhatTheHandlerWroteOrThrew)
{
	serve([](HTTPServerRequest& request, HTTPServerResponse& response) {
		if (request.getURI() == "/broken") response.send() << std::string(10000, 'x') << std::flush;
		if (request.getURI() == "/broken" || request.getURI() == "/throw") throw IOException("handler failed");
		if (request.getURI() == "/empty") response.send();
		if (request.getURI() == "/small") response.send() << "12345";
		if (request.getURI() == "/large") response.send() << std::string(20000, 'x') << std::flush << "end";
		if (request.getURI() == "/unsent") response.setStatusAndReason(HTTPResponse::HTTP_PRECONDITION_FAILED);
		if (request.getURI() == "/none") response.setStatusAndReason(HTTPResponse::HTTP_NO_CONTENT), response.send();
	});
	const std::string close = "\r\nConnection: close\r\n\r\n";
	for (const auto& [request, head] : {std::pair("GET /throw HTTP/1.1", "500 Internal Server Error\r\nContent-Length: 0"),
	                                    {"GET /empty HTTP/1.1", "200 OK\r\nContent-Length: 0"},
	                                    {"GET /unsent HTTP/1.1", "412 Precondition Failed\r\nContent-Length: 0"},
	                                    {"GET /small HTTP/1.1", "200 OK\r\nContent-Length: 5"},
	                                    {"GET /large HTTP/1.1", "200 OK\r\nTransfer-Encoding: chunked"},
	                                    {"GET /large HTTP/1.0", "200 OK"}, {"GET /none HTTP/1.1", "204 No Content"}})
	{
		const std::string line = request, reply = exchange(line + close);
		EXPECT_EQ(reply.substr(0, reply.find("\r\n\r\n") + 4), line.substr(line.size() - 8) + " " + head + close) << line;
	}
	EXPECT_EQ(exchange("GET /broken HTTP/1.1\r\n\r\n").find("0\r\n\r\n"), std::string::npos) << "no last chunk";
	EXPECT_EQ(exchange("HEAD /small HTTP/1.1" + close), "HTTP/1.1 200 OK\r\nContent-Length: 5" + close) << "no body";
}

TEST_F(HTTPServerTest, RequestSplitAtEveryByteIsAssembledAndExpectContinueIsAnsweredWhenTheBodyIsRead)
{
	serve([](HTTPServerRequest& request, HTTPServerResponse& response) { response.send() << request.get("X-A", "") << readAll(request.stream()); });
	const std::string message = "POST /p HTTP/1.1\r\nX-A: 1\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n3\r\nabc\r\n0\r\n\r\n";
	for (std::size_t split = 1; split < message.size(); ++split)
	{
		RawConnection connection(_pServer->port());
		connection.send(message.substr(0, split));
		connection.send(message.substr(split));
		const std::string reply = connection.readUntilClosed();
		EXPECT_EQ(reply.substr(reply.size() - 4), "1abc") << "split at " << split;
	}
	RawConnection connection(_pServer->port());
	connection.send("PUT / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 3\r\nConnection: close\r\n\r\n");
	EXPECT_EQ(connection.readHead(), "HTTP/1.1 100 Continue\r\n\r\n");
	connection.send("abc");
	EXPECT_EQ(connection.readUntilClosed(), "HTTP/1.1 200 OK\r\nContent-Length: 3\r\nConnection: close\r\n\r\nabc");
}

class HTTPServerRefusalTest : public HTTPServerTest, public testing::WithParamInterface<std::pair<const char*, std::string>>
{
};

// Answered with the status and closed, without reaching a handler.
TEST_P(HTTPServerRefusalTest, IsAnsweredAndClosed)
{
	HTTPServerParams params;
	params.maxHeaderBytes = 1024;
	params.maxBodyBytes = 1000;
	serve([](HTTPServerRequest&, HTTPServerResponse& response) { response.send(); }, params);
	const std::string reply = exchange(GetParam().second);
	const std::string name = GetParam().first;
	EXPECT_EQ(statusLine(reply), name == "HeadTooLarge" ? "HTTP/1.1 431 Request Header Fields Too Large"
	                             : name == "BodyTooLarge" ? "HTTP/1.1 413 Request Entity Too Large" : "HTTP/1.1 400 Bad Request");
	EXPECT_NE(reply.find("Connection: close\r\n"), std::string::npos) << reply;
	EXPECT_EQ(_pFactory->calls, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, HTTPServerRefusalTest,
    testing::Values(std::pair("NoTarget", "GET\r\n\r\n"), std::pair("BadMethod", "G(T / HTTP/1.1\r\n\r\n"),
                    std::pair("BadContentLength", "POST / HTTP/1.1\r\nContent-Length: 1x\r\n\r\n"),
                    std::pair("TwoContentLengths", "POST / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n"),
                    std::pair("UnknownTransferCoding", "POST / HTTP/1.1\r\nTransfer-Encoding: gzip\r\n\r\n"),
                    std::pair("Http2", "GET / HTTP/2.0\r\n\r\n"),
                    std::pair("HeadTooLarge", "GET / HTTP/1.1\r\nX-Big: " + std::string(2000, 'a') + "\r\n\r\n"),
                    std::pair("BodyTooLarge", "POST / HTTP/1.1\r\nContent-Length: 1001\r\n\r\n")),
    [](const auto& info) { return std::string(info.param.first); });

TEST_F(HTTPServerTest, IdleAndUnfinishedConnectionsTimeOutAndTheLastRequestAllowedSaysClose)
{
	HTTPServerParams params;
	params.keepAliveTimeout = params.timeout = Timespan(100 * Timespan::MILLISECONDS);
	params.maxRequestsPerConnection = 2;
	serve([](HTTPServerRequest&, HTTPServerResponse& response) { response.send(); }, params);
	const std::string ok = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
	EXPECT_EQ(exchange("GET / HTTP/1.1\r\n\r\n"), ok) << "closed when idle";
	EXPECT_EQ(exchange("GET / HTTP/1.1\r\nHost: loc"), "") << "a head never finished";
	EXPECT_EQ(_pFactory->calls, 1);
	EXPECT_EQ(exchange("GET / HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\n\r\n"),
	          ok + "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
}

TEST_F(HTTPServerTest, FullQueueIsAnswered503)
{
	HTTPServerParams params;
	params.maxThreads = 1;
	params.maxQueued = 1;
	Gate entered, release;
	serve([&](HTTPServerRequest& request, HTTPServerResponse& response) {
		if (request.getURI() == "/block") entered.open(), release.wait();
		response.send();
	}, params);
	RawConnection busy(_pServer->port()), second(_pServer->port()), third(_pServer->port());
	busy.send("GET /block HTTP/1.1\r\nConnection: close\r\n\r\n");
	ASSERT_TRUE(entered.wait());
	// With the only worker busy, one of the next two waits in the queue and the other finds it full.
	second.send("GET / HTTP/1.1\r\nConnection: close\r\n\r\n");
	third.send("GET / HTTP/1.1\r\nConnection: close\r\n\r\n");
	pollfd answered[] = {{second.fd(), POLLIN, 0}, {third.fd(), POLLIN, 0}};
	ASSERT_GT(::poll(answered, 2, int(std::chrono::milliseconds(DEADLINE).count())), 0);
	EXPECT_EQ(statusLine((answered[0].revents ? second : third).readUntilClosed()), "HTTP/1.1 503 Service Unavailable");
	release.open();
	EXPECT_EQ(statusLine((answered[0].revents ? third : second).readUntilClosed()), "HTTP/1.1 200 OK");
	EXPECT_EQ(statusLine(busy.readUntilClosed()), "HTTP/1.1 200 OK");
}

TEST_F(HTTPServerTest, StopClosesIdleBusyAndQueuedConnectionsAndTheListener)
{
	HTTPServerParams params;
	params.maxThreads = 1;
	Gate entered;
	std::promise<std::string> handlerOutcome;
	serve([&](HTTPServerRequest& request, HTTPServerResponse&) {
		entered.open();
		handlerOutcome.set_value(outcomeOf([&] { request.stream().ignore(100); })); // the body never comes
	}, params);
	RawConnection idle(_pServer->port()), busy(_pServer->port());
	busy.send("POST / HTTP/1.1\r\nContent-Length: 100\r\n\r\n");
	ASSERT_TRUE(entered.wait());
	RawConnection queued(_pServer->port());
	queued.send("GET / HTTP/1.1\r\n\r\n");
	std::future<void> stopped = std::async(std::launch::async, [this] { _pServer->stop(); });
	ASSERT_EQ(stopped.wait_for(DEADLINE), std::future_status::ready);
	EXPECT_NE(handlerOutcome.get_future().get(), "no exception") << "the body stream fails";
	for (RawConnection* pConnection : {&idle, &busy, &queued})
		EXPECT_NO_THROW(pConnection->readUntilClosed());
	EXPECT_THROW(RawConnection{_pServer->port()}, std::runtime_error) << "the listener is closed";
	EXPECT_THROW(HTTPServer(_pFactory, "127.0.0.1", RawPeer().port()), NetException) << "a port in use";
}

} // namespace
