#ifndef Tavik_Net_NetTexts_INCLUDED
#define Tavik_Net_NetTexts_INCLUDED

namespace Tavik {
namespace Net {

/// Every message text of the Net library's exceptions, in one place. The
/// exceptions whose name says it all (refused, host not found, timeout, no
/// message) carry just the peer as their message.
namespace Texts {

inline constexpr const char* INVALID_CONTENT_LENGTH = "Invalid Content-Length";
inline constexpr const char* INVALID_HEADER_FIELD = "Invalid header field";
inline constexpr const char* UNSUPPORTED_VERSION = "Unsupported HTTP version";
inline constexpr const char* INCOMPLETE_MESSAGE = "Connection closed before the message was complete";
inline constexpr const char* MALFORMED_MESSAGE = "Malformed HTTP message";
inline constexpr const char* MESSAGE_TOO_LARGE = "HTTP message too large";
inline constexpr const char* BODY_LONGER_THAN_LENGTH = "Body longer than Content-Length";
inline constexpr const char* BODY_SHORTER_THAN_LENGTH = "Body shorter than Content-Length";
inline constexpr const char* BODY_WITHOUT_FRAMING =
    "Body without Content-Length or chunked transfer encoding";
inline constexpr const char* NO_REQUEST_SENT = "No request sent";
inline constexpr const char* RESPONSE_ALREADY_SENT = "Response already sent";
inline constexpr const char* SERVER_ALREADY_STARTED = "Server already started";
inline constexpr const char* CANNOT_LISTEN = "Cannot listen";
inline constexpr const char* NETWORK_ERROR = "Network error";
inline constexpr const char* ACCEPT_FAILED = "Cannot accept a connection";
inline constexpr const char* UNKNOWN_EXCEPTION = "Request handler failed with an unknown exception";

} // namespace Texts
} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_NetTexts_INCLUDED
