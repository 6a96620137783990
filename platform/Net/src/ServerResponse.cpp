#include "ServerResponse.h"

#include "MessageHead.h"
#include "Tavik/Net/HTTPRequest.h"

namespace Tavik {
namespace Net {

ServerResponse::ServerResponse(SocketIO& io, const std::string& peer, const HTTPRequest& request,
                               bool keepAlive)
    : _body(io, peer), _stream(&_body), _headRequest(request.getMethod() == HTTPRequest::HTTP_HEAD),
      _keepAlive(keepAlive)
{
	setVersion(request.getVersion());
	_stream.exceptions(std::ios::badbit);
	_body.begin(
	    [this](std::size_t bufferedBytes, bool complete) { return makeHead(bufferedBytes, complete); });
}

bool ServerResponse::complete()
{
	finish();
	return _keepAlive;
}

bool ServerResponse::replaceWithError(HTTPStatus status)
{
	if (_body.headSent()) return false;
	clear();
	setStatusAndReason(status);
	_keepAlive = false;
	_body.begin(
	    [this](std::size_t bufferedBytes, bool complete) { return makeHead(bufferedBytes, complete); });
	return true;
}

std::ostream& ServerResponse::beginBody()
{
	return _stream;
}

void ServerResponse::endBody()
{
	_body.finish();
}

BodyOutputBuffer::Head ServerResponse::makeHead(std::size_t bufferedBytes, bool complete)
{
	using Framing = BodyOutputBuffer::Framing;
	const bool http11 = getVersion() == HTTP_1_1;
	const int status = getStatus();
	BodyOutputBuffer::Head head;
	if (status < 200 || status == HTTP_NO_CONTENT || status == HTTP_NOT_MODIFIED)
	{
		// These statuses never carry a body, so they need no framing fields.
		head.framing = Framing::DISCARD;
	}
	else if (getChunkedTransferEncoding() && http11)
	{
		head.framing = Framing::CHUNKED;
	}
	else if (getContentLength() != UNKNOWN_CONTENT_LENGTH)
	{
		head.framing = Framing::FIXED;
		head.length = std::uint64_t(getContentLength());
	}
	else if (complete)
	{
		setContentLength(std::int64_t(bufferedBytes));
		head.framing = Framing::FIXED;
		head.length = bufferedBytes;
	}
	else if (http11)
	{
		setChunkedTransferEncoding(true);
		head.framing = Framing::CHUNKED;
	}
	else
	{
		// An HTTP/1.0 client knows no chunks: the body ends with the connection.
		setChunkedTransferEncoding(false);
		head.framing = Framing::UNTIL_CLOSE;
	}
	const bool handlerCloses = has(CONNECTION) && !getKeepAlive();
	_keepAlive = _keepAlive && !handlerCloses && head.framing != Framing::UNTIL_CLOSE;
	setKeepAlive(_keepAlive);
	if (_headRequest) head.framing = Framing::DISCARD;
	head.text = MessageHead::serialize(*this);
	return head;
}

} // namespace Net
} // namespace Tavik
