#ifndef Tavik_Net_NetException_INCLUDED
#define Tavik_Net_NetException_INCLUDED

#include "Tavik/Exception.h"

namespace Tavik {
namespace Net {

/// A network failure: a socket error, a broken peer, an unusable address.
TAVIK_DECLARE_EXCEPTION(NetException, Tavik::IOException)
/// The peer refused the connection (nothing listens on host:port).
TAVIK_DECLARE_EXCEPTION(ConnectionRefusedException, NetException)
/// The host name could not be resolved to an address.
TAVIK_DECLARE_EXCEPTION(HostNotFoundException, NetException)
/// The peer sent something that is not a valid HTTP message, or a message over a limit.
TAVIK_DECLARE_EXCEPTION(MessageException, NetException)
/// The peer closed the connection before sending any part of a response.
TAVIK_DECLARE_EXCEPTION(NoMessageException, NetException)
/// A connect, send or receive did not complete within the configured timeout.
TAVIK_DECLARE_EXCEPTION(TimeoutException, Tavik::TimeoutException)

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_NetException_INCLUDED
