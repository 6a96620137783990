#include "Tavik/Net/NameValueCollection.h"
#include "Tavik/Exception.h"

#include <gtest/gtest.h>

using namespace Tavik;
using Tavik::Net::NameValueCollection;

TEST(NameValueCollectionTest, NamesCompareIgnoringCase)
{
	NameValueCollection fields;
	fields.set("Content-Type", "text/xml");
	EXPECT_TRUE(fields.has("content-type"));
	EXPECT_EQ(fields.get("CONTENT-TYPE"), "text/xml");
	EXPECT_EQ(fields["cOnTeNt-TyPe"], "text/xml");
	EXPECT_FALSE(fields.has("Content-Typ"));
}

TEST(NameValueCollectionTest, SetReplacesEveryEntryOfTheNameAddAppends)
{
	NameValueCollection fields;
	fields.add("SID", "uuid:1");
	fields.add("NT", "upnp:event");
	fields.add("sid", "uuid:2");
	ASSERT_EQ(fields.size(), 3u);
	EXPECT_EQ(fields.get("SID"), "uuid:1") << "get() returns the first entry";

	fields.set("Sid", "uuid:3");
	ASSERT_EQ(fields.size(), 2u);
	EXPECT_EQ(fields.begin()->first, "SID") << "set() keeps the position and spelling of the first entry";
	EXPECT_EQ(fields.begin()->second, "uuid:3");
	EXPECT_EQ((fields.begin() + 1)->first, "NT");

	fields.erase("nt");
	EXPECT_EQ(fields.size(), 1u);
}

TEST(NameValueCollectionTest, MissingNameThrowsOrGivesTheDefault)
{
	NameValueCollection fields;
	try
	{
		fields.get("TIMEOUT");
		FAIL() << "no exception";
	}
	catch (const NotFoundException& exc)
	{
		EXPECT_EQ(exc.message(), "TIMEOUT");
	}
	EXPECT_THROW(fields["TIMEOUT"], NotFoundException);
	const std::string fallback("Second-1800");
	EXPECT_EQ(&fields.get("TIMEOUT", fallback), &fallback);
}
