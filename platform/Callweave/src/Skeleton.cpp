#include "Tavik/Callweave/Skeleton.h"

namespace Tavik {
namespace Callweave {

Skeleton::Skeleton() = default;

Skeleton::~Skeleton() = default;

} // namespace Callweave
} // namespace Tavik
