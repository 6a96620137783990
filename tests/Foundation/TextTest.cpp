// Numbers (NumberParser, NumberFormatter, NumericString), Base64, StreamCopier, URI and UUID as text:
// the limits, edge cases and refusals that the values, URLs and SIDs above them do not reach.
#include "Tavik/Base64Decoder.h"
#include "Tavik/Base64Encoder.h"
#include "Tavik/Exception.h"
#include "Tavik/NumberFormatter.h"
#include "Tavik/NumberParser.h"
#include "Tavik/NumericString.h"
#include "Tavik/StreamCopier.h"
#include "Tavik/URI.h"
#include "Tavik/UUID.h"
#include "Tavik/UUIDGenerator.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <set>
#include <sstream>

using namespace Tavik;

namespace {

// What f returns, or the message of the Exception it throws.
template <class F> std::string outcome(F f)
try
{
	return f();
}
catch (const Exception& exc)
{
	return exc.message();
}

// The value read, "refused" for the usual refusal of text, or another refusal.
std::string readInt(const std::string& text)
{
	const std::string result = outcome([&] { return std::to_string(NumberParser::parse(text)); });
	return result == "Not a valid integer: " + text ? "refused" : result;
}

// The value read, as doubleToStr writes it, "refused" for the usual refusal.
std::string readFloat(const std::string& text)
{
	const std::string result = outcome([&] { return doubleToStr(NumberParser::parseFloat(text)); });
	return result == "Not a valid floating-point number: " + text ? "refused" : result;
}

// The data, or the message of the refusal (when it leaves the decoder bad()).
std::string decode(const std::string& text)
{
	std::istringstream istr(text);
	Base64Decoder decoder(istr);
	std::string data;
	const std::string result = outcome([&] { return StreamCopier::copyToString(decoder, data, 1), data; });
	return result == data || decoder.bad() ? result : "decoder not bad";
}

std::string encode(const std::string& data, int lineLength)
{
	std::ostringstream ostr;
	Base64Encoder encoder(ostr);
	encoder.setLineLength(lineLength);
	encoder << data;
	encoder.close();
	return ostr.str();
}

// scheme|host|port|authority|path etc|text of a URI that reads back from its text, or the refusal.
std::string partsOf(const std::string& text)
{
	const std::string result = outcome([&] {
		const URI uri(text);
		if (URI(uri.toString()).toString() != uri.toString()) return std::string("does not read back");
		return uri.getScheme() + "|" + uri.getHost() + "|" + std::to_string(uri.getPort()) + "|" +
		       uri.getAuthority() + "|" + uri.getPathEtc() + "|" + uri.toString();
	});
	return result.size() > text.size() && result.substr(result.size() - text.size() - 2) == ": " + text
	           ? result.substr(0, result.size() - text.size() - 2)
	           : result;
}

struct Row
{
	const char* name;
	std::string actual;
	std::string expected;
};

class TextTest : public testing::TestWithParam<Row>
{
};
const auto rowName = [](const testing::TestParamInfo<Row>& info) { return std::string(info.param.name); };

TEST_P(TextTest, IsAsExpected)
{
	EXPECT_EQ(GetParam().actual, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    IntParse, TextTest,
    testing::Values(Row{"Plus", readInt("+7"), "7"}, Row{"SingleDigitGroups", readInt("1,0,0"), "100"},
                    Row{"Min", readInt("-2,147,483,648"), "-2147483648"}, Row{"Space", readInt(" \t42\r\n"), "42"},
                    Row{"Empty", readInt(""), "Not a valid integer"}, Row{"TwoSigns", readInt("+-1"), "refused"},
                    Row{"OnlySpace", readInt("  "), "refused"}, Row{"SpaceAfterSign", readInt("- 1"), "refused"},
                    Row{"InnerSpace", readInt("1 0"), "refused"}, Row{"LeadingSeparator", readInt(",1"), "refused"},
                    Row{"TrailingSeparator", readInt("1,"), "refused"}, Row{"DoubleSeparator", readInt("1,,0"), "refused"},
                    Row{"OverMax", readInt("2147483648"), "refused"}, Row{"Hexadecimal", readInt("0x1F"), "refused"},
                    Row{"EmbeddedNul", readInt(std::string("1\0002", 3)), "refused"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    FloatParse, TextTest,
    testing::Values(Row{"NoIntegerPart", readFloat("-.5"), "-0.5"}, Row{"NoFraction", readFloat("5."), "5"},
                    Row{"UpperExponent", readFloat("+1.5E+20"), "1.5e+20"}, Row{"NegativeZero", readFloat("-0"), "-0"},
                    Row{"NanUpper", readFloat("NaN"), "nan"}, Row{"Infinity", readFloat("Infinity"), "inf"},
                    Row{"OnlyPoint", readFloat("."), "refused"}, Row{"GroupedFraction", readFloat("1.2,5"), "refused"},
                    Row{"SeparatorBeforePoint", readFloat("1,.5"), "refused"}, Row{"EmptyExponent", readFloat("1e"), "refused"},
                    Row{"Hexadecimal", readFloat("0x1p3"), "refused"}, Row{"Overflow", readFloat("1e400"), "refused"},
                    Row{"Underflow", readFloat("1e-400"), "refused"}, Row{"Word", readFloat("infinit"), "refused"}),
    rowName);

// doubleToStr switches notation at e = lowDec and at e = highDec (value = d.ddd x 10^e).
INSTANTIATE_TEST_SUITE_P(
    NumberText, TextTest,
    testing::Values(Row{"Shortest", doubleToStr(1.0 / 3), "0.3333333333333333"},
                    Row{"BelowLow", doubleToStr(0.0001, -3, 3), "1e-04"}, Row{"High", doubleToStr(1500.0, -3, 3), "1.5e+03"},
                    Row{"LongExponent", doubleToStr(-2.25e100), "-2.25e+100"},
                    Row{"AppendLong", [] { std::string text = "x"; return NumberFormatter::append(text, -0x7fffffffffffffffL - 1), text; }(),
                        "x-9223372036854775808"},
                    Row{"BufferTooSmall", outcome([] { char buffer[3]; return floatToStr(buffer, 3, 1.5f), std::string(); }),
                        "Buffer too small for number text: 4"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    Base64, TextTest,
    testing::Values(Row{"WhiteSpaceAnywhere", decode(" Zm9v\r\nYm\tFy\n\v\f"), "foobar"},
                    Row{"SpaceInPadding", decode("Zg\r\n=\r\n="), "f"}, Row{"UnpaddedTwo", decode("Zm8"), "fo"},
                    Row{"UnpaddedThree", decode("Zm9vYg"), "foob"}, Row{"PaddingEndsTheData", decode("Zg==Zm9v"), "f"},
                    Row{"Punctuation", decode("Zm9v!mFy"), "Invalid character in Base64 data: !"},
                    Row{"Nul", decode(std::string("Zm\0v", 4)), "Invalid character in Base64 data: \\x00"},
                    Row{"PaddingFirst", decode("=Zm9"), "Misplaced padding in Base64 data"},
                    Row{"MissingSecondPad", decode("Zg="), "Misplaced padding in Base64 data"},
                    Row{"SingleCharacterLeft", decode("Zm9vY"), "Incomplete group in Base64 data"},
                    Row{"ShortLines", encode("foobar", 4), "Zm9v\r\nYmFy"},
                    Row{"NoLines", encode(std::string(57, '\0'), 0), std::string(76, 'A')}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    URI, TextTest,
    testing::Values(
        Row{"Full", partsOf("HTTP://u@h:81/a?x#f"), "http|h|81|h:81|/a?x#f|http://u@h:81/a?x#f"},
        Row{"HttpsNoPath", partsOf("https://h"), "https|h|443|h|/|https://h"},
        Row{"DefaultPortGiven", partsOf("http://h:80/?"), "http|h|80|h|/|http://h/"},
        Row{"IPv6WithPort", partsOf("http://[::1]:81/e"), "http|::1|81|[::1]:81|/e|http://[::1]:81/e"},
        Row{"IPv6Zone", partsOf("http://[fe80::1%25eth0]"), "http|fe80::1%25eth0|80|[fe80::1%25eth0]|/|http://[fe80::1%25eth0]"},
        Row{"UnknownScheme", partsOf("ftp://h/x"), "ftp|h|0|h|/x|ftp://h/x"},
        Row{"Urn", partsOf("urn:upnp-org:event"), "urn||0||upnp-org:event|urn:upnp-org:event"},
        Row{"ColonAfterSlash", partsOf("./a:b"), "||0||./a:b|./a:b"}, Row{"NetworkPath", partsOf("//h:81"), "|h|81|h:81|/|//h:81"},
        Row{"PortTooLarge", partsOf("http://h:65536/"), "Invalid port in URI"},
        Row{"UnterminatedIPv6", partsOf("http://[::1/x"), "Invalid IPv6 address in URI"},
        Row{"JunkAfterIPv6", partsOf("http://[::1]x/"), "Invalid IPv6 address in URI"},
        Row{"NotIPv6", partsOf("http://[abc]/"), "Invalid IPv6 address in URI"},
        Row{"BracketInHost", partsOf("http://h]/"), "Invalid host in URI"},
        Row{"Space", partsOf("http://h/a b"), "Invalid character in URI"}, Row{"Delete", partsOf("/a\x7f"), "Invalid character in URI"},
        Row{"SchemeStartsWithDigit", partsOf("1http://h/"), "Invalid scheme in URI"},
        Row{"EmptyScheme", partsOf(":x"), "Invalid scheme in URI"}, Row{"SchemeUnderscore", partsOf("ht_tp://h/"), "Invalid scheme in URI"}),
    rowName);

TEST(NumberParserTest, RefusalLeavesTheTargetAndSeparatorsAndLimitsOfTheOtherTypes)
{
	int value = 7;
	double floatValue = 7;
	unsigned unsignedValue = 7;
	EXPECT_FALSE(NumberParser::tryParse("1x", value) || NumberParser::tryParseFloat("1x", floatValue));
	for (const char* text : {"4294967296", "-1", "-0"})
		EXPECT_FALSE(NumberParser::tryParseUnsigned(text, unsignedValue)) << text;
	EXPECT_TRUE(value == 7 && floatValue == 7 && unsignedValue == 7) << "a refusal leaves the target as it was";
	EXPECT_EQ(NumberParser::parse("1.000.000", '.') + NumberParser::parse("1 000", ' '), 1001000);
	EXPECT_THROW(NumberParser::parse("1,000", '.'), SyntaxException);
	EXPECT_EQ(NumberParser::parseFloat("1.234,5", ',', '.'), 1234.5);
	EXPECT_EQ(NumberParser::parse64("-9,223,372,036,854,775,808"), std::numeric_limits<std::int64_t>::min());
	EXPECT_EQ(NumberParser::parseUnsigned64("18446744073709551615"), std::numeric_limits<std::uint64_t>::max());
	EXPECT_THROW(NumberParser::parse64("9223372036854775808"), SyntaxException);
	for (const char* text : {"18446744073709551616", "-1"})
		EXPECT_THROW(NumberParser::parseUnsigned64(text), SyntaxException) << text;
}

// Random bit patterns cover normal and denormal values of every magnitude, in every notation.
TEST(NumericStringTest, EveryTextReadsBackBitExact)
{
	char buffer[780]; // the serializer's: it holds the longest text
	const int low[] = {-6, -15, -400, 0}, high[] = {6, 15, 400, 0};
	std::mt19937_64 random(20240611);
	for (int i = 0; i < 80000; ++i)
	{
		const std::uint64_t bits = random();
		double d;
		float f;
		std::memcpy(&f, std::memcpy(&d, &bits, sizeof(d)), sizeof(f));
		if (std::isnan(d) || std::isnan(f)) continue;
		doubleToStr(buffer, sizeof(buffer), d, low[i % 4], high[i % 4]);
		const double back = NumberParser::parseFloat(buffer);
		const auto floatBack = float(NumberParser::parseFloat(floatToStr(f, low[i % 4], high[i % 4])));
		ASSERT_EQ(std::memcmp(&back, &d, sizeof(d)), 0) << buffer;
		ASSERT_EQ(std::memcmp(&floatBack, &f, sizeof(f)), 0) << floatToStr(f, low[i % 4], high[i % 4]);
	}
	doubleToStr(buffer, sizeof(buffer), -std::numeric_limits<double>::denorm_min(), -400, 400);
	EXPECT_EQ(std::strlen(buffer), 3 + 323 + 1u);
}

TEST(Base64Test, StreamsInPiecesFailsAfterTheGoodBytesAndClosesOnce)
{
	std::string data;
	for (int i = 0; i < 2560; ++i)
		data += char(i);
	std::ostringstream ostr, failing;
	{
		// Small writes with flushes in between leave partial groups in the encoder.
		Base64Encoder encoder(ostr);
		for (std::size_t i = 0; i < data.size(); i += 7)
			encoder.write(data.data() + i, std::streamsize(std::min<std::size_t>(7, data.size() - i))).flush();
	}
	EXPECT_EQ(decode(ostr.str()), data);
	std::istringstream source("Zm9vYmFy\r\n*Zg==");
	Base64Decoder decoder(source);
	char buffer[6];
	decoder.read(buffer, 6);
	EXPECT_EQ(std::string(buffer, 6), "foobar");
	EXPECT_THROW(decoder.get(), DataFormatException);
	EXPECT_THROW(Base64Decoder(source, 2), InvalidArgumentException);
	ostr.str("");
	Base64Encoder encoder(ostr);
	encoder << "f" << std::flush;
	EXPECT_EQ(ostr.str(), "");
	encoder.close();
	encoder.close();
	EXPECT_TRUE(encoder.good());
	encoder << "more" << std::flush;
	EXPECT_TRUE(encoder.bad());
	EXPECT_EQ(ostr.str(), "Zg==");
	// A copy stops at the first block the target refuses.
	failing.setstate(std::ios::badbit);
	std::istringstream copied(std::string(1000, 'x'));
	EXPECT_EQ(StreamCopier::copyStream(copied, failing, 100), 0);
	EXPECT_EQ(copied.tellg(), 100);
}

TEST(UUIDTest, GeneratedUUIDsAreDistinctVersion4AndTextsReadBack)
{
	std::set<UUID> all;
	for (int i = 0; i < 10000; ++i)
		all.insert(UUIDGenerator::defaultGenerator().create());
	EXPECT_EQ(all.size(), 10000u);
	const std::string text = all.begin()->toString();
	EXPECT_TRUE(text[14] == '4' && std::string("89ab").find(text[19]) != std::string::npos) << text;
	EXPECT_EQ(UUID("6BA7B810-9DAD-11D1-80B4-00C04FD430C8").toString(), "6ba7b810-9dad-11d1-80b4-00c04fd430c8");
	UUID uuid;
	EXPECT_FALSE(uuid.tryParse("6ba7b810-9dad-11d1-80b4-00c04fd430c88") || uuid.tryParse("6ba7b81-09dad-11d1-80b4-00c04fd430c8"));
	EXPECT_EQ(outcome([&] { return uuid.parse("6ba7b810-9dad-11d1-80b4-00c04fd430cg"), uuid.toString(); }),
	          "Invalid UUID: 6ba7b810-9dad-11d1-80b4-00c04fd430cg");
	EXPECT_TRUE(uuid.isNull()) << "a refused text leaves the value as it was";
}

} // namespace
