#include "Tavik/Callweave/DeserializerException.h"
#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Callweave/TypedEventSubscriber.h"
#include "Tavik/Exception.h"

#include "CallweaveFakes.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Tavik;
using namespace Tavik::Callweave;
using namespace CallweaveFakes;

namespace {

const std::string SERVICE("http://127.0.0.1:49152/dev/svc/event");

/// Delivers the events of transport as a protocol's listener does: one
/// invoke() per event, last first, removing each after its invocation.
void deliverAll(Skeleton& subscriber, FakeServerTransport& transport, std::size_t count)
{
	for (std::size_t i = 0; i < count; ++i)
	{
		subscriber.invoke(transport, nullptr);
		transport.deserializer.pop();
	}
}

} // namespace

TEST(EventSubscriberTest, GenericSubscriberReportsEachEventAsText)
{
	AutoPtr<GenericEventSubscriber> pSubscriber(new GenericEventSubscriber(SERVICE));
	std::vector<std::string> received;
	pSubscriber->eventReceived += Delegate<const GenericEventSubscriber::Event>(
	    [&](const void* pSender, const GenericEventSubscriber::Event& event) {
		    EXPECT_EQ(pSender, pSubscriber.get());
		    received.push_back(event.name + "=" + event.value);
	    });
	FakeServerTransport transport;
	transport.deserializer.push("Status", "1");
	transport.deserializer.push("Target", " spaced value ");
	deliverAll(*pSubscriber, transport, 2);

	EXPECT_EQ(received, (std::vector<std::string>{"Target= spaced value ", "Status=1"}));
	EXPECT_EQ(pSubscriber->endpointURI(), SERVICE);
	const std::vector<std::string> expectedCalls = {
	    "beginRequest",          "findMessage Target", "messageBegin Target 2", "read string data",
	    "messageEnd Target 2",   "endRequest",         "beginRequest",          "findMessage Status",
	    "messageBegin Status 2", "read string data",   "messageEnd Status 2",   "endRequest",
	};
	EXPECT_EQ(transport.deserializer.calls, expectedCalls); // and no sendReply
}

TEST(EventSubscriberTest, TypedHandlersReadTheTypeTheyTake)
{
	AutoPtr<TypedEventSubscriber> pSubscriber(new TypedEventSubscriber(SERVICE));
	int level = 0;
	bool status = false;
	std::string name;
	double ratio = 0;
	pSubscriber->on<int>("LoadLevelStatus", [&](const int& value) { level = value; });
	pSubscriber->on<bool>("Status", [&](const bool& value) { status = value; });
	pSubscriber->on<std::string>("Name", [&](const std::string& value) { name = value; });
	pSubscriber->on<double>("Ratio", [&](const double& value) { ratio = value; });
	pSubscriber->on<int>("Replaced", [&](const int&) { ADD_FAILURE() << "replaced handler called"; });
	pSubscriber->on<std::string>("Replaced", [&](const std::string& value) { name += value; });

	FakeServerTransport transport;
	transport.deserializer.push("Replaced", "+2");
	transport.deserializer.push("Ratio", "0.25");
	transport.deserializer.push("Name", "Kitchen");
	transport.deserializer.push("Status", "true");
	transport.deserializer.push("LoadLevelStatus", "42");
	deliverAll(*pSubscriber, transport, 5);

	EXPECT_EQ(level, 42);
	EXPECT_TRUE(status);
	EXPECT_EQ(name, "Kitchen+2");
	EXPECT_EQ(ratio, 0.25);
}

TEST(EventSubscriberTest, EventsWithoutAHandlerAreIgnored)
{
	AutoPtr<TypedEventSubscriber> pSubscriber(new TypedEventSubscriber(SERVICE));
	FakeServerTransport transport;
	transport.deserializer.push("Unknown", "not a number");
	pSubscriber->invoke(transport, nullptr);
	EXPECT_EQ(transport.deserializer.calls,
	          (std::vector<std::string>{"beginRequest", "findMessage Unknown", "messageBegin Unknown 2",
	                                    "messageEnd Unknown 2", "endRequest"}));
}

TEST(EventSubscriberTest, FailuresPassOutAndStillEndTheRequest)
{
	struct Row
	{
		const char* name;
		const char* value;
		SerializerBase::MessageType type;
		bool failEnd;
		const char* error;
	};
	const Row rows[] = {
	    {"value that does not convert", "4x", SerializerBase::MESSAGE_EVENT, false,
	     "Bad data format: not a number: 4x"},
	    {"not an event", "4", SerializerBase::MESSAGE_REQUEST, false,
	     "Deserializer exception: Not an event message: Level"},
	    {"endRequest fails", "4", SerializerBase::MESSAGE_EVENT, true, "I/O error: cannot end"},
	    {"both fail: the first failure wins", "4x", SerializerBase::MESSAGE_EVENT, true,
	     "Bad data format: not a number: 4x"},
	};
	for (const Row& row : rows)
	{
		SCOPED_TRACE(row.name);
		AutoPtr<TypedEventSubscriber> pSubscriber(new TypedEventSubscriber(SERVICE));
		int calls = 0;
		pSubscriber->on<int>("Level", [&](const int&) { ++calls; });
		FakeServerTransport transport;
		transport.failEnd = row.failEnd;
		transport.deserializer.messageType = row.type;
		transport.deserializer.push("Level", row.value);
		try
		{
			pSubscriber->invoke(transport, nullptr);
			ADD_FAILURE() << "no exception";
		}
		catch (const Exception& exc)
		{
			EXPECT_EQ(exc.displayText(), row.error);
		}
		EXPECT_EQ(transport.deserializer.calls.back(), "endRequest");
		EXPECT_EQ(calls, row.failEnd && std::string(row.value) == "4" ? 1 : 0);
	}
}
