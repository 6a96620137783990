// HTTPClientSession against our server and raw peers: persistence and reconnection, timeouts,
// refusals, and malformed or oversized messages, as the caller sees them.
#include "Tavik/Net/HTTPClientSession.h"
#include "HTTPPeer.h"
#include "RawPeer.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/NetException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <future>
#include <poll.h>
#include <set>

using namespace Tavik;
using namespace Tavik::Net;
using namespace TestSupport;
using testing::StartsWith;
using testing::ThrowsMessage;

namespace {

// The body of the response to a GET of uri.
std::string get(HTTPClientSession& session, const std::string& uri = "/")
{
	HTTPRequest request(HTTPRequest::HTTP_GET, uri, HTTPMessage::HTTP_1_1);
	session.sendRequest(request);
	HTTPResponse response;
	return readAll(session.receiveResponse(response));
}

// A peer that answers a request with reply and closes, after a read when pReadAfterReply is given.
std::unique_ptr<RawPeer> answering(const std::string& reply, std::promise<ssize_t>* pReadAfterReply = nullptr)
{
	return std::make_unique<RawPeer>([reply, pReadAfterReply](int fd) {
		readRequest(fd);
		sendAll(fd, reply);
		pollfd readable{fd, POLLIN, 0};
		char c;
		if (pReadAfterReply)
			pReadAfterReply->set_value(::poll(&readable, 1, int(std::chrono::milliseconds(DEADLINE).count())) == 1 ? ::recv(fd, &c, 1, 0) : -1);
		::close(fd);
		return false;
	});
}

TEST(HTTPClientSessionTest, ConnectionsPersistAsTheSettingsAndTheServerAllow)
{
	HTTPServerParams params;
	params.maxRequestsPerConnection = 2;
	HTTPPeer peer({}, "127.0.0.1", params);
	// How many connections count requests took, and the last one's Connection field.
	const auto connections = [&](HTTPClientSession& session, int count) {
		for (int i = 0; i < count; ++i)
			get(session);
		const std::vector<Received> requests = peer.requests();
		std::set<unsigned short> ports;
		for (auto it = requests.end() - count; it != requests.end(); ++it)
			ports.insert(it->clientPort);
		return std::to_string(ports.size()) + " " + requests.back().headers.get("Connection", "-");
	};
	HTTPClientSession kept("127.0.0.1", peer.port()), closing("127.0.0.1", peer.port()), expiring("127.0.0.1", peer.port());
	kept.setKeepAlive(true);
	expiring.setKeepAlive(true);
	expiring.setKeepAliveTimeout(Timespan(0));
	EXPECT_EQ(connections(kept, 4), "2 -") << "two requests a connection, as the server allows";
	EXPECT_EQ(connections(closing, 2), "2 close");
	EXPECT_EQ(connections(expiring, 2), "2 -") << "a connection idle beyond the keep-alive timeout is replaced";
}

TEST(HTTPClientSessionTest, ConnectionThatMayNotPersistIsClosedOnceTheResponseIsIn)
{
	for (const std::string body : {"", "abc"})
	{
		std::promise<ssize_t> readAfterReply;
		const auto pPeer = answering("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body, &readAfterReply);
		HTTPClientSession session("127.0.0.1", pPeer->port());
		EXPECT_EQ(get(session), body);
		EXPECT_EQ(readAfterReply.get_future().get(), 0) << "the client closed, body \"" << body << "\"";
	}
}

TEST(HTTPClientSessionTest, TimeoutUnreadBodyAndFailedRequestsLeaveTheSessionUsable)
{
	Gate release;
	HTTPServer server(makeFactory([&](HTTPServerRequest& request, HTTPServerResponse& response) {
		if (request.getURI() == "/block") release.wait();
		readAll(request.stream());
		response.send() << request.getURI();
	}), "127.0.0.1", 0);
	server.start();
	HTTPClientSession session("127.0.0.1", server.port());
	session.setKeepAlive(true);
	session.setTimeout(Timespan(100 * Timespan::MILLISECONDS));
	EXPECT_THROW(get(session, "/block"), Net::TimeoutException);
	release.open();
	HTTPRequest request(HTTPRequest::HTTP_GET, "/unread", HTTPMessage::HTTP_1_1);
	session.sendRequest(request);
	HTTPResponse response;
	session.receiveResponse(response); // body left unread
	EXPECT_EQ(get(session, "/next"), "/next");
	HTTPRequest tooLong(HTTPRequest::HTTP_POST, "/", HTTPMessage::HTTP_1_1), tooShort = tooLong, unframed = tooLong;
	tooLong.setContentLength(3);
	EXPECT_THROW(session.sendRequest(tooLong) << "abcd" << std::flush, MessageException);
	tooShort.setContentLength(3);
	session.sendRequest(tooShort) << "ab";
	EXPECT_THROW(session.receiveResponse(response), MessageException);
	EXPECT_THROW(session.sendRequest(unframed) << "x" << std::flush, MessageException);
	unframed.set("SID", "uuid:1\r\nX-Evil: 1");
	EXPECT_THROW(session.sendRequest(unframed), MessageException);
	EXPECT_EQ(get(session, "/last"), "/last");
	EXPECT_THROW(HTTPClientSession("127.0.0.1", server.port()).receiveResponse(response), IllegalStateException)
	    << "nothing sent";
}

TEST(HTTPClientSessionTest, RefusedSilentMalformedAndOversizedExchangesThrow)
{
	const unsigned short port = RawPeer().port(); // closed again
	HTTPClientSession refused("127.0.0.1", port);
	EXPECT_THAT([&] { get(refused); }, ThrowsMessage<ConnectionRefusedException>("127.0.0.1:" + std::to_string(port)));
	const auto pSilent = answering("");
	HTTPClientSession toSilent("127.0.0.1", pSilent->port());
	EXPECT_THROW(get(toSilent), NoMessageException);
	for (const auto& [reply, message] :
	     {std::pair("HTTP/1.1 2x0 OK\r\n\r\n", "Malformed HTTP message: bad status"),
	      {"HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nab", "Connection closed before the message was complete"},
	      {"HTTP/1.1 200 OK\r\nContent-Length: 2000\r\n\r\n", "HTTP message too large: body limit exceeded"},
	      {"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n7D0\r\n", "HTTP message too large: body limit exceeded"}})
	{
		const auto pPeer = answering(reply);
		HTTPClientSession session("127.0.0.1", pPeer->port());
		session.setMaxResponseBodySize(1000);
		EXPECT_THAT([&] { get(session); }, ThrowsMessage<MessageException>(StartsWith(message))) << reply;
	}
}

} // namespace
