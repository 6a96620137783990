#include "Tavik/UUID.h"
#include "Tavik/Exception.h"

#include <gtest/gtest.h>

using namespace Tavik;

namespace {

TEST(UUIDTest, TextFormReadsAndWrites)
{
	const UUID uuid("6BA7B810-9dad-11d1-80b4-00c04fd430c8");
	EXPECT_EQ(uuid.toString(), "6ba7b810-9dad-11d1-80b4-00c04fd430c8");
	EXPECT_EQ(uuid.version(), 1);
	EXPECT_FALSE(uuid.isNull());
	EXPECT_EQ(UUID(uuid.toString()), uuid);
}

TEST(UUIDTest, NullUUID)
{
	const UUID null;
	EXPECT_TRUE(null.isNull());
	EXPECT_EQ(null.toString(), "00000000-0000-0000-0000-000000000000");
	EXPECT_EQ(UUID("00000000-0000-0000-0000-000000000000"), null);
}

TEST(UUIDTest, OrderFollowsTheTextForm)
{
	const UUID low("00000000-0000-0000-0000-0000000000ff");
	const UUID high("00000000-0000-0000-0000-000000000100");
	EXPECT_LT(low, high);
	EXPECT_GT(high, low);
	EXPECT_NE(low, high);
	EXPECT_LE(low, low);
	EXPECT_GE(high, high);
}

struct BadRow
{
	const char* name;
	const char* text;
};

class UUIDSyntaxTest : public testing::TestWithParam<BadRow>
{
};

TEST_P(UUIDSyntaxTest, RefusedWithoutChangingTheValue)
{
	const char* text = GetParam().text;
	UUID uuid("6ba7b810-9dad-11d1-80b4-00c04fd430c8");
	const UUID before = uuid;
	EXPECT_FALSE(uuid.tryParse(text));
	try
	{
		uuid.parse(text);
		FAIL();
	}
	catch (const SyntaxException& exc)
	{
		EXPECT_EQ(exc.message(), *text ? std::string("Invalid UUID: ") + text : std::string("Invalid UUID"));
	}
	EXPECT_EQ(uuid, before);
}

INSTANTIATE_TEST_SUITE_P(Rows, UUIDSyntaxTest,
						 testing::Values(BadRow{"Empty", ""},
										 BadRow{"TooShort", "6ba7b810-9dad-11d1-80b4-00c04fd430c"},
										 BadRow{"TooLong", "6ba7b810-9dad-11d1-80b4-00c04fd430c88"},
										 BadRow{"NoDashes", "6ba7b8109dad11d180b400c04fd430c8"},
										 BadRow{"DashMoved", "6ba7b81-09dad-11d1-80b4-00c04fd430c8"},
										 BadRow{"NotHex", "6ba7b810-9dad-11d1-80b4-00c04fd430cg"},
										 BadRow{"WithPrefix", "uuid:6ba7b810-9dad-11d1-80b4-00c04fd4"},
										 BadRow{"Braces", "{ba7b810-9dad-11d1-80b4-00c04fd430c}"}),
						 [](const testing::TestParamInfo<BadRow>& info) { return info.param.name; });

} // namespace
