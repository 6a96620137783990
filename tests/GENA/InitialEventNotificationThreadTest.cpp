#include "Tavik/UPnP/GENA/InitialEventNotificationThread.h"
#include "RecordingServer.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Clock.h"
#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/TestChannel.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/Util/Timer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <stdexcept>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Callweave::EventDispatcher;
using TestSupport::RecordedRequest;
using TestSupport::RecordingServer;

namespace {

using State = std::vector<std::pair<std::string, std::string>>;

const std::string LOGGER = "UPnP.GENA.InitialEventNotificationTask";
const std::string SID = "uuid:00000000-0000-0000-0000-000000000001";
const Clock NEVER(0);

class FunctionStateProvider : public StateProvider
{
public:
	explicit FunctionStateProvider(std::function<State()> state) : _state(std::move(state)) {}
	State currentState() override { return _state(); }

private:
	std::function<State()> _state;
};

const State STATUS_AND_LEVEL = {{"Status", "1"}, {"Level", "42"}};

/// A callback URL on 127.0.0.1 where nothing listens.
std::string refusingURL()
{
	RecordingServer closed;
	return closed.url("/cb");
}

class InitialEventNotificationThreadTest : public ::testing::Test
{
protected:
	void SetUp() override
	{
		TransportFactory::registerFactory();
		pChannel = new TestChannel;
		Logger::setChannel(LOGGER, pChannel);
		Logger::setLevel(LOGGER, Message::PRIO_DEBUG);
	}

	void TearDown() override
	{
		pDispatcher->stop();
		TransportFactory::unregisterFactory();
	}

	/// Runs one initial notification on this thread, as a pool thread would.
	void runNotification(const std::string& callbackURL, const std::string& requestURI = "/svc/evt")
	{
		(new InitialEventNotificationThread(*pListener, pDispatcher, callbackURL, SID, requestURI, NEVER))
		    ->run();
	}

	std::string sidAttribute()
	{
		AutoPtr<Callweave::Transport> pTransport;
		{
			ScopedLock<FastMutex> lock(pDispatcher->mutex());
			pTransport = pDispatcher->transportForSubscriber(SID);
		}
		return pTransport->getAttribute(Transport::HDR_SID);
	}

	Util::Timer timer;
	AutoPtr<Listener> pListener = new Listener("127.0.0.1:4711", timer);
	AutoPtr<EventDispatcher> pDispatcher = new EventDispatcher(Transport::PROTOCOL);
	AutoPtr<TestChannel> pChannel;
	RecordingServer subscriber;
};

} // namespace

TEST_F(InitialEventNotificationThreadTest, CurrentStateGoesFirstWithSeqZeroThenEventsFromOne)
{
	FunctionStateProvider provider([] { return STATUS_AND_LEVEL; });
	pListener->registerStateProvider("http://127.0.0.1:4711/svc/evt", &provider);

	const auto started = std::chrono::steady_clock::now();
	runNotification(subscriber.url("/cb?x=1"), "/svc/evt?a=1");
	ASSERT_TRUE(subscriber.waitFor(1));
	EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(100));

	const RecordedRequest initial = subscriber.requests()[0];
	EXPECT_EQ(initial.method, "NOTIFY");
	EXPECT_EQ(initial.uri, "/cb?x=1");
	EXPECT_EQ(initial.headers.get("Transfer-Encoding"), "chunked");
	EXPECT_FALSE(initial.headers.has("Content-Length"));
	EXPECT_EQ(initial.headers.get("Content-Type"), "text/xml; charset=\"utf-8\"");
	EXPECT_EQ(initial.headers.get("NT"), "upnp:event");
	EXPECT_EQ(initial.headers.get("NTS"), "upnp:propchange");
	EXPECT_EQ(initial.headers.get("SEQ"), "0");
	EXPECT_EQ(initial.headers.get("SID"), SID);
	EXPECT_EQ(initial.body, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
	                        "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">\n"
	                        "\t<e:property>\n"
	                        "\t\t<Status>1</Status>\n"
	                        "\t</e:property>\n"
	                        "\t<e:property>\n"
	                        "\t\t<Level>42</Level>\n"
	                        "\t</e:property>\n"
	                        "</e:propertyset>\n");

	pDispatcher->fireEvent("Status",
	                       [](Callweave::Serializer& serializer) { serializer.serialize("data", 2); });
	pDispatcher->fireEvent("Status",
	                       [](Callweave::Serializer& serializer) { serializer.serialize("data", 3); });
	ASSERT_TRUE(subscriber.waitFor(3));
	const auto requests = subscriber.requests();
	EXPECT_EQ(requests[1].headers.get("SEQ"), "1");
	EXPECT_EQ(requests[1].headers.get("SID"), SID);
	EXPECT_EQ(requests[2].headers.get("SEQ"), "2");
	EXPECT_EQ(pChannel->count(""), 0u);
}

namespace {

/// One row of the outcome table of an initial notification.
struct Outcome
{
	const char* name;
	/// The provider's behaviour; null: no provider registered.
	std::function<State()> state;
	/// The subscriber's answer to the initial NOTIFY.
	Net::HTTPResponse::HTTPStatus answer;
	bool refuseConnection;
	bool notifySent;
	bool registered;
	/// Error-priority log lines, and a text each must contain.
	std::size_t errorLines;
	const char* logPart;
};

const Outcome OUTCOMES[] = {
    {"StateDelivered", [] { return STATUS_AND_LEVEL; }, Net::HTTPResponse::HTTP_OK, false, true, true, 0, ""},
    {"NoProvider", nullptr, Net::HTTPResponse::HTTP_OK, false, false, true, 0, ""},
    {"EmptyState", [] { return State(); }, Net::HTTPResponse::HTTP_OK, false, false, true, 0, ""},
    {"Reply412", [] { return STATUS_AND_LEVEL; }, Net::HTTPResponse::HTTP_PRECONDITION_FAILED, false, true,
     false, 2, ""},
    {"ConnectionRefused", [] { return STATUS_AND_LEVEL; }, Net::HTTPResponse::HTTP_OK, true, false, false, 1,
     ""},
    {"ProviderThrowsTavikException", []() -> State { throw IllegalStateException("sensor offline"); },
     Net::HTTPResponse::HTTP_OK, false, false, false, 1, "sensor offline"},
    {"ProviderThrowsForeignException", []() -> State { throw std::runtime_error("sensor offline"); },
     Net::HTTPResponse::HTTP_OK, false, false, false, 0, ""},
};

class InitialEventOutcomeTest : public InitialEventNotificationThreadTest,
                                public ::testing::WithParamInterface<Outcome>
{
};

} // namespace

TEST_P(InitialEventOutcomeTest, RegistersOnlyAfterTheInitialEventSucceeded)
{
	const Outcome& outcome = GetParam();
	FunctionStateProvider provider(outcome.state);
	if (outcome.state) pListener->registerStateProvider("/svc/evt", &provider);
	subscriber.answerWith([&](const RecordedRequest&) { return outcome.answer; });

	runNotification(outcome.refuseConnection ? refusingURL() : subscriber.url("/cb"));

	// run() has returned: whatever it sent has been answered.
	EXPECT_EQ(subscriber.requests().size(), outcome.notifySent ? 1u : 0u);
	EXPECT_EQ(pDispatcher->subscriberCount(), outcome.registered ? 1u : 0u);
	if (outcome.registered)
	{
		EXPECT_EQ(sidAttribute(), SID);
	}
	EXPECT_EQ(pChannel->count("", Message::PRIO_ERROR), outcome.errorLines);
	EXPECT_EQ(pChannel->count(outcome.logPart, Message::PRIO_ERROR), outcome.errorLines);
	EXPECT_EQ(pChannel->count(""), outcome.errorLines);
}

INSTANTIATE_TEST_SUITE_P(Outcomes, InitialEventOutcomeTest, ::testing::ValuesIn(OUTCOMES),
                         [](const ::testing::TestParamInfo<Outcome>& info) { return info.param.name; });

TEST_F(InitialEventNotificationThreadTest, RefusedInitialEventLogsTheStatusAndTheFailure)
{
	FunctionStateProvider provider([] { return STATUS_AND_LEVEL; });
	pListener->registerStateProvider("/svc/evt", &provider);
	subscriber.answerWith([](const RecordedRequest&) { return Net::HTTPResponse::HTTP_PRECONDITION_FAILED; });

	runNotification(subscriber.url("/cb"));

	const std::vector<Message> messages = pChannel->messages();
	ASSERT_EQ(messages.size(), 2u);
	EXPECT_EQ(messages[0].text(), "HTTP error while sending initial event message to " +
	                                  subscriber.url("/cb") + "; HTTP status: 412 Precondition Failed");
	EXPECT_EQ(messages[1].text(), "I/O error: initial event message failed");

	// Not registered, so regular events do not reach it.
	pDispatcher->fireEvent("Status", EventDispatcher::EventWriter());
	EXPECT_EQ(pDispatcher->subscriberCount(), 0u);
}

TEST_F(InitialEventNotificationThreadTest, DispatcherFailuresAreLoggedNotThrown)
{
	(new InitialEventNotificationThread(*pListener, AutoPtr<EventDispatcher>(), subscriber.url("/cb"), SID,
	                                    "/svc/evt", NEVER))
	    ->run();
	EXPECT_EQ(pChannel->count("Null pointer", Message::PRIO_ERROR), 1u);

	// A stopped dispatcher refuses subscribe(): the subscriber stays unregistered.
	pDispatcher->stop();
	runNotification(subscriber.url("/cb"));
	EXPECT_EQ(pChannel->count("", Message::PRIO_ERROR), 2u);
	EXPECT_EQ(pDispatcher->subscriberCount(), 0u);
}
