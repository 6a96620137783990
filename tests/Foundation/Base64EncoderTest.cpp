#include "Tavik/Base64Encoder.h"
#include "Tavik/Base64Decoder.h"
#include "Tavik/Exception.h"
#include "Tavik/StreamCopier.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace Tavik;

namespace {

std::string encode(const std::string& data, int lineLength = Base64Encoder::DEFAULT_LINE_LENGTH)
{
	std::ostringstream ostr;
	Base64Encoder encoder(ostr);
	encoder.setLineLength(lineLength);
	encoder << data;
	encoder.close();
	EXPECT_TRUE(encoder.good());
	return ostr.str();
}

std::string decode(const std::string& text)
{
	std::istringstream istr(text);
	Base64Decoder decoder(istr);
	std::string data;
	StreamCopier::copyToString(decoder, data);
	return data;
}

std::string allByteValues(int repetitions)
{
	std::string data;
	for (int r = 0; r < repetitions; ++r)
	{
		for (int b = 0; b < 256; ++b)
			data += char(b);
	}
	return data;
}

struct VectorRow
{
	const char* name;
	const char* data;
	const char* text;
};

class Rfc4648Test : public testing::TestWithParam<VectorRow>
{
};

TEST_P(Rfc4648Test, EncodesAndDecodes)
{
	EXPECT_EQ(encode(GetParam().data), GetParam().text);
	EXPECT_EQ(decode(GetParam().text), GetParam().data);
}

INSTANTIATE_TEST_SUITE_P(Vectors, Rfc4648Test,
						 testing::Values(VectorRow{"Empty", "", ""}, VectorRow{"f", "f", "Zg=="},
										 VectorRow{"fo", "fo", "Zm8="}, VectorRow{"foo", "foo", "Zm9v"},
										 VectorRow{"foob", "foob", "Zm9vYg=="},
										 VectorRow{"fooba", "fooba", "Zm9vYmE="},
										 VectorRow{"foobar", "foobar", "Zm9vYmFy"}),
						 [](const testing::TestParamInfo<VectorRow>& info) { return info.param.name; });

TEST(Base64EncoderTest, BreaksLinesAfterTheLineLength)
{
	const std::string text = encode(std::string(100, '\0'));
	ASSERT_EQ(text.size(), 136u + 2);
	EXPECT_EQ(text.find("\r\n"), 72u);
	EXPECT_EQ(text.rfind("\r\n"), 72u);
	EXPECT_EQ(encode(std::string(54, 'a')).find('\r'), std::string::npos)
	    << "no line end after a full last line";
	EXPECT_EQ(encode("foobar", 4), "Zm9v\r\nYmFy");
	EXPECT_EQ(encode(std::string(300, 'a'), 0).find('\r'), std::string::npos);
}

TEST(Base64EncoderTest, AllByteValuesRoundTripInAnyPieces)
{
	const std::string data = allByteValues(10);
	EXPECT_EQ(decode(encode(data)), data);
	EXPECT_EQ(decode(encode(data, 1)), data);

	// Small writes with flushes in between leave partial groups in the encoder.
	std::ostringstream ostr;
	{
		Base64Encoder encoder(ostr);
		for (std::size_t i = 0; i < data.size(); i += 7)
		{
			encoder.write(data.data() + i, std::streamsize(std::min<std::size_t>(7, data.size() - i)));
			encoder.flush();
		}
	}
	EXPECT_EQ(ostr.str(), encode(data));
}

TEST(Base64EncoderTest, CloseCompletesOnceAndEndsWriting)
{
	std::ostringstream ostr;
	Base64Encoder encoder(ostr);
	encoder << "f";
	EXPECT_EQ(ostr.str(), "");
	encoder.close();
	EXPECT_EQ(ostr.str(), "Zg==");
	encoder.close();
	EXPECT_EQ(ostr.str(), "Zg==");
	encoder << "more";
	encoder.flush();
	EXPECT_TRUE(encoder.bad());
	EXPECT_EQ(ostr.str(), "Zg==");
}

TEST(Base64EncoderTest, DestructorCloses)
{
	std::ostringstream ostr;
	{
		Base64Encoder encoder(ostr);
		encoder << "fo";
	}
	EXPECT_EQ(ostr.str(), "Zm8=");
}

TEST(Base64EncoderTest, FailingTargetMakesTheEncoderBad)
{
	std::ostringstream ostr;
	ostr.setstate(std::ios::badbit);
	Base64Encoder encoder(ostr);
	encoder << "foo";
	encoder.close();
	EXPECT_TRUE(encoder.bad());
}

TEST(Base64EncoderTest, InvalidSettings)
{
	std::ostringstream ostr;
	EXPECT_THROW(Base64Encoder(ostr, 1), InvalidArgumentException);
	Base64Encoder encoder(ostr);
	EXPECT_THROW(encoder.setLineLength(-1), InvalidArgumentException);
	EXPECT_EQ(encoder.lineLength(), 72);
}

} // namespace
