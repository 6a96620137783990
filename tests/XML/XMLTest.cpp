// SAXParser, Attributes and XMLWriter: encodings, input in pieces, malformed input, limits, escapes,
// namespace scopes and misuse, which the property-set reader and writer above them do not reach.
#include "Tavik/XML/Attributes.h"
#include "Tavik/XML/DefaultHandler.h"
#include "Tavik/XML/InputSource.h"
#include "Tavik/XML/SAXParser.h"
#include "Tavik/XML/XMLException.h"
#include "Tavik/XML/XMLWriter.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace Tavik::XML;

namespace {

const std::string NONE;

struct Recorder : DefaultHandler
{
	Recorder() { parser.setContentHandler(this); }
	void endDocument() override { events += "$"; }
	void startElement(const std::string& uri, const std::string& localName, const std::string& qname,
	                  const Attributes& attributes) override
	{
		events += "<" + uri + "|" + localName + "|" + qname;
		for (int i = 0; i < attributes.getLength(); ++i)
			events += " " + attributes.getURI(i) + "|" + attributes.getLocalName(i) + "|" + attributes.getQName(i) + "=" +
			          attributes.getValue(i);
		events += ">";
		if (localName == "bad") throw Tavik::NotFoundException("handler says no");
		if (localName == "again") parse("<a/>");
	}
	void endElement(const std::string& uri, const std::string& localName, const std::string& qname) override
	{
		events += "</" + uri + "|" + localName + "|" + qname + ">";
	}
	void characters(const char ch[], int start, int length) override { events.append(ch + start, std::size_t(length)); }
	void startPrefixMapping(const std::string& prefix, const std::string& uri) override { events += "[" + prefix + "=" + uri + "]"; }
	void endPrefixMapping(const std::string& prefix) override { events += "[/" + prefix + "]"; }
	void skippedEntity(const std::string& name) override { events += "&" + name + ";"; }

	void parse(const std::string& document)
	{
		std::istringstream istr(document);
		InputSource source(istr);
		parser.parse(&source);
	}

	SAXParser parser;
	std::string events;
};

// The events ($ for the end of the document), or the message of the exception that ended the parse.
std::string eventsOf(const std::string& document)
{
	Recorder recorder;
	try
	{
		recorder.parse(document);
	}
	catch (const XMLException& exc)
	{
		const std::string ended = recorder.events.find('$') != std::string::npos ? " $" : "";
		return (dynamic_cast<const SAXParseException*>(&exc) ? "malformed: " : "refused: ") + exc.message() + ended;
	}
	return recorder.events;
}

// What the writer wrote, then " ! " and the message of the exception that stopped it. Refused
// calls come after a root element with some text: they write nothing.
std::string written(const std::function<void(XMLWriter&)>& write, bool afterRoot = true)
{
	std::ostringstream ostr;
	XMLWriter writer(ostr, XMLWriter::CANONICAL);
	try
	{
		if (afterRoot) writer.startElement(NONE, "root", NONE), writer.characters("ok");
		write(writer);
	}
	catch (const XMLException& exc)
	{
		return ostr.str() + " ! " + exc.message();
	}
	return ostr.str();
}

Attributes attributes(const std::string& uri, const std::string& localName, const std::string& qname, const std::string& value)
{
	Attributes result;
	result.addAttribute(NONE, "plain", NONE, "a<\"&\t\n\r");
	result.addAttribute(uri, localName, qname, value);
	return result;
}


struct Row
{
	const char* name;
	std::string actual;
	std::string expected;
};

class XMLTest : public testing::TestWithParam<Row>
{
};
const auto rowName = [](const testing::TestParamInfo<Row>& info) { return std::string(info.param.name); };

TEST_P(XMLTest, IsAsExpected)
{
	EXPECT_EQ(GetParam().actual, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    SAXParser, XMLTest,
    testing::Values(
        Row{"Namespaces", eventsOf("<e:set xmlns:e=\"urn:x\" xmlns=\"urn:d\" a=\"1\" e:b=\"2\"><v>t</v></e:set>"),
            "[e=urn:x][=urn:d]<urn:x|set|e:set |a|a=1 urn:x|b|e:b=2><urn:d|v|v>t</urn:d|v|v></urn:x|set|e:set>[/][/e]$"},
        Row{"References", eventsOf("<a>&lt;&quot;&apos; &#xE9;&#13;\r\n</a>"), "<|a|a><\"' \xC3\xA9\r\n</|a|a>$"},
        Row{"ByteOrderMark", eventsOf("\xEF\xBB\xBF<a>\xC3\xA9</a>"), "<|a|a>\xC3\xA9</|a|a>$"},
        Row{"UTF16", eventsOf(std::string("\xFF\xFE<\0a\0>\0\xE9\0<\0/\0a\0>\0", 18)), "<|a|a>\xC3\xA9</|a|a>$"},
        Row{"InternalEntities", eventsOf("<!DOCTYPE a [<!ENTITY w \"word\">]><a>&w;&w;</a>"), "<|a|a>wordword</|a|a>$"},
        Row{"ExternalDTD", eventsOf("<!DOCTYPE a SYSTEM \"file:///etc/hostname\"><a>[&x;]</a>"), "<|a|a>[&x;]</|a|a>$"},
        Row{"ExternalParameterEntity",
            eventsOf("<!DOCTYPE a [<!ENTITY % p SYSTEM \"file:///etc/hostname\"> %p;]><a>[&x;]</a>"), "<|a|a>[&x;]</|a|a>$"},
        Row{"AtTheSizeLimit", eventsOf("<a>" + std::string(1024 * 1024 - 7, 'x') + "</a>").substr(0, 4), "<|a|"},
        Row{"OverTheSizeLimit", eventsOf("<a>" + std::string(1024 * 1024 - 7, 'x') + "</a> "),
            "refused: XML document too large: more than 1048576 bytes"},
        Row{"Empty", eventsOf(" \n "), "malformed: no element found: line 2, column 2"},
        Row{"MismatchedTag", eventsOf("<a>\n  </b>"), "malformed: mismatched tag: line 2, column 5"},
        Row{"TwoRoots", eventsOf("<a/><b/>"), "malformed: junk after document element: line 1, column 5"},
        Row{"UndefinedEntity", eventsOf("<a>&x;</a>"), "malformed: undefined entity: line 1, column 4"},
        Row{"BadUTF8", eventsOf("<a>\xC3</a>"), "malformed: not well-formed (invalid token): line 1, column 4"},
        Row{"UnboundPrefix", eventsOf("<p:a/>"), "malformed: unbound prefix: line 1, column 1"}),
    rowName);

INSTANTIATE_TEST_SUITE_P(
    XMLWriter, XMLTest,
    testing::Values(
        Row{"DefaultNamespaceAttributesAndGivenNames", written([](XMLWriter& w) {
	            w.startPrefixMapping("", "urn:d");
	            w.startPrefixMapping("p", "urn:x");
	            w.startElement("urn:d", "root", NONE, attributes("urn:x", "b", NONE, "2"));
	            w.startElement(NONE, "ignored", "given:name", attributes(NONE, NONE, "q:c", "3"));
            }, false), "<root xmlns=\"urn:d\" xmlns:p=\"urn:x\" plain=\"a&lt;&quot;&amp;&#9;&#10;&#13;\" p:b=\"2\">"
                       "<given:name plain=\"a&lt;&quot;&amp;&#9;&#10;&#13;\" q:c=\"3\""},
        Row{"MappingEndsWithItsScope", written([](XMLWriter& w) {
	            w.startPrefixMapping("p", "urn:x");
	            w.startElement("urn:x", "b", NONE);
	            w.endElement("urn:x", "b", NONE);
	            w.endPrefixMapping("p");
	            w.startElement("urn:x", "c", NONE);
            }), "<root>ok<p:b xmlns:p=\"urn:x\"/> ! No prefix mapped to namespace: urn:x"},
        Row{"SecondRoot", written([](XMLWriter& w) { w.endElement(NONE, "root", NONE), w.startElement(NONE, "b", NONE); }),
            "<root>ok</root> ! Second root element: b"},
        Row{"TextBeforeTheRoot", written([](XMLWriter& w) { w.characters("before"); }, false),
            " ! Character data outside the root element"},
        Row{"MismatchedEndTag", written([](XMLWriter& w) { w.endElement(NONE, "other", NONE); }),
            "<root>ok ! End tag does not match start tag: expected root, found other"},
        Row{"EmptyName", written([](XMLWriter& w) { w.startElement(NONE, NONE, NONE); }),
            "<root>ok ! Empty element or attribute name"},
        Row{"EmptyAttributeName", written([](XMLWriter& w) { w.startElement(NONE, "a", NONE, attributes("", "", "", "v")); }),
            "<root>ok ! Empty element or attribute name"},
        Row{"ControlCharacterInText", written([](XMLWriter& w) { w.characters(std::string("a\0b", 3)); }),
            "<root>ok ! Character not allowed in XML: U+0000"},
        Row{"ControlCharacterInAttribute", written([](XMLWriter& w) { w.startElement("", "a", "", attributes("", "x", "", "\x1F")); }),
            "<root>ok ! Character not allowed in XML: U+001F"},
        Row{"ControlCharacterInNamespace", written([](XMLWriter& w) { w.startPrefixMapping("p", "\x01"), w.startElement("", "a", ""); }),
            "<root>ok ! Character not allowed in XML: U+0001"},
        Row{"EndDocumentWithOpenElement", written([](XMLWriter& w) { w.endDocument(); }),
            "<root>ok ! Document ended with open element: root"}),
    rowName);

// The parser gets the stream in 8 KiB blocks: a reference, a multi-byte character and a tag across
// a block boundary, at every offset, read the same.
TEST(SAXParserTest, TokensSplitAcrossReadBlocksAreReassembled)
{
	for (std::size_t padding = 8192 - 16; padding <= 8192; ++padding)
		EXPECT_EQ(eventsOf("<a>" + std::string(padding, 'x') + "&amp;\xE2\x82\xAC<b/>&#x41;</a>"),
		          "<|a|a>" + std::string(padding, 'x') + "&\xE2\x82\xAC<|b|b></|b|b>A</|a|a>$")
		    << padding;
}

// An exception from the handler passes unchanged and leaves the parser usable; a parse from the
// handler with the same parser is refused.
TEST(SAXParserTest, HandlerExceptionsAttributeLookupsAndMisuse)
{
	Recorder recorder;
	EXPECT_THROW(recorder.parse("<a><bad/></a>"), Tavik::NotFoundException);
	EXPECT_NO_THROW(recorder.parse("<a/>"));
	EXPECT_THROW(recorder.parse("<again/>"), XMLException);
	const Attributes found = attributes("urn:x", "b", "e:b", "2");
	EXPECT_EQ(found.getValue("e:b") + found.getValue("urn:x", "b") + "|" + found.getValue("urn:y", "b"), "22|");
	SAXParser parser;
	EXPECT_THROW(parser.setFeature("http://example.org/unknown", true), XMLException);
	EXPECT_THROW(parser.parse(nullptr), Tavik::NullPointerException);
}

} // namespace
