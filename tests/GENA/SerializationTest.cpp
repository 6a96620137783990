// The serializer writes property sets and the deserializer reads them.

#include "Tavik/UPnP/GENA/Deserializer.h"
#include "Tavik/UPnP/GENA/Serializer.h"
#include "Tavik/XML/XMLException.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <sstream>
#include <string_view>

using namespace Tavik;
using Tavik::Callweave::SerializerBase;
using Tavik::UPnP::GENA::Deserializer;
using Tavik::UPnP::GENA::Serializer;
using testing::ThrowsMessage;
using Properties = std::vector<std::pair<std::string, std::string>>;

namespace {

const std::string OPEN = "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">";
const std::string CLOSE = "</e:propertyset>";
const SerializerBase::MessageType EVENT = SerializerBase::MESSAGE_EVENT;

/// The document of an event named messageName with the values that write writes.
std::string write(const std::string& messageName, const std::function<void(Serializer&)>& values)
{
	std::ostringstream ostr;
	Serializer serializer;
	serializer.setup(ostr);
	serializer.serializeMessageBegin(messageName, EVENT);
	values(serializer);
	serializer.serializeMessageEnd(messageName, EVENT);
	return ostr.str();
}

/// The document the serializer writes for properties "<name>text</name>".
std::string written(const std::vector<std::string>& variables)
{
	std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + OPEN + "\n";
	for (const std::string& variable : variables)
		document += "\t<e:property>\n\t\t" + variable + "\n\t</e:property>\n";
	return document + CLOSE + "\n";
}

/// A property set with a property for each of variables.
std::string propertySet(const std::vector<std::string>& variables)
{
	std::string document = OPEN;
	for (const std::string& variable : variables)
		document += "<e:property>" + variable + "</e:property>";
	return document + CLOSE;
}

/// The value of the last property of document, read as a T.
template <class T> T read(const std::string& document)
{
	std::istringstream istr(document);
	Deserializer deserializer;
	deserializer.setup(istr);
	std::string name;
	deserializer.findMessage(name);
	deserializer.deserializeMessageBegin(name, EVENT);
	T value{};
	deserializer.deserialize("value", true, value);
	deserializer.deserializeMessageEnd(name, EVENT);
	return value;
}

/// Every property of document, taken last first.
Properties readAll(const std::string& document)
{
	std::istringstream istr(document);
	Deserializer deserializer;
	deserializer.setup(istr);
	Properties properties;
	for (std::string name, value; deserializer.hasProperties(); deserializer.popProperty())
	{
		deserializer.findMessage(name);
		deserializer.deserialize("value", true, value);
		properties.insert(properties.begin(), {name, value});
	}
	return properties;
}

struct Conversion
{
	const char* name;
	operator std::string_view() const { return name; } // what gtest prints
	std::function<void()> check;
};

/// value is written as exactly text, and reads back as a value written the same.
template <class T> Conversion both(const char* name, T value, const std::string& text)
{
	return {name, [=] {
		        const auto document = [](const T& v) { return write("E", [&](Serializer& s) { s.serialize("v", v); }); };
		        EXPECT_EQ(document(value), written({text.empty() ? "<v/>" : "<v>" + text + "</v>"}));
		        EXPECT_EQ(document(read<T>(document(value))), document(value));
	        }};
}

template <class T> Conversion refuses(const char* name, const std::string& text, const std::string& error)
{
	return {name, [=] { EXPECT_THAT([&] { read<T>(propertySet({"<v>" + text + "</v>"})); }, ThrowsMessage<Exception>(error)); }};
}

using ConversionTest = ::testing::TestWithParam<Conversion>;

struct Document
{
	const char* name;
	operator std::string_view() const { return name; } // what gtest prints
	std::string text;
	Properties properties;
};

using DocumentTest = ::testing::TestWithParam<Document>;

} // namespace

TEST(SerializerTest, WritesTheExactDocument)
{
	EXPECT_EQ(write("", [](Serializer& s) { s.serialize("Status", std::string("1")); s.serialize("Target", 0); }),
	          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
	          "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">\n"
	          "\t<e:property>\n\t\t<Status>1</Status>\n\t</e:property>\n"
	          "\t<e:property>\n\t\t<Target>0</Target>\n\t</e:property>\n"
	          "</e:propertyset>\n");
	EXPECT_EQ(write("Changed", [](Serializer&) {}),
	          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
	          "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\"/>\n");
}

TEST(SerializerTest, DataTakesTheCurrentElementNameAndIsRefusedWithoutOne)
{
	EXPECT_EQ(write("Changed", [](Serializer& s) { s.serialize("data", 5); }), written({"<Changed>5</Changed>"}));
	std::ostringstream ostr;
	Serializer serializer;
	serializer.setup(ostr);
	serializer.serializeMessageBegin("", EVENT);
	const std::string before = ostr.str();
	EXPECT_THAT([&] { serializer.serialize("data", 1); }, ThrowsMessage<InvalidArgumentException>("Event property without a name"));
	EXPECT_EQ(ostr.str(), before);
}

TEST_P(ConversionTest, OfOneValue)
{
	GetParam().check();
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ConversionTest,
    ::testing::Values(
        both<signed char>("SignedCharMin", -128, "-128"), both<unsigned char>("UnsignedCharMax", 255, "255"),
        both<short>("ShortMin", SHRT_MIN, "-32768"), both<unsigned short>("UnsignedShortMax", USHRT_MAX, "65535"),
        both<int>("IntMinWithoutGrouping", INT_MIN, "-2147483648"), both<unsigned>("UIntMax", UINT_MAX, "4294967295"),
        both<long long>("LongLongMin", LLONG_MIN, "-9223372036854775808"),
        both<unsigned long long>("ULongLongMax", ULLONG_MAX, "18446744073709551615"),
        both<bool>("True", true, "1"), both<bool>("False", false, "0"), both<float>("FloatShortest", 0.1f, "0.1"),
        both<float>("FloatLastDecimal", 999999.94f, "999999.94"), both<float>("FloatFirstExponential", 1e6f, "1e+06"),
        both<float>("FloatSmallestDecimal", 1e-6f, "0.000001"), both<float>("FloatNegativeZero", -0.0f, "-0"),
        both<float>("FloatBelowDecimal", 9.999999e-7f, "9.999999e-07"), both<float>("FloatMinusInfinity", -HUGE_VALF, "-inf"),
        both<double>("DoubleLastDecimal", 999999999999999.9, "999999999999999.9"),
        both<double>("DoubleFirstExponential", 1e15, "1e+15"), both<double>("DoubleSmallExponential", 1e-16, "1e-16"),
        both<double>("DoubleSmallestDecimal", 1e-15, "0.000000000000001"),
        both<double>("DoubleThird", 1.0 / 3.0, "0.3333333333333333"), both<double>("DoubleInfinity", HUGE_VAL, "inf"),
        both<double>("DoubleNaN", std::nan(""), "nan"), both<char>("Char", 'x', "x"),
        both<char>("MarkupChar", '<', "&lt;"), both<char>("CRChar", '\r', "&#13;"),
        both<std::string>("StringWithMarkup", "a<b>&\"c\"", "a&lt;b&gt;&amp;&quot;c&quot;"),
        both<std::string>("StringWithLineEnds", "1\r\n2\r3\n\t4 ", "1&#13;\n2&#13;3\n\t4 "),
        both<std::string>("StringUTF8", "caf\xC3\xA9 \xE2\x82\xAC", "caf\xC3\xA9 \xE2\x82\xAC"),
        both<std::string>("EmptyString", "", ""), both<std::vector<char>>("EmptyBytes", {}, ""),
        both<std::vector<char>>("Bytes", {'\0', '\xFF', 'a'}, "AP9h"),
        both<std::vector<char>>("BytesWithLineBreaks", std::vector<char>(60, 0), std::string(72, 'A') + "&#13;\nAAAAAAAA"),
        refuses<bool>("BoolFromWord", "true", "Illegal bool value : true"),
        refuses<char>("CharFromEmpty", "", "Illegal char value "), refuses<char>("CharFromTwo", "ab", "Illegal char value ab"),
        refuses<int>("IntFromWord", "ten", "Not a valid integer: ten"),
        refuses<std::vector<char>>("BytesFromBadBase64", "A*==", "Invalid character in Base64 data: *")),
    [](const ::testing::TestParamInfo<Conversion>& info) { return std::string(info.param.name); });

TEST(DeserializerTest, QueueIsReadLastFirst)
{
	std::istringstream istr(written({"<Status>1</Status>", "<Target>0</Target>"}));
	Deserializer deserializer;
	deserializer.setup(istr);
	std::string name;
	int value = -1;
	const auto next = [&] {
		EXPECT_EQ(deserializer.findMessage(name), EVENT);
		EXPECT_TRUE(deserializer.deserialize("any", false, value));
		return name + "=" + std::to_string(value);
	};
	EXPECT_EQ(next(), "Target=0");
	EXPECT_FALSE(deserializer.deserializeStructBegin("s", true));
	// The message name must be the last property's; a failed check leaves the queue as it is.
	EXPECT_THAT([&] { deserializer.deserializeMessageBegin("Status", EVENT); },
	            ThrowsMessage<Exception>("event name mismatch - expected: Statusfound: Target"));
	EXPECT_THROW(deserializer.deserializeMessageEnd("Target", SerializerBase::MESSAGE_REQUEST), BugcheckException);
	deserializer.popProperty();
	EXPECT_EQ(next(), "Status=1");
	deserializer.popProperty();
	EXPECT_THAT([&] { deserializer.popProperty(); }, ThrowsMessage<Exception>("no more event properties available"));
	EXPECT_THAT([&] { deserializer.findMessage(name); }, ThrowsMessage<Exception>("no more event properties available"));
	EXPECT_THAT([&] { deserializer.deserialize("v", true, value); }, ThrowsMessage<Exception>("No more properties available"));
}

TEST(DeserializerTest, MalformedAndHostileBodiesAreRefused)
{
	std::string laughs = "<!DOCTYPE e:propertyset [<!ENTITY a \"" + std::string(50, 'a') + "\">";
	for (char entity = 'b'; entity <= 'g'; ++entity)
	{
		laughs += std::string("<!ENTITY ") + entity + " \"";
		for (int i = 0; i < 10; ++i)
			laughs += std::string("&") + char(entity - 1) + ";";
		laughs += "\">";
	}
	for (const std::string& body : {OPEN + "<e:property><A>1</A></e:property><e:property><B>2", std::string(),
	                                laughs + "]>" + propertySet({"<A>&g;</A>"}),
	                                propertySet({"<A>" + std::string(1024 * 1024, 'x') + "</A>"})})
		EXPECT_THROW(readAll(body), XML::XMLException) << body.substr(0, 60);
	// External entities are not resolved.
	EXPECT_EQ(readAll("<!DOCTYPE e:propertyset [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>" +
	                  propertySet({"<A>[&x;]</A>"})),
	          (Properties{{"A", "[]"}}));
}

TEST_P(DocumentTest, QueuesTheVariables)
{
	EXPECT_EQ(readAll(GetParam().text), GetParam().properties);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, DocumentTest,
    ::testing::Values(
        Document{"SeveralVariablesInOneProperty", propertySet({"<A>1</A><B>2</B>", "<C>3</C>"}),
                 {{"A", "1"}, {"B", "2"}, {"C", "3"}}},
        Document{"NestedMarkupEndsTheValue", propertySet({"<A>x<i>y</i>z</A>", "<B>2</B>"}), {{"A", "xy"}}},
        Document{"UnknownElementInPropertySetStopsCollecting", propertySet({"<A>1</A></e:property><e:other/><e:property>"}),
                 {{"A", "1"}}},
        Document{"PropertyWithoutVariable", propertySet({"", "<A/>"}), {{"A", ""}}},
        Document{"CDATAIsText", propertySet({"<A>a<![CDATA[<b>&amp;]]>c</A>"}), {{"A", "a<b>&amp;c"}}},
        Document{"CommentsAndInstructionsAreDropped", propertySet({"<A>a<!-- x --><?pi y?>b</A>"}), {{"A", "ab"}}},
        Document{"AnyPrefix", "<s:propertyset xmlns:s=\"urn:schemas-upnp-org:event-1-0\"><s:property><A>1</A>"
                              "</s:property></s:propertyset>", {{"A", "1"}}},
        Document{"NoNamespace", "<propertyset><property><A>1</A></property></propertyset>", {{"A", "1"}}},
        Document{"PropertySetNotTheRoot", "<wrap><x/>" + propertySet({"<A>1</A>"}) + "</wrap>", {{"A", "1"}}},
        Document{"NoPropertySet", "<root><property><A>1</A></property></root>", {}},
        Document{"EscapedXMLValue", propertySet({"<A>&lt;B v=&quot;x&quot;/&gt;</A>"}), {{"A", "<B v=\"x\"/>"}}},
        Document{"ByteOrderMark", "\xEF\xBB\xBF<?xml version=\"1.0\"?>" + propertySet({"<A>1</A>"}), {{"A", "1"}}},
        Document{"CRLFLineEnds", "<?xml version=\"1.0\"?>\r\n" + propertySet({"\r\n<A>1\r\n2</A>\r\n"}), {{"A", "1\n2"}}}),
    [](const ::testing::TestParamInfo<Document>& info) { return std::string(info.param.name); });
