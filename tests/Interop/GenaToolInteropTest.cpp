// The gena command against libupnp on loopback: a libupnp control point
// subscribes to "gena publish", and "gena monitor" subscribes to a libupnp
// device. Built when the gena tool is.

#ifdef INTEROP_GENA

#include "ChildProcess.h"

#include <gtest/gtest.h>

#include <csignal>

using TestSupport::ChildProcess;
using TestSupport::wordsOf;

namespace {

/// The text of field name in one JSON line of the tool (the values these
/// tests read need no escapes).
std::string fieldOf(const std::string& line, const std::string& name)
{
	const std::string key = "\"" + name + "\":\"";
	std::string::size_type start = line.find(key);
	if (start == std::string::npos) return "";
	start += key.size();
	return line.substr(start, line.find('"', start) - start);
}

} // namespace

TEST(GenaTool, LibupnpControlPointSubscribesToGenaPublish)
{
	ChildProcess gena(INTEROP_GENA, {"publish", "--listen", "127.0.0.1:0", "--json"});
	const std::optional<std::string> listening = gena.expect("{\"event\":\"listening\"");
	ASSERT_TRUE(listening) << gena.transcript();
	const std::string description = fieldOf(*listening, "url");
	const std::string eventURL = description.substr(0, description.find('/', std::string("http://").size())) +
	                             "/upnp-eventing/SwitchPower";
	ChildProcess controlPoint(INTEROP_UPNP_CONTROL_POINT, {eventURL});
	const std::optional<std::string> subscribed = controlPoint.expect("subscribed ");
	ASSERT_TRUE(subscribed) << controlPoint.transcript() << gena.transcript();
	const std::string sid = wordsOf(*subscribed).at(1);
	EXPECT_EQ("event " + sid + " 0 Status=0",
	          controlPoint.expect("event ").value_or(controlPoint.transcript()));

	// The new subscriber joins the service's deliveries once its initial event
	// has been answered; a change before that reaches it only through a later
	// initial state. So set values until one arrives: whichever it is, it is
	// the subscriber's first regular event, SEQ 1.
	std::optional<std::string> first;
	int value = 0;
	while (!first && value < 20)
	{
		gena.send("set Status " + std::to_string(++value));
		first = controlPoint.expect("event ", std::chrono::seconds(1));
	}
	ASSERT_TRUE(first) << controlPoint.transcript();
	const std::vector<std::string> words = wordsOf(*first);
	ASSERT_EQ(4u, words.size()) << *first;
	EXPECT_EQ("1", words[2]);
	gena.send("set Status done");
	// Values set after the first one that arrived follow it, SEQ counting on.
	for (unsigned seq = 2;; ++seq)
	{
		const std::optional<std::string> event = controlPoint.expect("event ");
		ASSERT_TRUE(event) << controlPoint.transcript();
		EXPECT_EQ(std::to_string(seq), wordsOf(*event).at(2)) << controlPoint.transcript();
		if (wordsOf(*event).back() == "Status=done") break;
	}

	controlPoint.send("unsubscribe");
	EXPECT_EQ("unsubscribed", controlPoint.expect("unsubscribed").value_or(controlPoint.transcript()));
	EXPECT_TRUE(gena.expect("{\"event\":\"unsubscribed\"")) << gena.transcript();
	gena.signal(SIGINT);
	EXPECT_EQ(0, gena.wait()) << gena.transcript();
}

TEST(GenaTool, GenaMonitorSubscribesToLibupnpDevice)
{
	ChildProcess device(INTEROP_UPNP_DEVICE);
	const std::optional<std::string> ready = device.expect("ready ");
	ASSERT_TRUE(ready) << device.transcript();
	const std::string url = wordsOf(*ready).at(1);
	ChildProcess gena(INTEROP_GENA, {"monitor", url, "--listen", "127.0.0.1:0", "--json"});
	ASSERT_TRUE(gena.expect("{\"event\":\"subscribed\"")) << gena.transcript();

	std::vector<std::string> properties;
	for (int i = 0; i < 2; ++i)
	{
		const std::string line = gena.expect("{\"event\":\"property\"").value_or("");
		EXPECT_EQ("0", fieldOf(line, "seq")) << line;
		properties.push_back(fieldOf(line, "name") + "=" + fieldOf(line, "value"));
	}
	EXPECT_EQ(std::vector<std::string>({"LoadLevelStatus=0", "Status=0"}), properties);
	device.send("set Status 1");
	const std::string later = gena.expect("{\"event\":\"property\"").value_or(gena.transcript());
	EXPECT_EQ("1", fieldOf(later, "seq"));
	EXPECT_EQ("Status", fieldOf(later, "name"));
	EXPECT_EQ("1", fieldOf(later, "value"));

	gena.signal(SIGINT);
	EXPECT_TRUE(gena.expect("{\"event\":\"unsubscribed\"")) << gena.transcript();
	EXPECT_EQ(0, gena.wait()) << gena.transcript();
}

#endif // INTEROP_GENA
