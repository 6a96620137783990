#include "Tavik/XML/Attributes.h"
#include "Tavik/XML/DefaultHandler.h"
#include "Tavik/XML/InputSource.h"
#include "Tavik/XML/SAXParser.h"
#include "Tavik/XML/XMLException.h"
#include "Tavik/XML/XMLWriter.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

using namespace Tavik::XML;

namespace {

const std::string NONE;
const std::string NS = "urn:x";

struct WriterCase
{
	const char* name;
	int options;
	std::function<void(XMLWriter&)> write;
	std::string expected;
};

void PrintTo(const WriterCase& row, std::ostream* pOut)
{
	*pOut << row.name;
}

class XMLWriterOutputTest : public ::testing::TestWithParam<WriterCase>
{
};

TEST_P(XMLWriterOutputTest, WritesExactBytes)
{
	std::ostringstream ostr;
	XMLWriter writer(ostr, GetParam().options);
	GetParam().write(writer);
	EXPECT_EQ(ostr.str(), GetParam().expected);
}

void nestedDocument(XMLWriter& writer)
{
	writer.startDocument();
	writer.startPrefixMapping("e", NS);
	writer.startElement(NS, "set", NONE);
	writer.startElement(NS, "item", NONE);
	writer.startElement(NONE, "v", NONE);
	writer.characters("1");
	writer.endElement(NONE, "v", NONE);
	writer.endElement(NS, "item", NONE);
	writer.startElement(NS, "item", NONE);
	writer.startElement(NONE, "empty", NONE);
	writer.endElement(NONE, "empty", NONE);
	writer.endElement(NS, "item", NONE);
	writer.endElement(NS, "set", NONE);
	writer.endPrefixMapping("e");
	writer.endDocument();
}

const char PRETTY_NESTED[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
							 "<e:set xmlns:e=\"urn:x\">\n"
							 "\t<e:item>\n"
							 "\t\t<v>1</v>\n"
							 "\t</e:item>\n"
							 "\t<e:item>\n"
							 "\t\t<empty/>\n"
							 "\t</e:item>\n"
							 "</e:set>\n";

INSTANTIATE_TEST_SUITE_P(
    Documents, XMLWriterOutputTest,
    ::testing::Values(
        WriterCase{"PrettyWithDeclaration", XMLWriter::WRITE_XML_DECLARATION | XMLWriter::PRETTY_PRINT,
                   nestedDocument, PRETTY_NESTED},
        WriterCase{"Canonical", XMLWriter::CANONICAL, nestedDocument,
                   "<e:set xmlns:e=\"urn:x\"><e:item><v>1</v></e:item><e:item><empty/></e:item></e:set>"},
        WriterCase{"DeclarationWithoutPrettyPrint", XMLWriter::WRITE_XML_DECLARATION,
                   [](XMLWriter& w)
                   {
					   w.startDocument();
					   w.startElement(NONE, "a", NONE);
					   w.endElement(NONE, "a", NONE);
                   },
                   "<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>"},
        WriterCase{"CRLFAndCustomIndent", XMLWriter::PRETTY_PRINT,
                   [](XMLWriter& w)
                   {
					   w.setNewLine(XMLWriter::NEWLINE_CRLF);
					   w.setIndent("  ");
					   w.startElement(NONE, "a", NONE);
					   w.startElement(NONE, "b", NONE);
					   w.endElement(NONE, "b", NONE);
					   w.endElement(NONE, "a", NONE);
                   },
                   "<a>\r\n  <b/>\r\n</a>\r\n"},
        WriterCase{"TextIsEscaped", XMLWriter::CANONICAL,
                   [](XMLWriter& w)
                   {
					   w.startElement(NONE, "a", NONE);
					   w.characters("x<y & \"z\" > 'q'\t\r\n\xC3\xA9");
					   w.characters("");
					   w.endElement(NONE, "a", NONE);
                   },
                   "<a>x&lt;y &amp; &quot;z&quot; &gt; 'q'\t&#13;\n\xC3\xA9</a>"},
        WriterCase{
            "QualifiedNameDefaultNamespaceAndAttributes", XMLWriter::CANONICAL,
            [](XMLWriter& w)
            {
	            Attributes attributes;
	            attributes.addAttribute(NONE, "plain", NONE, "a<\"&\t\n\r");
	            attributes.addAttribute(NS, "b", NONE, "2");
	            attributes.addAttribute(NONE, NONE, "q:c", "3");
	            w.startPrefixMapping("", "urn:d");
	            w.startPrefixMapping("p", NS);
	            w.startElement("urn:d", "root", NONE, attributes);
	            w.startElement(NONE, "ignored", "given:name");
	            w.endElement(NONE, "ignored", "given:name");
	            w.endElement("urn:d", "root", NONE);
            },
            "<root xmlns=\"urn:d\" xmlns:p=\"urn:x\" plain=\"a&lt;&quot;&amp;&#9;&#10;&#13;\" p:b=\"2\" "
            "q:c=\"3\"><given:name/></root>"},
        WriterCase{"MappingEndsWithItsScope", XMLWriter::CANONICAL,
                   [](XMLWriter& w)
                   {
					   w.startElement(NONE, "a", NONE);
					   w.startPrefixMapping("p", NS);
					   w.startElement(NS, "b", NONE);
					   w.endElement(NS, "b", NONE);
					   w.endPrefixMapping("p");
					   w.startPrefixMapping("q", NS);
					   w.startElement(NS, "c", NONE);
					   w.endElement(NS, "c", NONE);
					   w.endElement(NONE, "a", NONE);
                   },
                   "<a><p:b xmlns:p=\"urn:x\"/><q:c xmlns:q=\"urn:x\"/></a>"}),
    [](const ::testing::TestParamInfo<WriterCase>& info) { return info.param.name; });

struct MisuseCase
{
	const char* name;
	std::function<void(XMLWriter&)> misuse;
	std::string message;
};

void PrintTo(const MisuseCase& row, std::ostream* pOut)
{
	*pOut << row.name;
}

class XMLWriterMisuseTest : public ::testing::TestWithParam<MisuseCase>
{
};

TEST_P(XMLWriterMisuseTest, RaisesXMLException)
{
	std::ostringstream ostr;
	XMLWriter writer(ostr, XMLWriter::CANONICAL);
	writer.startElement(NONE, "root", NONE);
	writer.characters("ok");
	const std::string before = ostr.str();
	try
	{
		GetParam().misuse(writer);
		FAIL() << "no exception";
	}
	catch (const XMLException& exc)
	{
		EXPECT_EQ(exc.message(), GetParam().message);
	}
	EXPECT_EQ(ostr.str(), before) << "nothing of a refused call is written";
}

INSTANTIATE_TEST_SUITE_P(
	Calls, XMLWriterMisuseTest,
	::testing::Values(
		MisuseCase{"MismatchedEndTag", [](XMLWriter& w) { w.endElement(NONE, "other", NONE); },
	               "End tag does not match start tag: expected root, found other"},
		MisuseCase{"EmptyElementName", [](XMLWriter& w) { w.startElement(NONE, NONE, NONE); },
	               "Empty element or attribute name"},
		MisuseCase{"EmptyAttributeName",
	               [](XMLWriter& w) {
					   Attributes attributes;
					   attributes.addAttribute(NONE, NONE, NONE, "v");
					   w.startElement(NONE, "a", NONE, attributes);
				   },
	               "Empty element or attribute name"},
		MisuseCase{"UnmappedNamespace", [](XMLWriter& w) { w.startElement(NS, "a", NONE); },
	               "No prefix mapped to namespace: urn:x"},
		MisuseCase{"ControlCharacterInText", [](XMLWriter& w) { w.characters(std::string("a\0b", 3)); },
	               "Character not allowed in XML: U+0000"},
		MisuseCase{"ControlCharacterInAttribute",
	               [](XMLWriter& w) {
					   Attributes attributes;
					   attributes.addAttribute(NONE, "x", NONE, "\x1F");
					   w.startElement(NONE, "a", NONE, attributes);
				   },
	               "Character not allowed in XML: U+001F"},
		MisuseCase{"EndDocumentWithOpenElement", [](XMLWriter& w) { w.endDocument(); },
	               "Document ended with open element: root"}),
	[](const ::testing::TestParamInfo<MisuseCase>& info) { return info.param.name; });

TEST(XMLWriterTest, NothingMayFollowTheRootElement)
{
	std::ostringstream ostr;
	XMLWriter writer(ostr, XMLWriter::CANONICAL);
	EXPECT_THROW(writer.characters("before"), XMLException);
	writer.startElement(NONE, "a", NONE);
	writer.endElement(NONE, "a", NONE);
	EXPECT_THROW(writer.startElement(NONE, "b", NONE), XMLException);
	EXPECT_THROW(writer.characters("after"), XMLException);
	EXPECT_THROW(writer.startDocument(), XMLException);
	try
	{
		writer.endElement(NONE, "a", NONE);
		FAIL() << "no exception";
	}
	catch (const XMLException& exc)
	{
		EXPECT_EQ(exc.message(), "End tag without start tag: a");
	}
	EXPECT_EQ(ostr.str(), "<a/>");
}

// Every character XML 1.0 can hold, written as text and as an attribute value,
// reads back unchanged.
TEST(XMLWriterTest, TextAndAttributesRoundTripThroughTheParser)
{
	std::string text;
	for (int c = 1; c < 256; ++c)
	{
		if (c >= 0x20 || c == '\t' || c == '\n' || c == '\r') text.push_back(static_cast<char>(c));
	}
	text = text.substr(0, 0x80 - 0x20 + 3) + "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";

	std::ostringstream ostr;
	XMLWriter writer(ostr, XMLWriter::WRITE_XML_DECLARATION | XMLWriter::PRETTY_PRINT);
	Attributes attributes;
	attributes.addAttribute(NONE, "value", NONE, text);
	writer.startDocument();
	writer.startElement(NONE, "a", NONE, attributes);
	writer.characters(text);
	writer.endElement(NONE, "a", NONE);
	writer.endDocument();

	struct Reader : DefaultHandler
	{
		std::string attribute, text;
		void startElement(const std::string&, const std::string&, const std::string&,
		                  const Attributes& attributes) override
		{
			attribute = attributes.getValue("value");
		}
		void characters(const char ch[], int start, int length) override
		{
			text.append(ch + start, static_cast<std::size_t>(length));
		}
	} reader;
	std::istringstream istr(ostr.str());
	InputSource source(istr);
	SAXParser parser;
	parser.setContentHandler(&reader);
	parser.parse(&source);
	EXPECT_EQ(reader.text, text);
	EXPECT_EQ(reader.attribute, text);
}

} // namespace
