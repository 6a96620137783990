#include "Tavik/ConsoleChannel.h"
#include "Tavik/AutoPtr.h"
#include "Tavik/Message.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

using namespace Tavik;

struct ConsoleLineRow
{
	const char* name;
	const char* source;
	const char* text;
	int priority;
	const char* line;
};

class ConsoleChannelTest : public ::testing::TestWithParam<ConsoleLineRow>
{
};

TEST_P(ConsoleChannelTest, FormatsOneLine)
{
	const ConsoleLineRow& row = GetParam();
	EXPECT_EQ(ConsoleChannel::format(Message(row.source, row.text, row.priority)), row.line);
}

INSTANTIATE_TEST_SUITE_P(
    ConsoleChannelTest, ConsoleChannelTest,
    ::testing::Values(
        ConsoleLineRow{"warning", "UPnP.GENA.Listener", "Unsubscribe failed", Message::PRIO_WARNING,
                       "[Warning] UPnP.GENA.Listener: Unsubscribe failed"},
        ConsoleLineRow{"rootLogger", "", "started", Message::PRIO_INFORMATION, "[Information] : started"},
        ConsoleLineRow{"lineBreaksBecomeSpaces", "src", "Callback: <x>\r\nSID: forged", Message::PRIO_DEBUG,
                       "[Debug] src: Callback: <x>  SID: forged"}),
    [](const ::testing::TestParamInfo<ConsoleLineRow>& info) { return info.param.name; });

TEST(ConsoleChannelLogTest, WritesTheLineToClog)
{
	std::ostringstream captured;
	std::streambuf* pOld = std::clog.rdbuf(captured.rdbuf());
	AutoPtr<ConsoleChannel> pChannel(new ConsoleChannel);
	pChannel->log(Message("src", "hello", Message::PRIO_ERROR));
	std::clog.rdbuf(pOld);
	EXPECT_EQ(captured.str(), "[Error] src: hello\n");
}
