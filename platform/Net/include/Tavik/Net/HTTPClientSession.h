#ifndef Tavik_Net_HTTPClientSession_INCLUDED
#define Tavik_Net_HTTPClientSession_INCLUDED

#include "Tavik/Net/HTTPSession.h"

#include <cstdint>
#include <istream>
#include <memory>
#include <ostream>
#include <string>

namespace Tavik {
namespace Net {

class HTTPRequest;
class HTTPResponse;

/// The client end of HTTP exchanges with one server (host and port).
///
/// An exchange is sendRequest(), writing the body (if any) to the stream it
/// returns, then receiveResponse() and reading the body from the stream it
/// returns. The connection is opened on first use; with keep-alive on it is
/// reused by the next exchange when the previous response allowed that, its
/// body was read to the end and it has been idle no longer than the
/// keep-alive timeout. Otherwise, and after any failure, the next exchange
/// opens a new connection.
///
/// Request bodies: a chunked request sends one chunk each time its stream is
/// flushed (and whenever the 8 KiB stream buffer fills), so a body of any
/// size streams without being held in memory; a request with a Content-Length
/// must receive exactly that many bytes; a request with neither has no body.
///
/// Failures are exceptions: ConnectionRefusedException, HostNotFoundException,
/// TimeoutException (after getTimeout() of waiting in one operation),
/// NoMessageException (the server closed without answering), MessageException
/// (malformed or oversized response, wrong body length) and NetException
/// (other socket errors). The body streams throw the same exceptions.
///
/// Not thread-safe: one thread drives a session at a time.
class HTTPClientSession : public HTTPSession
{
public:
	/// 8 seconds: how long a kept connection may sit idle and still be reused.
	static constexpr Timespan DEFAULT_KEEP_ALIVE_TIMEOUT = Timespan(8 * Timespan::SECONDS);
	/// 16 MiB: the default limit of a response body.
	static constexpr std::uint64_t DEFAULT_MAX_RESPONSE_BODY_SIZE = 16 * 1024 * 1024;
	/// 64 KiB: the limit of a response head (status line and header fields);
	/// a longer head fails with MessageException.
	static constexpr std::uint32_t MAX_RESPONSE_HEAD_SIZE = 64 * 1024;

	/// A session to host (a name or a numeric IPv4/IPv6 address, with or
	/// without brackets) and port. Performs no network I/O.
	HTTPClientSession(const std::string& host, unsigned short port);
	~HTTPClientSession() override;

	HTTPClientSession(const HTTPClientSession&) = delete;
	HTTPClientSession& operator=(const HTTPClientSession&) = delete;

	/// Connects if needed and starts the request: adds the Host field, and the
	/// Connection field that the keep-alive setting asks for, to the request,
	/// and returns the stream for its body. The head goes out with the first
	/// body bytes flushed or at receiveResponse(), whichever comes first.
	/// An exchange still open is abandoned (its connection closed).
	/// Throws the exceptions listed above; the request itself is not checked
	/// beyond its version (MessageException for other than HTTP/1.0 or 1.1).
	std::ostream& sendRequest(HTTPRequest& request);

	/// Finishes the request body (the last chunk, or a check that the whole
	/// Content-Length was written), reads the response head into response and
	/// returns the stream of its body. A response to HEAD has no body.
	/// Throws IllegalStateException without a preceding sendRequest(), and
	/// the exceptions listed above.
	std::istream& receiveResponse(HTTPResponse& response);

	/// Closes the connection, abandoning any open exchange.
	void reset();

	/// The server's host and port, as given to the constructor.
	///@{
	const std::string& getHost() const;
	unsigned short getPort() const;
	///@}

	/// How long a kept connection may be idle and still be reused (default
	/// DEFAULT_KEEP_ALIVE_TIMEOUT); an older one is closed and replaced.
	///@{
	void setKeepAliveTimeout(const Timespan& timeout);
	const Timespan& getKeepAliveTimeout() const;
	///@}

	/// The largest response body accepted, in bytes (default
	/// DEFAULT_MAX_RESPONSE_BODY_SIZE). A larger one fails with
	/// MessageException, when the head announces it or when the body stream
	/// reaches the limit.
	///@{
	void setMaxResponseBodySize(std::uint64_t bytes);
	std::uint64_t getMaxResponseBodySize() const;
	///@}

private:
	class Impl;
	std::unique_ptr<Impl> _pImpl;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPClientSession_INCLUDED
