#ifndef Tavik_Net_HTTPRequestHandlerFactory_INCLUDED
#define Tavik_Net_HTTPRequestHandlerFactory_INCLUDED

namespace Tavik {
namespace Net {

class HTTPRequestHandler;
class HTTPServerRequest;

/// Makes the handler for each request an HTTPServer receives.
class HTTPRequestHandlerFactory
{
public:
	virtual ~HTTPRequestHandlerFactory();

	/// A new handler for the request (whose head is complete and whose body
	/// has not been read), owned by the caller; null answers 404 (Not Found).
	/// Called on the server's worker threads, several at a time; an exception
	/// is treated like one from the handler.
	virtual HTTPRequestHandler* createRequestHandler(const HTTPServerRequest& request) = 0;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPRequestHandlerFactory_INCLUDED
