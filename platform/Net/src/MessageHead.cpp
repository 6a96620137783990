#include "MessageHead.h"

#include "NetTexts.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/NetException.h"

#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/serializer.hpp>

#include <algorithm>
#include <cstring>

namespace Tavik {
namespace Net {
namespace MessageHead {

namespace beast = boost::beast;
namespace http = boost::beast::http;

namespace {

bool isToken(const std::string& text)
{
	static const char* const SEPARATORS = "()<>@,;:\\\"/[]?={} \t";
	return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
		return c > 0x20 && c < 0x7f && std::strchr(SEPARATORS, c) == nullptr;
	});
}

bool hasLineBreakOrNul(const std::string& text)
{
	return text.find_first_of(std::string("\r\n\0", 3)) != std::string::npos;
}

unsigned versionNumber(const std::string& version)
{
	if (version == HTTPMessage::HTTP_1_1) return 11;
	if (version == HTTPMessage::HTTP_1_0) return 10;
	throw MessageException(Texts::UNSUPPORTED_VERSION, version);
}

void copyFields(const NameValueCollection& collection, http::fields& fields)
{
	for (const auto& field : collection)
	{
		if (!isToken(field.first) || hasLineBreakOrNul(field.second))
			throw MessageException(Texts::INVALID_HEADER_FIELD, field.first);
		fields.insert(field.first, field.second);
	}
}

template <bool isRequest> std::string headText(http::message<isRequest, http::empty_body>& message)
{
	http::serializer<isRequest, http::empty_body> serializer(message);
	serializer.split(true);
	std::string text;
	beast::error_code ec;
	serializer.next(
	    ec, [&text](beast::error_code&, const auto& buffers) { text = beast::buffers_to_string(buffers); });
	return text;
}

} // namespace

std::string serialize(const HTTPRequest& request)
{
	const std::string& target = request.getURI();
	if (!isToken(request.getMethod()) || target.empty() ||
	    std::any_of(target.begin(), target.end(), [](char c) { return c <= 0x20 || c == 0x7f; }))
		throw MessageException(Texts::MALFORMED_MESSAGE, request.getMethod() + " " + target);
	http::request<http::empty_body> message;
	message.method_string(request.getMethod());
	message.target(target);
	message.version(versionNumber(request.getVersion()));
	copyFields(request, message.base());
	return headText(message);
}

std::string serialize(const HTTPResponse& response)
{
	http::response<http::empty_body> message;
	message.version(versionNumber(response.getVersion()));
	message.result(unsigned(response.getStatus()));
	if (hasLineBreakOrNul(response.getReason()))
		throw MessageException(Texts::INVALID_HEADER_FIELD, response.getReason());
	message.reason(response.getReason());
	copyFields(response, message.base());
	return headText(message);
}

const std::string& versionText(unsigned version)
{
	return version == 10 ? HTTPMessage::HTTP_1_0 : HTTPMessage::HTTP_1_1;
}

void copyFields(const http::fields& fields, NameValueCollection& collection)
{
	for (const auto& field : fields)
		collection.add(std::string(field.name_string()), std::string(field.value()));
}

} // namespace MessageHead
} // namespace Net
} // namespace Tavik
