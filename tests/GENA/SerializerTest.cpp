#include "Tavik/Exception.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/Serializer.h"
#include "Tavik/XML/XMLException.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

using Tavik::Callweave::SerializerBase;
using Tavik::UPnP::GENA::Listener;
using Tavik::UPnP::GENA::Serializer;

namespace {

const char HEAD[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
					"<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">\n";
const char TAIL[] = "</e:propertyset>\n";

// The document for properties written as "<name>text</name>" (or "<name/>").
std::string propertySet(const std::vector<std::string>& variables)
{
	std::string document = HEAD;
	for (const auto& variable : variables)
		document += "\t<e:property>\n\t\t" + variable + "\n\t</e:property>\n";
	return document + TAIL;
}

// Writes one event message named messageName with the given value operations.
std::string write(const std::string& messageName, const std::function<void(Serializer&)>& values)
{
	std::ostringstream ostr;
	Serializer serializer;
	serializer.setup(ostr);
	serializer.serializeMessageBegin(messageName, SerializerBase::MESSAGE_EVENT);
	values(serializer);
	serializer.serializeMessageEnd(messageName, SerializerBase::MESSAGE_EVENT);
	return ostr.str();
}

void expectBugcheckIn(const std::function<void()>& call, const std::string& file)
{
	try
	{
		call();
		FAIL() << "no bugcheck";
	}
	catch (const Tavik::BugcheckException& exc)
	{
		EXPECT_NE(exc.message().find("in file \"" + file + "\", line "), std::string::npos) << exc.message();
	}
}

} // namespace

TEST(SerializerTest, InitialEventDocumentIsExact)
{
	const std::string document = write(Listener::EMPTY, [](Serializer& s) {
		s.serialize("Status", std::string("1"));
		s.serialize("Target", std::string("0"));
	});
	EXPECT_EQ(document, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
						"<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\">\n"
						"\t<e:property>\n"
						"\t\t<Status>1</Status>\n"
						"\t</e:property>\n"
						"\t<e:property>\n"
						"\t\t<Target>0</Target>\n"
						"\t</e:property>\n"
						"</e:propertyset>\n");
}

TEST(SerializerTest, MessageWithoutValuesHasNoProperties)
{
	EXPECT_EQ(write("Changed", [](Serializer&) {}),
	          "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
	          "<e:propertyset xmlns:e=\"urn:schemas-upnp-org:event-1-0\"/>\n");
}

struct ValueCase
{
	const char* name;
	std::function<void(Serializer&)> write;
	std::string element;
};

void PrintTo(const ValueCase& row, std::ostream* pOut)
{
	*pOut << row.name;
}

class SerializerValueTest : public ::testing::TestWithParam<ValueCase>
{
};

TEST_P(SerializerValueTest, WritesText)
{
	EXPECT_EQ(write("Event", GetParam().write), propertySet({GetParam().element}));
}

template <class T>
std::function<void(Serializer&)> value(T v)
{
	return [v](Serializer& s) { s.serialize("v", v); };
}

INSTANTIATE_TEST_SUITE_P(
    Types, SerializerValueTest,
    ::testing::Values(
        ValueCase{"SignedCharIsANumber", value<signed char>(-5), "<v>-5</v>"},
        ValueCase{"SignedCharMin", value<signed char>(-128), "<v>-128</v>"},
        ValueCase{"UnsignedCharMax", value<unsigned char>(255), "<v>255</v>"},
        ValueCase{"ShortMin", value<short>(SHRT_MIN), "<v>-32768</v>"},
        ValueCase{"UnsignedShortMax", value<unsigned short>(USHRT_MAX), "<v>65535</v>"},
        ValueCase{"IntMin", value<int>(INT_MIN), "<v>-2147483648</v>"},
        ValueCase{"UnsignedIntMax", value<unsigned int>(UINT_MAX), "<v>4294967295</v>"},
        ValueCase{"LongMin", value<long>(LONG_MIN), "<v>-9223372036854775808</v>"},
        ValueCase{"UnsignedLongMax", value<unsigned long>(ULONG_MAX), "<v>18446744073709551615</v>"},
        ValueCase{"LongLongMin", value<long long>(LLONG_MIN), "<v>-9223372036854775808</v>"},
        ValueCase{"UnsignedLongLongMax", value<unsigned long long>(ULLONG_MAX),
                  "<v>18446744073709551615</v>"},
        ValueCase{"IntWithoutGrouping", value<int>(1234567), "<v>1234567</v>"},
        ValueCase{"True", value<bool>(true), "<v>1</v>"}, ValueCase{"False", value<bool>(false), "<v>0</v>"},
        ValueCase{"FloatShortest", value<float>(0.1f), "<v>0.1</v>"},
        ValueCase{"FloatLastDecimal", value<float>(123456.0f), "<v>123456</v>"},
        ValueCase{"FloatFirstExponential", value<float>(1e6f), "<v>1e+06</v>"},
        ValueCase{"FloatSmallestDecimal", value<float>(1e-6f), "<v>0.000001</v>"},
        ValueCase{"FloatSmallExponential", value<float>(1.5e-7f), "<v>1.5e-07</v>"},
        ValueCase{"DoubleLastDecimal", value<double>(999999999999999.0), "<v>999999999999999</v>"},
        ValueCase{"DoubleFirstExponential", value<double>(1e15), "<v>1e+15</v>"},
        ValueCase{"DoubleSmallestDecimal", value<double>(1e-15), "<v>0.000000000000001</v>"},
        ValueCase{"DoubleSmallExponential", value<double>(1e-16), "<v>1e-16</v>"},
        ValueCase{"NaN", value<double>(std::nan("")), "<v>nan</v>"},
        ValueCase{"Infinity", value<double>(HUGE_VAL), "<v>inf</v>"},
        ValueCase{"NegativeInfinity", value<float>(-HUGE_VALF), "<v>-inf</v>"},
        ValueCase{"Char", value<char>('x'), "<v>x</v>"},
        ValueCase{"MarkupChar", value<char>('<'), "<v>&lt;</v>"},
        ValueCase{"StringWithMarkup", value<std::string>("a<b>&\"c\""),
                  "<v>a&lt;b&gt;&amp;&quot;c&quot;</v>"},
        ValueCase{"EmptyString", value<std::string>(""), "<v/>"},
        ValueCase{"EmptyBytes", value<std::vector<char>>({}), "<v/>"},
        ValueCase{"Bytes", value<std::vector<char>>({'\0', '\xFF', 'a'}), "<v>AP9h</v>"},
        ValueCase{"BytesWithLineBreaks", value<std::vector<char>>(std::vector<char>(60, '\0')),
                  "<v>" + std::string(72, 'A') + "&#13;\n" + std::string(8, 'A') + "</v>"}),
    [](const ::testing::TestParamInfo<ValueCase>& info) { return info.param.name; });

TEST(SerializerTest, DataTakesTheCurrentElementName)
{
	EXPECT_EQ(write("Changed", [](Serializer& s) { s.serialize("data", 5); }),
	          propertySet({"<Changed>5</Changed>"}));
	EXPECT_EQ(write(Listener::EMPTY,
	                [](Serializer& s) {
						s.serialize("Volume", std::string("1"));
						s.serialize("data", std::string("2"));
						s.serialize("Mute", std::string("0"));
					}),
	          propertySet({"<Volume>1</Volume>", "<Volume>2</Volume>", "<Mute>0</Mute>"}));
}

TEST(SerializerTest, DataWithoutANameIsRefusedBeforeWriting)
{
	std::ostringstream ostr;
	Serializer serializer;
	serializer.setup(ostr);
	serializer.serializeMessageBegin(Listener::EMPTY, SerializerBase::MESSAGE_EVENT);
	const std::string before = ostr.str();
	EXPECT_THROW(serializer.serialize("data", std::string("x")), Tavik::InvalidArgumentException);
	EXPECT_EQ(ostr.str(), before);
}

TEST(SerializerTest, BracketsAndFaultsWriteNothing)
{
	const std::string document = write("Changed", [](Serializer& s) {
		Tavik::Exception fault("fault");
		s.serializeFaultMessage("Changed", fault);
		s.serializeStructBegin("point");
		s.serializeNullableBegin("x", false);
		s.serialize("x", 1);
		s.serializeNullableEnd("x");
		s.serializeOptionalBegin("y", true);
		s.serialize("y", 2);
		s.serializeOptionalEnd("y");
		s.serializeStructEnd("point");
		s.serializeSequenceBegin("list", 2);
		s.serialize("data", 3);
		s.serializeSequenceEnd("list");
		s.pushAttribute("a", "b");
		s.registerNamespace("urn:other");
	});
	EXPECT_EQ(document, propertySet({"<x>1</x>", "<y>2</y>", "<y>3</y>"}));
}

TEST(SerializerTest, OnlyEventMessagesAreAccepted)
{
	std::ostringstream ostr;
	Serializer serializer;
	serializer.setup(ostr);
	expectBugcheckIn([&] { serializer.serializeMessageBegin("m", SerializerBase::MESSAGE_REQUEST); },
	                 "src/Serializer");
	EXPECT_EQ(ostr.str(), "");
	serializer.serializeMessageBegin("m", SerializerBase::MESSAGE_EVENT);
	expectBugcheckIn([&] { serializer.serializeMessageEnd("m", SerializerBase::MESSAGE_REPLY); },
	                 "src/Serializer");
	expectBugcheckIn([&] { serializer.serializeMessageEnd("m", SerializerBase::MESSAGE_FAULT); },
	                 "src/Serializer");
}

TEST(SerializerTest, UseBeforeSetupIsABugcheck)
{
	Serializer serializer;
	expectBugcheckIn([&] { serializer.serializeMessageBegin("m", SerializerBase::MESSAGE_EVENT); },
	                 "src/Serializer");
	std::ostringstream ostr;
	serializer.setup(ostr);
	serializer.reset();
	expectBugcheckIn([&] { serializer.serialize("v", 1); }, "src/Serializer");
}

TEST(SerializerTest, SetupStartsAFreshDocumentAfterAFailure)
{
	Serializer serializer;
	serializer.setProperty("SID", "uuid:1");
	std::ostringstream broken;
	serializer.setup(broken);
	serializer.serializeMessageBegin("m", SerializerBase::MESSAGE_EVENT);
	EXPECT_THROW(serializer.serialize("v", std::string("bell\a")), Tavik::XML::XMLException);

	std::ostringstream ostr;
	serializer.setup(ostr);
	serializer.serializeMessageBegin("m", SerializerBase::MESSAGE_EVENT);
	serializer.serialize("v", 7u);
	serializer.serializeMessageEnd("m", SerializerBase::MESSAGE_EVENT);
	EXPECT_EQ(ostr.str(), propertySet({"<v>7</v>"}));
	EXPECT_THROW(serializer.getProperty("SID"), Tavik::NotFoundException) << "setup clears the properties";
}
