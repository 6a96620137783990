// The subscription client against a scripted publisher on loopback, renewing
// on a test-driven timer, and the listener's early-NOTIFY grace and SEQ tracking.

#include "GENATestSupport.h"
#include "ManualTimer.h"
#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/TestChannel.h"
#include "Tavik/ThreadPool.h"

#include <gtest/gtest.h>

#include <future>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using Tavik::Net::HTTPResponse;
using namespace TestSupport;

namespace {

const std::string PATH = "/dev/svc?x=1";
const std::string SUBSCRIBE =
    "SUBSCRIBE " + PATH + " <http://10.0.0.5:8080/upnp-eventing> upnp:event Second-";
const Timespan PERIOD(1350, 0); // 75 % of a 1800 s grant
const std::string EARLY = "NOTIFY for unknown SID ";

template <class Row> std::string nameOf(const testing::TestParamInfo<Row>& info)
{
	return info.param.name;
}

template <class Base, class Row> class Table : public Base, public testing::WithParamInterface<Row>
{
};

/// What action threw, with its code; empty when it returned.
template <class Action> std::string thrown(Action action)
{
	try
	{
		action();
	}
	catch (const Exception& exc)
	{
		return exc.displayText() + " " + std::to_string(exc.code());
	}
	return "";
}

Answer grant(const std::string& sid, const std::string& timeout = "Second-1800")
{
	return Answer{HTTPResponse::HTTP_OK, {{"SID", sid}, {"TIMEOUT", timeout}}};
}

/// Each request the publisher answered: method, URI and the GENA header values.
std::vector<std::string> summary(const HTTPPeer& publisher)
{
	std::vector<std::string> lines;
	for (const Received& request : publisher.requests())
	{
		lines.push_back(request.method + " " + request.uri);
		for (const char* name : {"CALLBACK", "NT", "SID", "TIMEOUT"})
			lines.back() += request.headers.has(name) ? " " + request.headers.get(name) : "";
	}
	return lines;
}

/// Sends a NOTIFY of Count=7 to a listener's endpoint; the status.
int notify(unsigned short port, const std::string& sid, const std::string& seq)
{
	return statusOf(TestSupport::exchange(port, notifyRequest("/upnp-eventing", sid, seq, {{"Count", "7"}})));
}

class SubscriptionClientTest : public testing::Test
{
protected:
	SubscriptionClientTest()
	{
		Logger::setChannel("UPnP.GENA", pChannel);
		Logger::setLevel("UPnP.GENA", Message::PRIO_DEBUG);
	}

	~SubscriptionClientTest() override { Logger::setChannel("UPnP.GENA", nullptr); }

	AutoPtr<Callweave::EventSubscriber> subscriberOf(const HTTPPeer& publisher)
	{
		return new Callweave::GenericEventSubscriber(publisher.url(PATH));
	}

	/// Moves the timer on by span; returns once the renewals due have finished.
	void pass(const Timespan& span)
	{
		ASSERT_TRUE(manual.advance(span));
		ThreadPool::defaultPool().joinAll();
	}

	AutoPtr<TestChannel> pChannel = new TestChannel;
	ManualTimer manual; // outlives the listeners
	AutoPtr<Listener> pListener = new Listener("10.0.0.5:8080", manual.timer());
};

struct SubscribeRow
{
	const char* name;
	int listenerTimeout;
	Answer answer;
	const char* error;
	int grant; ///< the seconds granted, renewed at 75 %; 0: never renewed
	friend void PrintTo(const SubscribeRow& row, std::ostream* pStream) { *pStream << row.name; }
};

using SubscribeTest = Table<SubscriptionClientTest, SubscribeRow>;

TEST_P(SubscribeTest, SendsCallbackTimeoutAndNtThenStoresTheSidAndRenewsAsGrantedOrThrows)
{
	const SubscribeRow& row = GetParam();
	HTTPPeer publisher([row](const Received&, std::size_t) { return row.answer; });
	AutoPtr<Callweave::EventSubscriber> pSubscriber = subscriberOf(publisher);
	pListener->setEventSubscriptionTimeout(row.listenerTimeout);
	EventCounter renewed(pListener->subscriptionRenewed);

	EXPECT_EQ(row.error, thrown([&] { pListener->subscribeToEvents(pSubscriber); }));
	EXPECT_EQ(!*row.error, pListener->findSubscriber("uuid:g") == pSubscriber);
	const Timespan period(row.grant ? row.grant * 3 / 4 : 1000000, 0);
	pass(period - Timespan(0, 1000));
	EXPECT_EQ(1u, publisher.requests().size()) << "renewed early";
	pass(Timespan(0, 1000));
	pass(period);

	const std::string first =
	    SUBSCRIBE + (row.listenerTimeout > 0 ? std::to_string(row.listenerTimeout) : "infinite");
	const std::string renewal = "SUBSCRIBE " + PATH + " uuid:g Second-" + std::to_string(row.grant);
	EXPECT_EQ(
	    (row.grant ? std::vector<std::string>{first, renewal, renewal} : std::vector<std::string>{first}),
	    summary(publisher));
	EXPECT_EQ(std::vector<std::string>(row.grant ? 2 : 0, publisher.url(PATH)), renewed.uris());
}

Answer answer(HTTPResponse::HTTPStatus status, std::vector<std::pair<std::string, std::string>> headers)
{
	headers.emplace_back("SID", "uuid:g");
	return Answer{status, headers};
}

const HTTPResponse::HTTPStatus OK = HTTPResponse::HTTP_OK;
const char* const NO_SID = "I/O error: Missing SID header in subscription response 0";

// Without a TIMEOUT the requested seconds count; TIMEOUT texts: tests/GENA.
INSTANTIATE_TEST_SUITE_P(
    Responses, SubscribeTest,
    testing::Values(SubscribeRow{"Granted", 300, answer(OK, {{"TIMEOUT", "Second-1800"}}), "", 1800},
                    SubscribeRow{"NoTimeoutGranted", 1800, answer(OK, {}), "", 1800},
                    SubscribeRow{"EmptyTimeoutGranted", 300, answer(OK, {{"TIMEOUT", ""}}), "", 300},
                    SubscribeRow{"ZeroAsksInfinite", 0, answer(OK, {{"TIMEOUT", "Second-infinite"}}), "", 0},
                    SubscribeRow{"Status201", 1800, answer(HTTPResponse::HTTP_CREATED, {}),
                                 "I/O error: HTTP error: Created 201", 0},
                    SubscribeRow{"Status500", 1800, Answer{HTTPResponse::HTTP_INTERNAL_SERVER_ERROR, {}},
                                 "I/O error: HTTP error: Internal Server Error 500", 0},
                    SubscribeRow{"NoSid", 1800, Answer{OK, {{"TIMEOUT", "Second-60"}}}, NO_SID, 0},
                    SubscribeRow{"NoSidBeforeBadTimeout", 1800, Answer{OK, {{"TIMEOUT", "60"}}}, NO_SID, 0},
                    SubscribeRow{"InvalidTimeout", 1800, answer(OK, {{"TIMEOUT", "Seconds-60"}}),
                                 "I/O error: Invalid TIMEOUT header in subscription response 0", 0}),
    nameOf<SubscribeRow>);

TEST_F(SubscriptionClientTest, UnsubscribeSendsTheSmallestSidOfTheSubscriberAndRemovesItWhateverTheAnswer)
{
	HTTPPeer publisher([](const Received& request, std::size_t index) {
		if (request.method == "SUBSCRIBE") return grant(index == 0 ? "uuid:b" : "uuid:a");
		return Answer{index == 2 ? HTTPResponse::HTTP_OK : HTTPResponse::HTTP_PRECONDITION_FAILED, {}};
	});
	AutoPtr<Callweave::EventSubscriber> pSubscriber = subscriberOf(publisher);
	pListener->subscribeToEvents(pSubscriber);
	pListener->subscribeToEvents(pSubscriber);

	pListener->unsubscribeFromEvents(pSubscriber);
	pListener->unsubscribeFromEvents(pSubscriber); // refused: a warning
	EXPECT_EQ("Not found: Unknown subscriber 0",
	          thrown([&] { pListener->unsubscribeFromEvents(pSubscriber); }));
	EXPECT_EQ(
	    (std::vector<std::string>{SUBSCRIBE + "1800", SUBSCRIBE + "1800", "UNSUBSCRIBE " + PATH + " uuid:a",
	                              "UNSUBSCRIBE " + PATH + " uuid:b"}),
	    summary(publisher));
	EXPECT_EQ(1u, pChannel->count("Unsubscribe (SID: uuid:b) failed: 412 Precondition Failed",
	                              Message::PRIO_WARNING));
}

struct RenewalRow
{
	const char* name;
	HTTPResponse::HTTPStatus renewal;     ///< the answer to the renewal
	HTTPResponse::HTTPStatus resubscribe; ///< the answer to a new SUBSCRIBE after it
	std::size_t requests;
	const char* fired; ///< how often subscriptionRenewed, ...RenewalFailed and ...Lost fired
	std::size_t messages;
	std::string lastMessage; ///< its start
	const char* sidAfter;    ///< the subscription held afterwards
	friend void PrintTo(const RenewalRow& row, std::ostream* pStream) { *pStream << row.name; }
};

using RenewalOutcomeTest = Table<SubscriptionClientTest, RenewalRow>;

TEST_P(RenewalOutcomeTest, IsReportedAndLogged)
{
	const RenewalRow& row = GetParam();
	HTTPPeer publisher([row](const Received& request, std::size_t index) {
		if (index == 0) return grant("uuid:old");
		if (request.method == "UNSUBSCRIBE") return Answer();
		if (request.headers.has("SID")) return Answer{row.renewal, {}};
		return row.resubscribe == HTTPResponse::HTTP_OK ? grant("uuid:new") : Answer{row.resubscribe, {}};
	});
	AutoPtr<Callweave::EventSubscriber> pSubscriber = subscriberOf(publisher);
	EventCounter renewed(pListener->subscriptionRenewed);
	EventCounter failed(pListener->subscriptionRenewalFailed);
	EventCounter lost(pListener->subscriptionLost);
	pListener->subscribeToEvents(pSubscriber);
	if (row.requests == 1) publisher.stop(); // the renewal cannot reach it

	pass(PERIOD);

	const std::vector<std::string> resubscribed = {SUBSCRIBE + "1800",
	                                               "SUBSCRIBE " + PATH + " uuid:old Second-1800",
	                                               "UNSUBSCRIBE " + PATH + " uuid:old", SUBSCRIBE + "1800"};
	EXPECT_EQ(std::vector<std::string>(resubscribed.begin(), resubscribed.begin() + row.requests),
	          summary(publisher));
	EXPECT_EQ(row.fired, std::to_string(renewed.uris().size()) + std::to_string(failed.uris().size()) +
	                         std::to_string(lost.uris().size()));
	const std::vector<Message> messages = pChannel->messages();
	ASSERT_EQ(row.messages, messages.size());
	EXPECT_EQ(0u, messages.back().text().find(row.lastMessage)) << messages.back().text();
	for (const char* sid : {"uuid:old", "uuid:new"})
		EXPECT_EQ(std::string(sid) == row.sidAfter, pListener->findSubscriber(sid) == pSubscriber) << sid;
}

const std::string RENEWAL_ERROR =
    "Error while renewing event subscription (URI=/dev/svc?x=1, SID=uuid:old): ";

INSTANTIATE_TEST_SUITE_P(
    Outcomes, RenewalOutcomeTest,
    testing::Values(
        RenewalRow{
            "RefusedIsSubscribedAnew", HTTPResponse::HTTP_PRECONDITION_FAILED, HTTPResponse::HTTP_OK, 4,
            "000", 1,
            "Renewal failed; attempting to re-subscribe (URI=/dev/svc?x=1, SID=uuid:old): 412 Precondition",
            "uuid:new"},
        // Warned as above, the new SUBSCRIBE's exception logged, then:
        RenewalRow{"RefusedAndRefusedAgainIsLost", HTTPResponse::HTTP_PRECONDITION_FAILED,
                   HTTPResponse::HTTP_SERVICE_UNAVAILABLE, 4, "001", 3,
                   "Event subscription lost (URI=/dev/svc?x=1, SID=uuid:old): 412 Precondition Failed", ""},
        RenewalRow{"ServerErrorFails", HTTPResponse::HTTP_INTERNAL_SERVER_ERROR, HTTPResponse::HTTP_OK, 2,
                   "010", 1, "HTTP " + RENEWAL_ERROR + "500 Internal Server Error", "uuid:old"},
        RenewalRow{"UnreachableFails", HTTPResponse::HTTP_OK, HTTPResponse::HTTP_OK, 1, "010", 1,
                   RENEWAL_ERROR, "uuid:old"}),
    nameOf<RenewalRow>);

/// A listener on a real endpoint; the publisher holds its first SUBSCRIBE until released.
class ListenerSettingsTest : public SubscriptionClientTest
{
protected:
	~ListenerSettingsTest() override { release.open(); }

	void configure(Timespan grace, bool trackSequence = false)
	{
		Listener::Settings settings;
		settings.earlyNotifyGrace = grace;
		settings.trackSequence = trackSequence;
		endpoint.pListener->setSettings(settings);
	}

	Gate subscribeArrived;
	Gate release;
	HTTPPeer publisher{[this](const Received& request, std::size_t) {
		if (request.method != "SUBSCRIBE") return Answer();
		subscribeArrived.open();
		release.wait();
		return grant("uuid:s1");
	}};
	EventRecorder recorder{publisher.url(PATH)};
	ListenerEndpoint endpoint{manual.timer()};
};

struct EarlyRow
{
	const char* name;
	Timespan grace;
	const char* sid;
	int status;
	bool waits;
	friend void PrintTo(const EarlyRow& row, std::ostream* pStream) { *pStream << row.name; }
};

using EarlyNotifyTest = Table<ListenerSettingsTest, EarlyRow>;

TEST_P(EarlyNotifyTest, InitialNotifyBeforeTheSubscribeResponse)
{
	const EarlyRow& row = GetParam();
	configure(row.grace);
	auto subscribed = std::async(std::launch::async,
	                             [this] { endpoint.pListener->subscribeToEvents(recorder.pSubscriber); });
	ASSERT_TRUE(subscribeArrived.wait());

	auto notified =
	    std::async(std::launch::async, [this, &row] { return notify(endpoint.port(), row.sid, "0"); });
	// Answered while the SUBSCRIBE is still held.
	const int early = row.status == 200 ? 0 : notified.get();
	EXPECT_TRUE(!row.waits || pChannel->waitFor(1, EARLY + row.sid + " waits", Message::PRIO_DEBUG));
	EXPECT_EQ(row.waits, pChannel->count(EARLY, Message::PRIO_DEBUG));
	release.open();
	subscribed.get();

	EXPECT_EQ(row.status, early ? early : notified.get());
	EXPECT_EQ(std::vector<std::string>(row.status == 200, "Count=7"), recorder.events());
}

INSTANTIATE_TEST_SUITE_P(
    Grace, EarlyNotifyTest,
    testing::Values(EarlyRow{"NoGrace", Timespan(), "uuid:s1", 412, false},
                    EarlyRow{"GraceWaitsForTheSid", Timespan(20, 0), "uuid:s1", 200, true},
                    EarlyRow{"GraceRunsOutForAnotherSid", Timespan(0, 200000), "uuid:other", 412, true}),
    nameOf<EarlyRow>);

struct SequenceRow
{
	const char* name;
	std::vector<std::string> seqs;
	std::vector<std::string> gaps; ///< expected>received
	friend void PrintTo(const SequenceRow& row, std::ostream* pStream) { *pStream << row.name; }
};

using SequenceGapTest = Table<ListenerSettingsTest, SequenceRow>;

TEST_P(SequenceGapTest, ReportsSkippedNumbersAndDeliversEveryNotify)
{
	configure(Timespan(), true);
	endpoint.pListener->addSubscription("uuid:t", Listener::Subscription{recorder.pSubscriber, nullptr});
	StringLog gaps;
	Delegate<const Listener::SequenceGap> onGap([&](const void*, const Listener::SequenceGap& gap) {
		const bool ours = gap.sid == "uuid:t" && gap.endpointURI == publisher.url(PATH);
		gaps.add((ours ? "" : "of another ") + std::to_string(gap.expected) + ">" +
		         std::to_string(gap.received));
	});
	endpoint.pListener->sequenceGap += onGap;

	for (const std::string& seq : GetParam().seqs)
		EXPECT_EQ(200, notify(endpoint.port(), "uuid:t", seq)) << seq;

	endpoint.pListener->sequenceGap -= onGap;
	EXPECT_EQ(GetParam().gaps, gaps.entries());
	EXPECT_EQ(GetParam().seqs.size(), recorder.events().size());
}

INSTANTIATE_TEST_SUITE_P(
    Sequences, SequenceGapTest,
    testing::Values(SequenceRow{"InOrder", {"0", "1", "2", "3"}, {}},
                    SequenceRow{"Skipped", {"0", "1", "4", "5"}, {"2>4"}},
                    SequenceRow{"FirstIsNotZero", {"3", "4"}, {"0>3"}},
                    SequenceRow{"Duplicate", {"0", "1", "1", "2"}, {}},
                    SequenceRow{"Older", {"0", "1", "2", "3", "1", "4"}, {}},
                    SequenceRow{"ZeroStartsAgain", {"0", "1", "2", "0", "1"}, {}},
                    SequenceRow{"WrapToOne", {"4294967294", "4294967295", "1", "2"}, {"0>4294967294"}},
                    SequenceRow{"GapAcrossTheWrap", {"4294967294", "2"}, {"0>4294967294", "4294967295>2"}},
                    SequenceRow{"OlderAcrossTheWrap", {"4294967295", "1", "4294967295"}, {"0>4294967295"}},
                    SequenceRow{"NoDecimalSeqIsNotTracked", {"0", "", "x", "-1", "1"}, {}}),
    nameOf<SequenceRow>);

} // namespace
