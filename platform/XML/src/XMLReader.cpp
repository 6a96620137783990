#include "Tavik/XML/XMLReader.h"

namespace Tavik {
namespace XML {

const std::string XMLReader::FEATURE_NAMESPACES = "http://xml.org/sax/features/namespaces";
const std::string XMLReader::FEATURE_NAMESPACE_PREFIXES = "http://xml.org/sax/features/namespace-prefixes";

XMLReader::~XMLReader() = default;

} // namespace XML
} // namespace Tavik
