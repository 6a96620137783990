#include "Tavik/Callweave/Authorizer.h"

namespace Tavik {
namespace Callweave {

Authorizer::Authorizer() = default;

Authorizer::~Authorizer() = default;

} // namespace Callweave
} // namespace Tavik
