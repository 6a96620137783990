#include "Tavik/RefCountedObject.h"

namespace Tavik {

RefCountedObject::~RefCountedObject() = default;

} // namespace Tavik
