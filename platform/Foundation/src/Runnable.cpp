#include "Tavik/Runnable.h"

namespace Tavik {

Runnable::~Runnable() = default;

} // namespace Tavik
