#include "Tavik/Net/HTTPClientSession.h"
#include "LoopbackPeers.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/NetException.h"

#include <gtest/gtest.h>

#include <future>
#include <iterator>
#include <set>
#include <thread>

using namespace Tavik;
using namespace Tavik::Net;
using namespace NetTest;

namespace {

/// A server whose handler answers with the client's port and the request's
/// Connection field, so that tests see which connection carried a request.
class HTTPClientSessionTest : public testing::Test
{
protected:
	void SetUp() override { start(HTTPServerParams()); }

	void start(const HTTPServerParams& params)
	{
		_pServer.reset();
		_pServer.reset(new HTTPServer(
		    makeFactory([this](HTTPServerRequest& request, HTTPServerResponse& response) {
			    if (request.getURI() == "/block") _release.wait();
			    readAll(request.stream());
			    response.send() << request.clientAddress().port() << " " << request.get("Connection", "-");
		    }),
		    "127.0.0.1", 0, params));
		_pServer->start();
	}

	std::string exchange(HTTPClientSession& session, const std::string& uri = "/")
	{
		HTTPRequest request(HTTPRequest::HTTP_GET, uri, HTTPMessage::HTTP_1_1);
		session.sendRequest(request);
		HTTPResponse response;
		return readAll(session.receiveResponse(response));
	}

	std::set<std::string> portsOfExchanges(HTTPClientSession& session, int count)
	{
		std::set<std::string> ports;
		for (int i = 0; i < count; ++i)
		{
			const std::string reply = exchange(session);
			ports.insert(reply.substr(0, reply.find(' ')));
		}
		return ports;
	}

	Gate _release;
	std::unique_ptr<HTTPServer> _pServer;
};

} // namespace

TEST_F(HTTPClientSessionTest, KeepAliveReusesTheConnection)
{
	HTTPClientSession session("127.0.0.1", _pServer->port());
	session.setKeepAlive(true);
	EXPECT_EQ(portsOfExchanges(session, 3).size(), 1u);
	const std::string reply = exchange(session);
	EXPECT_EQ(reply.substr(reply.find(' ')), " -") << "HTTP/1.1 persists without a Connection field";
}

TEST_F(HTTPClientSessionTest, KeptConnectionIdleBeyondTheKeepAliveTimeoutIsReplaced)
{
	HTTPClientSession session("127.0.0.1", _pServer->port());
	session.setKeepAlive(true);
	session.setKeepAliveTimeout(Timespan(0));
	EXPECT_EQ(portsOfExchanges(session, 3).size(), 3u);
}

TEST_F(HTTPClientSessionTest, WithoutKeepAliveEveryRequestSaysCloseAndGetsItsOwnConnection)
{
	HTTPClientSession session("127.0.0.1", _pServer->port());
	EXPECT_EQ(portsOfExchanges(session, 3).size(), 3u);
	const std::string reply = exchange(session);
	EXPECT_EQ(reply.substr(reply.find(' ')), " close");
}

TEST_F(HTTPClientSessionTest, ConnectionThatMayNotPersistIsClosedOnceTheResponseIsIn)
{
	// The peer answers but keeps its end open: only the client can end the
	// connection, and it must not keep the descriptor until the next exchange.
	for (const char* body : {"", "abc"})
	{
		RawListener listener;
		listener.listen();
		std::promise<ssize_t> readAfterAnswer;
		std::thread peer([&] {
			const int fd = listener.accept();
			timeval timeout{std::chrono::seconds(DEADLINE).count(), 0};
			::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
			char buffer[1024];
			::recv(fd, buffer, sizeof(buffer), 0);
			const std::string reply =
			    "HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(std::strlen(body)) + "\r\n\r\n" + body;
			::send(fd, reply.data(), reply.size(), MSG_NOSIGNAL);
			readAfterAnswer.set_value(::recv(fd, buffer, sizeof(buffer), 0));
			::close(fd);
		});
		HTTPClientSession session("127.0.0.1", listener.port());
		HTTPRequest request;
		session.sendRequest(request);
		HTTPResponse response;
		EXPECT_EQ(readAll(session.receiveResponse(response)), body);
		EXPECT_EQ(readAfterAnswer.get_future().get(), 0) << "the client closed, body \"" << body << "\"";
		peer.join();
	}
}

TEST_F(HTTPClientSessionTest, ServerThatEndsTheConnectionMakesTheNextRequestReconnect)
{
	HTTPServerParams params;
	params.maxRequestsPerConnection = 1;
	start(params);
	HTTPClientSession session("127.0.0.1", _pServer->port());
	session.setKeepAlive(true);
	EXPECT_EQ(portsOfExchanges(session, 3).size(), 3u);
}

TEST_F(HTTPClientSessionTest, UnreadResponseBodyDoesNotSpoilTheNextExchange)
{
	HTTPClientSession session("127.0.0.1", _pServer->port());
	session.setKeepAlive(true);
	HTTPRequest request(HTTPRequest::HTTP_GET, "/", HTTPMessage::HTTP_1_1);
	session.sendRequest(request);
	HTTPResponse response;
	session.receiveResponse(response); // body left unread
	HTTPRequest head(HTTPRequest::HTTP_HEAD, "/", HTTPMessage::HTTP_1_1);
	session.sendRequest(head);
	EXPECT_EQ(readAll(session.receiveResponse(response)), "");
	EXPECT_NE(exchange(session), "");
}

TEST_F(HTTPClientSessionTest, ServerThatNeverAnswersTimesOutAndTheSessionRecovers)
{
	HTTPClientSession session("127.0.0.1", _pServer->port());
	session.setTimeout(Timespan(100 * Timespan::MILLISECONDS));
	HTTPRequest request(HTTPRequest::HTTP_GET, "/block", HTTPMessage::HTTP_1_1);
	session.sendRequest(request);
	HTTPResponse response;
	EXPECT_THROW(session.receiveResponse(response), Net::TimeoutException);
	_release.open();
	EXPECT_NE(exchange(session), "");
}

TEST_F(HTTPClientSessionTest, RefusedConnectionThrows)
{
	RawListener notListening;
	HTTPClientSession session("127.0.0.1", notListening.port());
	HTTPRequest request;
	try
	{
		session.sendRequest(request);
		FAIL() << "no exception";
	}
	catch (const ConnectionRefusedException& exc)
	{
		EXPECT_EQ(exc.displayText(), "Connection refused: 127.0.0.1:" + std::to_string(notListening.port()));
	}
	notListening.listen();
	std::thread peer([&] {
		// Reads the request, then hangs up without a word.
		const int fd = notListening.accept();
		char buffer[1024];
		::recv(fd, buffer, sizeof(buffer), 0);
		::close(fd);
	});
	session.sendRequest(request);
	HTTPResponse response;
	EXPECT_THROW(session.receiveResponse(response), NoMessageException);
	peer.join();
}

TEST_F(HTTPClientSessionTest, MalformedOrOversizedResponsesAreMessageErrors)
{
	struct Row
	{
		const char* reply;
		const char* message;
	};
	const Row rows[] = {
	    {"HTTP/1.1 2x0 OK\r\n\r\n", "Malformed HTTP message: bad status"},
	    {"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab",
	     "Connection closed before the message was complete"},
	    {"HTTP/1.1 200 OK\r\nContent-Length: 2000\r\n\r\n", "HTTP message too large: body limit exceeded"},
	    {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n7D0\r\n",
	     "HTTP message too large: body limit exceeded"},
	};
	for (const Row& row : rows)
	{
		RawListener listener;
		listener.listen();
		std::thread peer([&] {
			const int fd = listener.accept();
			char buffer[1024];
			::recv(fd, buffer, sizeof(buffer), 0);
			::send(fd, row.reply, std::strlen(row.reply), MSG_NOSIGNAL);
			::close(fd);
		});
		HTTPClientSession session("127.0.0.1", listener.port());
		session.setMaxResponseBodySize(1000);
		HTTPRequest request;
		session.sendRequest(request);
		try
		{
			HTTPResponse response;
			readAll(session.receiveResponse(response));
			ADD_FAILURE() << "no exception for " << row.reply;
		}
		catch (const MessageException& exc)
		{
			EXPECT_EQ(exc.message().substr(0, std::strlen(row.message)), row.message) << exc.message();
		}
		peer.join();
	}
}

TEST_F(HTTPClientSessionTest, RequestBodyMustMatchItsFraming)
{
	HTTPClientSession session("127.0.0.1", _pServer->port());
	session.setKeepAlive(true);

	HTTPRequest tooLong(HTTPRequest::HTTP_POST, "/", HTTPMessage::HTTP_1_1);
	tooLong.setContentLength(3);
	EXPECT_THROW(session.sendRequest(tooLong) << "abcd" << std::flush, MessageException);

	HTTPRequest tooShort(HTTPRequest::HTTP_POST, "/", HTTPMessage::HTTP_1_1);
	tooShort.setContentLength(3);
	session.sendRequest(tooShort) << "ab";
	HTTPResponse response;
	EXPECT_THROW(session.receiveResponse(response), MessageException);

	HTTPRequest unframed(HTTPRequest::HTTP_POST, "/", HTTPMessage::HTTP_1_1);
	EXPECT_THROW(session.sendRequest(unframed) << "x" << std::flush, MessageException);

	HTTPRequest injected(HTTPRequest::HTTP_GET, "/", HTTPMessage::HTTP_1_1);
	injected.set("SID", "uuid:1\r\nX-Evil: 1");
	EXPECT_THROW(session.sendRequest(injected), MessageException);

	EXPECT_NE(exchange(session), "") << "each failure leaves the session usable";
}

TEST_F(HTTPClientSessionTest, ReceiveWithoutSendIsAnIllegalState)
{
	HTTPClientSession session("127.0.0.1", _pServer->port());
	HTTPResponse response;
	EXPECT_THROW(session.receiveResponse(response), IllegalStateException);
}
