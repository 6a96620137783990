#ifndef Tavik_Net_NetError_INCLUDED
#define Tavik_Net_NetError_INCLUDED

#include <boost/system/error_code.hpp>

#include <string>

namespace Tavik {
namespace Net {

/// Throws the Net exception for a socket or Beast error: refused connections,
/// time-outs, closed peers, malformed or oversized messages and other socket
/// errors each get their own class. peer ("host:port") becomes the argument
/// where it helps the reader.
[[noreturn]] void throwNetError(const boost::system::error_code& ec, const std::string& peer);

/// True for Beast's HTTP errors: the peer sent something that is not HTTP,
/// or went over a parser limit.
bool isHTTPError(const boost::system::error_code& ec);

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_NetError_INCLUDED
