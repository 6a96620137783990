#include "Tavik/XML/XMLException.h"

namespace Tavik {
namespace XML {

TAVIK_IMPLEMENT_EXCEPTION(XMLException, Tavik::RuntimeException, "Tavik::XML::XMLException", "XML exception")
TAVIK_IMPLEMENT_EXCEPTION(SAXParseException, XMLException, "Tavik::XML::SAXParseException",
                          "SAX parse exception")

} // namespace XML
} // namespace Tavik
