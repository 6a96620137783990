#include "Tavik/Base64Decoder.h"
#include "Tavik/Exception.h"
#include "Tavik/StreamCopier.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace Tavik;

namespace {

std::string readAll(std::istream& istr)
{
	std::string data;
	for (int c = istr.get(); c != EOF; c = istr.get())
		data += char(c);
	return data;
}

std::string decode(const std::string& text)
{
	std::istringstream istr(text);
	Base64Decoder decoder(istr);
	return readAll(decoder);
}

TEST(Base64DecoderTest, SkipsWhiteSpaceAnywhere)
{
	EXPECT_EQ(decode(" Zm9v\r\nYm\tFy\n"), "foobar");
	EXPECT_EQ(decode("Zg\r\n=\r\n="), "f");
	EXPECT_EQ(decode(" \r\n "), "");
}

TEST(Base64DecoderTest, AcceptsAnUnpaddedLastGroup)
{
	EXPECT_EQ(decode("Zm8"), "fo");
	EXPECT_EQ(decode("Zm9vYg"), "foob");
}

TEST(Base64DecoderTest, PaddingEndsTheData)
{
	std::istringstream istr("Zg==Zm9v");
	Base64Decoder decoder(istr);
	EXPECT_EQ(readAll(decoder), "f");
	EXPECT_TRUE(decoder.eof());
	std::string rest;
	istr >> rest;
	EXPECT_EQ(rest, "Zm9v");
}

struct BadRow
{
	const char* name;
	std::string text;
	const char* message;
};

class BadBase64Test : public testing::TestWithParam<BadRow>
{
};

TEST_P(BadBase64Test, ReadingThrowsDataFormatException)
{
	const BadRow& row = GetParam();
	std::istringstream istr(row.text);
	Base64Decoder decoder(istr);
	try
	{
		readAll(decoder);
		FAIL() << "no exception";
	}
	catch (const DataFormatException& exc)
	{
		EXPECT_EQ(exc.message(), row.message);
	}
	EXPECT_TRUE(decoder.bad());
}

INSTANTIATE_TEST_SUITE_P(
	Rows, BadBase64Test,
	testing::Values(BadRow{"Punctuation", "Zm9v!mFy", "Invalid character in Base64 data: !"},
					BadRow{"UrlAlphabet", "Zm9v-_Fy", "Invalid character in Base64 data: -"},
					BadRow{"ControlCharacter", "Zm9v\x01", "Invalid character in Base64 data: \\x01"},
					BadRow{"Nul", std::string("Zm\0v", 4), "Invalid character in Base64 data: \\x00"},
					BadRow{"HighByte", "Zm\xC3\xA9", "Invalid character in Base64 data: \\xc3"},
					BadRow{"PaddingFirst", "=Zm9", "Misplaced padding in Base64 data"},
					BadRow{"PaddingSecond", "Z===", "Misplaced padding in Base64 data"},
					BadRow{"DataAfterOnePad", "Zg=A", "Misplaced padding in Base64 data"},
					BadRow{"MissingSecondPad", "Zg=", "Misplaced padding in Base64 data"},
					BadRow{"SingleCharacterLeft", "Zm9vY", "Incomplete group in Base64 data"}),
	[](const testing::TestParamInfo<BadRow>& info) { return info.param.name; });

TEST(Base64DecoderTest, BytesBeforeBadTextAreDeliveredFirst)
{
	std::istringstream istr("Zm9vYmFy\r\n*");
	Base64Decoder decoder(istr);
	char buffer[6];
	decoder.read(buffer, sizeof(buffer));
	EXPECT_EQ(std::string(buffer, sizeof(buffer)), "foobar");
	EXPECT_THROW(decoder.get(), DataFormatException);
}

TEST(Base64DecoderTest, ExceptionLeavesEveryReadOperation)
{
	std::istringstream readSource("Zm9v*");
	Base64Decoder forRead(readSource);
	char buffer[16];
	EXPECT_THROW(forRead.read(buffer, sizeof(buffer)), DataFormatException);

	std::istringstream extractSource("Zm9v*");
	Base64Decoder forExtract(extractSource);
	std::string word;
	EXPECT_THROW(forExtract >> word, DataFormatException);

	std::istringstream copySource("Zm9v*");
	Base64Decoder forCopy(copySource);
	std::string copied;
	EXPECT_THROW(StreamCopier::copyToString(forCopy, copied), DataFormatException);
}

TEST(Base64DecoderTest, WithoutTheExceptionMaskBadTextOnlySetsBadbit)
{
	std::istringstream istr("Zm9v*");
	Base64Decoder decoder(istr);
	decoder.exceptions(std::ios::goodbit);
	EXPECT_NO_THROW(readAll(decoder));
	EXPECT_TRUE(decoder.bad());
	decoder.clear();
	EXPECT_EQ(decoder.get(), EOF) << "the decoder stays at its end after an error";
}

TEST(Base64DecoderTest, ReservedOptions)
{
	std::istringstream istr;
	EXPECT_THROW(Base64Decoder(istr, 2), InvalidArgumentException);
}

} // namespace
