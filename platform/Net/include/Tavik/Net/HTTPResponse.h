#ifndef Tavik_Net_HTTPResponse_INCLUDED
#define Tavik_Net_HTTPResponse_INCLUDED

#include "Tavik/Net/HTTPMessage.h"

#include <string>

namespace Tavik {
namespace Net {

/// An HTTP response head: version, status code and reason phrase, plus the
/// header fields of HTTPMessage. A new response is "HTTP/1.1 200 OK".
///
/// Not thread-safe.
class HTTPResponse : public HTTPMessage
{
public:
	/// The standard status codes. A received response may carry any other
	/// three-digit code; getStatus() returns it unchanged.
	enum HTTPStatus : int
	{
		HTTP_CONTINUE = 100,
		HTTP_SWITCHING_PROTOCOLS = 101,
		HTTP_OK = 200,
		HTTP_CREATED = 201,
		HTTP_ACCEPTED = 202,
		HTTP_NONAUTHORITATIVE = 203,
		HTTP_NO_CONTENT = 204,
		HTTP_RESET_CONTENT = 205,
		HTTP_PARTIAL_CONTENT = 206,
		HTTP_MULTIPLE_CHOICES = 300,
		HTTP_MOVED_PERMANENTLY = 301,
		HTTP_FOUND = 302,
		HTTP_SEE_OTHER = 303,
		HTTP_NOT_MODIFIED = 304,
		HTTP_USE_PROXY = 305,
		HTTP_TEMPORARY_REDIRECT = 307,
		HTTP_PERMANENT_REDIRECT = 308,
		HTTP_BAD_REQUEST = 400,
		HTTP_UNAUTHORIZED = 401,
		HTTP_PAYMENT_REQUIRED = 402,
		HTTP_FORBIDDEN = 403,
		HTTP_NOT_FOUND = 404,
		HTTP_METHOD_NOT_ALLOWED = 405,
		HTTP_NOT_ACCEPTABLE = 406,
		HTTP_PROXY_AUTHENTICATION_REQUIRED = 407,
		HTTP_REQUEST_TIMEOUT = 408,
		HTTP_CONFLICT = 409,
		HTTP_GONE = 410,
		HTTP_LENGTH_REQUIRED = 411,
		HTTP_PRECONDITION_FAILED = 412,
		HTTP_REQUEST_ENTITY_TOO_LARGE = 413,
		HTTP_REQUEST_URI_TOO_LONG = 414,
		HTTP_UNSUPPORTED_MEDIA_TYPE = 415,
		HTTP_REQUESTED_RANGE_NOT_SATISFIABLE = 416,
		HTTP_EXPECTATION_FAILED = 417,
		HTTP_PRECONDITION_REQUIRED = 428,
		HTTP_TOO_MANY_REQUESTS = 429,
		HTTP_REQUEST_HEADER_FIELDS_TOO_LARGE = 431,
		HTTP_INTERNAL_SERVER_ERROR = 500,
		HTTP_NOT_IMPLEMENTED = 501,
		HTTP_BAD_GATEWAY = 502,
		HTTP_SERVICE_UNAVAILABLE = 503,
		HTTP_GATEWAY_TIMEOUT = 504,
		HTTP_VERSION_NOT_SUPPORTED = 505
	};

	HTTPResponse();
	/// "HTTP/1.1", the status and its standard reason phrase.
	explicit HTTPResponse(HTTPStatus status);
	~HTTPResponse() override;

	/// The standard reason phrase of the status ("Precondition Failed"), or
	/// "Unknown" for a code without one.
	static const std::string& getReasonForStatus(HTTPStatus status);

	/// Sets the status code and its standard reason phrase.
	void setStatusAndReason(HTTPStatus status);

	/// Sets the status code only; the reason phrase stays as it was.
	void setStatus(HTTPStatus status);
	/// The status code.
	HTTPStatus getStatus() const { return _status; }

	/// The reason phrase, e.g. "OK".
	///@{
	void setReason(const std::string& reason);
	const std::string& getReason() const { return _reason; }
	///@}

private:
	HTTPStatus _status;
	std::string _reason;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPResponse_INCLUDED
