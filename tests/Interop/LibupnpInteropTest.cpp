// Interoperability with an independent UPnP stack (libupnp 1.8, its peers run
// as child processes on loopback): its control point subscribes to our
// publisher, and our subscriber subscribes to its device.

#include "ChildProcess.h"
#include "GENATestSupport.h"
#include "ManualTimer.h"
#include "Tavik/Callweave/Serializer.h"
#include "Tavik/Logger.h"
#include "Tavik/TestChannel.h"

#include <gtest/gtest.h>

using namespace Tavik;
using namespace TestSupport;

using LibupnpControlPointTest = PublisherFixture;

TEST_F(LibupnpControlPointTest, ReceivesTheStateThenEventsInOrderRenewsAndUnsubscribes)
{
	ChildProcess controlPoint(INTEROP_UPNP_CONTROL_POINT, {serviceURL()});
	const auto next = [&](const char* prefix) {
		return controlPoint.expect(prefix).value_or(controlPoint.transcript());
	};
	const auto fire = [this](const std::string& name, const std::string& value) {
		pDispatcher->fireEvent(name, [value](Callweave::Serializer& out) { out.serialize("data", value); });
	};
	const std::vector<std::string> grant = wordsOf(next("subscribed "));
	ASSERT_EQ(3u, grant.size()) << controlPoint.transcript();
	const std::string sid = grant[1];
	EXPECT_EQ("300", grant[2]);
	EXPECT_EQ("event " + sid + " 0 Volume=7", next("event "));

	ASSERT_TRUE(pListener->waitForInitialEvents(Timespan(DEADLINE.count(), 0)));
	fire("Volume", "8");
	fire("Mute", "1");
	EXPECT_EQ("event " + sid + " 1 Volume=8", next("event "));
	EXPECT_EQ("event " + sid + " 2 Mute=1", next("event "));
	controlPoint.send("renew");
	EXPECT_EQ("renewed 300", next("renewed "));
	fire("Volume", "9");
	EXPECT_EQ("event " + sid + " 3 Volume=9", next("event "));

	controlPoint.send("unsubscribe");
	EXPECT_EQ("unsubscribed", next("unsubscribed"));
	EXPECT_EQ(0u, pDispatcher->subscriberCount());
}

TEST(LibupnpDeviceTest, DeliversTheStateThenEventsInOrderRenewsAndUnsubscribes)
{
	AutoPtr<TestChannel> pChannel = new TestChannel;
	Logger::setChannel("UPnP.GENA", pChannel);
	Logger::setLevel("UPnP.GENA", Message::PRIO_WARNING);
	ChildProcess device(INTEROP_UPNP_DEVICE);
	const std::vector<std::string> ready = wordsOf(device.expect("ready ").value_or(""));
	ASSERT_EQ(2u, ready.size()) << device.transcript();
	ManualTimer manual;
	ListenerEndpoint endpoint(manual.timer());
	UPnP::GENA::Listener& listener = *endpoint.pListener;
	EventRecorder recorder(ready[1]);
	EventCounter renewed(listener.subscriptionRenewed);

	listener.subscribeToEvents(recorder.pSubscriber);
	ASSERT_TRUE(recorder.waitFor(2)) << device.transcript();
	device.send("set Status 1");
	device.send("set LoadLevelStatus 60");
	ASSERT_TRUE(recorder.waitFor(4)) << device.transcript();
	// A property set is handed over last property first.
	EXPECT_EQ(std::vector<std::string>({"LoadLevelStatus=0", "Status=0", "Status=1", "LoadLevelStatus=60"}),
	          recorder.events());
	ASSERT_TRUE(manual.advance(Timespan(1350, 0))); // 75 % of the 1800 s asked for and granted
	EXPECT_TRUE(renewed.waitFor(1));

	listener.unsubscribeFromEvents(recorder.pSubscriber);
	EXPECT_EQ(0u, pChannel->count("")) << device.transcript();
	Logger::setChannel("UPnP.GENA", nullptr);
}
