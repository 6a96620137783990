#include "Tavik/Callweave/TransportException.h"

namespace Tavik {
namespace Callweave {

TAVIK_IMPLEMENT_EXCEPTION(TransportException, Tavik::Exception, "Tavik::Callweave::TransportException",
                          "Transport exception")

} // namespace Callweave
} // namespace Tavik
