#include "Tavik/String.h"

#include <gtest/gtest.h>

using namespace Tavik;

namespace {

int sign(int value)
{
	return (value > 0) - (value < 0);
}

struct CompareRow
{
	const char* name;
	std::string a;
	std::string b;
	int expected;
};

class IcompareTest : public testing::TestWithParam<CompareRow>
{
};

TEST_P(IcompareTest, ComparesFoldingAsciiLetters)
{
	const CompareRow& row = GetParam();
	EXPECT_EQ(sign(icompare(row.a, row.b)), row.expected);
	EXPECT_EQ(sign(icompare(row.b, row.a)), -row.expected);
}

INSTANTIATE_TEST_SUITE_P(
	Rows, IcompareTest,
	testing::Values(CompareRow{"Equal", "Second-infinite", "Second-infinite", 0},
					CompareRow{"CaseDiffers", "SECOND-INFINITE", "second-infinite", 0},
					CompareRow{"BothEmpty", "", "", 0}, CompareRow{"EmptyFirst", "", "a", -1},
					CompareRow{"PrefixFirst", "Second", "second-", -1},
					CompareRow{"LetterOrderIgnoresCase", "apple", "BANANA", -1},
					// '[' lies between 'Z' and 'a': folding must happen before comparing.
					CompareRow{"PunctuationBetweenCases", "Z", "[", 1},
					CompareRow{"HighBytesUnsigned", "\xE9", "e", 1},
					CompareRow{"HighBytesNotFolded", "\xC9", "\xE9", -1},
					CompareRow{"EmbeddedNul", std::string("a\0b", 3), std::string("a\0c", 3), -1}),
	[](const testing::TestParamInfo<CompareRow>& info) { return info.param.name; });

TEST(StringTest, IcompareOfAPart)
{
	EXPECT_EQ(icompare("SECOND-300", 0, 7, "Second-"), 0);
	EXPECT_EQ(icompare("xxuuid:1", 2, 5, "UUID:"), 0);
	EXPECT_LT(icompare("Sec", 0, 7, "Second-"), 0);
	EXPECT_EQ(icompare("abc", 1, std::string::npos, "BC"), 0);
	EXPECT_EQ(icompare("abc", 3, 2, ""), 0);
	EXPECT_EQ(icompare("abc", 10, 2, ""), 0);
	EXPECT_GT(icompare("abc", 0, 2, "a"), 0);
}

} // namespace
