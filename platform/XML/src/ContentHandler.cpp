#include "Tavik/XML/ContentHandler.h"

namespace Tavik {
namespace XML {

ContentHandler::~ContentHandler() = default;

} // namespace XML
} // namespace Tavik
