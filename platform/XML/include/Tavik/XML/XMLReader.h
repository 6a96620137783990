#ifndef Tavik_XML_XMLReader_INCLUDED
#define Tavik_XML_XMLReader_INCLUDED

#include <string>

namespace Tavik {
namespace XML {

class ContentHandler;
class InputSource;

/// A SAX-style reader: parses a document and reports it to a ContentHandler.
class XMLReader
{
public:
	/// Namespace processing: report namespace URIs and local names, and
	/// prefix mappings. Default true.
	static const std::string FEATURE_NAMESPACES;
	/// Also report namespace declarations (xmlns, xmlns:p) as attributes.
	/// Default false.
	static const std::string FEATURE_NAMESPACE_PREFIXES;

	virtual ~XMLReader();

	/// Sets a feature for the next parse.
	/// Throws XMLException for a feature name the reader does not know.
	virtual void setFeature(const std::string& name, bool state) = 0;
	/// Throws XMLException for a feature name the reader does not know.
	virtual bool getFeature(const std::string& name) const = 0;

	/// The handler that receives the next parse's events; null ignores them.
	/// Not owned.
	///@{
	virtual void setContentHandler(ContentHandler* pContentHandler) = 0;
	virtual ContentHandler* getContentHandler() const = 0;
	///@}

	/// Reads the source's stream to the end of the document and reports it.
	/// Throws SAXParseException if the document is not well-formed,
	/// XMLException if it breaks a limit of the reader, and passes on
	/// exceptions of the handler and of the stream.
	virtual void parse(InputSource* pInputSource) = 0;
};

} // namespace XML
} // namespace Tavik

#endif // Tavik_XML_XMLReader_INCLUDED
