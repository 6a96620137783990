#include "Tavik/Net/HTTPServerRequest.h"

namespace Tavik {
namespace Net {

HTTPServerRequest::HTTPServerRequest(const std::string& method, const std::string& uri,
                                     const std::string& version, const SocketAddress& clientAddress,
                                     std::istream& body)
    : HTTPRequest(method, uri, version), _clientAddress(clientAddress), _body(body)
{}

HTTPServerRequest::~HTTPServerRequest() = default;

} // namespace Net
} // namespace Tavik
