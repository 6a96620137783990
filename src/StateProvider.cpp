#include "Tavik/UPnP/GENA/StateProvider.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

StateProvider::~StateProvider() = default;

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
