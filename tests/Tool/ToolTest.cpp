// The gena command, run as child processes over loopback.

#include "ChildProcess.h"
#include "HTTPPeer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>

using namespace TestSupport;

namespace {

const std::string GENA = GENA_EXECUTABLE;
const std::string SWITCH_POWER = "\"service\":\"urn:schemas-upnp-org:service:SwitchPower:1\"";
const std::string DIMMING = "\"service\":\"urn:schemas-upnp-org:service:Dimming:1\"";

/// The first line that child printed so far that holds every part, or "".
std::string lineWith(const ChildProcess& child, const std::vector<std::string>& parts)
{
	for (const std::string& line : child.lines())
		if (std::all_of(parts.begin(), parts.end(), [&](auto& part) { return line.find(part) != line.npos; }))
			return line;
	return "";
}

/// The value of field name in a JSON line whose values need no escapes.
std::string fieldOf(const std::string& line, const std::string& name)
{
	const std::string::size_type start = line.find("\"" + name + "\":\"") + name.size() + 4;
	return line.substr(start, line.find('"', start) - start);
}

using Lines = std::vector<std::vector<std::string>>;

} // namespace

TEST(GenaTest, PublishAndMonitorTalkUntilSignalled)
{
	ChildProcess publish(GENA, {"publish", "--listen", "127.0.0.1:0", "--json"});
	const std::string url = fieldOf(publish.expect("{\"event\":\"listening\"").value_or(""), "url");
	ASSERT_EQ(0u, url.find("http://127.0.0.1:")) << publish.transcript();
	ChildProcess monitor(GENA, {"monitor", url, "--json", "--listen", "127.0.0.1:0", "--timeout", "60"});
	// The initial events of both services, then those of the values set.
	for (int i = 0; i < 2; ++i)
		ASSERT_TRUE(monitor.expect("{\"event\":\"property\"")) << monitor.transcript();
	for (const char* line : {"set Status 1", "set LoadLevelStatus a\"b\\c\td", "set Brightness 3", "hello"})
		publish.send(line);
	for (int i = 0; i < 2; ++i)
		ASSERT_TRUE(monitor.expect("{\"event\":\"property\"") && publish.expect("{\"event\":\"error\""));
	monitor.signal(SIGTERM);
	EXPECT_EQ(0, monitor.wait()) << monitor.transcript();
	publish.signal(SIGINT);
	EXPECT_EQ(0, publish.wait()) << publish.transcript();

	const std::string sid =
	    fieldOf(lineWith(monitor, {SWITCH_POWER, "\"seq\":\"0\"", "\"Status\",\"value\":\"0\""}), "sid");
	for (const auto& parts :
	     Lines{{DIMMING, "\"seq\":\"0\"", "\"name\":\"LoadLevelStatus\""},
	           {sid, "\"seq\":\"1\"", SWITCH_POWER, "\"name\":\"Status\",\"value\":\"1\""},
	           {"\"name\":\"LoadLevelStatus\",\"value\":\"a\\\"b\\\\c\\td\""},
	           {"{\"event\":\"unsubscribed\",\"url\":\"" + url.substr(0, url.rfind('/')) +
	            "/upnp-eventing/SwitchPower\"}"}})
		EXPECT_NE("", lineWith(monitor, parts)) << parts.front() << monitor.transcript();
	for (const auto& parts :
	     Lines{{"{\"event\":\"subscribed\",\"sid\":\"" + sid + "\"," + SWITCH_POWER +
	            ",\"timeout\":\"Second-60\"}"},
	           {"{\"event\":\"property\"," + SWITCH_POWER + ",\"name\":\"Status\",\"value\":\"1\"}"},
	           {"{\"event\":\"error\",\"message\":\"unknown variable 'Brightness' (known: Status, "
	            "LoadLevelStatus)\"}"},
	           {"{\"event\":\"error\",\"message\":\"expected 'set NAME VALUE'\"}"},
	           {"{\"event\":\"unsubscribed\",\"sid\":\"" + sid + "\""}})
		EXPECT_NE("", lineWith(publish, parts)) << parts.front() << publish.transcript();
}

namespace {

struct Misuse
{
	const char* name;
	std::vector<std::string> arguments; ///< PEER: the address of a peer that answers 200 with no body
	int exitCode;
	std::string message; ///< how stderr starts after "gena: "
	friend void PrintTo(const Misuse& row, std::ostream* pStream) { *pStream << row.name; }
};

class MisuseTest : public testing::TestWithParam<Misuse>
{
};

} // namespace

TEST_P(MisuseTest, GivesMessageAndExitCode)
{
	HTTPPeer peer;
	const auto withPeer = [&](std::string text) {
		const std::string::size_type at = text.find("PEER");
		return at == text.npos ? text : text.replace(at, 4, "127.0.0.1:" + std::to_string(peer.port()));
	};
	std::vector<std::string> arguments = GetParam().arguments;
	for (std::string& argument : arguments)
		argument = withPeer(argument);
	ChildProcess gena(GENA, arguments);
	EXPECT_EQ(GetParam().exitCode, gena.wait());
	// A usage error is followed by the usage.
	const std::string message =
	    "gena: " + withPeer(GetParam().message) + (GetParam().exitCode == 2 ? "\n\n" : "");
	EXPECT_EQ(0u, gena.errors().find(message)) << gena.errors();
	EXPECT_EQ(std::vector<std::string>(), gena.lines());
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Gena, MisuseTest, testing::Values(
    Misuse{"NoCommand", {}, 2, "missing command"},
    Misuse{"UnknownCommand", {"serve"}, 2, "unknown command 'serve'"},
    Misuse{"UnknownOption", {"publish", "--port", "1"}, 2, "unknown option '--port'"},
    Misuse{"ListenWithoutPort", {"publish", "--listen", "127.0.0.1"}, 2,
           "--listen wants HOST:PORT with a port from 0 to 65535, not '127.0.0.1'"},
    Misuse{"ListenMissingValue", {"monitor", "http://127.0.0.1/", "--listen"}, 2, "option --listen needs a value"},
    Misuse{"ListenForTheDemo", {"demo", "--listen", "127.0.0.1:0"}, 2, "option --listen does not apply to 'demo'"},
    Misuse{"TimeoutZero", {"monitor", "http://127.0.0.1/", "--timeout", "0"}, 2,
           "--timeout wants whole seconds from 1 to 86400, not '0'"},
    Misuse{"MonitorWithoutURL", {"monitor", "--json"}, 2, "monitor needs a URL"},
    Misuse{"NotHTTP", {"monitor", "https://127.0.0.1/d.xml"}, 2, "not an http URL: 'https://127.0.0.1/d.xml'"},
    Misuse{"SecondURL", {"monitor", "http://127.0.0.1/a", "http://b/"}, 2, "unexpected argument 'http://b/'"},
    Misuse{"Unreachable", {"monitor", "http://127.0.0.1:1/d.xml"}, 1, "cannot reach http://127.0.0.1:1/d.xml: "},
    Misuse{"NotADescription", {"monitor", "http://PEER/d.xml"}, 1, "http://PEER/d.xml is not a UPnP device description: "},
    Misuse{"PortInUse", {"publish", "--listen", "PEER"}, 1, "cannot listen on PEER: "}),
    [](const testing::TestParamInfo<Misuse>& info) { return std::string(info.param.name); });
// clang-format on

TEST(GenaTest, TheReadmesProgramsRunToTheEnd)
{
	ChildProcess demo(GENA, {"demo", "--strict"});
	EXPECT_EQ(0, demo.wait()) << demo.transcript();
	for (const auto& parts : Lines{{"seq=0", "name=Status value=0"}, {"seq=1", "name=Status value=1"}, {"renewed"},
	                               {"unsubscribed", "SwitchPower"}})
		EXPECT_NE("", lineWith(demo, parts)) << parts.front() << demo.transcript();
	ChildProcess embed(EMBED_EXECUTABLE);
	EXPECT_EQ(0, embed.wait()) << embed.transcript();
}
