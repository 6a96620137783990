#include "Tavik/NumberParser.h"
#include "Tavik/Exception.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using namespace Tavik;

namespace {

constexpr int UNCHANGED = 4711;

struct IntegerRow
{
	const char* name;
	const char* text;
	bool valid;
	long long value;
};

class IntParseTest : public testing::TestWithParam<IntegerRow>
{
};

TEST_P(IntParseTest, ParsesOrRefusesWithoutChangingTheTarget)
{
	const IntegerRow& row = GetParam();
	int value = UNCHANGED;
	EXPECT_EQ(NumberParser::tryParse(row.text, value), row.valid);
	EXPECT_EQ(value, row.valid ? row.value : UNCHANGED);
	if (row.valid)
	{
		EXPECT_EQ(NumberParser::parse(row.text), row.value);
		EXPECT_EQ(NumberParser::parse64(row.text), row.value);
	}
	else
	{
		try
		{
			NumberParser::parse(row.text);
			FAIL() << "no exception for " << row.text;
		}
		catch (const SyntaxException& exc)
		{
			// An empty argument adds nothing to the message.
			EXPECT_EQ(exc.message(), *row.text ? std::string("Not a valid integer: ") + row.text
			                                   : std::string("Not a valid integer"));
		}
	}
}

INSTANTIATE_TEST_SUITE_P(
	Rows, IntParseTest,
	testing::Values(
		IntegerRow{"Zero", "0", true, 0}, IntegerRow{"Plain", "1800", true, 1800},
		IntegerRow{"Negative", "-5", true, -5}, IntegerRow{"Plus", "+7", true, 7},
		IntegerRow{"LeadingZeros", "007", true, 7}, IntegerRow{"Grouped", "1,800", true, 1800},
		IntegerRow{"SingleDigitGroups", "1,0,0", true, 100},
		IntegerRow{"NegativeGrouped", "-2,147,483,648", true, -2147483648LL},
		IntegerRow{"Max", "2147483647", true, 2147483647},
		IntegerRow{"SurroundingSpace", " \t42\r\n", true, 42}, IntegerRow{"Empty", "", false, 0},
		IntegerRow{"OnlySpace", "  ", false, 0}, IntegerRow{"OnlySign", "-", false, 0},
		IntegerRow{"TwoSigns", "+-1", false, 0}, IntegerRow{"SpaceAfterSign", "- 1", false, 0},
		IntegerRow{"InnerSpace", "1 000", false, 0}, IntegerRow{"LeadingSeparator", ",1", false, 0},
		IntegerRow{"TrailingSeparator", "1,", false, 0}, IntegerRow{"DoubleSeparator", "1,,0", false, 0},
		IntegerRow{"SeparatorAfterSign", "-,1", false, 0}, IntegerRow{"OverMax", "2147483648", false, 0},
		IntegerRow{"UnderMin", "-2147483649", false, 0}, IntegerRow{"Hexadecimal", "0x1F", false, 0},
		IntegerRow{"Fraction", "1.5", false, 0}, IntegerRow{"Word", "abc", false, 0},
		IntegerRow{"TrailingJunk", "12abc", false, 0}),
	[](const testing::TestParamInfo<IntegerRow>& info) { return info.param.name; });

TEST(NumberParserTest, EmbeddedNulIsRefused)
{
	int value = UNCHANGED;
	EXPECT_FALSE(NumberParser::tryParse(std::string("1\0"
	                                                "2",
	                                                3),
	                                    value));
	EXPECT_FALSE(NumberParser::tryParse(std::string("12\0", 3), value));
}

TEST(NumberParserTest, OtherThousandSeparators)
{
	EXPECT_EQ(NumberParser::parse("1.000.000", '.'), 1000000);
	EXPECT_EQ(NumberParser::parse("1 000", ' '), 1000);
	EXPECT_THROW(NumberParser::parse("1,000", '.'), SyntaxException);
}

TEST(NumberParserTest, UnsignedRefusesMinusAndOverflow)
{
	unsigned value = UNCHANGED;
	EXPECT_TRUE(NumberParser::tryParseUnsigned("+4,294,967,295", value));
	EXPECT_EQ(value, 4294967295u);
	EXPECT_FALSE(NumberParser::tryParseUnsigned("4294967296", value));
	EXPECT_FALSE(NumberParser::tryParseUnsigned("-1", value));
	EXPECT_FALSE(NumberParser::tryParseUnsigned("-0", value));
	EXPECT_EQ(value, 4294967295u);
	try
	{
		NumberParser::parseUnsigned("-1");
		FAIL();
	}
	catch (const SyntaxException& exc)
	{
		EXPECT_EQ(exc.message(), "Not a valid unsigned integer: -1");
	}
}

TEST(NumberParserTest, SixtyFourBitLimits)
{
	EXPECT_EQ(NumberParser::parse64("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
	EXPECT_EQ(NumberParser::parse64("9,223,372,036,854,775,807"), std::numeric_limits<std::int64_t>::max());
	EXPECT_THROW(NumberParser::parse64("9223372036854775808"), SyntaxException);
	EXPECT_EQ(NumberParser::parseUnsigned64("18446744073709551615"),
	          std::numeric_limits<std::uint64_t>::max());
	EXPECT_THROW(NumberParser::parseUnsigned64("18446744073709551616"), SyntaxException);
	std::uint64_t value = UNCHANGED;
	EXPECT_FALSE(NumberParser::tryParseUnsigned64("-1", value));
	EXPECT_EQ(value, std::uint64_t(UNCHANGED));
}

struct FloatRow
{
	const char* name;
	const char* text;
	bool valid;
	double value;
};

class FloatParseTest : public testing::TestWithParam<FloatRow>
{
};

TEST_P(FloatParseTest, ParsesOrRefuses)
{
	const FloatRow& row = GetParam();
	double value = UNCHANGED;
	ASSERT_EQ(NumberParser::tryParseFloat(row.text, value), row.valid);
	if (!row.valid)
	{
		EXPECT_EQ(value, UNCHANGED);
		EXPECT_THROW(NumberParser::parseFloat(row.text), SyntaxException);
	}
	else if (std::isnan(row.value))
		EXPECT_TRUE(std::isnan(value));
	else
	{
		EXPECT_EQ(value, row.value);
		EXPECT_EQ(std::signbit(value), std::signbit(row.value));
	}
}

constexpr double INF = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
	Rows, FloatParseTest,
	testing::Values(FloatRow{"Integer", "12", true, 12.0}, FloatRow{"Decimal", "-12.5", true, -12.5},
					FloatRow{"Plus", "+0.25", true, 0.25}, FloatRow{"NoIntegerPart", ".5", true, 0.5},
					FloatRow{"NoFraction", "5.", true, 5.0}, FloatRow{"Grouped", "1,234.5", true, 1234.5},
					FloatRow{"Exponent", "1.5e-07", true, 1.5e-07},
					FloatRow{"UpperExponent", "1E+20", true, 1e20},
					FloatRow{"NegativeZero", "-0", true, -0.0},
					FloatRow{"SmallestDenormal", "4.9406564584124654e-324", true,
							 std::numeric_limits<double>::denorm_min()},
					FloatRow{"Max", "1.7976931348623157e+308", true, std::numeric_limits<double>::max()},
					FloatRow{"Space", " 2.5 ", true, 2.5}, FloatRow{"Nan", "nan", true, NaN},
					FloatRow{"NanUpper", "NaN", true, NaN}, FloatRow{"Inf", "inf", true, INF},
					FloatRow{"MinusInf", "-inf", true, -INF}, FloatRow{"Infinity", "Infinity", true, INF},
					FloatRow{"Empty", "", false, 0}, FloatRow{"OnlyPoint", ".", false, 0},
					FloatRow{"OnlySign", "-", false, 0}, FloatRow{"GroupedFraction", "1.2,5", false, 0},
					FloatRow{"SeparatorBeforePoint", "1,.5", false, 0},
					FloatRow{"EmptyExponent", "1e", false, 0}, FloatRow{"SignOnlyExponent", "1e+", false, 0},
					FloatRow{"Hexadecimal", "0x1p3", false, 0}, FloatRow{"Overflow", "1e400", false, 0},
					FloatRow{"Underflow", "1e-400", false, 0}, FloatRow{"NanPayload", "nan(1)", false, 0},
					FloatRow{"Word", "infinit", false, 0}, FloatRow{"TwoPoints", "1.2.3", false, 0}),
	[](const testing::TestParamInfo<FloatRow>& info) { return info.param.name; });

TEST(NumberParserTest, FloatSeparatorsAreConfigurable)
{
	EXPECT_EQ(NumberParser::parseFloat("1.234,5", ',', '.'), 1234.5);
	// The same character for both is a decimal separator only.
	EXPECT_EQ(NumberParser::parseFloat("2,5", ',', ','), 2.5);
	try
	{
		NumberParser::parseFloat("x");
		FAIL();
	}
	catch (const SyntaxException& exc)
	{
		EXPECT_EQ(exc.message(), "Not a valid floating-point number: x");
	}
}

} // namespace
