#include "Tavik/XML/Locator.h"

namespace Tavik {
namespace XML {

Locator::~Locator() = default;

} // namespace XML
} // namespace Tavik
