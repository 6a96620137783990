#include "Tavik/XML/DefaultHandler.h"

namespace Tavik {
namespace XML {

DefaultHandler::DefaultHandler() = default;

InputSource* DefaultHandler::resolveEntity(const std::string*, const std::string&)
{
	return nullptr;
}

void DefaultHandler::releaseInputSource(InputSource*)
{
}

DefaultHandler::~DefaultHandler() = default;

void DefaultHandler::notationDecl(const std::string&, const std::string*, const std::string*)
{
}

void DefaultHandler::unparsedEntityDecl(const std::string&, const std::string*, const std::string&,
                                        const std::string&)
{
}

void DefaultHandler::setDocumentLocator(const Locator*)
{
}

void DefaultHandler::startDocument()
{
}

void DefaultHandler::endDocument()
{
}

void DefaultHandler::startElement(const std::string&, const std::string&, const std::string&,
                                  const Attributes&)
{
}

void DefaultHandler::endElement(const std::string&, const std::string&, const std::string&)
{
}

void DefaultHandler::characters(const XMLChar[], int, int)
{
}

void DefaultHandler::ignorableWhitespace(const XMLChar[], int, int)
{
}

void DefaultHandler::processingInstruction(const std::string&, const std::string&)
{
}

void DefaultHandler::startPrefixMapping(const std::string&, const std::string&)
{
}

void DefaultHandler::endPrefixMapping(const std::string&)
{
}

void DefaultHandler::skippedEntity(const std::string&)
{
}

void DefaultHandler::warning(const SAXParseException&)
{
}

void DefaultHandler::error(const SAXParseException&)
{
}

void DefaultHandler::fatalError(const SAXParseException&)
{
}

} // namespace XML
} // namespace Tavik
