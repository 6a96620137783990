#ifndef Tavik_Net_HTTPServerResponse_INCLUDED
#define Tavik_Net_HTTPServerResponse_INCLUDED

#include "Tavik/Net/HTTPResponse.h"

#include <ostream>

namespace Tavik {
namespace Net {

/// The response a request handler fills in: set the status and header fields,
/// then call send() once and write the body (if any) to the stream it returns.
///
/// The server frames what the handler leaves open: without a Content-Length
/// or chunked encoding, a response with no body gets "Content-Length: 0", a
/// body that fits the stream buffer gets its Content-Length, and a longer one
/// is sent chunked (HTTP/1.1) or delimited by closing (HTTP/1.0). The head
/// goes out with the first body bytes flushed, at finish(), or when the
/// handler returns. A response to HEAD carries no body. A handler that never
/// calls send() still gets its status and fields sent when it returns.
class HTTPServerResponse : public HTTPResponse
{
public:
	~HTTPServerResponse() override;

	/// Marks the response as sent and returns the stream for its body.
	/// Throws IllegalStateException when called a second time.
	std::ostream& send();

	/// True once send() has been called.
	bool sent() const { return _sent; }

	/// Ends the response now rather than when the handler returns: calls
	/// send() if the handler has not, then puts the head and the body written
	/// so far on the wire, framed as a complete body ("Content-Length: 0" when
	/// nothing was written). For a handler that answers and then starts work
	/// whose effects the client must see only after the answer. Writing to
	/// the body afterwards fails; a second call does nothing. Throws the Net
	/// exceptions of the socket.
	void finish();

	/// True once finish() has been called.
	bool finished() const { return _finished; }

protected:
	HTTPServerResponse();

	/// Called once by send(): starts the response and returns the body stream.
	virtual std::ostream& beginBody() = 0;

	/// Called once by finish(), after send(): writes out the response.
	virtual void endBody() = 0;

private:
	bool _sent;
	bool _finished;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPServerResponse_INCLUDED
