// Logger, Message, ConsoleChannel, Exception and Bugcheck: level gating, the logger tree
// and failing channels, which the texts logged above them do not reach.
#include "Tavik/AutoPtr.h"
#include "Tavik/Bugcheck.h"
#include "Tavik/ConsoleChannel.h"
#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/Message.h"
#include "Tavik/TestChannel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

using namespace Tavik;

namespace {

// Each test logs below a name of its own, so that tests in one process do not meet.
TEST(LoggerTest, MessagesBelowTheLevelAreNotDelivered)
{
	AutoPtr<TestChannel> pChannel(new TestChannel);
	Logger& logger = Logger::get("test.gating");
	logger.setChannel(pChannel);
	logger.setLevel(Message::PRIO_WARNING);
	logger.information("information");
	logger.warning("warning");
	logger.log(Message("test.gating", "trace", Message::PRIO_TRACE));
	logger.log(IOException("initial event message failed"));
	logger.setLevel(Message::PRIO_CRITICAL);
	logger.log(IOException("dropped"));
	std::string delivered;
	for (const Message& message : pChannel->messages())
		delivered += "[" + message.source() + " " + std::to_string(message.priority()) + " " + message.text() + "]";
	EXPECT_EQ(delivered, "[test.gating 4 warning][test.gating 3 I/O error: initial event message failed]");
}

TEST(LoggerTest, SettingsByNameReachExistingAndLaterLoggersBelowIt)
{
	Logger& child = Logger::get("test.tree.child");
	Logger& sibling = Logger::get("test.treetop"); // shares the prefix, not the parent
	AutoPtr<TestChannel> pChannel(new TestChannel);
	Logger::setChannel("test.tree", pChannel);
	Logger::setLevel("test.tree", Message::PRIO_TRACE);
	child.trace("one");
	child.setLevel(Message::PRIO_ERROR);
	EXPECT_EQ(Logger::get("test.tree.child.below").getLevel(), Message::PRIO_ERROR);
	EXPECT_EQ(Logger::get("test.tree").getLevel(), Message::PRIO_TRACE);
	Logger::get("test.tree.later.grandchild").trace("two");
	EXPECT_EQ(sibling.getLevel(), Message::PRIO_INFORMATION);
	EXPECT_EQ(pChannel->count(""), 2u);
}

TEST(LoggerTest, MisuseIsRefusedAndAFailingChannelLosesTheMessageQuietly)
{
	struct ThrowingChannel : Channel { void log(const Message&) override { throw IOException("disk full"); } };
	Logger& logger = Logger::get("test.misuse");
	EXPECT_THROW(logger.setLevel(9), InvalidArgumentException);
	EXPECT_THROW(Logger::setLevel("test.misuse", -1), InvalidArgumentException);
	EXPECT_THROW(logger.log(0, "no such priority"), InvalidArgumentException);
	EXPECT_THROW(Message("s", "t", 9), InvalidArgumentException);
	EXPECT_EQ(logger.getLevel(), Message::PRIO_INFORMATION);
	logger.setChannel(new ThrowingChannel);
	EXPECT_NO_THROW(logger.log(IOException("lost")));
	logger.setChannel(nullptr);
	EXPECT_NO_THROW(logger.error("lost"));
}

TEST(ConsoleChannelTest, WritesOneLinePerMessageToClog)
{
	std::ostringstream captured;
	std::streambuf* pOld = std::clog.rdbuf(captured.rdbuf());
	AutoPtr<ConsoleChannel> pChannel(new ConsoleChannel);
	pChannel->log(Message("UPnP.GENA.Listener", "Callback: <x>\r\nSID: forged", Message::PRIO_WARNING));
	pChannel->log(Message("", "started", Message::PRIO_TRACE));
	std::clog.rdbuf(pOld);
	EXPECT_EQ(captured.str(), "[Warning] UPnP.GENA.Listener: Callback: <x>  SID: forged\n[Trace] : started\n");
	EXPECT_STREQ(Message::priorityName(9), "Unknown");
}

TEST(ExceptionTest, TextsNameTheClassAndTheSourceFile)
{
	EXPECT_EQ(IOException("HTTP error", "Not Found", 404).displayText(), "I/O error: HTTP error: Not Found");
	EXPECT_STREQ(NullPointerException().what(), "Null pointer");
	EXPECT_THAT([] { tavik_bugcheck(); }, testing::ThrowsMessage<BugcheckException>(
	                                          testing::StartsWith("in file \"tests/Foundation/LoggingTest\", line ")));
}

} // namespace
