// The ready-made host over loopback: the documents it serves, a subscription
// from one host to another, and the order of its shutdown.

#include "GENATestSupport.h"

#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Callweave/Serializer.h"
#include "Tavik/Exception.h"
#include "Tavik/Net/HTTPClientSession.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/UPnP/Host/Host.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <mutex>

using namespace Tavik;
using Tavik::Callweave::GenericEventSubscriber;
using Tavik::UPnP::Host::Host;

namespace {

struct Answer
{
	Net::HTTPResponse::HTTPStatus status;
	std::string contentType;
	std::string body;
};

Answer request(const std::string& method, const std::string& host, unsigned short port,
               const std::string& path)
{
	Net::HTTPClientSession session(host, port);
	Net::HTTPRequest request(method, path);
	session.sendRequest(request);
	Net::HTTPResponse response;
	std::istream& body = session.receiveResponse(response);
	return Answer{response.getStatus(), response.getContentType(), TestSupport::readAll(body)};
}

/// Records what reaches a host: the subscription changes it saw at its event
/// endpoint, and the events its local subscriber received.
class Recorder
{
public:
	void record(const std::string& line)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_lines.push_back(line);
		_changed.notify_all();
	}

	bool waitFor(const std::string& line)
	{
		std::unique_lock<std::mutex> lock(_mutex);
		return _changed.wait_for(lock, TestSupport::DEADLINE, [&] {
			return std::find(_lines.begin(), _lines.end(), line) != _lines.end();
		});
	}

	/// The first line starting with prefix, or the empty string.
	std::string find(const std::string& prefix)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		for (const std::string& line : _lines)
			if (line.compare(0, prefix.size(), prefix) == 0) return line;
		return std::string();
	}

private:
	std::mutex _mutex;
	std::condition_variable _changed;
	std::vector<std::string> _lines;
};

/// A host publishing one service, "Light", with the evented variable Level.
class HostTest : public testing::Test
{
protected:
	HostTest()
	{
		Host::Service service;
		service.serviceType = "urn:schemas-upnp-org:service:Dimming:1";
		service.serviceId = "urn:upnp-org:serviceId:Dimming";
		service.name = "Light";
		service.scpd = "<scpd/>";
		service.pDispatcher = new Callweave::EventDispatcher(UPnP::GENA::Transport::PROTOCOL);
		service.pStateProvider = &level;
		pDispatcher = service.pDispatcher;
		device.deviceType = "urn:schemas-upnp-org:device:DimmableLight:1";
		device.friendlyName = "Lamp <1> & co";
		device.udn = "uuid:00000000-0000-0000-0000-000000000001";
		device.services.push_back(service);
	}

	TestSupport::TestState level{{{"Level", "7"}}};
	Host::Device device;
	AutoPtr<Callweave::EventDispatcher> pDispatcher;
};

} // namespace

TEST_F(HostTest, ServesDescriptionAndSCPDAndNothingElse)
{
	Host host{Host::Params()};
	host.setDevice(device);
	host.start();
	const unsigned short port =
	    static_cast<unsigned short>(std::stoi(host.endPoint().substr(host.endPoint().rfind(':') + 1)));

	const Answer description = request("GET", "127.0.0.1", port, Host::DESCRIPTION_PATH);
	EXPECT_EQ(Net::HTTPResponse::HTTP_OK, description.status);
	EXPECT_EQ(UPnP::GENA::Transport::CONTENT_TYPE, description.contentType);
	EXPECT_NE(std::string::npos, description.body.find("<eventSubURL>/upnp-eventing/Light</eventSubURL>"));
	EXPECT_NE(std::string::npos, description.body.find("<SCPDURL>/scpd/Light.xml</SCPDURL>"));
	EXPECT_NE(std::string::npos,
	          description.body.find("<friendlyName>Lamp &lt;1&gt; &amp; co</friendlyName>"));

	EXPECT_EQ("<scpd/>", request("GET", "127.0.0.1", port, "/scpd/Light.xml").body);
	EXPECT_EQ(Net::HTTPResponse::HTTP_NOT_FOUND, request("GET", "127.0.0.1", port, "/scpd/Other.xml").status);
	EXPECT_EQ(Net::HTTPResponse::HTTP_METHOD_NOT_ALLOWED,
	          request("POST", "127.0.0.1", port, Host::DESCRIPTION_PATH).status);
	// The event path belongs to GENA, which refuses GET.
	EXPECT_EQ(Net::HTTPResponse::HTTP_METHOD_NOT_ALLOWED,
	          request("GET", "127.0.0.1", port, "/upnp-eventing/Light").status);
}

TEST_F(HostTest, SubscriberHostReceivesEventsAndShutdownUnsubscribesFirst)
{
	Recorder recorder;
	Host publisher{Host::Params()};
	publisher.setDevice(device);
	publisher.subscriptionChanged +=
	    Delegate<const Host::SubscriptionChange>([&](const void*, const Host::SubscriptionChange& change) {
		    const char* kinds[] = {"subscribed ", "renewed ", "unsubscribed "};
		    recorder.record(kinds[change.kind] + change.path);
		    recorder.record("published sid " + change.sid);
	    });
	publisher.start();

	{
		Host::Params params;
		params.address = "::1";
		Host subscriber(params);
		subscriber.start();
		EXPECT_EQ('[', subscriber.endPoint()[0]);
		AutoPtr<GenericEventSubscriber> pSubscriber(new GenericEventSubscriber(publisher.eventURL("Light")));
		pSubscriber->eventReceived += Delegate<const GenericEventSubscriber::Event>(
		    [&](const void*, const GenericEventSubscriber::Event& event) {
			    const Host::Notification notification = Host::currentNotification();
			    recorder.record("notified sid " + notification.sid);
			    recorder.record(event.name + "=" + event.value + " seq " + notification.seq);
		    });
		subscriber.subscribe(pSubscriber);
		ASSERT_TRUE(recorder.waitFor("subscribed /upnp-eventing/Light"));
		ASSERT_TRUE(recorder.waitFor("Level=7 seq 0"));
		const std::string sid = recorder.find("published sid ").substr(14);
		EXPECT_EQ(41u, sid.size());
		EXPECT_EQ("notified sid " + sid, recorder.find("notified sid "));
		publisher.waitForInitialEvents();
		pDispatcher->fireEvent("Level", [](Callweave::Serializer& serializer) {
			serializer.serialize("data", std::string("9"));
		});
		ASSERT_TRUE(recorder.waitFor("Level=9 seq 1"));
		EXPECT_TRUE(Host::currentNotification().sid.empty());
		// Destroying the subscriber's host unsubscribes while its server still runs.
	}
	EXPECT_TRUE(recorder.waitFor("unsubscribed /upnp-eventing/Light"));
	EXPECT_EQ(0u, pDispatcher->subscriberCount());

	publisher.shutdown();
	// Everything process-wide is withdrawn: the event path and the factory.
	EXPECT_FALSE(Callweave::ORB::instance().findEventDispatcher("/upnp-eventing/Light",
	                                                            UPnP::GENA::Transport::PROTOCOL));
	EXPECT_NO_THROW(UPnP::GENA::TransportFactory::registerFactory());
	UPnP::GENA::TransportFactory::unregisterFactory();
	publisher.shutdown(); // idempotent
}

TEST_F(HostTest, AddressInUseFailsAtConstruction)
{
	Host first{Host::Params()};
	Host::Params params;
	params.port =
	    static_cast<unsigned short>(std::stoi(first.endPoint().substr(first.endPoint().rfind(':') + 1)));
	EXPECT_THROW(Host second(params), Exception);
}

TEST_F(HostTest, SubscribingToAnUnknownServiceThrowsAndKeepsNothing)
{
	Host host{Host::Params()};
	host.setDevice(device);
	host.start();
	AutoPtr<GenericEventSubscriber> pSubscriber(new GenericEventSubscriber(host.eventURL("Missing")));
	EXPECT_THROW(host.subscribe(pSubscriber), Exception);
	EXPECT_THROW(host.unsubscribe(pSubscriber), NotFoundException);
}
