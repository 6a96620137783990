// HTTPMessage, HTTPRequest, HTTPResponse, NameValueCollection and SocketAddress: what a message's
// fields mean (persistence, framing, names without case) where no exchange shows it.
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/NameValueCollection.h"
#include "Tavik/Net/NetException.h"
#include "Tavik/Net/SocketAddress.h"

#include <gtest/gtest.h>

using namespace Tavik::Net;

namespace {

TEST(HTTPMessageTest, PersistenceFollowsTheConnectionFieldElseTheVersionAndIsWrittenAsTheVersionNeeds)
{
	for (const auto& [version, connection, keepAlive] :
	     {std::tuple("HTTP/1.1", "", true), {"HTTP/1.0", "", false}, {"HTTP/1.1", "CLOSE", false}, {"HTTP/1.0", "Keep-Alive", true},
	      {"HTTP/1.0", "Upgrade,  keep-alive ", true}, {"HTTP/1.1", "TE, close", false}, {"HTTP/1.0", "keep-alive2", false}})
	{
		HTTPRequest request(HTTPRequest::HTTP_GET, "/", version);
		if (*connection) request.set("Connection", connection);
		EXPECT_EQ(request.getKeepAlive(), keepAlive) << version << " " << connection;
	}
	HTTPRequest http11(HTTPRequest::HTTP_POST, "/", HTTPMessage::HTTP_1_1), http10(HTTPRequest::HTTP_POST, "/", HTTPMessage::HTTP_1_0);
	http11.setKeepAlive(false);
	EXPECT_EQ(http11.get("Connection"), "close");
	http11.setKeepAlive(true);
	EXPECT_FALSE(http11.has("Connection")) << "persistence is HTTP/1.1's default";
	http10.setKeepAlive(true);
	EXPECT_EQ(http10.get("Connection"), "keep-alive");
}

TEST(HTTPMessageTest, ContentLengthAndChunkedExcludeEachOtherAndAMalformedLengthIsAnError)
{
	HTTPRequest request("NOTIFY", "/cb", HTTPMessage::HTTP_1_1);
	EXPECT_EQ(request.getContentLength(), HTTPMessage::UNKNOWN_CONTENT_LENGTH);
	request.setContentLength(42);
	request.setChunkedTransferEncoding(true);
	EXPECT_TRUE(request.getChunkedTransferEncoding() && !request.has("Content-Length"));
	request.setContentLength(0);
	EXPECT_FALSE(request.getChunkedTransferEncoding());
	EXPECT_EQ(request.get("Content-Length"), "0");
	request.setContentLength(HTTPMessage::UNKNOWN_CONTENT_LENGTH);
	EXPECT_FALSE(request.has("Content-Length"));
	for (const char* text : {"", "abc", "12x", "-1", "99999999999999999999"})
	{
		request.set("Content-Length", text);
		EXPECT_THROW(request.getContentLength(), MessageException) << '"' << text << '"';
	}
}

TEST(HTTPMessageTest, FieldNamesIgnoreCaseSetReplacesAddAppends)
{
	NameValueCollection fields;
	fields.add("SID", "uuid:1");
	fields.add("NT", "upnp:event");
	fields.add("sid", "uuid:2");
	EXPECT_EQ(fields.get("Sid") + fields["sId"], "uuid:1uuid:1") << "the first entry";
	fields.set("Sid", "uuid:3");
	ASSERT_EQ(fields.size(), 2u);
	EXPECT_EQ(fields.begin()->first + fields.begin()->second, "SIDuuid:3") << "set() keeps the first entry's place and name";
	fields.erase("nt");
	EXPECT_FALSE(fields.has("NT") || fields.has("SI"));
	const std::string fallback("Second-1800");
	EXPECT_EQ(&fields.get("TIMEOUT", fallback), &fallback);
	EXPECT_THROW(fields.get("TIMEOUT"), Tavik::NotFoundException);
	EXPECT_THROW(fields["TIMEOUT"], Tavik::NotFoundException);
}

TEST(HTTPMessageTest, UnknownStatusAndIPv6AddressTexts)
{
	EXPECT_EQ(HTTPResponse::getReasonForStatus(HTTPResponse::HTTPStatus(299)), "Unknown");
	EXPECT_EQ(SocketAddress("fe80::1%eth0", 80).toString(), "[fe80::1%eth0]:80");
}

} // namespace
