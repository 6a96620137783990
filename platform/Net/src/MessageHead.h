#ifndef Tavik_Net_MessageHead_INCLUDED
#define Tavik_Net_MessageHead_INCLUDED

#include <boost/beast/http/fields.hpp>

#include <string>

namespace Tavik {
namespace Net {

class HTTPRequest;
class HTTPResponse;
class NameValueCollection;

/// Converts between our message heads and Beast's: the wire text of a head
/// to send, and the fields and version of a head Beast has parsed.
namespace MessageHead {

/// The request line, header fields and blank line of the request. Throws
/// MessageException for a version other than HTTP/1.0 or 1.1, a method that
/// is not a token, a target with spaces or control characters, or a header
/// field whose name is not a token or whose value holds CR, LF or NUL.
std::string serialize(const HTTPRequest& request);

/// The status line, header fields and blank line of the response; throws as
/// serialize(request) does.
std::string serialize(const HTTPResponse& response);

/// Beast's version number (10 or 11) as "HTTP/1.0" or "HTTP/1.1".
const std::string& versionText(unsigned version);

/// Appends every parsed field to the collection, in order.
void copyFields(const boost::beast::http::fields& fields, NameValueCollection& collection);

} // namespace MessageHead
} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_MessageHead_INCLUDED
