// The tool's output lines: JSON escaping of everything a peer may send.

#include "Output.h"

#include <gtest/gtest.h>

#include <sstream>

using Gena::Output;

namespace {

struct Escape
{
	const char* name;
	std::string text;
	std::string escaped;
};

void PrintTo(const Escape& escape, std::ostream* os)
{
	*os << escape.name;
}

class EscapeJSONTest : public testing::TestWithParam<Escape>
{
};

} // namespace

TEST_P(EscapeJSONTest, Escapes)
{
	EXPECT_EQ(GetParam().escaped, Output::escapeJSON(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    Output, EscapeJSONTest,
    testing::Values(Escape{"Plain", "Status 1", "Status 1"},
                    Escape{"QuoteAndBackslash", "a\"b\\c", "a\\\"b\\\\c"},
                    Escape{"ShortControls", "\n\r\t\b\f", "\\n\\r\\t\\b\\f"},
                    Escape{"OtherControls", std::string("\x01\x1f\0", 3), "\\u0001\\u001f\\u0000"},
                    Escape{"DeleteKept", "\x7f", "\x7f"},
                    Escape{"UTF8Kept", "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x92\xA1",
                           "caf\xC3\xA9 \xE2\x82\xAC \xF0\x9F\x92\xA1"},
                    Escape{"LoneContinuation", "a\x80z", "a\xEF\xBF\xBDz"},
                    Escape{"TruncatedSequence", "\xE2\x82", "\xEF\xBF\xBD\xEF\xBF\xBD"},
                    Escape{"Overlong", "\xC0\xAF", "\xEF\xBF\xBD\xEF\xBF\xBD"},
                    Escape{"Surrogate", "\xED\xA0\x80", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"},
                    Escape{"BeyondUnicode", "\xF4\x90\x80\x80",
                           "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD"}),
    [](const testing::TestParamInfo<Escape>& info) { return std::string(info.param.name); });

TEST(OutputTest, HumanAndJSONLines)
{
	std::ostringstream human;
	std::ostringstream json;
	const Output::Fields fields = {{"name", "Status"}, {"value", "say \"1\""}};
	Output(human, false).print("property", fields);
	Output(json, true).print("property", fields);
	EXPECT_EQ("property name=Status value=say \"1\"\n", human.str());
	EXPECT_EQ("{\"event\":\"property\",\"name\":\"Status\",\"value\":\"say \\\"1\\\"\"}\n", json.str());
}
