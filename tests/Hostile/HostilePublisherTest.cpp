// Publishers that misbehave, as the subscription client meets them: every
// broken answer to SUBSCRIBE ends in the exchange's exception with nothing
// stored, a slow publisher holds up only its own subscribeToEvents(), and a
// renewal answered with garbage is reported and logged.

#include "HostilePeer.h"
#include "ScriptedPublisher.h"

#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Exception.h"
#include "Tavik/Net/NetException.h"
#include "Tavik/TestChannel.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/Util/Timer.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;
using HostileTesting::HostilePeer;
using Tavik::Callweave::EventSubscriber;
using Tavik::Callweave::GenericEventSubscriber;
using TestSupport::PublisherAnswer;
using TestSupport::PublisherRequest;
using TestSupport::ScriptedPublisher;

namespace {

const std::string PATH = "/svc/event";

/// A peer that reads each request head and answers it with reply.
HostilePeer::Behaviour answering(std::string reply)
{
	return [reply](int fd) {
		HostileTesting::readHead(fd);
		HostileTesting::sendAll(fd, reply);
		::close(fd);
		return false;
	};
}

struct PublisherCase
{
	const char* name;
	HostilePeer::Behaviour behaviour;
	const char* exception;
};

const PublisherCase PUBLISHER_CASES[] = {
    {"AnswersGarbage", answering("SSH-2.0-OpenSSH\r\n\r\n"), "Tavik::Net::MessageException"},
    {"AnswersWithHugeHeader",
     answering("HTTP/1.1 200 OK\r\nSID: uuid:x\r\nX-Padding: " + std::string(100 * 1024, 'a') + "\r\n\r\n"),
     "Tavik::Net::MessageException"},
    {"ClosesBeforeAnswering", answering(""), "Tavik::Net::NoMessageException"},
    {"ClosesMidHead", answering("HTTP/1.1 200 OK\r\nSID: uu"), "Tavik::Net::MessageException"},
    {"ResetsMidHead",
     [](int fd) {
	     HostileTesting::readHead(fd);
	     HostileTesting::sendAll(fd, "HTTP/1.1 200 OK\r\n");
	     HostileTesting::resetConnection(fd);
	     return false;
     },
     "Tavik::Net::NetException"},
    {"AnswersWithBadTimeout", answering("HTTP/1.1 200 OK\r\nSID: uuid:x\r\nTIMEOUT: Minute-5\r\n\r\n"),
     "Tavik::IOException"},
};

class HostilePublisherTest : public testing::TestWithParam<PublisherCase>
{
protected:
	// Declared before the listener: the timer must outlive it.
	Util::Timer timer;
	AutoPtr<Listener> pListener = new Listener("127.0.0.1:1", timer);
};

} // namespace

TEST_P(HostilePublisherTest, SubscribeFailsWithTheExchangesExceptionAndStoresNothing)
{
	HostilePeer publisher(GetParam().behaviour);
	AutoPtr<EventSubscriber> pSubscriber = new GenericEventSubscriber(publisher.url(PATH));

	try
	{
		pListener->subscribeToEvents(pSubscriber);
		ADD_FAILURE() << "subscribed";
	}
	catch (const Exception& exc)
	{
		EXPECT_STREQ(GetParam().exception, exc.className()) << exc.displayText();
	}
	EXPECT_FALSE(pListener->findSubscriber("uuid:x"));
	EXPECT_THROW(pListener->unsubscribeFromEvents(pSubscriber), NotFoundException);
}

INSTANTIATE_TEST_SUITE_P(Answers, HostilePublisherTest, testing::ValuesIn(PUBLISHER_CASES),
                         [](const testing::TestParamInfo<PublisherCase>& info) { return info.param.name; });

// The exchange runs without the listener's lock: while one publisher keeps
// its answer half sent, another subscription is made and found.
TEST_F(HostilePublisherTest, SlowPublisherHoldsUpOnlyItsOwnSubscription)
{
	TestSupport::Gate halfSent;
	TestSupport::Gate finish;
	HostilePeer slow([&](int fd) {
		HostileTesting::readHead(fd);
		HostileTesting::sendAll(fd, "HTTP/1.1 200 OK\r\nSID: uuid:slow\r\n");
		halfSent.open();
		finish.wait();
		HostileTesting::sendAll(fd, "TIMEOUT: Second-300\r\nContent-Length: 0\r\n\r\n");
		::close(fd);
		return false;
	});
	ScriptedPublisher good([](const PublisherRequest&, std::size_t) {
		return PublisherAnswer{Net::HTTPResponse::HTTP_OK, {{"SID", "uuid:good"}, {"TIMEOUT", "Second-300"}}};
	});
	AutoPtr<EventSubscriber> pSlow = new GenericEventSubscriber(slow.url(PATH));
	AutoPtr<EventSubscriber> pGood = new GenericEventSubscriber(good.url(PATH));

	std::thread slowSubscription([&] { pListener->subscribeToEvents(pSlow); });
	ASSERT_TRUE(halfSent.wait());
	pListener->subscribeToEvents(pGood);
	EXPECT_EQ(pGood, pListener->findSubscriber("uuid:good"));
	EXPECT_FALSE(pListener->findSubscriber("uuid:slow"));
	finish.open();
	slowSubscription.join();

	EXPECT_EQ(pSlow, pListener->findSubscriber("uuid:slow"));
	pListener->unsubscribeFromEvents(pGood);
	pListener->unsubscribeFromEvents(pSlow);
}

// A renewal answered with garbage fires subscriptionRenewalFailed and logs
// the error; the subscription is kept for the next attempt.
TEST_F(HostilePublisherTest, GarbageAnswerToRenewalIsReportedAndLogged)
{
	AutoPtr<TestChannel> pChannel = new TestChannel;
	Logger::setChannel("UPnP.GENA", pChannel);
	Logger::setLevel("UPnP.GENA", Message::PRIO_DEBUG);
	std::mutex mutex;
	int answered = 0;
	HostilePeer publisher([&](int fd) {
		HostileTesting::readHead(fd);
		std::lock_guard<std::mutex> lock(mutex);
		// The first SUBSCRIBE is granted for one second; renewals get garbage.
		HostileTesting::sendAll(fd, answered++ == 0
		                                ? "HTTP/1.1 200 OK\r\nSID: uuid:p\r\nTIMEOUT: Second-1\r\n\r\n"
		                                : "\x01\x02garbage\r\n\r\n");
		::close(fd);
		return false;
	});
	std::condition_variable changed;
	std::vector<std::string> failed;
	pListener->subscriptionRenewalFailed +=
	    Delegate<const std::string>([&](const void*, const std::string& uri) {
		    std::lock_guard<std::mutex> lock(mutex);
		    failed.push_back(uri);
		    changed.notify_all();
	    });
	AutoPtr<EventSubscriber> pSubscriber = new GenericEventSubscriber(publisher.url(PATH));

	pListener->subscribeToEvents(pSubscriber);
	{
		std::unique_lock<std::mutex> lock(mutex);
		ASSERT_TRUE(changed.wait_for(lock, TestSupport::DEADLINE, [&] { return !failed.empty(); }));
		EXPECT_EQ(publisher.url(PATH), failed.front());
	}
	EXPECT_TRUE(pChannel->waitFor(1, "Error while renewing event subscription (URI=" + PATH + ", SID=uuid:p)",
	                              Message::PRIO_ERROR));
	EXPECT_EQ(pSubscriber, pListener->findSubscriber("uuid:p"));
	Logger::setChannel("UPnP.GENA", nullptr);
	try
	{
		pListener->unsubscribeFromEvents(pSubscriber);
	}
	catch (const Net::MessageException&)
	{
		// The publisher answers UNSUBSCRIBE with garbage as well.
	}
	// Waits for a renewal worker still in flight, which reports to the locals.
	pListener = nullptr;
}
