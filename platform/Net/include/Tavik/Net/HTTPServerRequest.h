#ifndef Tavik_Net_HTTPServerRequest_INCLUDED
#define Tavik_Net_HTTPServerRequest_INCLUDED

#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/SocketAddress.h"

#include <istream>

namespace Tavik {
namespace Net {

/// A request received by an HTTPServer: the head as received (method, URI,
/// version, header fields), the client's address and the body stream.
class HTTPServerRequest : public HTTPRequest
{
public:
	/// A request whose body is read from body; the server builds these, and
	/// tests can build one over a string stream.
	HTTPServerRequest(const std::string& method, const std::string& uri, const std::string& version,
	                  const SocketAddress& clientAddress, std::istream& body);
	~HTTPServerRequest() override;

	/// The request body, read as it arrives (the chunked framing removed).
	/// Reading past a limit or a timeout makes it throw the server's
	/// MessageException or TimeoutException.
	std::istream& stream() { return _body; }

	/// The address and port of the peer that sent the request.
	const SocketAddress& clientAddress() const { return _clientAddress; }

private:
	SocketAddress _clientAddress;
	std::istream& _body;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPServerRequest_INCLUDED
