#include "EndpointFixture.h"
#include "RecordingServer.h"

#include "Tavik/Net/HTTPServerParams.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/Listener.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;

namespace {

constexpr int CLIENTS = 16;
constexpr int ROUNDS = 50;
/// Every SUBSCRIBE_EVERY-th round of a client also subscribes. Each new
/// subscription holds a thread of the default pool for its initial event
/// (100 ms and the exchange), so the test keeps its 160 subscriptions below
/// the pool's 256 threads even when the sink is slow to answer; a burst
/// beyond that loses initial events (bench/endpoint-load.sh measures it).
constexpr int SUBSCRIBE_EVERY = 5;
constexpr int SUBSCRIPTIONS = CLIENTS * ROUNDS / SUBSCRIBE_EVERY;

/// What one client thread saw: the SIDs granted and every unexpected answer.
struct ClientResult
{
	std::vector<std::string> sids;
	std::vector<std::string> errors;
};

class ConcurrencyTest : public EndpointTesting::EndpointFixture
{
protected:
	/// One client: on its own keep-alive connection, ROUNDS times a NOTIFY
	/// for the listener's own subscription, every SUBSCRIBE_EVERY-th round
	/// preceded by a new SUBSCRIBE.
	void runClient(const std::string& callbackURL, ClientResult& result)
	{
		try
		{
			NetTest::RawConnection connection(_endpoint.port());
			for (int round = 0; round < ROUNDS; ++round)
			{
				if (round % SUBSCRIBE_EVERY == 0)
				{
					connection.send(subscribeRequest(callbackURL));
					const std::string subscribed = connection.readHead();
					if (subscribed.find("HTTP/1.1 200 OK\r\n") == 0)
						result.sids.push_back(headerOf(subscribed, "SID"));
					else
						result.errors.push_back(subscribed);
				}
				connection.send(notifyRequest("uuid:mine"));
				const std::string notified = connection.readHead();
				if (notified.find("HTTP/1.1 200 OK\r\n") != 0) result.errors.push_back(notified);
			}
		}
		catch (const std::exception& exc)
		{
			result.errors.push_back(exc.what());
		}
	}
};

TEST_F(ConcurrencyTest, ManySubscribeAndNotifyRequestsAtOnceAreAllServed)
{
	Net::HTTPServerParams sinkParams;
	sinkParams.maxQueued = SUBSCRIPTIONS; // every initial event may arrive at once
	TestSupport::RecordingServer sink(sinkParams);
	AutoPtr<TestSupport::RecordingSubscriber> pSubscriber(new TestSupport::RecordingSubscriber);
	_pListener->addSubscription("uuid:mine", Listener::Subscription{pSubscriber, AutoPtr<Util::TimerTask>()});

	std::vector<ClientResult> results(CLIENTS);
	std::vector<std::thread> clients;
	for (int i = 0; i < CLIENTS; ++i)
		clients.emplace_back(
		    [this, &sink, &results, i] { runClient(sink.url("/cb/" + std::to_string(i)), results[i]); });
	for (std::thread& client : clients)
		client.join();

	std::set<std::string> granted;
	for (const ClientResult& result : results)
	{
		EXPECT_EQ(std::vector<std::string>(), result.errors);
		granted.insert(result.sids.begin(), result.sids.end());
	}
	EXPECT_EQ(std::size_t(SUBSCRIPTIONS), granted.size()) << "every SID granted once";
	EXPECT_EQ(std::size_t(CLIENTS * ROUNDS * 3), pSubscriber->names().size());

	ASSERT_TRUE(sink.waitFor(granted.size()));
	ThreadPool::defaultPool().joinAll();
	const std::vector<TestSupport::RecordedRequest> requests = sink.requests();
	EXPECT_EQ(granted.size(), requests.size());
	std::set<std::string> notified;
	for (const TestSupport::RecordedRequest& request : requests)
	{
		EXPECT_EQ("0", request.headers.get("SEQ", ""));
		notified.insert(request.headers.get("SID", ""));
	}
	EXPECT_EQ(granted, notified) << "one initial event for every subscription";
	EXPECT_EQ(granted.size(), _pDispatcher->subscriberCount());
}

} // namespace
