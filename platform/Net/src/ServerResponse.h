#ifndef Tavik_Net_ServerResponse_INCLUDED
#define Tavik_Net_ServerResponse_INCLUDED

#include "BodyOutputBuffer.h"
#include "Tavik/Net/HTTPServerResponse.h"

#include <ostream>

namespace Tavik {
namespace Net {

class HTTPRequest;

/// The HTTPServerResponse an HTTPServer hands its handlers: the body goes to
/// the client's socket through a BodyOutputBuffer, and the head is made when
/// it must go out, so the framing can follow what the handler wrote (see
/// HTTPServerResponse).
class ServerResponse : public HTTPServerResponse
{
public:
	/// A response to request, written to io. keepAlive tells whether the
	/// server lets the connection persist after it.
	ServerResponse(SocketIO& io, const std::string& peer, const HTTPRequest& request, bool keepAlive);

	/// Sends whatever the handler has not (the whole response when it never
	/// called send()). Returns whether the connection may serve another
	/// request. Throws the Net exceptions of the socket.
	bool complete();

	/// Turns a response whose head has not gone out into a bare error status
	/// after which the connection closes; false when it is too late for that.
	bool replaceWithError(HTTPStatus status);

protected:
	std::ostream& beginBody() override;
	void endBody() override;

private:
	BodyOutputBuffer::Head makeHead(std::size_t bufferedBytes, bool complete);

	BodyOutputBuffer _body;
	std::ostream _stream;
	const bool _headRequest;
	bool _keepAlive;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_ServerResponse_INCLUDED
