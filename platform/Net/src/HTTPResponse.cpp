#include "Tavik/Net/HTTPResponse.h"

#include <map>

namespace Tavik {
namespace Net {

namespace {

/// The standard reason phrases, in the wording most peers send.
const std::map<HTTPResponse::HTTPStatus, std::string>& reasonPhrases()
{
	static const std::map<HTTPResponse::HTTPStatus, std::string> phrases{
	    {HTTPResponse::HTTP_CONTINUE, "Continue"},
	    {HTTPResponse::HTTP_SWITCHING_PROTOCOLS, "Switching Protocols"},
	    {HTTPResponse::HTTP_OK, "OK"},
	    {HTTPResponse::HTTP_CREATED, "Created"},
	    {HTTPResponse::HTTP_ACCEPTED, "Accepted"},
	    {HTTPResponse::HTTP_NONAUTHORITATIVE, "Non-Authoritative Information"},
	    {HTTPResponse::HTTP_NO_CONTENT, "No Content"},
	    {HTTPResponse::HTTP_RESET_CONTENT, "Reset Content"},
	    {HTTPResponse::HTTP_PARTIAL_CONTENT, "Partial Content"},
	    {HTTPResponse::HTTP_MULTIPLE_CHOICES, "Multiple Choices"},
	    {HTTPResponse::HTTP_MOVED_PERMANENTLY, "Moved Permanently"},
	    {HTTPResponse::HTTP_FOUND, "Found"},
	    {HTTPResponse::HTTP_SEE_OTHER, "See Other"},
	    {HTTPResponse::HTTP_NOT_MODIFIED, "Not Modified"},
	    {HTTPResponse::HTTP_USE_PROXY, "Use Proxy"},
	    {HTTPResponse::HTTP_TEMPORARY_REDIRECT, "Temporary Redirect"},
	    {HTTPResponse::HTTP_PERMANENT_REDIRECT, "Permanent Redirect"},
	    {HTTPResponse::HTTP_BAD_REQUEST, "Bad Request"},
	    {HTTPResponse::HTTP_UNAUTHORIZED, "Unauthorized"},
	    {HTTPResponse::HTTP_PAYMENT_REQUIRED, "Payment Required"},
	    {HTTPResponse::HTTP_FORBIDDEN, "Forbidden"},
	    {HTTPResponse::HTTP_NOT_FOUND, "Not Found"},
	    {HTTPResponse::HTTP_METHOD_NOT_ALLOWED, "Method Not Allowed"},
	    {HTTPResponse::HTTP_NOT_ACCEPTABLE, "Not Acceptable"},
	    {HTTPResponse::HTTP_PROXY_AUTHENTICATION_REQUIRED, "Proxy Authentication Required"},
	    {HTTPResponse::HTTP_REQUEST_TIMEOUT, "Request Timeout"},
	    {HTTPResponse::HTTP_CONFLICT, "Conflict"},
	    {HTTPResponse::HTTP_GONE, "Gone"},
	    {HTTPResponse::HTTP_LENGTH_REQUIRED, "Length Required"},
	    {HTTPResponse::HTTP_PRECONDITION_FAILED, "Precondition Failed"},
	    {HTTPResponse::HTTP_REQUEST_ENTITY_TOO_LARGE, "Request Entity Too Large"},
	    {HTTPResponse::HTTP_REQUEST_URI_TOO_LONG, "Request-URI Too Long"},
	    {HTTPResponse::HTTP_UNSUPPORTED_MEDIA_TYPE, "Unsupported Media Type"},
	    {HTTPResponse::HTTP_REQUESTED_RANGE_NOT_SATISFIABLE, "Requested Range Not Satisfiable"},
	    {HTTPResponse::HTTP_EXPECTATION_FAILED, "Expectation Failed"},
	    {HTTPResponse::HTTP_PRECONDITION_REQUIRED, "Precondition Required"},
	    {HTTPResponse::HTTP_TOO_MANY_REQUESTS, "Too Many Requests"},
	    {HTTPResponse::HTTP_REQUEST_HEADER_FIELDS_TOO_LARGE, "Request Header Fields Too Large"},
	    {HTTPResponse::HTTP_INTERNAL_SERVER_ERROR, "Internal Server Error"},
	    {HTTPResponse::HTTP_NOT_IMPLEMENTED, "Not Implemented"},
	    {HTTPResponse::HTTP_BAD_GATEWAY, "Bad Gateway"},
	    {HTTPResponse::HTTP_SERVICE_UNAVAILABLE, "Service Unavailable"},
	    {HTTPResponse::HTTP_GATEWAY_TIMEOUT, "Gateway Timeout"},
	    {HTTPResponse::HTTP_VERSION_NOT_SUPPORTED, "HTTP Version Not Supported"},
	};
	return phrases;
}

} // namespace

HTTPResponse::HTTPResponse() : HTTPResponse(HTTP_OK) {}

HTTPResponse::HTTPResponse(HTTPStatus status)
    : HTTPMessage(HTTP_1_1), _status(status), _reason(getReasonForStatus(status))
{}

HTTPResponse::~HTTPResponse() = default;

const std::string& HTTPResponse::getReasonForStatus(HTTPStatus status)
{
	static const std::string unknown("Unknown");
	const auto& phrases = reasonPhrases();
	const auto it = phrases.find(status);
	return it == phrases.end() ? unknown : it->second;
}

void HTTPResponse::setStatusAndReason(HTTPStatus status)
{
	_status = status;
	_reason = getReasonForStatus(status);
}

void HTTPResponse::setStatus(HTTPStatus status)
{
	_status = status;
}

void HTTPResponse::setReason(const std::string& reason)
{
	_reason = reason;
}

} // namespace Net
} // namespace Tavik
