#ifndef Tavik_XML_XMLWriter_INCLUDED
#define Tavik_XML_XMLWriter_INCLUDED

#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace Tavik {
namespace XML {

class Attributes;

/// Writes an XML document to a stream from SAX-style calls.
///
/// Names: an element or attribute with a non-empty qualified name is written
/// under that name; otherwise a non-empty namespace URI is written with the
/// prefix mapped to it (see startPrefixMapping()), and an empty URI gives the
/// bare local name.
///
/// Text: "&", "<", ">" and '"' are written as entity references, a carriage
/// return as "&#13;" (so that it survives a parser's line-end normalisation).
/// Control characters that XML 1.0 cannot hold at all (U+0000 to U+001F other
/// than tab, line feed and carriage return) make characters() throw
/// XMLException "Character not allowed in XML" without writing anything of
/// that text (nor of the tag, for attribute values). Other bytes, UTF-8 sequences included, are written
/// unchanged.
///
/// An element without content is written self-closed ("<e/>"); the start tag
/// is completed only when its first content or its end arrives.
///
/// Misuse (an end tag without start tag or with another name, an empty name,
/// a namespace URI without prefix, text or a second element outside the root)
/// throws XMLException. Stream errors are the stream's: the writer does not
/// check its state. One writer writes one document and is used by one thread
/// at a time.
class XMLWriter
{
public:
	/// Options, combined with "|".
	enum Options
	{
		/// No declaration, no added white space.
		CANONICAL = 0x00,
		/// startDocument() writes <?xml version="1.0" encoding="UTF-8"?>.
		WRITE_XML_DECLARATION = 0x02,
		/// Each element on its own line, indented by level; an element that
		/// holds only text stays on one line; a line end after the root.
		PRETTY_PRINT = 0x04
	};

	/// The line end written by PRETTY_PRINT.
	enum NewLine
	{
		NEWLINE_LF,
		NEWLINE_CRLF
	};

	/// Writes to ostr, which must outlive the writer. options: Options combined.
	XMLWriter(std::ostream& ostr, int options);
	XMLWriter(const XMLWriter&) = delete;
	XMLWriter& operator=(const XMLWriter&) = delete;
	~XMLWriter();

	/// Writes the XML declaration if WRITE_XML_DECLARATION is set.
	/// Throws XMLException once an element has been started.
	void startDocument();
	/// Throws XMLException while an element is still open.
	void endDocument();
	/// Declares prefix for uri on the next start tag (xmlns:prefix="uri", or
	/// xmlns="uri" for the empty prefix); the mapping holds until endPrefixMapping().
	void startPrefixMapping(const std::string& prefix, const std::string& uri);
	/// Ends the latest mapping of prefix; does nothing if there is none.
	void endPrefixMapping(const std::string& prefix);
	/// Starts an element named as described for the class, with attributes
	/// (their values escaped as text is). Throws XMLException for an empty
	/// name, a namespace URI without prefix, or a second root element.
	///@{
	void startElement(const std::string& namespaceURI, const std::string& localName,
	                  const std::string& qname);
	void startElement(const std::string& namespaceURI, const std::string& localName, const std::string& qname,
	                  const Attributes& attributes);
	///@}
	/// The name must resolve to the name of the innermost open element.
	void endElement(const std::string& namespaceURI, const std::string& localName, const std::string& qname);
	/// Writes text, escaped as described above. Empty text writes nothing.
	void characters(const std::string& text);

	/// Line end for PRETTY_PRINT. Default NEWLINE_LF.
	///@{
	void setNewLine(NewLine newLine);
	NewLine getNewLine() const;
	///@}
	/// Indentation per nesting level for PRETTY_PRINT. Default one tab.
	///@{
	void setIndent(const std::string& indent);
	const std::string& getIndent() const;
	///@}

private:
	struct Element
	{
		std::string name;
		bool hasChildElements;
	};

	static void checkCharacters(const std::string& text);
	void resolveName(const std::string& namespaceURI, const std::string& localName, const std::string& qname,
	                 std::string& name) const;
	void writeStartTag(const std::string& namespaceURI, const std::string& localName,
	                   const std::string& qname, const Attributes* pAttributes);
	void closeStartTag();
	void writeNewLine();
	void writeIndent(std::size_t depth);
	void writeEscaped(const std::string& text, bool isAttribute);
	bool isPretty() const;

	std::ostream& _ostr;
	int _options;
	NewLine _newLine;
	std::string _indent;
	// Open elements are _elements[0, _depth); entries past it keep their
	// storage for reuse.
	std::vector<Element> _elements;
	std::size_t _depth;
	// (prefix, URI) in declaration order; the last _pendingMappings are
	// declared on the next start tag.
	std::vector<std::pair<std::string, std::string>> _mappings;
	std::size_t _pendingMappings;
	bool _startTagOpen;
	bool _rootWritten;
	std::string _name;
};

} // namespace XML
} // namespace Tavik

#endif // Tavik_XML_XMLWriter_INCLUDED
