#include "Tavik/Callweave/TransportFactory.h"

namespace Tavik {
namespace Callweave {

TransportFactory::TransportFactory() = default;

TransportFactory::~TransportFactory() = default;

} // namespace Callweave
} // namespace Tavik
