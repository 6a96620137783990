#include "Tavik/NumberFormatter.h"

#include <gtest/gtest.h>

#include <limits>

using namespace Tavik;

namespace {

template <class T> void expectLimits(const char* minText, const char* maxText)
{
	EXPECT_EQ(NumberFormatter::format(std::numeric_limits<T>::min()), minText);
	EXPECT_EQ(NumberFormatter::format(std::numeric_limits<T>::max()), maxText);
	std::string str = "x=";
	NumberFormatter::append(str, std::numeric_limits<T>::min());
	EXPECT_EQ(str, std::string("x=") + minText);
}

TEST(NumberFormatterTest, LimitsOfEveryType)
{
	expectLimits<int>("-2147483648", "2147483647");
	expectLimits<unsigned>("0", "4294967295");
	expectLimits<long>("-9223372036854775808", "9223372036854775807");
	expectLimits<unsigned long>("0", "18446744073709551615");
	expectLimits<long long>("-9223372036854775808", "9223372036854775807");
	expectLimits<unsigned long long>("0", "18446744073709551615");
}

TEST(NumberFormatterTest, NoFillOrGrouping)
{
	EXPECT_EQ(NumberFormatter::format(0), "0");
	EXPECT_EQ(NumberFormatter::format(-5), "-5");
	EXPECT_EQ(NumberFormatter::format(1800), "1800");
	std::string str = "Second-";
	NumberFormatter::append(str, 1000000);
	EXPECT_EQ(str, "Second-1000000");
}

} // namespace
