#include "Tavik/NumericString.h"
#include "Tavik/Exception.h"
#include "Tavik/NumberParser.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <random>

using namespace Tavik;

namespace {

struct TextRow
{
	const char* name;
	double value;
	int lowDec;
	int highDec;
	const char* expected;
};

class DoubleToStrTest : public testing::TestWithParam<TextRow>
{
};

TEST_P(DoubleToStrTest, WritesShortestTextInTheRightNotation)
{
	const TextRow& row = GetParam();
	EXPECT_EQ(doubleToStr(row.value, row.lowDec, row.highDec), row.expected);
}

using Limits = std::numeric_limits<double>;

// The notation changes at e = lowDec and e = highDec (value = d.ddd x 10^e).
INSTANTIATE_TEST_SUITE_P(
	Rows, DoubleToStrTest,
	testing::Values(TextRow{"One", 1.0, -15, 15, "1"}, TextRow{"Tenth", 0.1, -15, 15, "0.1"},
					TextRow{"Third", 1.0 / 3, -15, 15, "0.3333333333333333"},
					TextRow{"Mixed", -123.456, -15, 15, "-123.456"},
					TextRow{"ZerosBeforePoint", 1500.0, -15, 15, "1500"},
					TextRow{"BelowHighBound", 999999999999999.0, -15, 15, "999999999999999"},
					TextRow{"AtHighBound", 1e15, -15, 15, "1e+15"},
					TextRow{"AtLowBound", 1e-15, -15, 15, "0.000000000000001"},
					TextRow{"BelowLowBound", 1.5e-16, -15, 15, "1.5e-16"},
					TextRow{"SmallBoundsLowMinusOne", 0.0001, -3, 3, "1e-04"},
					TextRow{"SmallBoundsLow", 0.00125, -3, 3, "0.00125"},
					TextRow{"SmallBoundsHighMinusOne", 999.5, -3, 3, "999.5"},
					TextRow{"SmallBoundsHigh", 1500.0, -3, 3, "1.5e+03"},
					TextRow{"ThreeDigitExponent", -2.25e100, -15, 15, "-2.25e+100"},
					TextRow{"Max", Limits::max(), -15, 15, "1.7976931348623157e+308"},
					TextRow{"Denormal", Limits::denorm_min(), -15, 15, "5e-324"},
					TextRow{"Zero", 0.0, -15, 15, "0"}, TextRow{"NegativeZero", -0.0, -15, 15, "-0"},
					TextRow{"NaN", Limits::quiet_NaN(), -15, 15, "nan"},
					TextRow{"Infinity", Limits::infinity(), -15, 15, "inf"},
					TextRow{"NegativeInfinity", -Limits::infinity(), -15, 15, "-inf"}),
	[](const testing::TestParamInfo<TextRow>& info) { return info.param.name; });

TEST(NumericStringTest, FloatUsesTheShortestFloatDigits)
{
	EXPECT_EQ(floatToStr(0.1f, -6, 6), "0.1");
	EXPECT_EQ(floatToStr(0.3f, -6, 6), "0.3");
	EXPECT_EQ(floatToStr(123456.0f, -6, 6), "123456");
	EXPECT_EQ(floatToStr(1234567.0f, -6, 6), "1.234567e+06");
	EXPECT_EQ(floatToStr(0.000001f, -6, 6), "0.000001");
	EXPECT_EQ(floatToStr(1e-7f, -6, 6), "1e-07");
	EXPECT_EQ(floatToStr(std::numeric_limits<float>::max(), -6, 6), "3.4028235e+38");
	EXPECT_EQ(floatToStr(std::numeric_limits<float>::denorm_min(), -6, 6), "1e-45");
	EXPECT_EQ(floatToStr(-0.0f, -6, 6), "-0");
}

TEST(NumericStringTest, BufferMustHoldTextAndNul)
{
	char buffer[8];
	std::memset(buffer, 'x', sizeof(buffer));
	doubleToStr(buffer, 4, 1.5);
	EXPECT_STREQ(buffer, "1.5");

	std::memset(buffer, 'x', sizeof(buffer));
	try
	{
		floatToStr(buffer, 3, 1.5f);
		FAIL();
	}
	catch (const InvalidArgumentException& exc)
	{
		EXPECT_EQ(exc.message(), "Buffer too small for number text: 4");
	}
	EXPECT_EQ(buffer[0], 'x');
	EXPECT_THROW(doubleToStr(nullptr, 0, 1.0), InvalidArgumentException);
	EXPECT_THROW(doubleToStr(buffer, -1, 1.0), InvalidArgumentException);
}

TEST(NumericStringTest, LongestPlainTextFitsTheSerializerBuffer)
{
	char buffer[780];
	doubleToStr(buffer, sizeof(buffer), -Limits::denorm_min(), -400, 400);
	EXPECT_EQ(std::strlen(buffer), 3 + 323 + 1u);
	doubleToStr(buffer, sizeof(buffer), -Limits::max(), -400, 400);
	EXPECT_EQ(std::strlen(buffer), 1 + 309u);
	EXPECT_EQ(NumberParser::parseFloat(buffer), -Limits::max());
}

struct BoundsRow
{
	const char* name;
	int lowDec;
	int highDec;
};

class RoundTripTest : public testing::TestWithParam<BoundsRow>
{
};

// Random bit patterns cover normal and denormal values of every magnitude.
TEST_P(RoundTripTest, EveryTextReadsBackBitExact)
{
	const BoundsRow& row = GetParam();
	std::mt19937_64 random(20240611);
	for (int i = 0; i < 20000; ++i)
	{
		const std::uint64_t bits = random();
		double d;
		std::memcpy(&d, &bits, sizeof(d));
		if (std::isnan(d)) continue;
		const std::string text = doubleToStr(d, row.lowDec, row.highDec);
		const double back = NumberParser::parseFloat(text);
		ASSERT_EQ(std::memcmp(&back, &d, sizeof(d)), 0) << text;

		const auto floatBits = std::uint32_t(bits);
		float f;
		std::memcpy(&f, &floatBits, sizeof(f));
		if (std::isnan(f)) continue;
		const std::string floatText = floatToStr(f, row.lowDec, row.highDec);
		const auto floatBack = float(NumberParser::parseFloat(floatText));
		ASSERT_EQ(std::memcmp(&floatBack, &f, sizeof(f)), 0) << floatText;
	}
}

INSTANTIATE_TEST_SUITE_P(Rows, RoundTripTest,
						 testing::Values(BoundsRow{"FloatDefaults", -6, 6},
										 BoundsRow{"DoubleDefaults", -15, 15},
										 BoundsRow{"AlwaysPlain", -400, 400},
										 BoundsRow{"AlwaysExponential", 0, 0}),
						 [](const testing::TestParamInfo<BoundsRow>& info) { return info.param.name; });

TEST(NumericStringTest, SpecialValuesReadBack)
{
	EXPECT_TRUE(std::isnan(NumberParser::parseFloat(floatToStr(std::numeric_limits<float>::quiet_NaN()))));
	EXPECT_EQ(NumberParser::parseFloat(doubleToStr(-Limits::infinity())), -Limits::infinity());
	EXPECT_TRUE(std::signbit(NumberParser::parseFloat(doubleToStr(-0.0))));
}

} // namespace
