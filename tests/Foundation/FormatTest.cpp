#include "Tavik/Format.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

using namespace Tavik;

namespace {

TEST(FormatTest, FillsPlaceholdersInOrder)
{
	EXPECT_EQ(format("%s%d", std::string("Second-"), 1800), "Second-1800");
	EXPECT_EQ(format("%s [%s] %d", "Listener", std::string("uuid:1"), -5), "Listener [uuid:1] -5");
	EXPECT_EQ(format("no placeholders"), "no placeholders");
	EXPECT_EQ(format(""), "");
}

TEST(FormatTest, ArgumentTextForms)
{
	EXPECT_EQ(format("%d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
	EXPECT_EQ(format("%d", std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
	EXPECT_EQ(format("%d %d", static_cast<signed char>(-128), static_cast<unsigned char>(255)), "-128 255");
	EXPECT_EQ(format("%d", static_cast<unsigned short>(65535)), "65535");
	EXPECT_EQ(format("%s/%s", true, false), "true/false");
	EXPECT_EQ(format("%s", 'x'), "x");
	EXPECT_EQ(format("%s", static_cast<const char*>(nullptr)), "(null)");
	// The letter does not convert: %s takes a number, %d a string.
	EXPECT_EQ(format("%s:%d", 8080, "host"), "8080:host");
}

TEST(FormatTest, PercentSequences)
{
	EXPECT_EQ(format("100%%"), "100%");
	EXPECT_EQ(format("%%s %s", "a"), "%s a");
	EXPECT_EQ(format("%x %5d %", 1), "%x %5d %");
	EXPECT_EQ(format("%%%d", 7), "%7");
}

TEST(FormatTest, MissingArgumentsStayAndExtraArgumentsAreIgnored)
{
	EXPECT_EQ(format("%s and %d", "one"), "one and %d");
	EXPECT_EQ(format("%s", "one", 2, "three"), "one");
	// An argument text is never scanned for placeholders.
	EXPECT_EQ(format("%s %s", "%s", "b"), "%s b");
}

} // namespace
