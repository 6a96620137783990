#ifndef Tavik_XML_DefaultHandler_INCLUDED
#define Tavik_XML_DefaultHandler_INCLUDED

#include "Tavik/XML/ContentHandler.h"

#include <string>

namespace Tavik {
namespace XML {

class InputSource;
class SAXParseException;

/// A handler that ignores everything: derive from it and override only the
/// callbacks you need.
///
/// Besides the content callbacks it carries the entity-resolution, DTD and
/// error-report hooks of a full SAX handler, all doing nothing. SAXParser calls
/// only the ContentHandler part: it never loads external entities and reports
/// errors by throwing SAXParseException.
class DefaultHandler : public ContentHandler
{
public:
	DefaultHandler();

	/// Returns null: no external entity is substituted.
	virtual InputSource* resolveEntity(const std::string* pPublicId, const std::string& systemId);
	/// Does nothing: resolveEntity() hands out no source to release.
	virtual void releaseInputSource(InputSource* pSource);
	~DefaultHandler() override;
	/// DTD declarations of a notation and of an unparsed entity; do nothing.
	///@{
	virtual void notationDecl(const std::string& name, const std::string* pPublicId,
	                          const std::string* pSystemId);
	virtual void unparsedEntityDecl(const std::string& name, const std::string* pPublicId,
	                                const std::string& systemId, const std::string& notationName);
	///@}

	void setDocumentLocator(const Locator* pLocator) override;
	void startDocument() override;
	void endDocument() override;
	void startElement(const std::string& uri, const std::string& localName, const std::string& qname,
	                  const Attributes& attributes) override;
	void endElement(const std::string& uri, const std::string& localName, const std::string& qname) override;
	void characters(const XMLChar ch[], int start, int length) override;
	void ignorableWhitespace(const XMLChar ch[], int start, int length) override;
	void processingInstruction(const std::string& target, const std::string& data) override;
	void startPrefixMapping(const std::string& prefix, const std::string& uri) override;
	void endPrefixMapping(const std::string& prefix) override;
	void skippedEntity(const std::string& name) override;

	/// Error reports; do nothing (SAXParser throws instead of calling them).
	///@{
	virtual void warning(const SAXParseException& exc);
	virtual void error(const SAXParseException& exc);
	virtual void fatalError(const SAXParseException& exc);
	///@}
};

} // namespace XML
} // namespace Tavik

#endif // Tavik_XML_DefaultHandler_INCLUDED
