// The ready-made host over loopback: the documents it serves, and its shutdown.

#include "Tavik/UPnP/Host/Host.h"
#include "GENATestSupport.h"

#include <gtest/gtest.h>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using namespace TestSupport;
using Tavik::UPnP::Host::Host;

namespace {

class HostTest : public testing::Test
{
protected:
	HostTest()
	{
		host.setDevice(
		    {"d:Lamp:1", "Lamp <1> & co", "uuid:1", {{"s:1", "i", "Light", "<scpd/>", pDispatcher, &level}}});
		host.start();
	}

	/// The whole answer to a request for path.
	std::string fetch(const std::string& method, const std::string& path)
	{
		RawConnection connection(port());
		connection.send(method + " " + path + " HTTP/1.1\r\nHost: h\r\nConnection: close\r\n\r\n");
		return connection.readUntilClosed();
	}

	unsigned short port() { return std::stoi(host.endPoint().substr(host.endPoint().rfind(':') + 1)); }

	TestState level{{{"Level", "7"}}};
	AutoPtr<Callweave::EventDispatcher> pDispatcher = new Callweave::EventDispatcher(Transport::PROTOCOL);
	Host host{Host::Params()};
};

} // namespace

TEST_F(HostTest, ServesTheDescriptionAndTheSCPDAndNothingElse)
{
	const std::string description = fetch("GET", Host::DESCRIPTION_PATH);
	EXPECT_EQ(200, statusOf(description)) << description;
	for (const std::string& part : {"\r\nContent-Type: " + Transport::CONTENT_TYPE + "\r\n",
	                                std::string("<eventSubURL>/upnp-eventing/Light</eventSubURL>"),
	                                std::string("<SCPDURL>/scpd/Light.xml</SCPDURL>"),
	                                std::string("<friendlyName>Lamp &lt;1&gt; &amp; co</friendlyName>")})
		EXPECT_NE(std::string::npos, description.find(part)) << part;
	EXPECT_EQ("<scpd/>", fetch("GET", "/scpd/Light.xml").substr(fetch("GET", "/scpd/Light.xml").size() - 7));
	EXPECT_EQ(404, statusOf(fetch("GET", "/scpd/Other.xml")));
	EXPECT_EQ(405, statusOf(fetch("POST", Host::DESCRIPTION_PATH)));
	EXPECT_EQ(405, statusOf(fetch("GET", "/upnp-eventing/Light"))) << "GENA's, which refuses GET";
}

TEST_F(HostTest, ShutdownUnsubscribesTheLocalSubscribersFirstThenStopsServingAndWithdrawsAll)
{
	StringLog changes;
	host.subscriptionChanged +=
	    Delegate<const Host::SubscriptionChange>([&](const void*, const Host::SubscriptionChange& change) {
		    changes.add(std::to_string(change.kind) + change.path);
	    });
	Host::Params params;
	params.address = "::1";
	Host subscriber(params);
	subscriber.start();
	EventRecorder recorder(host.eventURL("Light"));
	AutoPtr<Callweave::GenericEventSubscriber> pUnknown(
	    new Callweave::GenericEventSubscriber(host.eventURL("Dark")));
	EXPECT_THROW(subscriber.subscribe(pUnknown), Exception);
	EXPECT_THROW(subscriber.unsubscribe(pUnknown), NotFoundException) << "kept";
	subscriber.subscribe(recorder.pSubscriber);
	ASSERT_TRUE(recorder.waitFor(1));
	host.waitForInitialEvents(); // the subscriber has entered the dispatcher
	subscriber.shutdown();       // unsubscribes while its server still runs
	ASSERT_TRUE(changes.waitFor(2));
	EXPECT_EQ(std::vector<std::string>({"0/upnp-eventing/Light", "2/upnp-eventing/Light"}),
	          changes.entries());

	const unsigned short ourPort = port();
	host.shutdown();
	EXPECT_THROW(RawConnection connection(ourPort), std::runtime_error) << "still serving";
	EXPECT_FALSE(Callweave::ORB::instance().findEventDispatcher("/upnp-eventing/Light", Transport::PROTOCOL));
	EXPECT_NO_THROW(TransportFactory::registerFactory()) << "the factory withdrawn";
	TransportFactory::unregisterFactory();
	host.shutdown(); // idempotent
}
