#include "Tavik/Net/HTTPRequestHandlerFactory.h"

namespace Tavik {
namespace Net {

HTTPRequestHandlerFactory::~HTTPRequestHandlerFactory() = default;

} // namespace Net
} // namespace Tavik
