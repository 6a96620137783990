#ifndef Tavik_XML_ContentHandler_INCLUDED
#define Tavik_XML_ContentHandler_INCLUDED

#include "Tavik/XML/XMLChar.h"

#include <string>

namespace Tavik {
namespace XML {

class Attributes;
class Locator;

/// Receives the logical content of a document from an XMLReader, in document
/// order, on the thread that called parse(). An exception thrown by a callback
/// ends the parse and leaves parse() unchanged.
class ContentHandler
{
public:
	virtual ~ContentHandler();

	/// Called first; pLocator stays valid until endDocument().
	virtual void setDocumentLocator(const Locator* pLocator) = 0;
	/// Called before any other content callback.
	virtual void startDocument() = 0;
	/// Called only when the whole document was well-formed.
	virtual void endDocument() = 0;
	/// With namespace processing on, uri and localName name the element and
	/// qname is "prefix:localName" or localName; with it off, uri and
	/// localName are empty and qname is the name as written.
	virtual void startElement(const std::string& uri, const std::string& localName, const std::string& qname,
	                          const Attributes& attributes) = 0;
	/// The end of the element, named as for its startElement().
	virtual void endElement(const std::string& uri, const std::string& localName,
	                        const std::string& qname) = 0;
	/// Character data ch[start, start + length). The text between two tags
	/// may arrive in several calls (line ends, entity references, CDATA
	/// sections and block boundaries split it).
	virtual void characters(const XMLChar ch[], int start, int length) = 0;
	/// White space a validating parser knows to be insignificant; this
	/// library's parser does not validate and reports all text as characters().
	virtual void ignorableWhitespace(const XMLChar ch[], int start, int length) = 0;
	/// A processing instruction "<?target data?>".
	virtual void processingInstruction(const std::string& target, const std::string& data) = 0;
	/// A namespace declaration, before the start tag that carries it. An empty
	/// prefix is the default namespace.
	virtual void startPrefixMapping(const std::string& prefix, const std::string& uri) = 0;
	/// After the end tag of the element that carried the declaration.
	virtual void endPrefixMapping(const std::string& prefix) = 0;
	/// A reference to an entity whose declaration the parser did not read.
	virtual void skippedEntity(const std::string& name) = 0;
};

} // namespace XML
} // namespace Tavik

#endif // Tavik_XML_ContentHandler_INCLUDED
