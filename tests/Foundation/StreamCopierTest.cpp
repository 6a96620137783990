#include "Tavik/StreamCopier.h"
#include "Tavik/Exception.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace Tavik;

namespace {

std::string sampleData()
{
	std::string data;
	for (int i = 0; i < 20000; ++i)
		data += char(i * 7);
	return data;
}

class StreamCopierTest : public testing::TestWithParam<std::size_t>
{
};

TEST_P(StreamCopierTest, CopiesEverythingWhateverTheBufferSize)
{
	const std::string data = sampleData();
	std::istringstream source(data);
	std::ostringstream target;
	EXPECT_EQ(StreamCopier::copyStream(source, target, GetParam()), std::streamsize(data.size()));
	EXPECT_EQ(target.str(), data);

	std::istringstream again(data);
	std::string str = "prefix";
	EXPECT_EQ(StreamCopier::copyToString(again, str, GetParam()), std::streamsize(data.size()));
	EXPECT_EQ(str, "prefix" + data);
}

INSTANTIATE_TEST_SUITE_P(BufferSizes, StreamCopierTest, testing::Values(1, 3, 8192, 20000, 65536));

TEST(StreamCopierBehaviour, EmptySourceCopiesNothing)
{
	std::istringstream source;
	std::ostringstream target;
	EXPECT_EQ(StreamCopier::copyStream(source, target), 0);
	EXPECT_TRUE(target.good());
}

TEST(StreamCopierBehaviour, StopsWhenTheTargetFails)
{
	std::istringstream source(sampleData());
	std::ostringstream target;
	target.setstate(std::ios::badbit);
	EXPECT_EQ(StreamCopier::copyStream(source, target, 100), 0);
	EXPECT_EQ(source.tellg(), 100) << "only the first block was read";
}

TEST(StreamCopierBehaviour, ZeroBufferSizeIsRefused)
{
	std::istringstream source("x");
	std::string str;
	EXPECT_THROW(StreamCopier::copyToString(source, str, 0), InvalidArgumentException);
}

} // namespace
