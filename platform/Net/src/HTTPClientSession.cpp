#include "Tavik/Net/HTTPClientSession.h"

#include "BodyInputBuffer.h"
#include "BodyOutputBuffer.h"
#include "MessageHead.h"
#include "NetTexts.h"
#include "Tavik/Clock.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/NetException.h"
#include "Tavik/Net/SocketAddress.h"

#include <netdb.h>
#include <unistd.h>

#include <optional>

namespace Tavik {
namespace Net {

namespace http = boost::beast::http;

/// One connection at a time and the state of the exchange on it. What only
/// an exchange needs (socket I/O, body buffers, parser) is made for each one
/// and dropped once its response body has been received, and a connection
/// that may not be reused is closed at that moment, so an idle session holds
/// little memory and no descriptor.
class HTTPClientSession::Impl
{
public:
	Impl(const HTTPSession& settings, const std::string& host, unsigned short port)
	    : _settings(settings), _host(withoutBrackets(host)), _port(port),
	      _peer(SocketAddress(_host, port).toString()), _requestStream(nullptr), _responseStream(nullptr)
	{}

	~Impl() { close(); }

	std::ostream& sendRequest(HTTPRequest& request)
	{
		try
		{
			if (!reusable()) close();
			if (_fd < 0) connect();
			if (!request.has(HOST)) request.set(HOST, hostField());
			request.setKeepAlive(_settings.getKeepAlive());
			BodyOutputBuffer::Head head;
			head.text = MessageHead::serialize(request);
			if (request.getChunkedTransferEncoding())
				head.framing = BodyOutputBuffer::Framing::CHUNKED;
			else if (request.getContentLength() != HTTPMessage::UNKNOWN_CONTENT_LENGTH)
			{
				head.framing = BodyOutputBuffer::Framing::FIXED;
				head.length = std::uint64_t(request.getContentLength());
			}
			_headRequest = request.getMethod() == HTTPRequest::HTTP_HEAD;

			detachStreams();
			_pExchange.reset(new Exchange(_fd, _settings.getTimeout(), _peer));
			_pExchange->out.begin([head = std::move(head)](std::size_t, bool) { return head; });
			_requestStream.rdbuf(&_pExchange->out);
			_requestStream.exceptions(std::ios::badbit);
			_bodyReceived = false;
			_state = State::SENDING;
			return _requestStream;
		}
		catch (...)
		{
			close();
			throw;
		}
	}

	std::istream& receiveResponse(HTTPResponse& response)
	{
		if (_state != State::SENDING) throw IllegalStateException(Texts::NO_REQUEST_SENT);
		try
		{
			Exchange& exchange = *_pExchange;
			exchange.out.finish();
			_state = State::RECEIVING;
			auto& parser = exchange.parser;
			parser.header_limit(MAX_RESPONSE_HEAD_SIZE);
			parser.body_limit(maxBodySize);
			parser.skip(_headRequest);
			boost::system::error_code ec;
			http::read_header(exchange.io, _buffer, parser, ec);
			if (ec) throwNetError(ec, _peer);

			const auto& message = parser.get();
			response.clear();
			response.setVersion(MessageHead::versionText(message.version()));
			response.setStatus(HTTPResponse::HTTPStatus(message.result_int()));
			response.setReason(std::string(message.reason()));
			MessageHead::copyFields(message.base(), response);

			_keepAliveAllowed = _settings.getKeepAlive() && parser.keep_alive();
			_lastUsed.update();
			_state = State::IDLE;
			if (parser.is_done())
			{
				// No body to stream: the exchange is over already.
				detachStreams();
				_pExchange.reset();
				bodyReceived();
				_responseStream.rdbuf(&_noBody);
				return _responseStream;
			}
			exchange.in.emplace(*this, exchange.io, _buffer, parser, _peer);
			_responseStream.rdbuf(&*exchange.in);
			_responseStream.exceptions(std::ios::badbit);
			return _responseStream;
		}
		catch (...)
		{
			close();
			throw;
		}
	}

	void close()
	{
		detachStreams();
		_pExchange.reset();
		_buffer.clear();
		if (_fd >= 0) ::close(_fd);
		_fd = -1;
		_state = State::IDLE;
	}

	const std::string& host() const { return _host; }
	unsigned short port() const { return _port; }

	Timespan keepAliveTimeout = DEFAULT_KEEP_ALIVE_TIMEOUT;
	std::uint64_t maxBodySize = DEFAULT_MAX_RESPONSE_BODY_SIZE;

private:
	enum class State
	{
		IDLE,     ///< no exchange open (a response body may still be unread)
		SENDING,  ///< request started, response not yet received
		RECEIVING ///< response head being read
	};

	using Parser = http::response_parser<http::buffer_body>;

	/// The response body; tells the session when the body has been received.
	class ResponseBody : public BodyInputBuffer<false>
	{
	public:
		ResponseBody(Impl& session, SocketIO& io, boost::beast::flat_buffer& buffer, Parser& parser,
		             const std::string& peer)
		    : BodyInputBuffer<false>(io, buffer, parser, peer), _session(session)
		{}

	protected:
		int_type underflow() override
		{
			const int_type c = BodyInputBuffer<false>::underflow();
			if (traits_type::eq_int_type(c, traits_type::eof())) _session.bodyReceived();
			return c;
		}

	private:
		Impl& _session;
	};

	/// What one exchange needs on top of the connection.
	struct Exchange
	{
		Exchange(int fd, const Timespan& timeout, const std::string& peer) : io(fd, timeout), out(io, peer) {}

		SocketIO io;
		BodyOutputBuffer out;
		Parser parser;
		std::optional<ResponseBody> in;
	};

	/// The body of a response that has none: reading it gives end of file.
	class NoBody : public std::streambuf
	{
	};

	static const std::string HOST;

	/// The response has been received to its end: a connection that will not
	/// be reused is closed now rather than at the next exchange (its peer has
	/// closed it or will), and the read buffer's memory goes.
	void bodyReceived()
	{
		_bodyReceived = true;
		if (!_keepAliveAllowed && _fd >= 0)
		{
			::close(_fd);
			_fd = -1;
		}
		if (_buffer.size() == 0) _buffer.shrink_to_fit();
	}

	/// Points the streams at nothing, so that the exchange can go.
	void detachStreams()
	{
		// Without a buffer a stream is bad, which must not throw here.
		_requestStream.exceptions(std::ios::goodbit);
		_responseStream.exceptions(std::ios::goodbit);
		_requestStream.rdbuf(nullptr);
		_responseStream.rdbuf(nullptr);
	}

	static std::string withoutBrackets(const std::string& host)
	{
		const bool bracketed = host.size() >= 2 && host.front() == '[' && host.back() == ']';
		return bracketed ? host.substr(1, host.size() - 2) : host;
	}

	/// A kept connection serves the next exchange only when the last one
	/// ended cleanly, allowed keep-alive and has not idled too long, and the
	/// server has not closed it meanwhile (which makes it readable).
	bool reusable() const
	{
		return _fd >= 0 && _state == State::IDLE && _bodyReceived && _keepAliveAllowed && _buffer.size() == 0 &&
		       !_lastUsed.isElapsed(keepAliveTimeout.totalMicroseconds()) &&
		       !SocketIO(_fd, _settings.getTimeout()).readable();
	}

	std::string hostField() const
	{
		std::string field = SocketAddress(_host, _port).toString();
		// The default port of http is left out, as browsers do.
		if (_port == 80) field.erase(field.rfind(':'));
		return field;
	}

	void connect()
	{
		addrinfo hints{};
		hints.ai_socktype = SOCK_STREAM;
		hints.ai_flags = AI_NUMERICSERV;
		addrinfo* pResult = nullptr;
		if (::getaddrinfo(_host.c_str(), std::to_string(_port).c_str(), &hints, &pResult) != 0)
			throw HostNotFoundException(_host);
		boost::system::error_code ec;
		for (const addrinfo* pEntry = pResult; pEntry && _fd < 0; pEntry = pEntry->ai_next)
			_fd = SocketIO::connect(pEntry->ai_addr, pEntry->ai_addrlen, pEntry->ai_family,
			                        _settings.getTimeout(), ec);
		::freeaddrinfo(pResult);
		if (_fd < 0) throwNetError(ec, _peer);
		_buffer.clear();
	}

	const HTTPSession& _settings;
	const std::string _host;
	const unsigned short _port;
	const std::string _peer;

	int _fd = -1;
	State _state = State::IDLE;
	bool _headRequest = false;
	bool _keepAliveAllowed = false;
	bool _bodyReceived = false; // the last response has been received to its end
	Clock _lastUsed;
	boost::beast::flat_buffer _buffer;
	std::unique_ptr<Exchange> _pExchange;
	NoBody _noBody;
	std::ostream _requestStream;
	std::istream _responseStream;
};

const std::string HTTPClientSession::Impl::HOST("Host");

HTTPClientSession::HTTPClientSession(const std::string& host, unsigned short port)
    : _pImpl(new Impl(*this, host, port))
{}

HTTPClientSession::~HTTPClientSession() = default;

std::ostream& HTTPClientSession::sendRequest(HTTPRequest& request)
{
	return _pImpl->sendRequest(request);
}

std::istream& HTTPClientSession::receiveResponse(HTTPResponse& response)
{
	return _pImpl->receiveResponse(response);
}

void HTTPClientSession::reset()
{
	_pImpl->close();
}

const std::string& HTTPClientSession::getHost() const
{
	return _pImpl->host();
}

unsigned short HTTPClientSession::getPort() const
{
	return _pImpl->port();
}

void HTTPClientSession::setKeepAliveTimeout(const Timespan& timeout)
{
	_pImpl->keepAliveTimeout = timeout;
}

const Timespan& HTTPClientSession::getKeepAliveTimeout() const
{
	return _pImpl->keepAliveTimeout;
}

void HTTPClientSession::setMaxResponseBodySize(std::uint64_t bytes)
{
	_pImpl->maxBodySize = bytes;
}

std::uint64_t HTTPClientSession::getMaxResponseBodySize() const
{
	return _pImpl->maxBodySize;
}

} // namespace Net
} // namespace Tavik
