#include "Tavik/Channel.h"

namespace Tavik {

Channel::~Channel() = default;

} // namespace Tavik
