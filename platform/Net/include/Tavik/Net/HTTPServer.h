#ifndef Tavik_Net_HTTPServer_INCLUDED
#define Tavik_Net_HTTPServer_INCLUDED

#include "Tavik/Net/HTTPServerParams.h"
#include "Tavik/Net/SocketAddress.h"
#include "Tavik/SharedPtr.h"

#include <memory>
#include <string>

namespace Tavik {
namespace Net {

class HTTPRequestHandlerFactory;

/// An HTTP/1.0 and 1.1 server on one listening address (IPv4 or IPv6).
///
/// Threads: one I/O thread accepts connections and waits, without blocking,
/// for each request head (idle keep-alive connections cost no worker). A
/// complete head hands the connection to the bounded queue of a fixed pool of
/// workers; a worker runs the handler synchronously, the body streams reading
/// and writing the socket directly with the configured timeout, then hands a
/// persistent connection back to the I/O thread for its next request. All
/// threads are started by start() and joined by stop().
///
/// Refusals that never reach a handler: a malformed request head gets 400, a
/// head over maxHeaderBytes 431, a Content-Length over maxBodyBytes 413, a
/// full queue 503; each response is followed by closing the connection.
/// See HTTPServerParams for every limit.
class HTTPServer
{
public:
	/// Binds host:port and starts listening (port 0 picks a free port, see
	/// port()); requests are served after start(). The host is a numeric
	/// address ("127.0.0.1", "::1", "0.0.0.0", "::") or a name resolved to its
	/// first address. Throws HostNotFoundException, or NetException when the
	/// address cannot be bound (in use, not local).
	HTTPServer(SharedPtr<HTTPRequestHandlerFactory> pFactory, const std::string& host, unsigned short port,
	           const HTTPServerParams& params = HTTPServerParams());
	/// Stops the server (see stop()).
	~HTTPServer();

	HTTPServer(const HTTPServer&) = delete;
	HTTPServer& operator=(const HTTPServer&) = delete;

	/// Starts the I/O thread and the workers. Throws IllegalStateException
	/// when called a second time.
	void start();

	/// Closes the listener and every connection, idle or busy, lets running
	/// handlers return (their streams fail at once) and joins every thread.
	/// Handlers that block on something other than the client delay it.
	/// Idempotent; a stopped server cannot be started again. Must not be
	/// called from a handler.
	void stop();

	/// The port listened on (the one picked when constructed with port 0).
	unsigned short port() const;
	/// The address listened on.
	const SocketAddress& address() const;
	/// The limits the server was constructed with.
	const HTTPServerParams& params() const;

	/// The implementation, declared here so that its connections can name it.
	class Impl;

private:
	std::unique_ptr<Impl> _pImpl;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPServer_INCLUDED
