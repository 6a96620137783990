#ifndef Tavik_XML_XMLChar_INCLUDED
#define Tavik_XML_XMLChar_INCLUDED

namespace Tavik {
namespace XML {

/// One unit of XML text: the parser reports and the writer takes UTF-8.
using XMLChar = char;

} // namespace XML
} // namespace Tavik

#endif // Tavik_XML_XMLChar_INCLUDED
