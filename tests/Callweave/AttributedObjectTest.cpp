#include "Tavik/Callweave/AttributedObject.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

using namespace Tavik::Callweave;

TEST(AttributedObjectTest, AMissingAttributeReadsAsEmpty)
{
	AttributedObject object;
	object.setAttribute("sid", "uuid:1");
	EXPECT_EQ(object.getAttribute("SID"), ""); // names are case-sensitive
	object.setAttribute("sid", "");
	EXPECT_EQ(object.getAttribute("sid"), "");
}

TEST(AttributedObjectTest, OneThreadWritesWhileAnotherReads)
{
	// The subscriber's SID is stored by one thread while a delivery thread
	// reads it for every message: a reader sees either no value or a whole one.
	AttributedObject object;
	std::atomic<bool> done{false};
	std::thread writer([&] {
		for (int i = 0; i < 2000; ++i)
			object.setAttribute("SID", i % 2 ? "uuid:odd-value" : "uuid:even");
		done = true;
	});
	int reads = 0;
	while (!done || reads == 0)
	{
		const std::string sid = object.getAttribute("SID");
		EXPECT_TRUE(sid.empty() || sid == "uuid:odd-value" || sid == "uuid:even") << sid;
		++reads;
	}
	writer.join();
	EXPECT_EQ(object.getAttribute("SID"), "uuid:odd-value");
}
