// Interoperability with an independent UPnP stack (libupnp 1.8, run as child
// processes on loopback): its control point subscribes to our publisher, and
// our subscriber subscribes to its device.

#include "ChildProcess.h"
#include "GENATestSupport.h"

#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Logger.h"
#include "Tavik/Message.h"
#include "Tavik/TestChannel.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include <gtest/gtest.h>

#include <mutex>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using TestSupport::ChildProcess;
using TestSupport::EventCounter;
using TestSupport::EventRecorder;
using TestSupport::ListenerEndpoint;
using TestSupport::TestState;
using TestSupport::wordsOf;

namespace {

const std::string EVENT_PATH = "/light/event";

/// Our publisher: one light service with events at EVENT_PATH.
class LibupnpControlPointTest : public ::testing::Test
{
protected:
	void SetUp() override
	{
		TransportFactory::registerFactory();
		endpoint.pListener->registerStateProvider(EVENT_PATH, &state);
		Callweave::ORB::instance().registerEventDispatcher(eventURL(), Transport::PROTOCOL, pDispatcher);
	}

	void TearDown() override
	{
		// Initial notifications refer to the listener and the state provider.
		endpoint.stop();
		ThreadPool::defaultPool().joinAll();
		Callweave::ORB::instance().unregisterEventDispatcher(eventURL(), Transport::PROTOCOL);
		pDispatcher->stop();
		TransportFactory::unregisterFactory();
	}

	std::string eventURL() const { return "http://" + endpoint.endPoint() + EVENT_PATH; }

	void fire(const std::string& name, const std::string& value)
	{
		pDispatcher->fireEvent(name, [value](Callweave::Serializer& serializer) {
			serializer.serialize(Callweave::EventSubscriber::VALUE_ARGUMENT, value);
		});
	}

	/// The light's evented variables, changed by the test.
	TestState state{{{"Status", "0"}, {"LoadLevelStatus", "30"}}};
	// Declared before the endpoint: the timer must outlive its listener.
	Util::Timer timer;
	ListenerEndpoint endpoint{timer};
	AutoPtr<Callweave::EventDispatcher> pDispatcher = new Callweave::EventDispatcher(Transport::PROTOCOL);
};

/// Our subscriber's listener, logging to a test channel, and the libupnp device.
class LibupnpDeviceTest : public ::testing::Test
{
protected:
	void SetUp() override
	{
		Logger::setChannel("UPnP.GENA", pChannel);
		Logger::setLevel("UPnP.GENA", Message::PRIO_DEBUG);
		const std::optional<std::string> ready = device.expect("ready ");
		ASSERT_TRUE(ready) << device.transcript();
		url = wordsOf(*ready).at(1);
	}

	void TearDown() override { Logger::setChannel("UPnP.GENA", nullptr); }

	AutoPtr<TestChannel> pChannel = new TestChannel;
	Util::Timer timer;
	ListenerEndpoint endpoint{timer};
	ChildProcess device{INTEROP_UPNP_DEVICE};
	std::string url;
};

} // namespace

TEST_F(LibupnpControlPointTest, ReceivesInitialAndLaterEventsThenUnsubscribes)
{
	ChildProcess controlPoint(INTEROP_UPNP_CONTROL_POINT, {eventURL()});

	const std::optional<std::string> subscribed = controlPoint.expect("subscribed ");
	ASSERT_TRUE(subscribed) << controlPoint.transcript();
	const std::vector<std::string> grant = wordsOf(*subscribed);
	ASSERT_EQ(3u, grant.size());
	EXPECT_EQ("300", grant[2]);
	const std::string sid = grant[1];
	const std::optional<std::string> initial = controlPoint.expect("event ");
	ASSERT_TRUE(initial) << controlPoint.transcript();
	EXPECT_EQ("event " + sid + " 0 Status=0 LoadLevelStatus=30", *initial);

	// The initial notification enters the subscriber once it has been answered.
	ThreadPool::defaultPool().joinAll();
	ASSERT_EQ(1u, pDispatcher->subscriberCount());
	state.set("LoadLevelStatus", "75");
	fire("LoadLevelStatus", "75");
	fire("Status", "1");
	EXPECT_EQ("event " + sid + " 1 LoadLevelStatus=75", controlPoint.expect("event ").value_or("none"));
	EXPECT_EQ("event " + sid + " 2 Status=1", controlPoint.expect("event ").value_or("none"));

	controlPoint.send("renew");
	EXPECT_EQ("renewed 300", controlPoint.expect("renewed ").value_or(controlPoint.transcript()));
	fire("Status", "0");
	EXPECT_EQ("event " + sid + " 3 Status=0", controlPoint.expect("event ").value_or("none"));

	controlPoint.send("unsubscribe");
	EXPECT_EQ("unsubscribed", controlPoint.expect("unsubscribed").value_or(controlPoint.transcript()));
	EXPECT_EQ(0u, pDispatcher->subscriberCount());
}

TEST_F(LibupnpDeviceTest, DeliversInitialAndLaterEventsRenewsAndUnsubscribes)
{
	Listener& listener = *endpoint.pListener;
	EventRecorder recorder(url);
	EventCounter renewed(listener.subscriptionRenewed);
	// Two seconds, so that the listener renews within the test.
	listener.setEventSubscriptionTimeout(2);

	listener.subscribeToEvents(recorder.pSubscriber);

	ASSERT_TRUE(recorder.waitFor(2)) << device.transcript();
	// A property set is handed over last property first.
	EXPECT_EQ(std::vector<std::string>({"LoadLevelStatus=0", "Status=0"}), recorder.events());
	device.send("set Status 1");
	device.send("set LoadLevelStatus 60");
	ASSERT_TRUE(recorder.waitFor(4)) << device.transcript();
	EXPECT_EQ(std::vector<std::string>({"LoadLevelStatus=0", "Status=0", "Status=1", "LoadLevelStatus=60"}),
	          recorder.events());
	EXPECT_TRUE(renewed.waitFor(1));

	listener.unsubscribeFromEvents(recorder.pSubscriber);
	EXPECT_EQ(0u, pChannel->count("", Message::PRIO_WARNING)) << device.transcript();
	EXPECT_EQ(0u, pChannel->count("", Message::PRIO_ERROR)) << device.transcript();
}
