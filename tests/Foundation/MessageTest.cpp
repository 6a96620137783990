#include "Tavik/Message.h"
#include "Tavik/Exception.h"

#include <gtest/gtest.h>

using namespace Tavik;

struct PriorityRow
{
	int priority;
	const char* name;
};

class PriorityNameTest : public ::testing::TestWithParam<PriorityRow>
{
};

TEST_P(PriorityNameTest, NameOfPriority)
{
	EXPECT_STREQ(Message::priorityName(GetParam().priority), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(MessageTest, PriorityNameTest,
                         ::testing::Values(PriorityRow{Message::PRIO_FATAL, "Fatal"},
                                           PriorityRow{Message::PRIO_CRITICAL, "Critical"},
                                           PriorityRow{Message::PRIO_ERROR, "Error"},
                                           PriorityRow{Message::PRIO_WARNING, "Warning"},
                                           PriorityRow{Message::PRIO_NOTICE, "Notice"},
                                           PriorityRow{Message::PRIO_INFORMATION, "Information"},
                                           PriorityRow{Message::PRIO_DEBUG, "Debug"},
                                           PriorityRow{Message::PRIO_TRACE, "Trace"},
                                           PriorityRow{0, "Unknown"}, PriorityRow{9, "Unknown"}),
                         [](const ::testing::TestParamInfo<PriorityRow>& info) {
	                         return std::string(info.param.name) + std::to_string(info.param.priority);
                         });

TEST(MessageTest, PriorityValuesAreFixed)
{
	// Callers and configuration use the numbers.
	EXPECT_EQ(Message::PRIO_ERROR, 3);
	EXPECT_EQ(Message::PRIO_WARNING, 4);
	EXPECT_EQ(Message::PRIO_DEBUG, 7);
}

TEST(MessageTest, InvalidPriorityIsRefused)
{
	EXPECT_THROW(Message("s", "t", 0), InvalidArgumentException);
	EXPECT_THROW(Message("s", "t", 9), InvalidArgumentException);
}
