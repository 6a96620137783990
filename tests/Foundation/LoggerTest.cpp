#include "Tavik/Logger.h"
#include "Tavik/AutoPtr.h"
#include "Tavik/ConsoleChannel.h"
#include "Tavik/Exception.h"
#include "Tavik/Message.h"
#include "Tavik/TestChannel.h"

#include <gtest/gtest.h>

#include <string>

using namespace Tavik;

namespace {

// Every test works below its own logger name, so tests sharing a process do
// not see each other's settings.
AutoPtr<TestChannel> attachTestChannel(const std::string& name, int level)
{
	AutoPtr<TestChannel> pChannel(new TestChannel);
	Logger::setChannel(name, pChannel);
	Logger::setLevel(name, level);
	return pChannel;
}

class ThrowingChannel : public Channel
{
public:
	void log(const Message&) override { throw IOException("disk full"); }
};

} // namespace

TEST(LoggerTest, GetReturnsTheSameLoggerForAName)
{
	Logger& logger = Logger::get("test.identity.a");
	EXPECT_EQ(&logger, &Logger::get("test.identity.a"));
	EXPECT_NE(&logger, &Logger::get("test.identity.b"));
	EXPECT_EQ(logger.name(), "test.identity.a");
	EXPECT_EQ(&Logger::root(), &Logger::get(""));
	EXPECT_EQ(Logger::root().name(), "");
}

TEST(LoggerTest, MessagesBelowTheLevelAreNeitherBuiltNorDelivered)
{
	AutoPtr<TestChannel> pChannel = attachTestChannel("test.gating", Message::PRIO_WARNING);
	Logger& logger = Logger::get("test.gating");
	int textsBuilt = 0;
	auto build = [&](const char* text) {
		++textsBuilt;
		return std::string(text);
	};

	if (logger.debug()) logger.debug(build("debug"));
	if (logger.information()) logger.information(build("information"));
	if (logger.warning()) logger.warning(build("warning"));
	if (logger.error()) logger.error(build("error"));
	logger.notice("notice");
	logger.log(Message("test.gating", "trace message", Message::PRIO_TRACE));
	logger.log(Message::PRIO_CRITICAL, "critical");

	EXPECT_EQ(textsBuilt, 2);
	const auto messages = pChannel->messages();
	ASSERT_EQ(messages.size(), 3u);
	EXPECT_EQ(messages[0].text(), "warning");
	EXPECT_EQ(messages[0].priority(), Message::PRIO_WARNING);
	EXPECT_EQ(messages[0].source(), "test.gating");
	EXPECT_EQ(messages[1].text(), "error");
	EXPECT_EQ(messages[2].text(), "critical");
	EXPECT_EQ(messages[2].priority(), Message::PRIO_CRITICAL);
}

TEST(LoggerTest, InvalidLevelOrPriorityIsRefused)
{
	Logger& logger = Logger::get("test.invalid");
	EXPECT_THROW(logger.setLevel(9), InvalidArgumentException);
	EXPECT_THROW(logger.setLevel(-1), InvalidArgumentException);
	EXPECT_THROW(Logger::setLevel("test.invalid", 9), InvalidArgumentException);
	EXPECT_THROW(logger.log(0, "no such priority"), InvalidArgumentException);
	EXPECT_EQ(logger.getLevel(), Message::PRIO_INFORMATION);
}

TEST(LoggerTest, SetLevelByNameReachesExistingAndFutureLoggersBelowIt)
{
	Logger& child = Logger::get("test.tree.child");
	Logger& sibling = Logger::get("test.treetop"); // shares the prefix, not the parent
	Logger::setLevel("test.tree", Message::PRIO_INFORMATION);
	Logger::setLevel("test.treetop", Message::PRIO_INFORMATION);

	Logger::setLevel("test.tree", Message::PRIO_TRACE);
	EXPECT_EQ(Logger::get("test.tree").getLevel(), Message::PRIO_TRACE);
	EXPECT_EQ(child.getLevel(), Message::PRIO_TRACE);
	EXPECT_EQ(Logger::get("test.tree.later.grandchild").getLevel(), Message::PRIO_TRACE);
	EXPECT_EQ(sibling.getLevel(), Message::PRIO_INFORMATION);

	child.setLevel(Message::PRIO_ERROR);
	EXPECT_EQ(Logger::get("test.tree.child.below").getLevel(), Message::PRIO_ERROR);
	EXPECT_EQ(Logger::get("test.tree").getLevel(), Message::PRIO_TRACE);
}

TEST(LoggerTest, SetChannelByNameReachesLoggersBelowIt)
{
	AutoPtr<TestChannel> pChannel = attachTestChannel("test.channels", Message::PRIO_INFORMATION);
	Logger::get("test.channels.existing").information("one");
	Logger::get("test.channels.created.later").information("two");
	Logger::get("test.channelsX").information("elsewhere");
	EXPECT_EQ(pChannel->count(""), 2u);
	EXPECT_EQ(Logger::get("test.channels.existing").getChannel(), pChannel);
}

TEST(LoggerTest, ExceptionIsLoggedWithItsDisplayTextAtErrorPriority)
{
	AutoPtr<TestChannel> pChannel = attachTestChannel("test.exception", Message::PRIO_ERROR);
	Logger& logger = Logger::get("test.exception");
	logger.log(IOException("initial event message failed"));
	const auto messages = pChannel->messages();
	ASSERT_EQ(messages.size(), 1u);
	EXPECT_EQ(messages[0].text(), "I/O error: initial event message failed");
	EXPECT_EQ(messages[0].priority(), Message::PRIO_ERROR);

	logger.setLevel(Message::PRIO_CRITICAL);
	logger.log(IOException("dropped"));
	EXPECT_EQ(pChannel->messages().size(), 1u);
}

TEST(LoggerTest, FailingOrMissingChannelLosesTheMessageWithoutThrowing)
{
	Logger& logger = Logger::get("test.failing");
	logger.setLevel(Message::PRIO_INFORMATION);
	logger.setChannel(new ThrowingChannel);
	EXPECT_NO_THROW(logger.error("lost"));
	EXPECT_NO_THROW(logger.log(IOException("lost")));
	logger.setChannel(nullptr);
	EXPECT_NO_THROW(logger.error("lost"));
}

TEST(LoggerTest, NewLoggersStartWithTheRootDefaults)
{
	// No test changes the root logger, so its defaults hold in every process.
	Logger& logger = Logger::get("test.defaults.fresh");
	EXPECT_EQ(Logger::root().getLevel(), Message::PRIO_INFORMATION);
	EXPECT_EQ(logger.getLevel(), Message::PRIO_INFORMATION);
	EXPECT_FALSE(logger.getChannel().cast<ConsoleChannel>().isNull());
	EXPECT_EQ(logger.getChannel(), Logger::root().getChannel());
}
