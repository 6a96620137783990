#ifndef Tavik_Net_HTTPRequestHandler_INCLUDED
#define Tavik_Net_HTTPRequestHandler_INCLUDED

namespace Tavik {
namespace Net {

class HTTPServerRequest;
class HTTPServerResponse;

/// Answers one request. The server makes a handler per request through its
/// HTTPRequestHandlerFactory and deletes it afterwards.
class HTTPRequestHandler
{
public:
	virtual ~HTTPRequestHandler();

	/// Reads the request and fills in and sends the response; runs on one of
	/// the server's worker threads, beside other requests' handlers. An
	/// exception that escapes is logged; the client gets 500 (Internal Server
	/// Error) when nothing was sent yet, else the connection is closed.
	virtual void handleRequest(HTTPServerRequest& request, HTTPServerResponse& response) = 0;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPRequestHandler_INCLUDED
