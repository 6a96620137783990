#include "Tavik/URI.h"
#include "Tavik/Exception.h"

#include <gtest/gtest.h>

using namespace Tavik;

namespace {

struct SplitRow
{
	const char* name;
	const char* text;
	const char* scheme;
	const char* userInfo;
	const char* host;
	unsigned short port;
	unsigned short specifiedPort;
	const char* authority;
	const char* path;
	const char* query;
	const char* fragment;
	const char* pathEtc;
	const char* asString;
};

class URISplitTest : public testing::TestWithParam<SplitRow>
{
};

TEST_P(URISplitTest, SplitsIntoParts)
{
	const SplitRow& row = GetParam();
	const URI uri(row.text);
	EXPECT_EQ(uri.getScheme(), row.scheme);
	EXPECT_EQ(uri.isRelative(), std::string(row.scheme).empty());
	EXPECT_EQ(uri.getUserInfo(), row.userInfo);
	EXPECT_EQ(uri.getHost(), row.host);
	EXPECT_EQ(uri.getPort(), row.port);
	EXPECT_EQ(uri.getSpecifiedPort(), row.specifiedPort);
	EXPECT_EQ(uri.getAuthority(), row.authority);
	EXPECT_EQ(uri.getPath(), row.path);
	EXPECT_EQ(uri.getQuery(), row.query);
	EXPECT_EQ(uri.getFragment(), row.fragment);
	EXPECT_EQ(uri.getPathEtc(), row.pathEtc);
	EXPECT_EQ(uri.toString(), row.asString);
	EXPECT_EQ(URI(uri.toString()).toString(), row.asString) << "toString() reads back";
}

INSTANTIATE_TEST_SUITE_P(
	Rows, URISplitTest,
	testing::Values(
		SplitRow{"Full", "http://www.example.com:8080/a/b?x=1&y=2#top", "http", "", "www.example.com", 8080,
				 8080, "www.example.com:8080", "/a/b", "x=1&y=2", "top", "/a/b?x=1&y=2#top",
				 "http://www.example.com:8080/a/b?x=1&y=2#top"},
		SplitRow{"UpperCaseScheme", "HTTP://Host/", "http", "", "Host", 80, 0, "Host", "/", "", "", "/",
				 "http://Host/"},
		SplitRow{"HttpsNoPath", "https://host", "https", "", "host", 443, 0, "host", "", "", "", "/",
				 "https://host"},
		SplitRow{"NoPathWithQuery", "http://host?a", "http", "", "host", 80, 0, "host", "", "a", "", "/?a",
				 "http://host?a"},
		SplitRow{"DefaultPortGiven", "http://host:80/p", "http", "", "host", 80, 80, "host", "/p", "", "",
				 "/p", "http://host/p"},
		SplitRow{"UserInfo", "http://user:pw@host:81/p", "http", "user:pw", "host", 81, 81, "host:81", "/p",
				 "", "", "/p", "http://user:pw@host:81/p"},
		SplitRow{"IPv4", "http://10.0.0.5:8080/upnp-eventing", "http", "", "10.0.0.5", 8080, 8080,
				 "10.0.0.5:8080", "/upnp-eventing", "", "", "/upnp-eventing",
				 "http://10.0.0.5:8080/upnp-eventing"},
		SplitRow{"IPv6WithPort", "http://[::1]:8080/event", "http", "", "::1", 8080, 8080, "[::1]:8080",
				 "/event", "", "", "/event", "http://[::1]:8080/event"},
		SplitRow{"IPv6DefaultPort", "http://[2001:db8::7]", "http", "", "2001:db8::7", 80, 0, "[2001:db8::7]",
				 "", "", "", "/", "http://[2001:db8::7]"},
		SplitRow{"IPv6Zone", "http://[fe80::1%25eth0]/", "http", "", "fe80::1%25eth0", 80, 0,
				 "[fe80::1%25eth0]", "/", "", "", "/", "http://[fe80::1%25eth0]/"},
		SplitRow{"UnknownScheme", "ftp://host/x", "ftp", "", "host", 0, 0, "host", "/x", "", "", "/x",
				 "ftp://host/x"},
		SplitRow{"EmptyPort", "http://h:/p", "http", "", "h", 80, 0, "h", "/p", "", "", "/p", "http://h/p"},
		SplitRow{"KeptAsWritten", "http://h/a%20b/../c?q=%41", "http", "", "h", 80, 0, "h", "/a%20b/../c",
				 "q=%41", "", "/a%20b/../c?q=%41", "http://h/a%20b/../c?q=%41"},
		SplitRow{"EmptyQueryDropped", "http://h/?", "http", "", "h", 80, 0, "h", "/", "", "", "/",
				 "http://h/"},
		SplitRow{"Urn", "urn:schemas-upnp-org:event-1-0", "urn", "", "", 0, 0, "",
				 "schemas-upnp-org:event-1-0", "", "", "schemas-upnp-org:event-1-0",
				 "urn:schemas-upnp-org:event-1-0"},
		SplitRow{"EmptyAuthority", "file:///etc/hosts", "file", "", "", 0, 0, "", "/etc/hosts", "", "",
				 "/etc/hosts", "file:///etc/hosts"},
		SplitRow{"RelativePath", "upnp-eventing", "", "", "", 0, 0, "", "upnp-eventing", "", "",
				 "upnp-eventing", "upnp-eventing"},
		SplitRow{"ColonAfterSlash", "./a:b", "", "", "", 0, 0, "", "./a:b", "", "", "./a:b", "./a:b"},
		SplitRow{"AbsolutePath", "/upnp/event?sid=1#x", "", "", "", 0, 0, "", "/upnp/event", "sid=1", "x",
				 "/upnp/event?sid=1#x", "/upnp/event?sid=1#x"},
		SplitRow{"NetworkPath", "//host:81", "", "", "host", 81, 81, "host:81", "", "", "", "/", "//host:81"},
		SplitRow{"QueryOnly", "?a=b?c", "", "", "", 0, 0, "", "", "a=b?c", "", "?a=b?c", "?a=b?c"},
		SplitRow{"FragmentOnly", "#f?g", "", "", "", 0, 0, "", "", "", "f?g", "#f?g", "#f?g"},
		SplitRow{"Empty", "", "", "", "", 0, 0, "", "", "", "", "", ""}),
	[](const testing::TestParamInfo<SplitRow>& info) { return info.param.name; });

struct BadRow
{
	const char* name;
	const char* text;
	const char* message;
};

class URISyntaxTest : public testing::TestWithParam<BadRow>
{
};

TEST_P(URISyntaxTest, RefusesWithSyntaxException)
{
	const BadRow& row = GetParam();
	try
	{
		URI uri(row.text);
		FAIL() << "accepted as " << uri.toString();
	}
	catch (const SyntaxException& exc)
	{
		EXPECT_EQ(exc.message(), std::string(row.message) + ": " + row.text);
	}
}

INSTANTIATE_TEST_SUITE_P(
	Rows, URISyntaxTest,
	testing::Values(BadRow{"PortTooLarge", "http://h:99999/", "Invalid port in URI"},
					BadRow{"PortJustTooLarge", "http://h:65536/", "Invalid port in URI"},
					BadRow{"PortNotNumeric", "http://h:x/", "Invalid port in URI"},
					BadRow{"TwoPorts", "http://h:80:81/", "Invalid port in URI"},
					BadRow{"NegativePort", "http://h:-1/", "Invalid port in URI"},
					BadRow{"UnterminatedIPv6", "http://[::1/x", "Invalid IPv6 address in URI"},
					BadRow{"JunkAfterIPv6", "http://[::1]x/", "Invalid IPv6 address in URI"},
					BadRow{"IPv6WithoutColon", "http://[abc]/", "Invalid IPv6 address in URI"},
					BadRow{"EmptyIPv6", "http://[]/", "Invalid IPv6 address in URI"},
					BadRow{"IPv6BadDigit", "http://[::g]/", "Invalid IPv6 address in URI"},
					BadRow{"BracketInHost", "http://h]/", "Invalid host in URI"},
					BadRow{"Space", "http://h/a b", "Invalid character in URI"},
					BadRow{"LineFeed", "http://h/\n", "Invalid character in URI"},
					BadRow{"Delete", "/a\x7f", "Invalid character in URI"},
					BadRow{"SchemeStartsWithDigit", "1http://h/", "Invalid scheme in URI"},
					BadRow{"EmptyScheme", ":x", "Invalid scheme in URI"},
					BadRow{"SchemeUnderscore", "ht_tp://h/", "Invalid scheme in URI"}),
	[](const testing::TestParamInfo<BadRow>& info) { return info.param.name; });

TEST(URITest, AssignmentReplacesAllPartsOrNothing)
{
	URI uri("http://user@host:81/p?q#f");
	uri = "/other";
	EXPECT_EQ(uri.toString(), "/other");
	EXPECT_EQ(uri.getHost(), "");
	EXPECT_EQ(uri.getPathEtc(), "/other");

	uri = std::string("http://h:8080/x");
	EXPECT_THROW(uri = "http://h:bad/", SyntaxException);
	EXPECT_EQ(uri.toString(), "http://h:8080/x");
}

TEST(URITest, ClearAndEmpty)
{
	EXPECT_TRUE(URI().empty());
	EXPECT_TRUE(URI("").empty());
	EXPECT_FALSE(URI("//").empty());
	URI uri("http://h/p");
	EXPECT_FALSE(uri.empty());
	uri.clear();
	EXPECT_TRUE(uri.empty());
	EXPECT_EQ(uri.toString(), "");
	EXPECT_TRUE(URI(static_cast<const char*>(nullptr)).empty());
}

TEST(URITest, PathAndQueryLeavesOutTheFragment)
{
	EXPECT_EQ(URI("http://h/p?q#f").getPathAndQuery(), "/p?q");
	EXPECT_EQ(URI("http://h#f").getPathAndQuery(), "/");
}

} // namespace
