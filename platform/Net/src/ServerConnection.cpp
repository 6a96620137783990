#include "ServerConnection.h"

#include "BodyInputBuffer.h"
#include "MessageHead.h"
#include "NetError.h"
#include "NetTexts.h"
#include "ServerResponse.h"
#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/String.h"

#include <boost/asio/write.hpp>
#include <boost/beast/http/read.hpp>

#include <chrono>

namespace Tavik {
namespace Net {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using boost::system::error_code;

namespace {

/// How long a connection being closed after a refusal or a failed request
/// keeps reading (and dropping) what the client still sends, so that the
/// client reads our last response instead of a connection reset.
constexpr std::chrono::seconds LINGER_TIME(2);

std::chrono::microseconds duration(const Timespan& span)
{
	return std::chrono::microseconds(span.totalMicroseconds());
}

/// A request body that first sends "100 Continue" to a client that waits for
/// it, when the handler starts reading.
class RequestBodyBuffer : public BodyInputBuffer<true>
{
public:
	RequestBodyBuffer(SocketIO& io, boost::beast::flat_buffer& buffer, Parser& parser,
	                  const std::string& peer, bool expectContinue)
	    : BodyInputBuffer<true>(io, buffer, parser, peer), _io(io), _peer(peer),
	      _continuePending(expectContinue)
	{}

	/// True when the client still waits for "100 Continue" before sending the body.
	bool continuePending() const { return _continuePending; }

protected:
	int_type underflow() override
	{
		if (_continuePending)
		{
			_continuePending = false;
			static const std::string interim =
			    MessageHead::serialize(HTTPResponse(HTTPResponse::HTTP_CONTINUE));
			error_code ec;
			asio::write(_io, asio::buffer(interim), ec);
			if (ec) throwNetError(ec, _peer);
		}
		return BodyInputBuffer<true>::underflow();
	}

private:
	SocketIO& _io;
	const std::string& _peer;
	bool _continuePending;
};

} // namespace

ServerConnection::ServerConnection(HTTPServer::Impl& server, asio::ip::tcp::socket socket)
    : _server(server), _params(server.params()), _stream(std::move(socket)), _requests(0)
{
	error_code ec;
	const auto endpoint = _stream.socket().remote_endpoint(ec);
	if (!ec) _clientAddress = SocketAddress(endpoint.address().to_string(), endpoint.port());
	_peer = _clientAddress.toString();
	// Responses are written whole or per flushed chunk; see SocketIO::connect.
	_stream.socket().set_option(asio::ip::tcp::no_delay(true), ec);
	// Workers read and write the descriptor themselves, waiting in poll().
	_stream.socket().non_blocking(true, ec);
}

void ServerConnection::waitForRequest()
{
	_parser.emplace();
	_parser->header_limit(_params.maxHeaderBytes);
	_parser->body_limit(_params.maxBodyBytes);
	if (_buffer.size() > 0)
	{
		// The client sent its next request before the last response (pipelining).
		readHead();
		return;
	}
	_stream.expires_after(duration(_params.keepAliveTimeout));
	_stream.async_read_some(_buffer.prepare(READ_SIZE),
	                        [self = shared_from_this()](const error_code& ec, std::size_t size) {
		                        if (ec)
		                        {
			                        self->_server.close(*self);
			                        return;
		                        }
		                        self->_buffer.commit(size);
		                        self->readHead();
	                        });
}

void ServerConnection::readHead()
{
	_stream.expires_after(duration(_params.timeout));
	http::async_read_header(
	    _stream, _buffer, *_parser,
	    [self = shared_from_this()](const error_code& ec, std::size_t) { self->onHead(ec); });
}

void ServerConnection::onHead(const error_code& ec)
{
	_stream.expires_never();
	if (ec == http::error::header_limit)
		refuse(HTTPResponse::HTTP_REQUEST_HEADER_FIELDS_TOO_LARGE);
	else if (ec == http::error::body_limit)
		refuse(HTTPResponse::HTTP_REQUEST_ENTITY_TOO_LARGE);
	else if (ec == http::error::end_of_stream || ec == http::error::partial_message ||
	         (ec && !isHTTPError(ec)))
		_server.close(*this); // gone, timed out or broken: nobody to answer
	else if (ec || (_parser->get().count(http::field::transfer_encoding) > 0 && !_parser->chunked()))
		refuse(HTTPResponse::HTTP_BAD_REQUEST); // a request body must be chunked or have a length
	else if (!_server.dispatch(shared_from_this()))
		refuse(HTTPResponse::HTTP_SERVICE_UNAVAILABLE);
}

void ServerConnection::refuse(HTTPResponse::HTTPStatus status)
{
	HTTPResponse response(status);
	response.setContentLength(0);
	response.setKeepAlive(false);
	_refusal = MessageHead::serialize(response);
	_stream.expires_after(duration(_params.timeout));
	asio::async_write(_stream, asio::buffer(_refusal),
	                  [self = shared_from_this()](const error_code& ec, std::size_t) {
		                  if (ec)
			                  self->_server.close(*self);
		                  else
			                  self->closeGracefully();
	                  });
}

void ServerConnection::closeGracefully()
{
	error_code ec;
	_stream.socket().shutdown(asio::ip::tcp::socket::shutdown_send, ec);
	_stream.expires_after(LINGER_TIME);
	_buffer.clear();
	discardInput();
}

void ServerConnection::discardInput()
{
	_stream.async_read_some(_buffer.prepare(READ_SIZE),
	                        [self = shared_from_this()](const error_code& ec, std::size_t) {
		                        if (ec)
			                        self->_server.close(*self);
		                        else
			                        self->discardInput();
	                        });
}

void ServerConnection::abort()
{
	error_code ec;
	_stream.socket().shutdown(asio::ip::tcp::socket::shutdown_both, ec);
	_stream.cancel();
}

void ServerConnection::serve()
{
	const bool keepAlive = handleRequest();
	_server.handBack(shared_from_this(), keepAlive);
}

bool ServerConnection::handleRequest()
{
	++_requests;
	const auto& head = _parser->get();
	SocketIO io(_stream.socket().native_handle(), _params.timeout);
	const bool expectContinue =
	    head.version() == 11 && icompare(std::string(head[http::field::expect]), "100-continue") == 0;
	RequestBodyBuffer body(io, _buffer, *_parser, _peer, expectContinue);
	std::istream bodyStream(&body);
	bodyStream.exceptions(std::ios::badbit);
	HTTPServerRequest request(std::string(head.method_string()), std::string(head.target()),
	                          MessageHead::versionText(head.version()), _clientAddress, bodyStream);
	MessageHead::copyFields(head.base(), request);
	const bool mayPersist =
	    _params.keepAlive && _parser->keep_alive() &&
	    (_params.maxRequestsPerConnection == 0 || _requests < _params.maxRequestsPerConnection);
	ServerResponse response(io, _peer, request, mayPersist);

	if (!runHandler(request, response) &&
	    !response.replaceWithError(body.limitExceeded() ? HTTPResponse::HTTP_REQUEST_ENTITY_TOO_LARGE
	                                                    : HTTPResponse::HTTP_INTERNAL_SERVER_ERROR))
		return false; // part of the response is out: only closing can tell the client it is broken
	try
	{
		bool keepAlive = response.complete();
		if (keepAlive && !body.complete())
		{
			// The next request starts after this body. A client still waiting
			// for "100 Continue" may or may not send it, so close instead.
			keepAlive = !body.continuePending();
			if (keepAlive) body.drain();
		}
		return keepAlive;
	}
	catch (const Exception& exc)
	{
		// The client went away or stalled: its loss, not the server's fault.
		if (_server.logger().debug()) _server.logger().debug(exc.displayText());
		return false;
	}
}

bool ServerConnection::runHandler(HTTPServerRequest& request, ServerResponse& response)
{
	Logger& logger = _server.logger();
	try
	{
		std::unique_ptr<HTTPRequestHandler> pHandler(_server.factory().createRequestHandler(request));
		if (pHandler)
			pHandler->handleRequest(request, response);
		else
			response.setStatusAndReason(HTTPResponse::HTTP_NOT_FOUND);
		return true;
	}
	catch (const Exception& exc)
	{
		logger.log(exc);
	}
	catch (const std::exception& exc)
	{
		logger.error(exc.what());
	}
	catch (...)
	{
		logger.error(Texts::UNKNOWN_EXCEPTION);
	}
	return false;
}

void ServerConnection::shutdownSocket()
{
	error_code ec;
	_stream.socket().shutdown(asio::ip::tcp::socket::shutdown_both, ec);
}

void ServerConnection::closeSocket()
{
	error_code ec;
	_stream.socket().close(ec);
}

} // namespace Net
} // namespace Tavik
