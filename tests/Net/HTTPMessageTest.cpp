#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/NetException.h"
#include "Tavik/Net/SocketAddress.h"

#include <gtest/gtest.h>

using namespace Tavik::Net;

namespace {

struct KeepAliveRow
{
	const char* name;
	const char* version;
	const char* connection; // nullptr: no Connection field
	bool keepAlive;
};

class KeepAliveTest : public testing::TestWithParam<KeepAliveRow>
{
};

void PrintTo(const KeepAliveRow& row, std::ostream* pStream)
{
	*pStream << row.name;
}

} // namespace

TEST_P(KeepAliveTest, FollowsConnectionFieldElseVersion)
{
	const KeepAliveRow& row = GetParam();
	HTTPRequest request(HTTPRequest::HTTP_GET, "/", row.version);
	if (row.connection) request.set("Connection", row.connection);
	EXPECT_EQ(request.getKeepAlive(), row.keepAlive);
}

INSTANTIATE_TEST_SUITE_P(Rows, KeepAliveTest,
                         testing::Values(KeepAliveRow{"http11Default", "HTTP/1.1", nullptr, true},
                                         KeepAliveRow{"http10Default", "HTTP/1.0", nullptr, false},
                                         KeepAliveRow{"http11Close", "HTTP/1.1", "close", false},
                                         KeepAliveRow{"http11CloseUpperCase", "HTTP/1.1", "CLOSE", false},
                                         KeepAliveRow{"http10KeepAlive", "HTTP/1.0", "Keep-Alive", true},
                                         KeepAliveRow{"tokenList", "HTTP/1.0", "Upgrade,  keep-alive ", true},
                                         KeepAliveRow{"closeInList", "HTTP/1.1", "TE, close", false},
                                         KeepAliveRow{"similarToken", "HTTP/1.0", "keep-alive2", false}),
                         [](const testing::TestParamInfo<KeepAliveRow>& info) {
	                         return std::string(info.param.name);
                         });

TEST(HTTPMessageTest, SetKeepAliveWritesWhatTheVersionNeeds)
{
	HTTPRequest http11(HTTPRequest::HTTP_POST, "/", HTTPMessage::HTTP_1_1);
	http11.setKeepAlive(false);
	EXPECT_EQ(http11.get("Connection"), "close");
	http11.setKeepAlive(true);
	EXPECT_FALSE(http11.has("Connection")) << "persistence is HTTP/1.1's default";

	HTTPRequest http10(HTTPRequest::HTTP_POST, "/", HTTPMessage::HTTP_1_0);
	http10.setKeepAlive(true);
	EXPECT_EQ(http10.get("Connection"), "keep-alive");
}

TEST(HTTPMessageTest, ContentLengthAndChunkedExcludeEachOther)
{
	HTTPRequest request("NOTIFY", "/cb", HTTPMessage::HTTP_1_1);
	EXPECT_EQ(request.getContentLength(), HTTPMessage::UNKNOWN_CONTENT_LENGTH);
	request.setContentLength(42);
	EXPECT_EQ(request.getContentLength(), 42);
	request.setChunkedTransferEncoding(true);
	EXPECT_TRUE(request.getChunkedTransferEncoding());
	EXPECT_FALSE(request.has("Content-Length"));
	request.setContentLength(0);
	EXPECT_FALSE(request.getChunkedTransferEncoding());
	EXPECT_EQ(request.get("Content-Length"), "0");
	request.setContentLength(HTTPMessage::UNKNOWN_CONTENT_LENGTH);
	EXPECT_FALSE(request.has("Content-Length"));
}

TEST(HTTPMessageTest, MalformedContentLengthIsAMessageError)
{
	for (const char* text : {"", "abc", "12x", "-1", "99999999999999999999"})
	{
		HTTPResponse response;
		response.set("Content-Length", text);
		EXPECT_THROW(response.getContentLength(), MessageException) << '"' << text << '"';
	}
}

TEST(HTTPResponseTest, ReasonPhrasesAreTheStandardOnes)
{
	const std::pair<HTTPResponse::HTTPStatus, const char*> table[] = {
	    {HTTPResponse::HTTP_CONTINUE, "Continue"},
	    {HTTPResponse::HTTP_SWITCHING_PROTOCOLS, "Switching Protocols"},
	    {HTTPResponse::HTTP_OK, "OK"},
	    {HTTPResponse::HTTP_CREATED, "Created"},
	    {HTTPResponse::HTTP_ACCEPTED, "Accepted"},
	    {HTTPResponse::HTTP_NONAUTHORITATIVE, "Non-Authoritative Information"},
	    {HTTPResponse::HTTP_NO_CONTENT, "No Content"},
	    {HTTPResponse::HTTP_RESET_CONTENT, "Reset Content"},
	    {HTTPResponse::HTTP_PARTIAL_CONTENT, "Partial Content"},
	    {HTTPResponse::HTTP_MULTIPLE_CHOICES, "Multiple Choices"},
	    {HTTPResponse::HTTP_MOVED_PERMANENTLY, "Moved Permanently"},
	    {HTTPResponse::HTTP_FOUND, "Found"},
	    {HTTPResponse::HTTP_SEE_OTHER, "See Other"},
	    {HTTPResponse::HTTP_NOT_MODIFIED, "Not Modified"},
	    {HTTPResponse::HTTP_USE_PROXY, "Use Proxy"},
	    {HTTPResponse::HTTP_TEMPORARY_REDIRECT, "Temporary Redirect"},
	    {HTTPResponse::HTTP_PERMANENT_REDIRECT, "Permanent Redirect"},
	    {HTTPResponse::HTTP_BAD_REQUEST, "Bad Request"},
	    {HTTPResponse::HTTP_UNAUTHORIZED, "Unauthorized"},
	    {HTTPResponse::HTTP_PAYMENT_REQUIRED, "Payment Required"},
	    {HTTPResponse::HTTP_FORBIDDEN, "Forbidden"},
	    {HTTPResponse::HTTP_NOT_FOUND, "Not Found"},
	    {HTTPResponse::HTTP_METHOD_NOT_ALLOWED, "Method Not Allowed"},
	    {HTTPResponse::HTTP_NOT_ACCEPTABLE, "Not Acceptable"},
	    {HTTPResponse::HTTP_PROXY_AUTHENTICATION_REQUIRED, "Proxy Authentication Required"},
	    {HTTPResponse::HTTP_REQUEST_TIMEOUT, "Request Timeout"},
	    {HTTPResponse::HTTP_CONFLICT, "Conflict"},
	    {HTTPResponse::HTTP_GONE, "Gone"},
	    {HTTPResponse::HTTP_LENGTH_REQUIRED, "Length Required"},
	    {HTTPResponse::HTTP_PRECONDITION_FAILED, "Precondition Failed"},
	    {HTTPResponse::HTTP_REQUEST_ENTITY_TOO_LARGE, "Request Entity Too Large"},
	    {HTTPResponse::HTTP_REQUEST_URI_TOO_LONG, "Request-URI Too Long"},
	    {HTTPResponse::HTTP_UNSUPPORTED_MEDIA_TYPE, "Unsupported Media Type"},
	    {HTTPResponse::HTTP_REQUESTED_RANGE_NOT_SATISFIABLE, "Requested Range Not Satisfiable"},
	    {HTTPResponse::HTTP_EXPECTATION_FAILED, "Expectation Failed"},
	    {HTTPResponse::HTTP_PRECONDITION_REQUIRED, "Precondition Required"},
	    {HTTPResponse::HTTP_TOO_MANY_REQUESTS, "Too Many Requests"},
	    {HTTPResponse::HTTP_REQUEST_HEADER_FIELDS_TOO_LARGE, "Request Header Fields Too Large"},
	    {HTTPResponse::HTTP_INTERNAL_SERVER_ERROR, "Internal Server Error"},
	    {HTTPResponse::HTTP_NOT_IMPLEMENTED, "Not Implemented"},
	    {HTTPResponse::HTTP_BAD_GATEWAY, "Bad Gateway"},
	    {HTTPResponse::HTTP_SERVICE_UNAVAILABLE, "Service Unavailable"},
	    {HTTPResponse::HTTP_GATEWAY_TIMEOUT, "Gateway Timeout"},
	    {HTTPResponse::HTTP_VERSION_NOT_SUPPORTED, "HTTP Version Not Supported"},
	};
	for (const auto& row : table)
	{
		EXPECT_EQ(HTTPResponse::getReasonForStatus(row.first), row.second) << row.first;
		HTTPResponse response;
		response.setStatusAndReason(row.first);
		EXPECT_EQ(response.getStatus(), row.first);
		EXPECT_EQ(response.getReason(), row.second);
	}
	EXPECT_EQ(HTTPResponse::getReasonForStatus(HTTPResponse::HTTPStatus(299)), "Unknown");
}

TEST(HTTPResponseTest, SetStatusKeepsTheReason)
{
	HTTPResponse response;
	EXPECT_EQ(response.getStatus(), HTTPResponse::HTTP_OK);
	EXPECT_EQ(response.getReason(), "OK");
	EXPECT_EQ(response.getVersion(), HTTPMessage::HTTP_1_1);
	response.setStatus(HTTPResponse::HTTP_NOT_FOUND);
	EXPECT_EQ(response.getReason(), "OK");
}

TEST(SocketAddressTest, BracketsIPv6Hosts)
{
	EXPECT_EQ(SocketAddress("10.0.0.5", 49152).toString(), "10.0.0.5:49152");
	EXPECT_EQ(SocketAddress("::1", 8080).toString(), "[::1]:8080");
	EXPECT_EQ(SocketAddress("fe80::1%eth0", 80).toString(), "[fe80::1%eth0]:80");
}
