#include "Tavik/Callweave/Transport.h"

namespace Tavik {
namespace Callweave {

Transport::Transport() = default;

Transport::~Transport() = default;

} // namespace Callweave
} // namespace Tavik
