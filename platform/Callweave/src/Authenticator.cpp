#include "Tavik/Callweave/Authenticator.h"

namespace Tavik {
namespace Callweave {

Authenticator::Authenticator() = default;

Authenticator::~Authenticator() = default;

} // namespace Callweave
} // namespace Tavik
