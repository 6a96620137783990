#ifndef Tavik_Net_ServerConnection_INCLUDED
#define Tavik_Net_ServerConnection_INCLUDED

#include "HTTPServerImpl.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/SocketAddress.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/parser.hpp>

#include <memory>
#include <optional>
#include <string>

namespace Tavik {
namespace Net {

class HTTPServerRequest;
class ServerResponse;

/// One accepted connection of an HTTPServer. On the I/O thread it waits,
/// asynchronously and with deadlines, for a request head (first the idle
/// wait for its first byte, then the rest of it); a complete head goes to a
/// worker, which runs the handler (serve()) and hands the connection back.
/// Malformed and oversized heads are refused on the I/O thread.
///
/// Only one thread uses a connection at a time: the server's queue and
/// io_context post hand it over (and order the memory accesses).
class ServerConnection : public std::enable_shared_from_this<ServerConnection>
{
public:
	ServerConnection(HTTPServer::Impl& server, boost::asio::ip::tcp::socket socket);

	/// I/O thread: waits for the next request head.
	void waitForRequest();
	/// I/O thread: shuts the socket down and closes it once the client has
	/// stopped sending (so that it gets the last response rather than a reset).
	void closeGracefully();
	/// I/O thread: makes the pending operation fail at once.
	void abort();

	/// Worker thread: runs the handler for the request whose head has arrived.
	void serve();

	/// Under the server's lock: wakes a worker blocked on this connection.
	void shutdownSocket();
	/// Under the server's lock: closes the socket.
	void closeSocket();

private:
	/// Bytes read at a time while a request head arrives.
	static constexpr std::size_t READ_SIZE = 4096;

	/// Worker thread: the body of serve(); true when the connection persists.
	bool handleRequest();
	/// Worker thread: false when the factory or handler threw (logged).
	bool runHandler(HTTPServerRequest& request, ServerResponse& response);

	void readHead();
	void onHead(const boost::system::error_code& ec);
	void refuse(HTTPResponse::HTTPStatus status);
	void discardInput();

	HTTPServer::Impl& _server;
	const HTTPServerParams& _params;
	boost::beast::tcp_stream _stream;
	SocketAddress _clientAddress;
	std::string _peer;
	boost::beast::flat_buffer _buffer;
	std::optional<boost::beast::http::request_parser<boost::beast::http::buffer_body>> _parser;
	unsigned _requests;
	std::string _refusal;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_ServerConnection_INCLUDED
