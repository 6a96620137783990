#include "Tavik/Callweave/DeserializerException.h"

namespace Tavik {
namespace Callweave {

TAVIK_IMPLEMENT_EXCEPTION(DeserializerException, Tavik::Exception, "Tavik::Callweave::DeserializerException",
                          "Deserializer exception")

} // namespace Callweave
} // namespace Tavik
