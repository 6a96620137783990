#include "Tavik/NullStream.h"

#include <gtest/gtest.h>

#include <string>

using namespace Tavik;

namespace {

TEST(NullOutputStreamTest, AcceptsEverythingAndStaysGood)
{
	NullOutputStream ostr;
	const std::string block(100000, 'x');
	ostr << block << 42 << 'c' << 1.5 << std::endl;
	ostr.write(block.data(), std::streamsize(block.size()));
	ostr.put('y');
	EXPECT_TRUE(ostr.good());
}

} // namespace
