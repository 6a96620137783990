#include "Tavik/Callweave/DeserializerException.h"
#include "Tavik/Exception.h"
#include "Tavik/UPnP/GENA/Deserializer.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/Serializer.h"
#include "Tavik/XML/XMLException.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

using Tavik::Callweave::DeserializerException;
using Tavik::Callweave::SerializerBase;
using Tavik::UPnP::GENA::Deserializer;
using Tavik::UPnP::GENA::Listener;
using Tavik::UPnP::GENA::Serializer;

namespace {

using Properties = std::vector<std::pair<std::string, std::string>>;

const char OPEN[] = "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">";
const char CLOSE[] = "</e:propertyset>";

std::string property(const std::string& variable)
{
	return "<e:property>" + variable + "</e:property>";
}

// Empties the deserializer through its public interface, last property first.
Properties drain(Deserializer& deserializer)
{
	Properties properties;
	while (deserializer.hasProperties())
	{
		std::string name;
		EXPECT_EQ(deserializer.findMessage(name), SerializerBase::MESSAGE_EVENT);
		std::string value;
		deserializer.deserialize("value", true, value);
		properties.insert(properties.begin(), {name, value});
		deserializer.popProperty();
	}
	return properties;
}

Properties read(const std::string& document)
{
	std::istringstream istr(document);
	Deserializer deserializer;
	deserializer.setup(istr);
	return drain(deserializer);
}

std::string messageOf(const std::function<void()>& call)
{
	try
	{
		call();
	}
	catch (const Tavik::Exception& exc)
	{
		return exc.message();
	}
	return "no exception";
}

// The body of a one-property event holding value, as the serializer writes it.
template <class T>
std::string written(const T& value)
{
	std::ostringstream ostr;
	Serializer serializer;
	serializer.setup(ostr);
	serializer.serializeMessageBegin("Changed", SerializerBase::MESSAGE_EVENT);
	serializer.serialize("data", value);
	serializer.serializeMessageEnd("Changed", SerializerBase::MESSAGE_EVENT);
	return ostr.str();
}

template <class T>
T readAs(const std::string& body)
{
	std::istringstream istr(body);
	Deserializer deserializer;
	deserializer.setup(istr);
	std::string name;
	deserializer.findMessage(name);
	deserializer.deserializeMessageBegin(name, SerializerBase::MESSAGE_EVENT);
	T value{};
	EXPECT_TRUE(deserializer.deserialize("value", true, value));
	deserializer.deserializeMessageEnd(name, SerializerBase::MESSAGE_EVENT);
	return value;
}

template <class T>
T roundTrip(const T& value)
{
	return readAs<T>(written(value));
}

std::string body(const std::string& value)
{
	return OPEN + property("<v>" + value + "</v>") + CLOSE;
}

} // namespace

TEST(DeserializerTest, QueueIsReadFromTheEnd)
{
	const std::string document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
								 "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">\n"
								 "\t<e:property>\n\t\t<Status>1</Status>\n\t</e:property>\n"
								 "\t<e:property>\n\t\t<Target>0</Target>\n\t</e:property>\n"
								 "</e:propertyset>\n";
	std::istringstream istr(document);
	Deserializer deserializer;
	deserializer.setup(istr);

	std::string name;
	EXPECT_EQ(deserializer.findMessage(name), SerializerBase::MESSAGE_EVENT);
	EXPECT_EQ(name, "Target");
	int value = -1;
	EXPECT_TRUE(deserializer.deserialize("anything", false, value));
	EXPECT_EQ(value, 0);
	deserializer.popProperty();
	EXPECT_EQ(deserializer.findMessage(name), SerializerBase::MESSAGE_EVENT);
	EXPECT_EQ(name, "Status");
	EXPECT_TRUE(deserializer.deserialize("anything", false, value));
	EXPECT_EQ(value, 1);
	deserializer.popProperty();
	EXPECT_FALSE(deserializer.hasProperties());
	EXPECT_EQ(messageOf([&] { deserializer.findMessage(name); }), "no more event properties available");
}

struct RoundTripCase
{
	const char* name;
	std::function<void()> check;
};

void PrintTo(const RoundTripCase& row, std::ostream* pOut)
{
	*pOut << row.name;
}

class DeserializerRoundTripTest : public ::testing::TestWithParam<RoundTripCase>
{
};

TEST_P(DeserializerRoundTripTest, ReadsBackWhatTheSerializerWrote)
{
	GetParam().check();
}

template <class T>
std::function<void()> same(T value)
{
	return [value] { EXPECT_EQ(roundTrip(value), value); };
}

template <class T>
std::function<void()> sameBits(T value)
{
	return [value] {
		const T back = roundTrip(value);
		EXPECT_EQ(std::memcmp(&back, &value, sizeof value), 0) << back << " vs " << value;
	};
}

std::vector<char> allBytes()
{
	std::vector<char> bytes;
	for (int b = 0; b < 256; ++b) bytes.push_back(static_cast<char>(b));
	return bytes;
}

INSTANTIATE_TEST_SUITE_P(
    Types, DeserializerRoundTripTest,
    ::testing::Values(
        RoundTripCase{"SignedCharMin", same<signed char>(-128)},
        RoundTripCase{"SignedCharMax", same<signed char>(127)},
        RoundTripCase{"UnsignedCharMax", same<unsigned char>(255)},
        RoundTripCase{"ShortMin", same<short>(SHRT_MIN)},
        RoundTripCase{"UnsignedShortMax", same<unsigned short>(USHRT_MAX)},
        RoundTripCase{"IntMin", same<int>(INT_MIN)},
        RoundTripCase{"UnsignedIntMax", same<unsigned int>(UINT_MAX)},
        RoundTripCase{"LongMin", same<long>(LONG_MIN)},
        RoundTripCase{"UnsignedLongMax", same<unsigned long>(ULONG_MAX)},
        RoundTripCase{"LongLongMin", same<long long>(LLONG_MIN)},
        RoundTripCase{"UnsignedLongLongMax", same<unsigned long long>(ULLONG_MAX)},
        RoundTripCase{"True", same<bool>(true)}, RoundTripCase{"False", same<bool>(false)},
        RoundTripCase{"FloatLastDecimal", sameBits<float>(999999.94f)},
        RoundTripCase{"FloatFirstExponential", sameBits<float>(1e6f)},
        RoundTripCase{"FloatSmallestDecimal", sameBits<float>(1e-6f)},
        RoundTripCase{"FloatBelowDecimal", sameBits<float>(9.999999e-7f)},
        RoundTripCase{"FloatMax", sameBits<float>(FLT_MAX)},
        RoundTripCase{"FloatMinNormal", sameBits<float>(FLT_MIN)},
        RoundTripCase{"FloatDenormal", sameBits<float>(std::numeric_limits<float>::denorm_min())},
        RoundTripCase{"FloatNegativeZero", sameBits<float>(-0.0f)},
        RoundTripCase{"FloatInfinity", sameBits<float>(std::numeric_limits<float>::infinity())},
        RoundTripCase{"FloatNegativeInfinity", sameBits<float>(-std::numeric_limits<float>::infinity())},
        RoundTripCase{"FloatNaN",
                      [] { EXPECT_TRUE(std::isnan(roundTrip(std::numeric_limits<float>::quiet_NaN()))); }},
        RoundTripCase{"DoubleLastDecimal", sameBits<double>(999999999999999.9)},
        RoundTripCase{"DoubleFirstExponential", sameBits<double>(1e15)},
        RoundTripCase{"DoubleSmallestDecimal", sameBits<double>(1e-15)},
        RoundTripCase{"DoubleBelowDecimal", sameBits<double>(9.999999999999999e-16)},
        RoundTripCase{"DoubleThird", sameBits<double>(1.0 / 3.0)},
        RoundTripCase{"DoubleMax", sameBits<double>(DBL_MAX)},
        RoundTripCase{"DoubleMinNormal", sameBits<double>(DBL_MIN)},
        RoundTripCase{"DoubleDenormal", sameBits<double>(std::numeric_limits<double>::denorm_min())},
        RoundTripCase{"DoubleNegativeInfinity", sameBits<double>(-std::numeric_limits<double>::infinity())},
        RoundTripCase{"DoubleNaN", [] { EXPECT_TRUE(std::isnan(roundTrip(std::nan("")))); }},
        RoundTripCase{"Char", same<char>('x')}, RoundTripCase{"MarkupChar", same<char>('&')},
        RoundTripCase{"CarriageReturnChar", same<char>('\r')},
        RoundTripCase{"StringWithMarkup", same<std::string>("<a href=\"x\">&amp;</a> > 'q'")},
        RoundTripCase{"StringWithLineEnds", same<std::string>("one\r\ntwo\rthree\n\tfour ")},
        RoundTripCase{"StringUTF8", same<std::string>("caf\xC3\xA9 \xE2\x82\xAC")},
        RoundTripCase{"EmptyString", same<std::string>("")},
        RoundTripCase{"EmptyBytes", same<std::vector<char>>({})},
        RoundTripCase{"EveryByteValue", same<std::vector<char>>(allBytes())}),
    [](const ::testing::TestParamInfo<RoundTripCase>& info) { return info.param.name; });

struct ConversionCase
{
	const char* name;
	std::string text;
	std::function<void(const std::string&)> check;
};

void PrintTo(const ConversionCase& row, std::ostream* pOut)
{
	*pOut << row.name;
}

class DeserializerConversionTest : public ::testing::TestWithParam<ConversionCase>
{
};

TEST_P(DeserializerConversionTest, ConvertsText)
{
	GetParam().check(body(GetParam().text));
}

template <class T>
std::function<void(const std::string&)> reads(T expected)
{
	return [expected](const std::string& document) { EXPECT_EQ(readAs<T>(document), expected); };
}

template <class T, class E>
std::function<void(const std::string&)> throws()
{
	return [](const std::string& document) { EXPECT_THROW(readAs<T>(document), E); };
}

std::function<void(const std::string&)> throwsMessage(std::function<void(const std::string&)> read,
                                                      const std::string& message)
{
	return [read, message](const std::string& document) {
		try
		{
			read(document);
			FAIL() << "no exception";
		}
		catch (const DeserializerException& exc)
		{
			EXPECT_EQ(exc.message(), message);
		}
	};
}

template <class T>
std::function<void(const std::string&)> reading()
{
	return [](const std::string& document) { readAs<T>(document); };
}

INSTANTIATE_TEST_SUITE_P(
    Texts, DeserializerConversionTest,
    ::testing::Values(
        ConversionCase{"UnsignedCharKeepsLowBits", "300", reads<unsigned char>(44)},
        ConversionCase{"SignedCharKeepsLowBits", "-129", reads<signed char>(127)},
        ConversionCase{"ShortKeepsLowBits", "70000", reads<short>(4464)},
        ConversionCase{"UnsignedShortKeepsLowBits", "65537", reads<unsigned short>(1)},
        ConversionCase{"ThousandsSeparator", "1,000", reads<int>(1000)},
        ConversionCase{"FloatWithGrouping", "1,000.5", reads<double>(1000.5)},
        ConversionCase{"FloatInFloat", "0.1", reads<float>(0.1f)},
        ConversionCase{"BoolFromTwo", "2", reads<bool>(true)},
        ConversionCase{"BoolFromNegative", "-3", reads<bool>(true)},
        ConversionCase{"BoolFromGrouped", "1,000", reads<bool>(true)},
        ConversionCase{"BoolFromZero", "0", reads<bool>(false)},
        ConversionCase{"BoolFromWord", "true", throwsMessage(reading<bool>(), "Illegal bool value : true")},
        ConversionCase{"BoolFromEmpty", "", throwsMessage(reading<bool>(), "Illegal bool value ")},
        ConversionCase{"CharFromEmpty", "", throwsMessage(reading<char>(), "Illegal char value ")},
        ConversionCase{"CharFromTwo", "ab", throwsMessage(reading<char>(), "Illegal char value ab")},
        ConversionCase{"WhiteSpaceString", " \n\t ", reads<std::string>(" \n\t ")},
        ConversionCase{"Base64WithLineBreaks",
                       "AP9h\r\nYg==", reads<std::vector<char>>({'\0', '\xFF', 'a', 'b'})},
        ConversionCase{"IntFromWord", "ten", throws<int, Tavik::SyntaxException>()},
        ConversionCase{"IntOutOfRange", "2147483648", throws<int, Tavik::SyntaxException>()},
        ConversionCase{"UnsignedFromNegative", "-1", throws<unsigned int, Tavik::SyntaxException>()},
        ConversionCase{"DoubleFromWord", "many", throws<double, Tavik::SyntaxException>()},
        ConversionCase{"BytesFromBadBase64",
                       "A*==", throws<std::vector<char>, Tavik::DataFormatException>()}),
    [](const ::testing::TestParamInfo<ConversionCase>& info) { return info.param.name; });

TEST(DeserializerTest, EmptyQueueMessages)
{
	Deserializer deserializer;
	std::string name;
	std::string text;
	int number = 0;
	std::vector<char> bytes;
	EXPECT_EQ(messageOf([&] { deserializer.findMessage(name); }), "no more event properties available");
	EXPECT_EQ(messageOf([&] { deserializer.deserialize("v", true, text); }), "No more properties available");
	EXPECT_EQ(messageOf([&] { deserializer.deserialize("v", true, number); }),
	          "No more properties available");
	EXPECT_EQ(messageOf([&] { deserializer.deserialize("v", true, bytes); }), "No more properties available");
	EXPECT_EQ(messageOf([&] { deserializer.deserializeMessageBegin("v", SerializerBase::MESSAGE_EVENT); }),
	          "no more event properties available");
	EXPECT_EQ(messageOf([&] { deserializer.popProperty(); }), "no more event properties available");
	EXPECT_THROW(deserializer.findMessage(name), DeserializerException);
}

TEST(DeserializerTest, MessageNameMustBeTheLastProperty)
{
	std::istringstream istr(body("1"));
	Deserializer deserializer;
	deserializer.setup(istr);
	EXPECT_NO_THROW(deserializer.deserializeMessageBegin("v", SerializerBase::MESSAGE_EVENT));
	EXPECT_NO_THROW(deserializer.deserializeMessageEnd("v", SerializerBase::MESSAGE_EVENT));
	EXPECT_EQ(
	    messageOf([&] { deserializer.deserializeMessageBegin("Volume", SerializerBase::MESSAGE_EVENT); }),
	    "event name mismatch - expected: Volumefound: v");
	EXPECT_EQ(messageOf([&] { deserializer.deserializeMessageEnd("Mute", SerializerBase::MESSAGE_EVENT); }),
	          "event name mismatch - expected: Mutefound: v");
	for (auto type :
	     {SerializerBase::MESSAGE_REQUEST, SerializerBase::MESSAGE_REPLY, SerializerBase::MESSAGE_FAULT})
	{
		EXPECT_EQ(messageOf([&] { deserializer.deserializeMessageBegin("v", type); }).rfind(
					  "in file \"src/Deserializer\", line ", 0),
		          0u);
		EXPECT_EQ(messageOf([&] { deserializer.deserializeMessageEnd("v", type); }).rfind(
					  "in file \"src/Deserializer\", line ", 0),
		          0u);
	}
	EXPECT_THROW(deserializer.deserializeMessageEnd("v", SerializerBase::MESSAGE_REQUEST),
	             Tavik::BugcheckException);
	EXPECT_EQ(drain(deserializer), (Properties{{"v", "1"}})) << "failed checks leave the queue unchanged";
}

TEST(DeserializerTest, BracketsReadNothing)
{
	std::istringstream istr(body("1"));
	Deserializer deserializer;
	deserializer.setup(istr);
	unsigned int lengthHint = 7;
	bool flag = true;
	EXPECT_FALSE(deserializer.deserializeStructBegin("s", true));
	EXPECT_FALSE(deserializer.deserializeSequenceBegin("s", true, lengthHint));
	EXPECT_EQ(lengthHint, 7u);
	EXPECT_FALSE(deserializer.deserializeNullableBegin("s", true, flag));
	EXPECT_FALSE(deserializer.deserializeOptionalBegin("s", true, flag));
	EXPECT_TRUE(flag);
	deserializer.deserializeStructEnd("s");
	deserializer.deserializeSequenceEnd("s");
	deserializer.deserializeNullableEnd("s");
	deserializer.deserializeOptionalEnd("s");
	deserializer.pushAttribute("a", "b", true);
	EXPECT_EQ(drain(deserializer), (Properties{{"v", "1"}}));
}

TEST(DeserializerTest, SameStreamIsReadOnlyOnce)
{
	std::istringstream istr(OPEN + property("<A>1</A>") + property("<B>2</B>") + CLOSE);
	Deserializer deserializer;
	deserializer.setupImpl(istr);
	deserializer.popProperty();
	deserializer.setupImpl(istr);
	EXPECT_EQ(drain(deserializer), (Properties{{"A", "1"}}));

	deserializer.resetImpl();
	std::istringstream other(OPEN + property("<C>3</C>") + CLOSE);
	deserializer.setupImpl(other);
	EXPECT_EQ(drain(deserializer), (Properties{{"C", "3"}}));
}

TEST(DeserializerTest, MalformedBodyKeepsWhatWasReadAndTheStream)
{
	std::istringstream istr(OPEN + property("<A>1</A>") + property("<B>2</B>") + "<e:property><C>3");
	Deserializer deserializer;
	EXPECT_THROW(deserializer.setupImpl(istr), Tavik::XML::SAXParseException);
	EXPECT_NO_THROW(deserializer.setupImpl(istr));
	EXPECT_EQ(drain(deserializer), (Properties{{"A", "1"}, {"B", "2"}}));

	std::istringstream empty;
	EXPECT_THROW(deserializer.setup(empty), Tavik::XML::SAXParseException);
	EXPECT_FALSE(deserializer.hasProperties());
}

struct DocumentCase
{
	const char* name;
	std::string document;
	Properties expected;
};

void PrintTo(const DocumentCase& row, std::ostream* pOut)
{
	*pOut << row.name;
}

class DeserializerDocumentTest : public ::testing::TestWithParam<DocumentCase>
{
};

TEST_P(DeserializerDocumentTest, QueuesTheVariables)
{
	EXPECT_EQ(read(GetParam().document), GetParam().expected);
}

const std::string LAST_CHANGE_XML =
    "<Event xmlns=\"urn:schemas-upnp-org:metadata-1-0/AVT/\"><InstanceID val=\"0\">"
    "<TransportState val=\"PLAYING\"/></InstanceID></Event>";
const std::string LAST_CHANGE_ESCAPED =
    "&lt;Event xmlns=&quot;urn:schemas-upnp-org:metadata-1-0/AVT/&quot;&gt;&lt;InstanceID "
    "val=&quot;0&quot;&gt;"
    "&lt;TransportState val=&quot;PLAYING&quot;/&gt;&lt;/InstanceID&gt;&lt;/Event&gt;";
const std::string LARGE_VALUE(200 * 1024, 'z');

INSTANTIATE_TEST_SUITE_P(
    StateMachine, DeserializerDocumentTest,
    ::testing::Values(
        DocumentCase{"SeveralVariablesInOneProperty",
                     OPEN + property("<A>1</A><B>2</B>") + property("<C>3</C>") + CLOSE,
                     {{"A", "1"}, {"B", "2"}, {"C", "3"}}},
        DocumentCase{"NestedMarkupEndsTheValue",
                     OPEN + property("<A>x<i>y</i>z</A>") + property("<B>2</B>") + CLOSE,
                     {{"A", "xy"}}},
        DocumentCase{"UnknownElementInPropertySetStopsCollecting",
                     OPEN + property("<A>1</A>") + "<e:other/>" + property("<B>2</B>") + CLOSE,
                     {{"A", "1"}}},
        DocumentCase{
            "PropertyWithoutVariable", OPEN + property("") + property("<A>1</A>") + CLOSE, {{"A", "1"}}},
        DocumentCase{"WhiteSpaceValue", OPEN + property("<A> \n\t</A>") + CLOSE, {{"A", " \n\t"}}},
        DocumentCase{"EmptyElementValue", OPEN + property("<A/>") + CLOSE, {{"A", ""}}},
        DocumentCase{
            "CDATAIsText", OPEN + property("<A>a<![CDATA[<b>&amp;]]>c</A>") + CLOSE, {{"A", "a<b>&amp;c"}}},
        DocumentCase{"CommentsAndInstructionsAreDropped",
                     OPEN + property("<A>a<!-- x --><?pi y?>b</A>") + CLOSE,
                     {{"A", "ab"}}},
        DocumentCase{
            "AnyPrefix",
            "<s:propertyset xmlns:s=\"urn:schemas-upnp-org:event-1-0\"><s:property><A>1</A></s:property>"
            "</s:propertyset>",
            {{"A", "1"}}},
        DocumentCase{"NoNamespace", "<propertyset><property><A>1</A></property></propertyset>", {{"A", "1"}}},
        DocumentCase{"DefaultNamespace",
                     "<propertyset "
                     "xmlns=\"urn:schemas-upnp-org:event-1-0\"><property><A>1</A></property></propertyset>",
                     {{"A", "1"}}},
        DocumentCase{"PropertySetNotTheRoot",
                     "<wrap><x/>" + std::string(OPEN) + property("<A>1</A>") + CLOSE + "</wrap>",
                     {{"A", "1"}}},
        DocumentCase{"NoPropertySet", "<root><property><A>1</A></property></root>", {}},
        DocumentCase{"AttributesAreIgnored", OPEN + property("<A dt=\"ui4\">1</A>") + CLOSE, {{"A", "1"}}},
        DocumentCase{"LastChangeHoldsEscapedXML",
                     OPEN + property("<LastChange>" + LAST_CHANGE_ESCAPED + "</LastChange>") + CLOSE,
                     {{"LastChange", LAST_CHANGE_XML}}},
        DocumentCase{"ByteOrderMark",
                     "\xEF\xBB\xBF<?xml version=\"1.0\"?>" + std::string(OPEN) + property("<A>1</A>") + CLOSE,
                     {{"A", "1"}}},
        DocumentCase{"CRLFLineEnds",
                     "<?xml version=\"1.0\"?>\r\n" + std::string(OPEN) + "\r\n" +
                         property("\r\n<A>1\r\n2</A>\r\n") + "\r\n" + CLOSE + "\r\n",
                     {{"A", "1\n2"}}},
        DocumentCase{"LargeValue",
                     OPEN + property("<A>" + LARGE_VALUE + "</A>") + property("<B>&amp;</B>") + CLOSE,
                     {{"A", LARGE_VALUE}, {"B", "&"}}}),
    [](const ::testing::TestParamInfo<DocumentCase>& info) { return info.param.name; });

TEST(DeserializerTest, HostileBodiesAreRefused)
{
	std::string laughs =
	    "<!DOCTYPE e:propertyset [<!ENTITY a \"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa\">";
	std::string previous = "a";
	for (const char* entity : {"b", "c", "d", "e", "f", "g"})
	{
		laughs += std::string("<!ENTITY ") + entity + " \"" ;
		for (int i = 0; i < 10; ++i) laughs += "&" + previous + ";";
		laughs += "\">";
		previous = entity;
	}
	laughs += "]>" + std::string(OPEN) + property("<A>&g;</A>") + CLOSE;
	std::istringstream bomb(laughs);
	Deserializer deserializer;
	EXPECT_THROW(deserializer.setup(bomb), Tavik::XML::SAXParseException);

	std::istringstream huge(OPEN + property("<A>" + std::string(1024 * 1024, 'x') + "</A>") + CLOSE);
	EXPECT_THROW(deserializer.setup(huge), Tavik::XML::XMLException);

	EXPECT_EQ(read("<!DOCTYPE e:propertyset [<!ENTITY x SYSTEM \"file:///etc/passwd\">]>" +
	               std::string(OPEN) + property("<A>[&x;]</A>") + CLOSE),
	          (Properties{{"A", "[]"}}));
}
