#include "Tavik/Net/HTTPServer.h"
#include "LoopbackPeers.h"
#include "Tavik/Net/HTTPClientSession.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/NetException.h"

#include <gtest/gtest.h>

#include <future>
#include <iterator>
#include <poll.h>
#include <sstream>
#include <thread>
#include <vector>

using namespace Tavik;
using namespace Tavik::Net;
using namespace NetTest;

namespace {

/// The status line of a raw response head.
std::string statusLine(const std::string& head)
{
	return head.substr(0, head.find("\r\n"));
}

class HTTPServerTest : public testing::Test
{
protected:
	void serve(HandlerFunction handler, HTTPServerParams params = HTTPServerParams(),
	           const std::string& host = "127.0.0.1")
	{
		_pFactory = makeFactory(std::move(handler));
		_pServer.reset(new HTTPServer(_pFactory, host, 0, params));
		_pServer->start();
	}

	unsigned short port() const { return _pServer->port(); }

	std::shared_ptr<FunctionHandlerFactory> _pFactory;
	std::unique_ptr<HTTPServer> _pServer;
};

void sendText(HTTPServerResponse& response, const std::string& text)
{
	response.send() << text;
}

} // namespace

class HTTPServerAddressTest : public HTTPServerTest, public testing::WithParamInterface<const char*>
{
};

TEST_P(HTTPServerAddressTest, RequestReachesTheHandlerAsReceived)
{
	serve(
	    [](HTTPServerRequest& request, HTTPServerResponse& response) {
		    response.set("X-Seen", request.getMethod() + " " + request.getURI() + " " + request.getVersion() +
		                               " " + request.get("sid", "-") + " " + request.clientAddress().host());
		    sendText(response, readAll(request.stream()));
	    },
	    HTTPServerParams(), GetParam());
	EXPECT_EQ(_pServer->address().host(), GetParam());

	HTTPClientSession session(GetParam(), port());
	HTTPRequest request("SUBSCRIBE", "/events/1?x=1", HTTPMessage::HTTP_1_1);
	request.set("SID", "uuid:abc");
	request.setContentLength(5);
	session.sendRequest(request) << "hello";
	HTTPResponse response;
	std::istream& body = session.receiveResponse(response);
	EXPECT_EQ(response.getStatus(), HTTPResponse::HTTP_OK);
	EXPECT_EQ(response.get("X-Seen"), std::string("SUBSCRIBE /events/1?x=1 HTTP/1.1 uuid:abc ") + GetParam());
	EXPECT_EQ(readAll(body), "hello");
}

INSTANTIATE_TEST_SUITE_P(Loopback, HTTPServerAddressTest, testing::Values("127.0.0.1", "::1"),
                         [](const testing::TestParamInfo<const char*>& info) {
	                         return std::string(info.index == 0 ? "IPv4" : "IPv6");
                         });

TEST_F(HTTPServerTest, ResponseFramingFollowsWhatTheHandlerWrote)
{
	serve([](HTTPServerRequest& request, HTTPServerResponse& response) {
		if (request.getURI() == "/empty")
			response.send();
		else if (request.getURI() == "/small")
			sendText(response, "12345");
		else if (request.getURI() == "/large")
		{
			std::ostream& body = response.send();
			body << std::string(20000, 'x');
			body.flush();
			body << "end";
		}
		// "/unsent": the handler only sets a status.
		else
			response.setStatusAndReason(HTTPResponse::HTTP_PRECONDITION_FAILED);
	});

	struct Row
	{
		const char* uri;
		const char* version;
		const char* expectedHead;
	};
	const Row rows[] = {
	    {"/empty", "HTTP/1.1", "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"},
	    {"/unsent", "HTTP/1.1",
	     "HTTP/1.1 412 Precondition Failed\r\nContent-Length: 0\r\nConnection: close\r\n\r\n"},
	    {"/small", "HTTP/1.1", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nConnection: close\r\n\r\n"},
	    {"/large", "HTTP/1.1", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n"},
	    {"/large", "HTTP/1.0", "HTTP/1.0 200 OK\r\nConnection: close\r\n\r\n"},
	};
	for (const Row& row : rows)
	{
		RawConnection connection(port());
		connection.send(std::string("GET ") + row.uri + " " + row.version + "\r\nConnection: close\r\n\r\n");
		EXPECT_EQ(connection.readHead(), row.expectedHead) << row.uri << " " << row.version;
	}

	HTTPClientSession session("127.0.0.1", port());
	session.setKeepAlive(true);
	HTTPRequest request(HTTPRequest::HTTP_GET, "/large");
	session.sendRequest(request);
	HTTPResponse response;
	EXPECT_EQ(readAll(session.receiveResponse(response)), std::string(20000, 'x') + "end");
}

TEST_F(HTTPServerTest, FinishedResponseIsOnTheWireBeforeTheHandlerReturns)
{
	Gate handlerMayReturn;
	std::promise<bool> laterBodyRefused;
	std::atomic<int> calls(0);
	serve([&](HTTPServerRequest&, HTTPServerResponse& response) {
		response.set("SID", "uuid:1");
		std::ostream& body = response.send();
		response.finish();
		response.finish();
		if (++calls > 1) return;
		try
		{
			body << "late" << std::flush;
			laterBodyRefused.set_value(false);
		}
		catch (const MessageException&)
		{
			laterBodyRefused.set_value(true);
		}
		handlerMayReturn.wait();
	});

	RawConnection connection(port());
	connection.send("SUBSCRIBE / HTTP/1.1\r\n\r\n");
	EXPECT_EQ(connection.readHead(), "HTTP/1.1 200 OK\r\nSID: uuid:1\r\nContent-Length: 0\r\n\r\n");
	EXPECT_TRUE(laterBodyRefused.get_future().get());
	handlerMayReturn.open();
	connection.send("SUBSCRIBE / HTTP/1.1\r\nConnection: close\r\n\r\n");
	EXPECT_EQ(statusLine(connection.readUntilClosed()), "HTTP/1.1 200 OK") << "the connection stays usable";
}

TEST_F(HTTPServerTest, HeadResponseCarriesNoBody)
{
	serve([](HTTPServerRequest&, HTTPServerResponse& response) {
		response.setContentLength(5);
		sendText(response, "12345");
	});
	RawConnection connection(port());
	connection.send("HEAD / HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\nConnection: close\r\n\r\n");
	EXPECT_EQ(connection.readUntilClosed(),
	          "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n"
	          "HTTP/1.1 200 OK\r\nContent-Length: 5\r\nConnection: close\r\n\r\n12345");
}

TEST_F(HTTPServerTest, ChunkedRequestBodyStreamsThroughIntact)
{
	// The client writes the first part, then waits until the handler has
	// read it: were either side to collect the whole body first, this would
	// never happen.
	const std::size_t partSize = 100000;
	Gate firstPartRead;
	serve([&](HTTPServerRequest& request, HTTPServerResponse& response) {
		std::string body(partSize, '\0');
		request.stream().read(&body[0], std::streamsize(partSize));
		firstPartRead.open();
		body += readAll(request.stream());
		sendText(response,
		         std::to_string(body.size()) + " " + std::to_string(std::hash<std::string>()(body)));
	});

	std::string expected;
	for (std::size_t i = 0; expected.size() < 3 * partSize; ++i)
		expected += std::to_string(i) + ",";
	HTTPClientSession session("127.0.0.1", port());
	HTTPRequest request(HTTPRequest::HTTP_POST, "/upload", HTTPMessage::HTTP_1_1);
	request.setChunkedTransferEncoding(true);
	std::ostream& out = session.sendRequest(request);
	out.write(expected.data(), std::streamsize(partSize));
	out.flush();
	ASSERT_TRUE(firstPartRead.wait());
	out.write(expected.data() + partSize, std::streamsize(expected.size() - partSize));
	HTTPResponse response;
	EXPECT_EQ(readAll(session.receiveResponse(response)),
	          std::to_string(expected.size()) + " " + std::to_string(std::hash<std::string>()(expected)));
}

TEST_F(HTTPServerTest, ExpectContinueGetsTheInterimResponseWhenTheBodyIsRead)
{
	serve([](HTTPServerRequest& request, HTTPServerResponse& response) {
		sendText(response, readAll(request.stream()));
	});
	RawConnection connection(port());
	connection.send(
	    "PUT / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 3\r\nConnection: close\r\n\r\n");
	EXPECT_EQ(connection.readHead(), "HTTP/1.1 100 Continue\r\n\r\n");
	connection.send("abc");
	EXPECT_EQ(connection.readUntilClosed(),
	          "HTTP/1.1 200 OK\r\nContent-Length: 3\r\nConnection: close\r\n\r\nabc");
}

namespace {

struct BadRequestRow
{
	const char* name;
	std::string request;
	const char* statusLine;
};

class HTTPServerRefusalTest : public HTTPServerTest, public testing::WithParamInterface<BadRequestRow>
{
};

void PrintTo(const BadRequestRow& row, std::ostream* pStream)
{
	*pStream << row.name;
}

} // namespace

TEST_P(HTTPServerRefusalTest, IsAnsweredWithoutReachingAHandler)
{
	HTTPServerParams params;
	params.maxHeaderBytes = 1024;
	params.maxBodyBytes = 1000;
	serve([](HTTPServerRequest&, HTTPServerResponse& response) { response.send(); }, params);
	RawConnection connection(port());
	connection.send(GetParam().request);
	const std::string reply = connection.readUntilClosed();
	EXPECT_EQ(statusLine(reply), GetParam().statusLine);
	EXPECT_NE(reply.find("Connection: close\r\n"), std::string::npos) << reply;
	EXPECT_EQ(_pFactory->calls, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, HTTPServerRefusalTest,
    testing::Values(
        BadRequestRow{"noTarget", "GET\r\n\r\n", "HTTP/1.1 400 Bad Request"},
        BadRequestRow{"badMethod", "G(T / HTTP/1.1\r\n\r\n", "HTTP/1.1 400 Bad Request"},
        BadRequestRow{"badVersion", "GET / HTTQ/1.1\r\n\r\n", "HTTP/1.1 400 Bad Request"},
        BadRequestRow{"fieldWithoutColon", "GET / HTTP/1.1\r\nNoColon\r\n\r\n", "HTTP/1.1 400 Bad Request"},
        BadRequestRow{"spaceInFieldName", "GET / HTTP/1.1\r\nBad Name: x\r\n\r\n",
                      "HTTP/1.1 400 Bad Request"},
        BadRequestRow{"badContentLength", "POST / HTTP/1.1\r\nContent-Length: 1x\r\n\r\n",
                      "HTTP/1.1 400 Bad Request"},
        BadRequestRow{"twoContentLengths",
                      "POST / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 2\r\n\r\n",
                      "HTTP/1.1 400 Bad Request"},
        BadRequestRow{"unknownTransferCoding", "POST / HTTP/1.1\r\nTransfer-Encoding: gzip\r\n\r\n",
                      "HTTP/1.1 400 Bad Request"},
        BadRequestRow{"http2", "GET / HTTP/2.0\r\n\r\n", "HTTP/1.1 400 Bad Request"},
        BadRequestRow{"headTooLarge", "GET / HTTP/1.1\r\nX-Big: " + std::string(2000, 'a') + "\r\n\r\n",
                      "HTTP/1.1 431 Request Header Fields Too Large"},
        BadRequestRow{"bodyTooLarge", "POST / HTTP/1.1\r\nContent-Length: 1001\r\n\r\n",
                      "HTTP/1.1 413 Request Entity Too Large"}),
    [](const testing::TestParamInfo<BadRequestRow>& info) { return std::string(info.param.name); });

TEST_F(HTTPServerTest, ChunkedBodyOverTheLimitFailsTheStreamAndAnswers413)
{
	HTTPServerParams params;
	params.maxBodyBytes = 10000;
	std::promise<std::string> failure;
	serve(
	    [&](HTTPServerRequest& request, HTTPServerResponse&) {
		    try
		    {
			    readAll(request.stream());
			    failure.set_value("no exception");
		    }
		    catch (const MessageException& exc)
		    {
			    failure.set_value(exc.displayText());
			    throw;
		    }
	    },
	    params);
	HTTPClientSession session("127.0.0.1", port());
	HTTPRequest request(HTTPRequest::HTTP_POST, "/", HTTPMessage::HTTP_1_1);
	request.setChunkedTransferEncoding(true);
	std::ostream& out = session.sendRequest(request);
	try
	{
		out << std::string(20000, 'x');
		HTTPResponse response;
		session.receiveResponse(response);
		EXPECT_EQ(response.getStatus(), HTTPResponse::HTTP_REQUEST_ENTITY_TOO_LARGE);
	}
	catch (const NetException&)
	{
		// The server may close before the client has written everything.
	}
	EXPECT_EQ(failure.get_future().get(), "Message exception: HTTP message too large: body limit exceeded");
}

TEST_F(HTTPServerTest, RequestSplitAtEveryByteIsAssembled)
{
	serve([](HTTPServerRequest& request, HTTPServerResponse& response) {
		sendText(response, request.get("X-A") + readAll(request.stream()));
	});
	const std::string message =
	    "POST /p HTTP/1.1\r\nX-A: 1\r\nTransfer-Encoding: chunked\r\nConnection: close\r\n\r\n"
	    "3\r\nabc\r\n0\r\n\r\n";
	for (std::size_t split = 1; split < message.size(); ++split)
	{
		RawConnection connection(port());
		connection.send(message.substr(0, split));
		connection.send(message.substr(split));
		const std::string reply = connection.readUntilClosed();
		EXPECT_EQ(reply.substr(reply.size() - 4), "1abc") << "split at " << split;
	}
}

TEST_F(HTTPServerTest, ExceptionInHandlerBecomes500AndServerGoesOn)
{
	serve([](HTTPServerRequest& request, HTTPServerResponse& response) {
		if (request.getURI() == "/throw") throw IOException("handler failed");
		if (request.getURI() == "/throwAfterBody")
		{
			response.send() << std::string(10000, 'x') << std::flush;
			throw IOException("handler failed");
		}
		sendText(response, "ok");
	});
	{
		RawConnection connection(port());
		connection.send("GET /throw HTTP/1.1\r\n\r\n");
		EXPECT_EQ(connection.readUntilClosed(),
		          "HTTP/1.1 500 Internal Server Error\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
	}
	{
		RawConnection connection(port());
		connection.send("GET /throwAfterBody HTTP/1.1\r\n\r\n");
		const std::string reply = connection.readUntilClosed();
		EXPECT_EQ(reply.find("0\r\n\r\n"), std::string::npos) << "the broken chunked body has no last chunk";
	}
	HTTPClientSession session("127.0.0.1", port());
	HTTPRequest request;
	session.sendRequest(request);
	HTTPResponse response;
	EXPECT_EQ(readAll(session.receiveResponse(response)), "ok");
}

TEST_F(HTTPServerTest, IdleKeepAliveConnectionIsClosedAfterTheTimeout)
{
	HTTPServerParams params;
	params.keepAliveTimeout = Timespan(100 * Timespan::MILLISECONDS);
	serve([](HTTPServerRequest&, HTTPServerResponse& response) { response.send(); }, params);
	RawConnection connection(port());
	connection.send("GET / HTTP/1.1\r\n\r\n");
	EXPECT_EQ(connection.readHead(), "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
	EXPECT_EQ(connection.readUntilClosed(), "");
}

TEST_F(HTTPServerTest, ClientThatNeverFinishesItsHeadIsDropped)
{
	HTTPServerParams params;
	params.timeout = Timespan(100 * Timespan::MILLISECONDS);
	serve([](HTTPServerRequest&, HTTPServerResponse& response) { response.send(); }, params);
	RawConnection connection(port());
	connection.send("GET / HTTP/1.1\r\nHost: loc");
	EXPECT_EQ(connection.readUntilClosed(), "");
	EXPECT_EQ(_pFactory->calls, 0);
}

TEST_F(HTTPServerTest, LastRequestAllowedOnAConnectionSaysClose)
{
	HTTPServerParams params;
	params.maxRequestsPerConnection = 2;
	serve([](HTTPServerRequest&, HTTPServerResponse& response) { response.send(); }, params);
	RawConnection connection(port());
	connection.send("GET / HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\n\r\nGET / HTTP/1.1\r\n\r\n");
	EXPECT_EQ(connection.readUntilClosed(),
	          "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"
	          "HTTP/1.1 200 OK\r\nContent-Length: 0\r\nConnection: close\r\n\r\n");
}

TEST_F(HTTPServerTest, FullQueueIsAnswered503)
{
	HTTPServerParams params;
	params.maxThreads = 1;
	params.maxQueued = 1;
	Gate entered;
	Gate release;
	serve(
	    [&](HTTPServerRequest& request, HTTPServerResponse& response) {
		    if (request.getURI() == "/block")
		    {
			    entered.open();
			    release.wait();
		    }
		    response.send();
	    },
	    params);
	RawConnection busy(port());
	busy.send("GET /block HTTP/1.1\r\nConnection: close\r\n\r\n");
	ASSERT_TRUE(entered.wait());
	// With the only worker busy, one of the next two waits in the queue and
	// the other finds it full and is answered at once.
	RawConnection second(port());
	RawConnection third(port());
	second.send("GET / HTTP/1.1\r\nConnection: close\r\n\r\n");
	third.send("GET / HTTP/1.1\r\nConnection: close\r\n\r\n");
	pollfd answered[] = {{second.fd(), POLLIN, 0}, {third.fd(), POLLIN, 0}};
	ASSERT_GT(::poll(answered, 2, int(std::chrono::milliseconds(DEADLINE).count())), 0);
	RawConnection& refused = answered[0].revents ? second : third;
	RawConnection& queued = answered[0].revents ? third : second;
	EXPECT_EQ(statusLine(refused.readUntilClosed()), "HTTP/1.1 503 Service Unavailable");
	release.open();
	EXPECT_EQ(statusLine(queued.readUntilClosed()), "HTTP/1.1 200 OK");
	EXPECT_EQ(statusLine(busy.readUntilClosed()), "HTTP/1.1 200 OK");
}

TEST_F(HTTPServerTest, ManyConcurrentClientsAreAllServed)
{
	HTTPServerParams params;
	params.maxThreads = 4;
	serve([](HTTPServerRequest& request,
	         HTTPServerResponse& response) { sendText(response, request.getURI()); },
	      params);
	const int clients = 16;
	const int requestsEach = 25;
	std::vector<std::future<int>> results;
	for (int c = 0; c < clients; ++c)
	{
		results.push_back(std::async(std::launch::async, [&, c] {
			HTTPClientSession session("127.0.0.1", port());
			session.setKeepAlive(c % 2 == 0);
			int good = 0;
			for (int i = 0; i < requestsEach; ++i)
			{
				const std::string uri = "/" + std::to_string(c) + "/" + std::to_string(i);
				HTTPRequest request(HTTPRequest::HTTP_GET, uri, HTTPMessage::HTTP_1_1);
				session.sendRequest(request);
				HTTPResponse response;
				if (readAll(session.receiveResponse(response)) == uri) ++good;
			}
			return good;
		}));
	}
	for (auto& result : results)
		EXPECT_EQ(result.get(), requestsEach);
}

TEST_F(HTTPServerTest, StopClosesIdleBusyAndQueuedConnections)
{
	HTTPServerParams params;
	params.maxThreads = 1;
	Gate entered;
	std::promise<std::string> handlerOutcome;
	serve(
	    [&](HTTPServerRequest& request, HTTPServerResponse&) {
		    entered.open();
		    try
		    {
			    readAll(request.stream()); // the client never sends the body
			    handlerOutcome.set_value("body read");
		    }
		    catch (const NetException& exc)
		    {
			    handlerOutcome.set_value("stream failed");
		    }
	    },
	    params);
	RawConnection idle(port());
	RawConnection busy(port());
	busy.send("POST / HTTP/1.1\r\nContent-Length: 100\r\n\r\n");
	ASSERT_TRUE(entered.wait());
	RawConnection queued(port());
	queued.send("GET / HTTP/1.1\r\n\r\n");

	std::future<void> stopped = std::async(std::launch::async, [this] { _pServer->stop(); });
	ASSERT_EQ(stopped.wait_for(DEADLINE), std::future_status::ready);
	EXPECT_EQ(handlerOutcome.get_future().get(), "stream failed");
	idle.readUntilClosed();
	busy.readUntilClosed();
	queued.readUntilClosed();
	EXPECT_THROW(RawConnection{port()}, std::runtime_error) << "the listener is closed";
	_pServer->stop();
}

TEST_F(HTTPServerTest, BindingAPortInUseFails)
{
	serve([](HTTPServerRequest&, HTTPServerResponse& response) { response.send(); });
	EXPECT_THROW(HTTPServer(_pFactory, "127.0.0.1", port()), NetException);
}
