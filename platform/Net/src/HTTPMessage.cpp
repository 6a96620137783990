#include "Tavik/Net/HTTPMessage.h"

#include "NetTexts.h"
#include "Tavik/Net/NetException.h"
#include "Tavik/String.h"

#include <charconv>

namespace Tavik {
namespace Net {

const std::string HTTPMessage::HTTP_1_0("HTTP/1.0");
const std::string HTTPMessage::HTTP_1_1("HTTP/1.1");
const std::string HTTPMessage::CONNECTION("Connection");
const std::string HTTPMessage::CONNECTION_CLOSE("close");
const std::string HTTPMessage::CONNECTION_KEEP_ALIVE("keep-alive");
const std::string HTTPMessage::CONTENT_LENGTH("Content-Length");
const std::string HTTPMessage::CONTENT_TYPE("Content-Type");
const std::string HTTPMessage::TRANSFER_ENCODING("Transfer-Encoding");
const std::string HTTPMessage::CHUNKED_TRANSFER_ENCODING("chunked");

namespace {

const std::string EMPTY;

/// True when the comma-separated list holds the token (ignoring case and
/// the blanks around list elements).
bool hasToken(const std::string& list, const std::string& token)
{
	std::string::size_type start = 0;
	while (start < list.size())
	{
		std::string::size_type end = list.find(',', start);
		if (end == std::string::npos) end = list.size();
		const auto first = list.find_first_not_of(" \t", start);
		if (first < end)
		{
			const auto last = list.find_last_not_of(" \t", end - 1);
			if (icompare(list, first, last - first + 1, token) == 0) return true;
		}
		start = end + 1;
	}
	return false;
}

} // namespace

HTTPMessage::HTTPMessage(const std::string& version) : _version(version) {}

HTTPMessage::~HTTPMessage() = default;

void HTTPMessage::setVersion(const std::string& version)
{
	_version = version;
}

void HTTPMessage::setContentLength(std::int64_t length)
{
	if (length < 0)
	{
		erase(CONTENT_LENGTH);
		return;
	}
	erase(TRANSFER_ENCODING);
	set(CONTENT_LENGTH, std::to_string(length));
}

std::int64_t HTTPMessage::getContentLength() const
{
	if (!has(CONTENT_LENGTH)) return UNKNOWN_CONTENT_LENGTH;
	const std::string& text = get(CONTENT_LENGTH);
	std::int64_t length = 0;
	const auto result = std::from_chars(text.data(), text.data() + text.size(), length);
	if (text.empty() || result.ec != std::errc() || result.ptr != text.data() + text.size() || length < 0)
		throw MessageException(Texts::INVALID_CONTENT_LENGTH, text);
	return length;
}

void HTTPMessage::setChunkedTransferEncoding(bool chunked)
{
	if (!chunked)
	{
		erase(TRANSFER_ENCODING);
		return;
	}
	erase(CONTENT_LENGTH);
	set(TRANSFER_ENCODING, CHUNKED_TRANSFER_ENCODING);
}

bool HTTPMessage::getChunkedTransferEncoding() const
{
	return hasToken(get(TRANSFER_ENCODING, EMPTY), CHUNKED_TRANSFER_ENCODING);
}

void HTTPMessage::setContentType(const std::string& mediaType)
{
	if (mediaType.empty())
		erase(CONTENT_TYPE);
	else
		set(CONTENT_TYPE, mediaType);
}

const std::string& HTTPMessage::getContentType() const
{
	return get(CONTENT_TYPE, EMPTY);
}

void HTTPMessage::setKeepAlive(bool keepAlive)
{
	if (!keepAlive)
		set(CONNECTION, CONNECTION_CLOSE);
	else if (_version == HTTP_1_1)
		erase(CONNECTION);
	else
		set(CONNECTION, CONNECTION_KEEP_ALIVE);
}

bool HTTPMessage::getKeepAlive() const
{
	const std::string& connection = get(CONNECTION, EMPTY);
	if (hasToken(connection, CONNECTION_CLOSE)) return false;
	return hasToken(connection, CONNECTION_KEEP_ALIVE) || _version == HTTP_1_1;
}

} // namespace Net
} // namespace Tavik
