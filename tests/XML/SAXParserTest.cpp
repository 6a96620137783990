#include "Tavik/XML/Attributes.h"
#include "Tavik/XML/DefaultHandler.h"
#include "Tavik/XML/InputSource.h"
#include "Tavik/XML/SAXParser.h"
#include "Tavik/XML/XMLException.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace Tavik::XML;

namespace {

// Records every event as one line; adjacent character data is joined so that
// the record does not depend on how the parser splits text.
class RecordingHandler : public DefaultHandler
{
public:
	std::vector<std::string> events;
	int startDocuments = 0;
	int endDocuments = 0;

	void startDocument() override { ++startDocuments; }
	void endDocument() override { ++endDocuments; }
	void startElement(const std::string& uri, const std::string& localName, const std::string& qname,
	                  const Attributes& attributes) override
	{
		std::string event = "start " + uri + "|" + localName + "|" + qname;
		for (int i = 0; i < attributes.getLength(); ++i)
		{
			event += " [" + attributes.getURI(i) + "|" + attributes.getLocalName(i) + "|" +
			         attributes.getQName(i) + "=" + attributes.getValue(i) + "]";
		}
		events.push_back(event);
	}
	void endElement(const std::string& uri, const std::string& localName, const std::string& qname) override
	{
		events.push_back("end " + uri + "|" + localName + "|" + qname);
	}
	void characters(const char ch[], int start, int length) override
	{
		if (events.empty() || events.back().rfind("text ", 0) != 0) events.push_back("text ");
		events.back().append(ch + start, static_cast<std::size_t>(length));
	}
	void processingInstruction(const std::string& target, const std::string& data) override
	{
		events.push_back("pi " + target + " " + data);
	}
	void startPrefixMapping(const std::string& prefix, const std::string& uri) override
	{
		events.push_back("map " + prefix + "=" + uri);
	}
	void endPrefixMapping(const std::string& prefix) override { events.push_back("unmap " + prefix); }
	void skippedEntity(const std::string& name) override { events.push_back("skipped " + name); }

	std::string text() const
	{
		std::string all;
		for (const auto& event : events)
		{
			if (event.rfind("text ", 0) == 0) all += event.substr(5);
		}
		return all;
	}
};

void parse(SAXParser& parser, const std::string& document)
{
	std::istringstream istr(document);
	InputSource source(istr);
	parser.parse(&source);
}

std::vector<std::string> eventsOf(const std::string& document, bool namespaces = true, bool prefixes = false)
{
	SAXParser parser;
	parser.setFeature(XMLReader::FEATURE_NAMESPACES, namespaces);
	parser.setFeature(XMLReader::FEATURE_NAMESPACE_PREFIXES, prefixes);
	RecordingHandler handler;
	parser.setContentHandler(&handler);
	parse(parser, document);
	EXPECT_EQ(handler.startDocuments, 1);
	EXPECT_EQ(handler.endDocuments, 1);
	return handler.events;
}

std::string parseError(SAXParser& parser, const std::string& document)
{
	try
	{
		parse(parser, document);
	}
	catch (const SAXParseException& exc)
	{
		return exc.message();
	}
	return "no error";
}

const std::string NS_DOCUMENT = "<e:set xmlns:e=\"urn:x\" xmlns=\"urn:d\" a=\"1\" e:b=\"2\"><v>t</v></e:set>";

} // namespace

TEST(SAXParserTest, NamespaceProcessingReportsURIsLocalNamesAndMappings)
{
	const std::vector<std::string> expected = {
		"map e=urn:x",
		"map =urn:d",
		"start urn:x|set|e:set [|a|a=1] [urn:x|b|e:b=2]",
		"start urn:d|v|v",
		"text t",
		"end urn:d|v|v",
		"end urn:x|set|e:set",
		"unmap ",
		"unmap e",
	};
	EXPECT_EQ(eventsOf(NS_DOCUMENT), expected);
}

TEST(SAXParserTest, NamespacePrefixesFeatureAddsDeclarationsAsAttributes)
{
	const std::vector<std::string> events = eventsOf(NS_DOCUMENT, true, true);
	ASSERT_GE(events.size(), 3u);
	EXPECT_EQ(events[2], "start urn:x|set|e:set [|e|xmlns:e=urn:x] [||xmlns=urn:d] [|a|a=1] [urn:x|b|e:b=2]");
}

TEST(SAXParserTest, WithoutNamespaceProcessingOnlyQualifiedNamesAreReported)
{
	const std::vector<std::string> expected = {
		"start ||e:set [||xmlns:e=urn:x] [||xmlns=urn:d] [||a=1] [||e:b=2]",
		"start ||v",
		"text t",
		"end ||v",
		"end ||e:set",
	};
	EXPECT_EQ(eventsOf(NS_DOCUMENT, false), expected);
}

TEST(SAXParserTest, AttributesAreFoundByQualifiedNameAndByNamespace)
{
	struct Handler : DefaultHandler
	{
		std::string byQName, byNamespace, missing;
		void startElement(const std::string&, const std::string& localName, const std::string&,
		                  const Attributes& attributes) override
		{
			if (localName != "set") return;
			byQName = attributes.getValue("e:b");
			byNamespace = attributes.getValue("urn:x", "b");
			missing = attributes.getValue("urn:y", "b");
		}
	} handler;
	SAXParser parser;
	parser.setContentHandler(&handler);
	parse(parser, NS_DOCUMENT);
	EXPECT_EQ(handler.byQName, "2");
	EXPECT_EQ(handler.byNamespace, "2");
	EXPECT_EQ(handler.missing, "");
}

TEST(SAXParserTest, TextReferencesCDATAAndProcessingInstructions)
{
	const std::vector<std::string> expected = {
		"pi target some data",
		"start |a|a",
		"text <&>\"' \xC3\xA9 x < y\r\n",
		"end |a|a",
	};
	EXPECT_EQ(
	    eventsOf("<?target some data?><a>&lt;&amp;&gt;&quot;&apos; &#xE9; <![CDATA[x < y]]>&#13;\r\n</a>"),
	    expected);
}

TEST(SAXParserTest, ByteOrderMarksAndUTF16AreReportedAsUTF8)
{
	EXPECT_EQ(eventsOf("\xEF\xBB\xBF<a>\xC3\xA9</a>")[1], "text \xC3\xA9");
	const std::string utf16le("\xFF\xFE<\0a\0>\0\xE9\0<\0/\0a\0>\0", 18);
	EXPECT_EQ(eventsOf(utf16le)[1], "text \xC3\xA9");
}

// The stream is handed to the parser in 8 KiB blocks: a reference, a
// multi-byte character and a tag placed across a block boundary at every
// offset must read the same.
TEST(SAXParserTest, TokensSplitAcrossReadBlocksAreReassembled)
{
	const std::string tail = "&amp;\xE2\x82\xAC<b/>&#x41;</a>";
	for (std::size_t padding = 8192 - 16; padding <= 8192; ++padding)
	{
		const std::string document = "<a>" + std::string(padding - 3, 'x') + tail;
		SAXParser parser;
		RecordingHandler handler;
		parser.setContentHandler(&handler);
		parse(parser, document);
		EXPECT_EQ(handler.text(), std::string(padding - 3, 'x') + "&\xE2\x82\xAC"
		                                                          "A")
		    << "padding " << padding;
	}
}

struct MalformedCase
{
	const char* name;
	std::string document;
	std::string message;
};

void PrintTo(const MalformedCase& row, std::ostream* pOut)
{
	*pOut << row.name;
}

class SAXParserMalformedTest : public ::testing::TestWithParam<MalformedCase>
{
};

TEST_P(SAXParserMalformedTest, RaisesReasonLineAndColumn)
{
	SAXParser parser;
	RecordingHandler handler;
	parser.setContentHandler(&handler);
	EXPECT_EQ(parseError(parser, GetParam().document), GetParam().message);
	EXPECT_EQ(handler.endDocuments, 0);
}

INSTANTIATE_TEST_SUITE_P(
    Documents, SAXParserMalformedTest,
    ::testing::Values(MalformedCase{"Empty", "", "no element found: line 1, column 1"},
                      MalformedCase{"OnlyWhiteSpace", " \n ", "no element found: line 2, column 2"},
                      MalformedCase{"Unclosed", "<a>", "no element found: line 1, column 4"},
                      MalformedCase{"MismatchedTag", "<a>\n  </b>", "mismatched tag: line 2, column 5"},
                      MalformedCase{"TwoRoots", "<a/><b/>", "junk after document element: line 1, column 5"},
                      MalformedCase{"UndefinedEntity", "<a>&x;</a>", "undefined entity: line 1, column 4"},
                      MalformedCase{"ForbiddenCharacterReference", "<a>&#1;</a>",
                                    "reference to invalid character number: line 1, column 4"},
                      MalformedCase{"BadUTF8", "<a>\xC3</a>",
                                    "not well-formed (invalid token): line 1, column 4"},
                      MalformedCase{"UnboundPrefix", "<p:a/>", "unbound prefix: line 1, column 1"}),
    [](const ::testing::TestParamInfo<MalformedCase>& info) { return info.param.name; });

TEST(SAXParserTest, EntityExpansionIsBounded)
{
	std::string document =
	    "<?xml version=\"1.0\"?><!DOCTYPE lolz [<!ENTITY lol0 \"lollollollollollollollollol\">";
	for (int i = 1; i <= 9; ++i)
	{
		document += "<!ENTITY lol" + std::to_string(i) + " \"";
		for (int j = 0; j < 10; ++j) document += "&lol" + std::to_string(i - 1) + ";";
		document += "\">";
	}
	document += "]><lolz>&lol9;</lolz>";
	SAXParser parser;
	RecordingHandler handler;
	parser.setContentHandler(&handler);
	EXPECT_EQ(parseError(parser, document).rfind("limit on input amplification factor", 0), 0u);
	EXPECT_LT(handler.text().size(), 2u * 1024 * 1024);
}

TEST(SAXParserTest, ModestInternalEntitiesExpand)
{
	EXPECT_EQ(eventsOf("<!DOCTYPE a [<!ENTITY w \"word\">]><a>&w;&w;</a>")[1], "text wordword");
}

TEST(SAXParserTest, ExternalEntitiesAndDTDsAreNotLoaded)
{
	EXPECT_EQ(eventsOf("<!DOCTYPE a [<!ENTITY x SYSTEM \"file:///etc/hostname\">]><a>[&x;]</a>")[1],
	          "text []");
	EXPECT_EQ(eventsOf("<!DOCTYPE a SYSTEM \"file:///etc/hostname\"><a>[&x;]</a>"),
	          (std::vector<std::string>{"start |a|a", "text [", "skipped x", "text ]", "end |a|a"}));
	EXPECT_EQ(eventsOf("<!DOCTYPE a [<!ENTITY % p SYSTEM \"file:///etc/hostname\"> %p;]><a>[&x;]</a>")[2],
	          "skipped x");
}

TEST(SAXParserTest, DocumentSizeIsLimited)
{
	SAXParser parser;
	EXPECT_EQ(parser.maxDocumentSize(), 1024u * 1024u);
	const std::string hundred = "<a>" + std::string(100 - 7, 'x') + "</a>";
	parser.setMaxDocumentSize(100);
	EXPECT_NO_THROW(parse(parser, hundred));
	try
	{
		parse(parser, hundred + " ");
		FAIL() << "no exception";
	}
	catch (const SAXParseException&)
	{
		FAIL() << "reported as a syntax error";
	}
	catch (const XMLException& exc)
	{
		EXPECT_EQ(exc.message(), "XML document too large: more than 100 bytes");
	}

	SAXParser defaults;
	const std::string large = "<a>" + std::string(1024 * 1024, 'x') + "</a>";
	EXPECT_THROW(parse(defaults, large), XMLException);
}

TEST(SAXParserTest, HandlerExceptionPassesUnchangedAndTheParserIsReusable)
{
	struct Throwing : DefaultHandler
	{
		void startElement(const std::string&, const std::string& localName, const std::string&,
		                  const Attributes&) override
		{
			if (localName == "bad") throw Tavik::NotFoundException("handler says no");
		}
	} handler;
	SAXParser parser;
	parser.setContentHandler(&handler);
	try
	{
		parse(parser, "<a><bad/></a>");
		FAIL() << "no exception";
	}
	catch (const Tavik::NotFoundException& exc)
	{
		EXPECT_EQ(exc.message(), "handler says no");
	}
	EXPECT_NO_THROW(parse(parser, "<a><good/></a>"));
}

TEST(SAXParserTest, MisuseIsReported)
{
	SAXParser parser;
	EXPECT_THROW(parser.setFeature("http://example.org/unknown", true), XMLException);
	EXPECT_THROW(parser.getFeature("http://example.org/unknown"), XMLException);
	EXPECT_THROW(parser.parse(nullptr), Tavik::NullPointerException);

	struct Reentrant : DefaultHandler
	{
		SAXParser* pParser = nullptr;
		void startDocument() override { parse(*pParser, "<a/>"); }
	} handler;
	handler.pParser = &parser;
	parser.setContentHandler(&handler);
	EXPECT_THROW(parse(parser, "<a/>"), XMLException);
	parser.setContentHandler(nullptr);
	EXPECT_NO_THROW(parse(parser, "<a/>"));
}
