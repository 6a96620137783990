#ifndef Tavik_Callweave_DeserializerException_INCLUDED
#define Tavik_Callweave_DeserializerException_INCLUDED

#include "Tavik/Exception.h"

namespace Tavik {
namespace Callweave {

/// A message that cannot be read: missing, misnamed or malformed values.
TAVIK_DECLARE_EXCEPTION(DeserializerException, Tavik::Exception)

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_DeserializerException_INCLUDED
