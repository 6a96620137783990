#ifndef Tavik_Callweave_TransportException_INCLUDED
#define Tavik_Callweave_TransportException_INCLUDED

#include "Tavik/Exception.h"

namespace Tavik {
namespace Callweave {

/// A message that a transport could not deliver, or a reply that reports a
/// failure (such as an HTTP status other than the one expected).
TAVIK_DECLARE_EXCEPTION(TransportException, Tavik::Exception)

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_TransportException_INCLUDED
