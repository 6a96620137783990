#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/Util/Timer.h"

#include "GENATestSupport.h"

#include <gtest/gtest.h>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;

using TestSupport::TestListener;

namespace {

class NullSubscriber : public Callweave::EventSubscriber
{
public:
	NullSubscriber(): Callweave::EventSubscriber("http://127.0.0.1:1/remote") {}

protected:
	void handleEvent(const std::string&, Callweave::Deserializer&) override {}
};

class ListenerTest : public testing::Test
{
protected:
	Util::Timer _timer;
	AutoPtr<TestListener> _pListener{new TestListener("h:1", _timer)};
};

TEST_F(ListenerTest, DefaultsAndURIs)
{
	EXPECT_EQ(1800, _pListener->getEventSubscriptionTimeout());
	_pListener->setEventSubscriptionTimeout(-3);
	EXPECT_EQ(-3, _pListener->getEventSubscriptionTimeout());
	EXPECT_EQ("upnp-eventing", _pListener->protocol());
	EXPECT_EQ("http://h:1/upnp-eventing/X/Y", _pListener->createURI("X", "Y"));
	EXPECT_EQ("http://h:1/upnp-eventing//", _pListener->createURI("", ""));
	EXPECT_FALSE(_pListener->handlesURI(_pListener->createURI("X", "Y")));
	const Listener::Settings settings = _pListener->settings();
	EXPECT_FALSE(settings.checkCallback);
	EXPECT_FALSE(settings.strictRenewal);
	EXPECT_EQ(0u, settings.maxSubscriptions);
	EXPECT_EQ(0, settings.maxTimeout);
	EXPECT_EQ(Timespan(), settings.earlyNotifyGrace);
	EXPECT_FALSE(settings.trackSequence);
	EXPECT_FALSE(settings.resubscribeOnGap);
	EXPECT_EQ(4u, Listener::MAX_EARLY_NOTIFY_WAITS);
}

TEST_F(ListenerTest, StateProvidersAreKeyedByPath)
{
	TestSupport::TestState first;
	TestSupport::TestState second;
	_pListener->registerStateProvider("http://a:1/dev/svc?x=1", &first);
	_pListener->registerStateProvider("/dev/svc", &second);
	EXPECT_EQ(&second, _pListener->findStateProvider("http://other:2/dev/svc?y=2"));
	EXPECT_EQ(nullptr, _pListener->findStateProvider("/dev/SVC"));
	_pListener->unregisterStateProvider("/never");
	_pListener->unregisterStateProvider("http://b:3/dev/svc");
	EXPECT_EQ(nullptr, _pListener->findStateProvider("/dev/svc"));
}

TEST_F(ListenerTest, FindSubscriberIsExact)
{
	AutoPtr<Callweave::EventSubscriber> pSubscriber(new NullSubscriber);
	_pListener->addSubscription("uuid:abc", Listener::Subscription{pSubscriber, AutoPtr<Util::TimerTask>()});
	EXPECT_EQ(pSubscriber, _pListener->findSubscriber("uuid:abc"));
	EXPECT_TRUE(_pListener->findSubscriber("uuid:ABC").isNull());
	EXPECT_TRUE(_pListener->findSubscriber(" uuid:abc").isNull());
}

} // namespace
