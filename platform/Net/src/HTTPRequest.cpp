#include "Tavik/Net/HTTPRequest.h"

namespace Tavik {
namespace Net {

const std::string HTTPRequest::HTTP_GET("GET");
const std::string HTTPRequest::HTTP_HEAD("HEAD");
const std::string HTTPRequest::HTTP_POST("POST");

HTTPRequest::HTTPRequest() : HTTPMessage(HTTP_1_0), _method(HTTP_GET), _uri("/") {}

HTTPRequest::HTTPRequest(const std::string& method, const std::string& uri, const std::string& version)
    : HTTPMessage(version), _method(method), _uri(uri)
{}

HTTPRequest::~HTTPRequest() = default;

void HTTPRequest::setMethod(const std::string& method)
{
	_method = method;
}

void HTTPRequest::setURI(const std::string& uri)
{
	_uri = uri;
}

} // namespace Net
} // namespace Tavik
