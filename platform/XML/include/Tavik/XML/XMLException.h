#ifndef Tavik_XML_XMLException_INCLUDED
#define Tavik_XML_XMLException_INCLUDED

#include "Tavik/Exception.h"

namespace Tavik {
namespace XML {

/// Misuse of the XML writer or reader, and documents over the reader's limits.
TAVIK_DECLARE_EXCEPTION(XMLException, Tavik::RuntimeException)

/// A document that is not well-formed XML. The message is the parser's reason
/// followed by the position, e.g. "mismatched tag: line 3, column 5"
/// (both counted from 1).
TAVIK_DECLARE_EXCEPTION(SAXParseException, XMLException)

} // namespace XML
} // namespace Tavik

#endif // Tavik_XML_XMLException_INCLUDED
