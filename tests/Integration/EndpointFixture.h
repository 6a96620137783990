#ifndef EndpointFixture_INCLUDED
#define EndpointFixture_INCLUDED

#include "../Net/LoopbackPeers.h"
#include "GENATestSupport.h"

#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Clock.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <utility>
#include <vector>

namespace EndpointTesting {

const std::string SERVICE_PATH = "/dev/svc";

/// A listener's event endpoint on a real HTTP server on 127.0.0.1, and one
/// object with events at SERVICE_PATH whose dispatcher reads the time from
/// a clock the test can move forward (advanceClock()).
class EndpointFixture : public testing::Test
{
protected:
	void SetUp() override
	{
		Tavik::UPnP::GENA::TransportFactory::registerFactory();
		_pListener->registerStateProvider(SERVICE_PATH, &_state);
		Tavik::Callweave::EventDispatcherParams params;
		params.clock = [this] { return Tavik::Clock() + _clockOffset.load(); };
		_pDispatcher = new Tavik::Callweave::EventDispatcher(Tavik::UPnP::GENA::Transport::PROTOCOL, params);
		Tavik::Callweave::ORB::instance().registerEventDispatcher(
		    serviceURL(), Tavik::UPnP::GENA::Transport::PROTOCOL, _pDispatcher);
	}

	void TearDown() override
	{
		Tavik::ThreadPool::defaultPool().joinAll();
		Tavik::Callweave::ORB::instance().unregisterEventDispatcher(serviceURL(),
		                                                            Tavik::UPnP::GENA::Transport::PROTOCOL);
		_pDispatcher->stop();
		Tavik::UPnP::GENA::TransportFactory::unregisterFactory();
	}

	std::string serviceURL() const { return "http://" + _endPoint + SERVICE_PATH; }

	/// Moves the dispatcher's clock forward by seconds.
	void advanceClock(int seconds) { _clockOffset += Tavik::Clock::ClockDiff(seconds) * 1000000; }

	/// Sends raw request text on a new connection and returns the response head.
	std::string exchange(const std::string& request)
	{
		NetTest::RawConnection connection(_endpoint.port());
		connection.send(request);
		return connection.readHead();
	}

	std::string subscribeRequest(const std::string& callbackURL,
	                             const std::string& timeout = "Second-300") const
	{
		return "SUBSCRIBE " + SERVICE_PATH + " HTTP/1.1\r\nHost: " + _endPoint + "\r\nCALLBACK: <" +
		       callbackURL + ">\r\nNT: upnp:event\r\nTIMEOUT: " + timeout + "\r\nContent-Length: 0\r\n\r\n";
	}

	std::string renewRequest(const std::string& sid, const std::string& timeout) const
	{
		return "SUBSCRIBE " + SERVICE_PATH + " HTTP/1.1\r\nHost: " + _endPoint + "\r\nSID: " + sid +
		       "\r\nTIMEOUT: " + timeout + "\r\nContent-Length: 0\r\n\r\n";
	}

	/// A NOTIFY for sid whose body holds the properties A, B and C in that order.
	std::string notifyRequest(const std::string& sid) const
	{
		const std::string body =
		    "<?xml version=\"1.0\"?><e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">"
		    "<e:property><A>1</A></e:property><e:property><B>2</B></e:property><e:property><C>3</C></"
		    "e:property>"
		    "</e:propertyset>";
		return "NOTIFY /cb HTTP/1.1\r\nHost: " + _endPoint + "\r\nSID: " + sid +
		       "\r\nContent-Type: text/xml\r\n"
		       "Content-Length: " +
		       std::to_string(body.size()) + "\r\n\r\n" + body;
	}

	static std::string headerOf(const std::string& head, const std::string& name)
	{
		const std::string::size_type start = head.find("\r\n" + name + ": ");
		if (start == std::string::npos) return "";
		const std::string::size_type value = start + name.size() + 4;
		return head.substr(value, head.find("\r\n", value) - value);
	}

	Tavik::Util::Timer _timer;
	TestSupport::ListenerEndpoint _endpoint{_timer};
	const std::string _endPoint = _endpoint.endPoint();
	Tavik::AutoPtr<TestSupport::TestListener> _pListener = _endpoint.pListener;
	TestSupport::TestState _state{{{"Volume", "7"}}};
	std::atomic<Tavik::Clock::ClockDiff> _clockOffset{0};
	Tavik::AutoPtr<Tavik::Callweave::EventDispatcher> _pDispatcher;
};

} // namespace EndpointTesting

#endif // EndpointFixture_INCLUDED
