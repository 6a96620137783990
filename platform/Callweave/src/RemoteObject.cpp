#include "Tavik/Callweave/RemoteObject.h"

namespace Tavik {
namespace Callweave {

RemoteObject::RemoteObject() = default;

RemoteObject::~RemoteObject() = default;

} // namespace Callweave
} // namespace Tavik
