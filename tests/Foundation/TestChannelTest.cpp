#include "Tavik/TestChannel.h"
#include "Tavik/AutoPtr.h"
#include "Tavik/Message.h"

#include <gtest/gtest.h>

#include <thread>

using namespace Tavik;

TEST(TestChannelTest, CountsByTextPartAndPriority)
{
	AutoPtr<TestChannel> pChannel(new TestChannel);
	pChannel->log(Message("s", "Renewal failed; attempting to re-subscribe", Message::PRIO_WARNING));
	pChannel->log(Message("s", "Event subscription lost", Message::PRIO_ERROR));
	pChannel->log(Message("s", "Renewal failed again", Message::PRIO_ERROR));

	EXPECT_EQ(pChannel->count(""), 3u);
	EXPECT_EQ(pChannel->count("Renewal failed"), 2u);
	EXPECT_EQ(pChannel->count("Renewal failed", Message::PRIO_ERROR), 1u);
	EXPECT_EQ(pChannel->count("", Message::PRIO_DEBUG), 0u);
	EXPECT_EQ(pChannel->messages().size(), 3u);

	pChannel->clear();
	EXPECT_TRUE(pChannel->messages().empty());
}

TEST(TestChannelTest, WaitForSeesMessagesFromAnotherThread)
{
	AutoPtr<TestChannel> pChannel(new TestChannel);
	std::thread writer([&] {
		for (int i = 0; i < 3; ++i)
			pChannel->log(Message("s", "from pool thread", Message::PRIO_ERROR));
	});
	EXPECT_TRUE(pChannel->waitFor(3, "from pool", Message::PRIO_ERROR));
	writer.join();
}

TEST(TestChannelTest, WaitForGivesUpAtTheTimeout)
{
	AutoPtr<TestChannel> pChannel(new TestChannel);
	EXPECT_FALSE(pChannel->waitFor(1, "never logged", TestChannel::ANY_PRIORITY, Timespan(0, 10000)));
}
