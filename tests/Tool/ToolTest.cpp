// The gena command end to end: the built binary runs as child processes
// talking to each other over loopback.

#include "ChildProcess.h"

#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <map>
#include <numeric>

using TestSupport::ChildProcess;

namespace {

const std::string GENA = GENA_EXECUTABLE;
const std::chrono::seconds DEADLINE = TestSupport::DEADLINE;

/// The fields of one line of --json output, a flat object of strings; empty
/// when the line is not such an object.
std::map<std::string, std::string> parseJSON(const std::string& line)
{
	std::map<std::string, std::string> fields;
	std::size_t i = 0;
	auto readString = [&](std::string& text) {
		if (i >= line.size() || line[i++] != '"') return false;
		while (i < line.size() && line[i] != '"')
		{
			char c = line[i++];
			if (c == '\\' && i < line.size())
			{
				c = line[i++];
				if (c == 'n')
					c = '\n';
				else if (c == 't')
					c = '\t';
				else if (c == 'u')
					c = static_cast<char>(std::stoi(line.substr(i, 4), nullptr, 16)), i += 4;
			}
			text += c;
		}
		return i++ < line.size();
	};
	if (line.empty() || line[i++] != '{') return {};
	while (i < line.size() && line[i] != '}')
	{
		std::string key, value;
		if (!readString(key) || i >= line.size() || line[i++] != ':' || !readString(value)) return {};
		fields[key] = value;
		if (i < line.size() && line[i] == ',') ++i;
	}
	if (i + 1 != line.size()) return {};
	return fields;
}

/// Whether line is the JSON event event with every field of want; its
/// fields in fields.
bool isEvent(const std::string& line, const std::string& event,
             const std::map<std::string, std::string>& want, std::map<std::string, std::string>& fields)
{
	fields = parseJSON(line);
	EXPECT_FALSE(fields.empty()) << "not a JSON object: " << line;
	if (fields["event"] != event) return false;
	for (const auto& field : want)
		if (fields[field.first] != field.second) return false;
	return true;
}

/// The fields of the first line, read before or now, that is the JSON event
/// event with every field of want; an empty map at the deadline. Lines of
/// two subscriptions interleave, so earlier lines count too.
std::map<std::string, std::string> readEvent(ChildProcess& child, const std::string& event,
                                             const std::map<std::string, std::string>& want = {})
{
	std::map<std::string, std::string> fields;
	for (const std::string& line : child.lines())
		if (isEvent(line, event, want, fields)) return fields;
	const ChildProcess::Clock::time_point deadline = ChildProcess::Clock::now() + DEADLINE;
	while (const std::optional<std::string> line = child.readLine(deadline))
		if (isEvent(*line, event, want, fields)) return fields;
	ADD_FAILURE() << "no '" << event << "' line; stderr: " << child.errors();
	return {};
}

const std::string SWITCH_POWER = "urn:schemas-upnp-org:service:SwitchPower:1";
const std::string DIMMING = "urn:schemas-upnp-org:service:Dimming:1";

/// A running "gena publish" on 127.0.0.1 and a free port.
class PublishTest : public testing::Test
{
protected:
	void SetUp() override
	{
		url = readEvent(publish, "listening")["url"];
		ASSERT_EQ(0u, url.find("http://127.0.0.1:")) << url;
	}

	void TearDown() override
	{
		publish.signal(SIGINT);
		EXPECT_EQ(0, publish.wait(DEADLINE)) << publish.errors();
	}

	std::string eventURL(const std::string& service) const
	{
		return url.substr(0, url.rfind('/')) + "/upnp-eventing/" + service;
	}

	ChildProcess publish{GENA, {"publish", "--listen", "127.0.0.1:0", "--json"}};
	std::string url;
};

} // namespace

TEST(DemoTest, ShowsSubscriptionEventsRenewalAndUnsubscription)
{
	ChildProcess demo(GENA, {"demo", "--json"});
	ASSERT_EQ(0, demo.wait(DEADLINE)) << demo.errors();
	std::vector<std::string> events;
	std::vector<std::string> properties;
	for (const std::string& line : demo.lines())
	{
		std::map<std::string, std::string> fields = parseJSON(line);
		ASSERT_FALSE(fields.empty()) << line;
		events.push_back(fields["event"]);
		if (fields["event"] == "property")
		{
			EXPECT_EQ(41u, fields["sid"].size());
			properties.push_back(fields["name"] + "=" + fields["value"] + " seq " + fields["seq"]);
		}
	}
	auto count = [&](const std::string& event) { return std::count(events.begin(), events.end(), event); };
	EXPECT_EQ("listening", events.front());
	EXPECT_EQ(2, count("subscribed"));
	EXPECT_EQ(2, count("renewed"));
	EXPECT_EQ(2, count("unsubscribed"));
	EXPECT_EQ("unsubscribed", events.back());
	for (const char* property : {"Status=0 seq 0", "LoadLevelStatus=100 seq 0", "Status=1 seq 1",
	                             "LoadLevelStatus=40 seq 1", "Status=0 seq 2"})
		EXPECT_NE(properties.end(), std::find(properties.begin(), properties.end(), property)) << property;
	EXPECT_EQ("", demo.errors());
}

TEST(DemoTest, StrictHumanOutput)
{
	ChildProcess demo(GENA, {"demo", "--strict"});
	ASSERT_EQ(0, demo.wait(DEADLINE)) << demo.errors();
	ASSERT_FALSE(demo.lines().empty());
	EXPECT_EQ(0u, demo.lines().front().find("listening url=http://127.0.0.1:"));
	EXPECT_EQ(0u, demo.lines().back().find("unsubscribed url=http://127.0.0.1:"));
	const std::string all =
	    std::accumulate(demo.lines().begin(), demo.lines().end(), std::string(),
	                    [](const std::string& text, const std::string& line) { return text + line + "\n"; });
	EXPECT_NE(std::string::npos,
	          all.find(" seq=0 service=urn:schemas-upnp-org:service:SwitchPower:1 name=Status value=0\n"));
	EXPECT_NE(std::string::npos, all.find("renewed url="));
}

TEST(EmbedExampleTest, PublishesSubscribesAndExits)
{
	ChildProcess embed(EMBED_EXECUTABLE, {});
	ASSERT_EQ(0, embed.wait(DEADLINE)) << embed.errors();
	EXPECT_EQ(std::vector<std::string>({"Status = 0", "Status = 1"}), embed.lines());
}

TEST_F(PublishTest, MonitorOfDescriptionSeesEveryServiceAndUnsubscribesOnSIGTERM)
{
	ChildProcess monitor(GENA, {"monitor", url, "--json", "--listen", "127.0.0.1:0"});
	const std::string sid =
	    readEvent(monitor, "property",
	              {{"service", SWITCH_POWER}, {"name", "Status"}, {"value", "0"}, {"seq", "0"}})["sid"];
	readEvent(publish, "subscribed", {{"sid", sid}, {"service", SWITCH_POWER}});
	EXPECT_FALSE(
	    readEvent(monitor, "property", {{"service", DIMMING}, {"name", "LoadLevelStatus"}, {"seq", "0"}})
	        .empty());

	publish.send("set Status 1");
	readEvent(publish, "property", {{"service", SWITCH_POWER}, {"name", "Status"}, {"value", "1"}});
	readEvent(monitor, "property", {{"sid", sid}, {"name", "Status"}, {"value", "1"}, {"seq", "1"}});

	// Quotes, backslashes and tabs survive the trip and the JSON escaping.
	publish.send("set LoadLevelStatus a\"b\\c\td");
	readEvent(monitor, "property", {{"name", "LoadLevelStatus"}, {"value", "a\"b\\c\td"}});

	monitor.signal(SIGTERM);
	readEvent(monitor, "unsubscribed", {{"url", eventURL("SwitchPower")}});
	EXPECT_EQ(0, monitor.wait(DEADLINE)) << monitor.errors();
	readEvent(publish, "unsubscribed", {{"sid", sid}});
}

TEST_F(PublishTest, MonitorOfEventURLAndPublishInputErrors)
{
	ChildProcess monitor(GENA, {"monitor", eventURL("Dimming"), "--json", "--timeout", "60"});
	std::map<std::string, std::string> initial =
	    readEvent(monitor, "property", {{"name", "LoadLevelStatus"}});
	EXPECT_EQ(0u, initial.count("service")); // not known without a description
	EXPECT_EQ("Second-60", readEvent(publish, "subscribed", {{"service", DIMMING}})["timeout"]);

	publish.send("set Brightness 3");
	publish.send("hello");
	EXPECT_FALSE(
	    readEvent(publish, "error", {{"message", "unknown variable 'Brightness' (known: Status, LoadLevelStatus)"}})
	        .empty());
	EXPECT_FALSE(readEvent(publish, "error", {{"message", "expected 'set NAME VALUE'"}}).empty());

	monitor.signal(SIGINT);
	EXPECT_EQ(0, monitor.wait(DEADLINE)) << monitor.errors();
	readEvent(publish, "unsubscribed", {{"service", DIMMING}});
}

namespace {

struct Misuse
{
	const char* name;
	std::vector<std::string> arguments;
	int exitCode;
	std::string message; ///< how stderr starts
};

void PrintTo(const Misuse& misuse, std::ostream* os)
{
	*os << misuse.name;
}

class MisuseTest : public testing::TestWithParam<Misuse>
{
};

/// Answers every request 200 with a body that is not XML.
class NotXML : public Tavik::Net::HTTPRequestHandlerFactory, public Tavik::Net::HTTPRequestHandler
{
public:
	Tavik::Net::HTTPRequestHandler* createRequestHandler(const Tavik::Net::HTTPServerRequest&) override
	{
		return new NotXML;
	}

	void handleRequest(Tavik::Net::HTTPServerRequest&, Tavik::Net::HTTPServerResponse& response) override
	{
		response.setStatusAndReason(Tavik::Net::HTTPResponse::HTTP_OK);
		response.setContentLength(9);
		response.send() << "not <xml>";
	}
};

} // namespace

TEST_P(MisuseTest, GivesMessageAndExitCode)
{
	const Misuse& misuse = GetParam();
	ChildProcess gena(GENA, misuse.arguments);
	EXPECT_EQ(misuse.exitCode, gena.wait(DEADLINE));
	EXPECT_EQ(0u, gena.errors().find("gena: " + misuse.message + (misuse.exitCode == 2 ? "\n" : "")))
	    << gena.errors();
	EXPECT_TRUE(gena.lines().empty() || misuse.exitCode == 1);
}

INSTANTIATE_TEST_SUITE_P(
    Gena, MisuseTest,
    testing::Values(Misuse{"NoCommand", {}, 2, "missing command"},
                    Misuse{"UnknownCommand", {"serve"}, 2, "unknown command 'serve'"},
                    Misuse{"UnknownOption", {"publish", "--port", "1"}, 2, "unknown option '--port'"},
                    Misuse{"ListenWithoutPort",
                           {"publish", "--listen", "127.0.0.1"},
                           2,
                           "--listen wants HOST:PORT with a port from 0 to 65535, not '127.0.0.1'"},
                    Misuse{"ListenMissingValue",
                           {"monitor", "http://127.0.0.1/", "--listen"},
                           2,
                           "option --listen needs a value"},
                    Misuse{"TimeoutZero",
                           {"monitor", "http://127.0.0.1/", "--timeout", "0"},
                           2,
                           "--timeout wants whole seconds from 1 to 86400, not '0'"},
                    Misuse{"MonitorWithoutURL", {"monitor", "--json"}, 2, "monitor needs a URL"},
                    Misuse{"NotHTTP",
                           {"monitor", "https://127.0.0.1/description.xml"},
                           2,
                           "not an http URL: 'https://127.0.0.1/description.xml'"},
                    Misuse{"SecondURL",
                           {"monitor", "http://127.0.0.1/a", "http://127.0.0.1/b"},
                           2,
                           "unexpected argument 'http://127.0.0.1/b'"},
                    Misuse{"Unreachable",
                           {"monitor", "http://127.0.0.1:1/description.xml"},
                           1,
                           "cannot reach http://127.0.0.1:1/description.xml: "}),
    [](const testing::TestParamInfo<Misuse>& info) { return std::string(info.param.name); });

TEST(MonitorTest, DescriptionThatIsNotXMLFails)
{
	Tavik::Net::HTTPServer server(std::make_shared<NotXML>(), "127.0.0.1", 0);
	server.start();
	const std::string url = "http://127.0.0.1:" + std::to_string(server.port()) + "/description.xml";
	ChildProcess gena(GENA, {"monitor", url});
	EXPECT_EQ(1, gena.wait(DEADLINE));
	EXPECT_EQ(0u, gena.errors().find("gena: " + url + " is not a UPnP device description: "))
	    << gena.errors();
}

TEST(PublishCommandTest, PortInUseFails)
{
	Tavik::Net::HTTPServer busy(std::make_shared<NotXML>(), "127.0.0.1", 0);
	const std::string endPoint = "127.0.0.1:" + std::to_string(busy.port());
	ChildProcess gena(GENA, {"publish", "--listen", endPoint});
	EXPECT_EQ(1, gena.wait(DEADLINE));
	EXPECT_EQ(0u, gena.errors().find("gena: cannot listen on " + endPoint + ": ")) << gena.errors();
}
