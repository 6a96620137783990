// The senders of NOTIFY: the transport of regular events, and the initial event.

#include "Tavik/Callweave/TransportException.h"
#include "Tavik/Logger.h"
#include "Tavik/TestChannel.h"
#include "Tavik/UPnP/GENA/InitialEventNotificationThread.h"
#include "Tavik/XML/XMLException.h"

#include "GENATestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string_view>

using namespace Tavik;
using namespace TestSupport;
using Tavik::Callweave::EventDispatcher;
using Tavik::Callweave::SerializerBase;
using Tavik::UPnP::GENA::Transport;
using testing::ThrowsMessage;

namespace {

const SerializerBase::MessageType EVENT = SerializerBase::MESSAGE_EVENT;

class NumberedTransport : public Transport
{
public:
	NumberedTransport(std::uint32_t first, bool keepAlive) : Transport(Timespan(10, 0), keepAlive, Timespan(8, 0))
	{
		setNextSequenceNumber(first);
	}
};

/// Sends the event Status=1 as the dispatcher does.
void sendStatus(Transport& transport)
{
	Callweave::Serializer& serializer = transport.beginMessage("", "", "Status", EVENT);
	serializer.serializeMessageBegin("Status", EVENT);
	serializer.serialize("data", 1);
	serializer.serializeMessageEnd("Status", EVENT);
	transport.sendMessage("", "", "Status", EVENT);
	transport.endRequest();
}

/// A NOTIFY as "METHOD URI, framing, Content-Type, NT, NTS, SID, SEQ".
std::string notify(const Received& request)
{
	std::string text = request.method + " " + request.uri;
	for (const char* name : {"Transfer-Encoding", "Content-Length", "Content-Type", "NT", "NTS", "SID", "SEQ"})
		text += request.headers.has(name) ? ", " + request.headers.get(name) : "";
	return text;
}

class FunctionState : public UPnP::GENA::StateProvider
{
public:
	explicit FunctionState(std::function<Properties()> state) : _state(std::move(state)) {}
	Properties currentState() override { return _state(); }

private:
	std::function<Properties()> _state;
};

/// The initial event of SID to the subscriber.
class InitialEventTest : public PublisherFixture
{
protected:
	InitialEventTest() { Logger::setChannel("UPnP.GENA.InitialEventNotificationTask", pChannel); }

	/// Runs the initial event on this thread, as a pool thread would.
	void run(AutoPtr<EventDispatcher> pTo, const std::string& callbackURL, const std::string& requestURI = SERVICE_PATH)
	{
		(new UPnP::GENA::InitialEventNotificationThread(*pListener, pTo, callbackURL, SID, requestURI, Clock(0)))->run();
	}

	const std::string SID = "uuid:00000000-0000-0000-0000-000000000001";
	AutoPtr<TestChannel> pChannel = new TestChannel;
	HTTPPeer subscriber;
};

enum class Setup { NONE, REFUSED, UNREACHABLE, STOPPED, NO_DISPATCHER };

struct Outcome
{
	const char* name;
	operator std::string_view() const { return name; } // what gtest prints
	std::function<Properties()> state; // none: no provider
	Setup setup;
	std::string result; // "NOTIFY|" when sent, "registered|", then "priority text|" per line logged
};

class InitialEventOutcomeTest : public InitialEventTest, public ::testing::WithParamInterface<Outcome> {};

const auto SOME_STATE = [] { return Properties{{"A", "1"}}; };

} // namespace

TEST(TransportTest, NumberingSurvivesFailedMessagesAndReconnectionAndWrapsToOne)
{
	HTTPPeer subscriber;
	AutoPtr<Transport> pTransport = new NumberedTransport(4294967294u, true);
	EXPECT_THROW(pTransport->beginRequest("", "", "", EVENT), NullPointerException); // never connected
	pTransport->connect(subscriber.url("/cb"));
	sendStatus(*pTransport);
	for (const auto type : {SerializerBase::MESSAGE_REQUEST, SerializerBase::MESSAGE_REPLY})
		EXPECT_THROW(pTransport->beginMessage("", "", "", type), BugcheckException);
	sendStatus(*pTransport);
	pTransport->disconnect();
	EXPECT_EQ(std::to_string(pTransport->connected()) + pTransport->endPoint(), "0");
	pTransport->connect(subscriber.url("/cb"));
	sendStatus(*pTransport);

	ASSERT_TRUE(subscriber.waitFor(3));
	const std::vector<Received> requests = subscriber.requests();
	EXPECT_EQ(requests[0].headers.get("SEQ") + " " + requests[1].headers.get("SEQ") + " " + requests[2].headers.get("SEQ"),
	          "4294967295 1 2");
	// Kept alive until disconnected.
	EXPECT_EQ(requests[0].clientPort, requests[1].clientPort);
	EXPECT_NE(requests[1].clientPort, requests[2].clientPort);
}

TEST(TransportTest, TwoWayEventsNeedAPropertySetWith200)
{
	HTTPPeer subscriber([](const Received&, std::size_t index) {
		return Answer{index == 0 ? Net::HTTPResponse::HTTP_NO_CONTENT : Net::HTTPResponse::HTTP_OK, {}};
	});
	AutoPtr<Transport> pTransport = new NumberedTransport(1, false);
	pTransport->connect(subscriber.url("/cb"));
	pTransport->beginRequest("", "", "Status", EVENT);
	EXPECT_THAT([&] { pTransport->sendRequest("", "", "Status", EVENT); },
	            ThrowsMessage<Callweave::TransportException>("HTTP Error: No Content"));
	pTransport->endRequest();
	pTransport->beginRequest("", "", "Status", EVENT);
	EXPECT_THROW(pTransport->sendRequest("", "", "Status", EVENT), XML::SAXParseException); // the empty body
}

TEST_F(InitialEventTest, SendsTheStateWithSEQZeroAndThenRegistersTheSubscriber)
{
	run(pDispatcher, subscriber.url("/cb?x=1"), std::string(SERVICE_PATH) + "?a=1");
	pDispatcher->fireEvent("Status", [](Callweave::Serializer& serializer) { serializer.serialize("data", 2); });
	pDispatcher->fireEvent("Status", [](Callweave::Serializer& serializer) { serializer.serialize("data", 3); });

	ASSERT_TRUE(subscriber.waitFor(3));
	const std::vector<Received> requests = subscriber.requests();
	const std::string format = "NOTIFY /cb?x=1, chunked, text/xml; charset=\"utf-8\", upnp:event, upnp:propchange, " + SID;
	EXPECT_EQ(notify(requests[0]) + " | " + notify(requests[1]), format + ", 0 | " + format + ", 1");
	const auto body = [](const std::string& variable) {
		return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">\n"
		       "\t<e:property>\n\t\t" + variable + "\n\t</e:property>\n</e:propertyset>\n";
	};
	EXPECT_EQ(requests[0].body, body("<Volume>7</Volume>"));
	EXPECT_EQ(requests[1].body, body("<Status>2</Status>"));
	EXPECT_EQ(notify(requests[2]), format + ", 2");
	EXPECT_NE(requests[1].clientPort, requests[2].clientPort); // not kept alive
	EXPECT_EQ(pChannel->count(""), 0u);
}

TEST_P(InitialEventOutcomeTest, RegistersOnlyAfterTheInitialEventSucceeded)
{
	const Outcome& row = GetParam();
	FunctionState state(row.state);
	if (row.state) pListener->registerStateProvider(SERVICE_PATH, &state);
	else pListener->unregisterStateProvider(SERVICE_PATH);
	if (row.setup == Setup::REFUSED)
		subscriber.answerWith([](const Received&, std::size_t) { return Answer{Net::HTTPResponse::HTTP_PRECONDITION_FAILED, {}}; });
	if (row.setup == Setup::UNREACHABLE) subscriber.stop();
	if (row.setup == Setup::STOPPED) pDispatcher->stop();

	run(row.setup == Setup::NO_DISPATCHER ? nullptr : pDispatcher, subscriber.url("/cb"));
	std::string result = subscriber.requests().empty() ? "" : "NOTIFY|";
	result += pDispatcher->subscriberCount() == 1 ? "registered|" : "";
	for (const Message& message : pChannel->messages())
		result += std::to_string(message.priority()) + " " + message.text() + "|";
	const std::string peer = "127.0.0.1:" + std::to_string(subscriber.port());
	if (const std::string::size_type at = result.find(peer); at != std::string::npos) result.replace(at, peer.size(), "PEER");
	EXPECT_EQ(result, row.result);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, InitialEventOutcomeTest,
    ::testing::Values(
        Outcome{"NoProvider", nullptr, Setup::NONE, "registered|"},
        Outcome{"EmptyState", [] { return Properties(); }, Setup::NONE, "registered|"},
        Outcome{"Refused", SOME_STATE, Setup::REFUSED,
                "NOTIFY|3 HTTP error while sending initial event message to http://PEER/cb; HTTP status: 412 "
                "Precondition Failed|3 I/O error: initial event message failed|"},
        Outcome{"Unreachable", SOME_STATE, Setup::UNREACHABLE, "3 Connection refused: PEER|"},
        Outcome{"ProviderFails", []() -> Properties { throw IllegalStateException("sensor offline"); }, Setup::NONE,
                "3 Illegal state: sensor offline|"},
        Outcome{"ProviderFailsForeign", []() -> Properties { throw std::runtime_error("offline"); }, Setup::NONE, ""},
        Outcome{"NoDispatcher", nullptr, Setup::NO_DISPATCHER, "3 Null pointer|"},
        Outcome{"DispatcherStopped", nullptr, Setup::STOPPED, "3 Illegal state: Event dispatcher stopped|"}),
    [](const ::testing::TestParamInfo<Outcome>& info) { return std::string(info.param.name); });
