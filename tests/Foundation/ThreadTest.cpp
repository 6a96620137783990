#include "Tavik/Thread.h"
#include "Tavik/Clock.h"
#include "Tavik/Exception.h"
#include "Tavik/Timespan.h"

#include <gtest/gtest.h>

using namespace Tavik;

TEST(ThreadTest, SleepLastsAtLeastTheGivenTime)
{
	const Clock start;
	Thread::sleep(20);
	EXPECT_GE(start.elapsed(), 20 * Timespan::MILLISECONDS);
	Thread::sleep(0);
}

TEST(ThreadTest, NegativeSleepIsRefused)
{
	EXPECT_THROW(Thread::sleep(-1), InvalidArgumentException);
}
