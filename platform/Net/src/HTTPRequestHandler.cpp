#include "Tavik/Net/HTTPRequestHandler.h"

namespace Tavik {
namespace Net {

HTTPRequestHandler::~HTTPRequestHandler() = default;

} // namespace Net
} // namespace Tavik
