#include "Tavik/BasicEvent.h"
#include "Tavik/Exception.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace Tavik;

namespace {

// Records the calls it receives; delegates are made from its member functions.
class Receiver
{
public:
	void onEvent(const void* pSender, int& args)
	{
		pLastSender = pSender;
		calls.push_back(args);
	}
	void onOther(const void*, int&) { ++otherCalls; }
	void onUri(const void*, const std::string& uri) { uris.push_back(uri); }

	const void* pLastSender = nullptr;
	std::vector<int> calls;
	int otherCalls = 0;
	std::vector<std::string> uris;
};

} // namespace

TEST(BasicEventTest, MemberDelegateReceivesSenderAndArgumentAndIsRemovedByAnEqualDelegate)
{
	BasicEvent<int> event;
	Receiver receiver;
	event += delegate(&receiver, &Receiver::onEvent);
	int value = 7;
	event.notify(&event, value);
	EXPECT_EQ(receiver.pLastSender, &event);
	EXPECT_EQ(receiver.calls, std::vector<int>{7});

	event -= delegate(&receiver, &Receiver::onEvent);
	event.notify(&event, value);
	EXPECT_EQ(receiver.calls.size(), 1u);
	EXPECT_TRUE(event.empty());
}

TEST(BasicEventTest, DelegatesDifferByObjectAndByMethodAndAreAddedOnce)
{
	Receiver a, b;
	EXPECT_EQ(delegate(&a, &Receiver::onEvent), delegate(&a, &Receiver::onEvent));
	EXPECT_NE(delegate(&a, &Receiver::onEvent), delegate(&b, &Receiver::onEvent));
	EXPECT_NE(delegate(&a, &Receiver::onEvent), delegate(&a, &Receiver::onOther));

	BasicEvent<int> event;
	event += delegate(&a, &Receiver::onEvent);
	event += delegate(&a, &Receiver::onEvent); // equal to the first: not added again
	event += delegate(&a, &Receiver::onOther);
	event -= delegate(&b, &Receiver::onEvent); // not registered: nothing happens
	int value = 1;
	event.notify(nullptr, value);
	EXPECT_EQ(a.calls.size(), 1u);
	EXPECT_EQ(a.otherCalls, 1);
}

TEST(BasicEventTest, CallableDelegateIsRemovedOnlyThroughItsOwnCopies)
{
	BasicEvent<int> event;
	int calls = 0;
	auto callback = [&calls](const void*, int&) { ++calls; };
	const Delegate<int> kept(callback);
	const Delegate<int> sameCode(callback);
	EXPECT_NE(kept, sameCode);

	event += kept;
	event -= sameCode;
	int value = 0;
	event.notify(nullptr, value);
	EXPECT_EQ(calls, 1);

	const Delegate<int> copy = kept;
	event -= copy;
	event.notify(nullptr, value);
	EXPECT_EQ(calls, 1);
}

TEST(BasicEventTest, ConstStringEventWithMemberDelegate)
{
	BasicEvent<const std::string> event;
	Receiver receiver;
	event += delegate(&receiver, &Receiver::onUri);
	const std::string uri("http://127.0.0.1:8080/events");
	event.notify(this, uri);
	EXPECT_EQ(receiver.uris, std::vector<std::string>{uri});
	event -= delegate(&receiver, &Receiver::onUri);
	EXPECT_TRUE(event.empty());
}

TEST(BasicEventTest, DelegateRemovingItselfDuringNotifyIsNotCalledAgain)
{
	BasicEvent<int> event;
	int selfCalls = 0;
	int otherCalls = 0;
	// The delegate needs its own identity to remove itself: it reads it from a
	// holder that is filled after construction.
	std::unique_ptr<Delegate<int>> pSelf;
	pSelf = std::make_unique<Delegate<int>>([&](const void*, int&) {
		++selfCalls;
		event -= *pSelf;
	});
	event += *pSelf;
	event += Delegate<int>([&](const void*, int&) { ++otherCalls; });

	int value = 0;
	event.notify(nullptr, value);
	event.notify(nullptr, value);
	EXPECT_EQ(selfCalls, 1);
	EXPECT_EQ(otherCalls, 2);
}

TEST(BasicEventTest, DelegateRemovedByAnEarlierOneIsSkippedInTheSameNotify)
{
	BasicEvent<int> event;
	Receiver later;
	event += Delegate<int>([&](const void*, int&) { event -= delegate(&later, &Receiver::onEvent); });
	event += delegate(&later, &Receiver::onEvent);
	int value = 0;
	event.notify(nullptr, value);
	EXPECT_TRUE(later.calls.empty());
}

TEST(BasicEventTest, DelegateAddedDuringNotifyIsCalledFromTheNextNotify)
{
	BasicEvent<int> event;
	Receiver added;
	event += Delegate<int>([&](const void*, int&) { event += delegate(&added, &Receiver::onEvent); });
	int value = 0;
	event.notify(nullptr, value);
	EXPECT_TRUE(added.calls.empty());
	event.notify(nullptr, value);
	EXPECT_EQ(added.calls.size(), 1u);
}

TEST(BasicEventTest, DelegateMayNotifyAgain)
{
	BasicEvent<int> event;
	std::vector<int> depths;
	event += Delegate<int>([&](const void*, int& depth) {
		depths.push_back(depth);
		if (depth < 3)
		{
			int deeper = depth + 1;
			event.notify(nullptr, deeper);
		}
	});
	int value = 1;
	event.notify(nullptr, value);
	EXPECT_EQ(depths, (std::vector<int>{1, 2, 3}));
}

TEST(BasicEventTest, ExceptionOfADelegatePropagatesAndStopsTheNotification)
{
	BasicEvent<int> event;
	Receiver after;
	event += Delegate<int>([](const void*, int&) { throw IOException("delegate failed"); });
	event += delegate(&after, &Receiver::onEvent);
	int value = 0;
	EXPECT_THROW(event.notify(nullptr, value), IOException);
	EXPECT_TRUE(after.calls.empty());
}

TEST(BasicEventTest, ClearRemovesEveryDelegate)
{
	BasicEvent<int> event;
	Receiver receiver;
	EXPECT_TRUE(event.empty());
	event += delegate(&receiver, &Receiver::onEvent);
	event += delegate(&receiver, &Receiver::onOther);
	EXPECT_FALSE(event.empty());
	event.clear();
	EXPECT_TRUE(event.empty());
	int value = 0;
	event.notify(nullptr, value);
	EXPECT_TRUE(receiver.calls.empty());
	EXPECT_EQ(receiver.otherCalls, 0);
}

// Run under TSan: notifications on several threads while the list changes.
TEST(BasicEventTest, ConcurrentNotifyAndChangesAreSafe)
{
	BasicEvent<int> event;
	std::atomic<int> calls{0};
	const Delegate<int> steady([&](const void*, int&) { calls.fetch_add(1); });
	event += steady;

	const int NOTIFIERS = 4;
	const int ROUNDS = 2000;
	std::vector<std::thread> threads;
	for (int i = 0; i < NOTIFIERS; ++i)
	{
		threads.emplace_back([&] {
			for (int round = 0; round < ROUNDS; ++round)
			{
				int value = round;
				event.notify(nullptr, value);
			}
		});
	}
	threads.emplace_back([&] {
		for (int round = 0; round < ROUNDS; ++round)
		{
			const Delegate<int> transient([](const void*, int&) {});
			event += transient;
			event -= transient;
		}
	});
	for (auto& thread : threads)
		thread.join();
	EXPECT_EQ(calls.load(), NOTIFIERS * ROUNDS);
}
