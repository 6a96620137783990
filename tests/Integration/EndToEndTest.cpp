// Two hosts in one process over loopback: one publishes a service through its
// own listener, HTTP server and event dispatcher, the other subscribes to it
// through its own listener and HTTP server.

#include "GENATestSupport.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Logger.h"
#include "Tavik/TestChannel.h"
#include "Tavik/Thread.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Callweave::EventDispatcher;
using Tavik::Callweave::ORB;
using TestSupport::EventCounter;
using TestSupport::EventRecorder;
using TestSupport::ListenerEndpoint;
using TestSupport::TestState;

namespace {

const std::string SERVICE_PATH = "/dev/counter/evt";
/// The publisher's grant: renewals every 1.5 s keep a subscription alive.
const int GRANT_SECONDS = 2;

/// The publishing host: its event endpoint, grants of GRANT_SECONDS and
/// renewals of unknown SIDs refused, and the counter's dispatcher registered
/// with the broker. Destroying it forgets every subscription.
class Publisher
{
public:
	Publisher(Util::Timer& timer, int count, unsigned short port = 0)
	    : _state({{"Count", std::to_string(count)}, {"Name", "counter"}}), _endpoint(timer, port),
	      _pDispatcher(new EventDispatcher(Transport::PROTOCOL))
	{
		Listener::Settings settings;
		settings.maxTimeout = GRANT_SECONDS;
		settings.strictRenewal = true;
		_endpoint.pListener->setSettings(settings);
		_endpoint.pListener->registerStateProvider(SERVICE_PATH, &_state);
		ORB::instance().registerEventDispatcher(url(), Transport::PROTOCOL, _pDispatcher);
	}

	~Publisher()
	{
		_endpoint.stop();
		// Initial notifications refer to the listener and the dispatcher.
		ThreadPool::defaultPool().joinAll();
		ORB::instance().unregisterEventDispatcher(url(), Transport::PROTOCOL);
		_pDispatcher->stop();
	}

	std::string url() const { return "http://" + _endpoint.endPoint() + SERVICE_PATH; }
	unsigned short port() const { return _endpoint.port(); }

	void fire(int count)
	{
		_state.set("Count", std::to_string(count));
		_pDispatcher->fireEvent(
		    "Count", [count](Callweave::Serializer& serializer) { serializer.serialize("data", count); });
	}

	/// Waits until the dispatcher has n subscribers (an initial notification
	/// enters its subscriber only after the subscriber has answered it); false
	/// at the deadline.
	bool waitForSubscribers(std::size_t n)
	{
		const auto deadline = std::chrono::steady_clock::now() + TestSupport::DEADLINE;
		while (_pDispatcher->subscriberCount() != n)
		{
			if (std::chrono::steady_clock::now() > deadline) return false;
			Thread::sleep(10);
		}
		return true;
	}

private:
	/// A counter service: its evented state is its count and its name.
	TestState _state;
	ListenerEndpoint _endpoint;
	AutoPtr<EventDispatcher> _pDispatcher;
};

const std::vector<std::string> INITIAL_STATE_OF_7 = {"Name=counter", "Count=7"};

std::vector<std::string> concat(std::vector<std::string> first, const std::vector<std::string>& second)
{
	first.insert(first.end(), second.begin(), second.end());
	return first;
}

class EndToEndTest : public ::testing::Test
{
protected:
	void SetUp() override
	{
		TransportFactory::registerFactory();
		Logger::setChannel("UPnP.GENA", pChannel);
		Logger::setLevel("UPnP.GENA", Message::PRIO_WARNING);
	}

	void TearDown() override
	{
		pPublisher.reset();
		TransportFactory::unregisterFactory();
		Logger::setChannel("UPnP.GENA", nullptr);
	}

	Listener& subscriberListener() { return *subscriber.pListener; }

	/// The warnings and errors logged so far, one a line, for failure messages.
	std::string logText()
	{
		std::string text;
		for (const Message& message : pChannel->messages())
			text += message.source() + ": " + message.text() + "\n";
		return text;
	}

	AutoPtr<TestChannel> pChannel = new TestChannel;
	Util::Timer timer;
	std::unique_ptr<Publisher> pPublisher = std::make_unique<Publisher>(timer, 7);
	// Declared after the publisher: its renewals stop before the publisher goes.
	ListenerEndpoint subscriber{timer};
	EventRecorder recorder{pPublisher->url()};
};

} // namespace

TEST_F(EndToEndTest, InitialStateThenEventsInOrderKeptAliveByRenewalsUntilUnsubscribed)
{
	EventCounter renewed(subscriberListener().subscriptionRenewed);
	EventCounter lost(subscriberListener().subscriptionLost);

	subscriberListener().subscribeToEvents(recorder.pSubscriber);
	ASSERT_TRUE(recorder.waitFor(2));
	EXPECT_EQ(INITIAL_STATE_OF_7, recorder.events());
	ASSERT_TRUE(pPublisher->waitForSubscribers(1));
	for (int count = 8; count <= 10; ++count)
		pPublisher->fire(count);
	ASSERT_TRUE(recorder.waitFor(5));
	EXPECT_EQ(concat(INITIAL_STATE_OF_7, {"Count=8", "Count=9", "Count=10"}), recorder.events());

	// Two renewals take 3 s, past the first grant of 2 s.
	ASSERT_TRUE(renewed.waitFor(2));
	pPublisher->fire(11);
	ASSERT_TRUE(recorder.waitFor(6));
	// A renewal later than the grant would have re-subscribed (412) and
	// brought the state again.
	EXPECT_EQ(concat(INITIAL_STATE_OF_7, {"Count=8", "Count=9", "Count=10", "Count=11"}), recorder.events())
	    << logText();
	EXPECT_TRUE(lost.uris().empty());

	subscriberListener().unsubscribeFromEvents(recorder.pSubscriber);
	ASSERT_TRUE(pPublisher->waitForSubscribers(0));
	pPublisher->fire(12);
	// Subscribing anew brings the state (count 12) after the events so far,
	// and nothing of the event fired while unsubscribed.
	subscriberListener().subscribeToEvents(recorder.pSubscriber);
	ASSERT_TRUE(recorder.waitFor(8));
	EXPECT_EQ(concat(INITIAL_STATE_OF_7,
	                 {"Count=8", "Count=9", "Count=10", "Count=11", "Name=counter", "Count=12"}),
	          recorder.events())
	    << logText();
	subscriberListener().unsubscribeFromEvents(recorder.pSubscriber);
}

TEST_F(EndToEndTest, RestartedPublisherIsSubscribedAgainAndSendsTheWholeState)
{
	subscriberListener().subscribeToEvents(recorder.pSubscriber);
	ASSERT_TRUE(recorder.waitFor(2));
	const unsigned short port = pPublisher->port();

	// A new listener, server and dispatcher on the same port: every SID forgotten.
	pPublisher.reset();
	pPublisher = std::make_unique<Publisher>(timer, 40, port);

	ASSERT_TRUE(recorder.waitFor(4));
	EXPECT_EQ(concat(INITIAL_STATE_OF_7, {"Name=counter", "Count=40"}), recorder.events()) << logText();
	EXPECT_TRUE(pChannel->waitFor(1, "Renewal failed; attempting to re-subscribe (URI=" + SERVICE_PATH,
	                              Message::PRIO_WARNING));
	ASSERT_TRUE(pPublisher->waitForSubscribers(1));
	pPublisher->fire(41);
	ASSERT_TRUE(recorder.waitFor(5));
	EXPECT_EQ("Count=41", recorder.events().back()) << logText();
	subscriberListener().unsubscribeFromEvents(recorder.pSubscriber);
}
