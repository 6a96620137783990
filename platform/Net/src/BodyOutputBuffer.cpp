#include "BodyOutputBuffer.h"

#include "NetError.h"
#include "NetTexts.h"
#include "Tavik/Net/NetException.h"

#include <boost/asio/write.hpp>
#include <boost/beast/http/chunk_encode.hpp>

#include <array>
#include <vector>

namespace Tavik {
namespace Net {

namespace asio = boost::asio;
namespace http = boost::beast::http;

BodyOutputBuffer::BodyOutputBuffer(SocketIO& io, const std::string& peer)
    : _io(io), _peer(peer), _headSent(false), _written(0)
{
}

void BodyOutputBuffer::begin(HeadMaker makeHead)
{
	_makeHead = std::move(makeHead);
	_head = Head();
	_headSent = false;
	_written = 0;
	resetPutArea();
}

void BodyOutputBuffer::finish()
{
	flushBuffer(true);
	if (_head.framing == Framing::CHUNKED)
	{
		boost::system::error_code ec;
		asio::write(_io, http::make_chunk_last(), ec);
		if (ec) throwNetError(ec, _peer);
	}
	else if (_head.framing == Framing::FIXED && _written < _head.length)
	{
		throw MessageException(Texts::BODY_SHORTER_THAN_LENGTH, std::to_string(_written));
	}
	_head.framing = Framing::NONE;
	_pBuffer.reset();
	resetPutArea();
}

BodyOutputBuffer::int_type BodyOutputBuffer::overflow(int_type c)
{
	if (_pBuffer)
		flushBuffer(false);
	else
	{
		_pBuffer.reset(new char[BUFFER_SIZE]);
		resetPutArea();
	}
	if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
	*pptr() = traits_type::to_char_type(c);
	pbump(1);
	return c;
}

int BodyOutputBuffer::sync()
{
	// Before the head is out an empty flush decides nothing: the framing of
	// a response still depends on whether any body follows.
	if (pptr() != pbase() || _headSent) flushBuffer(false);
	return 0;
}

void BodyOutputBuffer::flushBuffer(bool complete)
{
	const std::size_t size = std::size_t(pptr() - pbase());
	resetPutArea();
	std::string head;
	if (!_headSent)
	{
		_head = _makeHead(size, complete);
		head = std::move(_head.text);
		_headSent = true;
	}
	switch (_head.framing)
	{
	case Framing::NONE:
		if (size > 0) throw MessageException(Texts::BODY_WITHOUT_FRAMING);
		break;
	case Framing::FIXED:
		if (_written + size > _head.length) throw MessageException(Texts::BODY_LONGER_THAN_LENGTH);
		break;
	case Framing::DISCARD:
		write(head, nullptr, 0);
		return;
	default:
		break;
	}
	write(head, _pBuffer.get(), size);
	_written += size;
}

void BodyOutputBuffer::resetPutArea()
{
	char* pBegin = _pBuffer.get();
	setp(pBegin, pBegin ? pBegin + BUFFER_SIZE : nullptr);
}

void BodyOutputBuffer::write(const std::string& head, const char* pData, std::size_t size)
{
	const asio::const_buffer body(pData, size);
	boost::system::error_code ec;
	if (_head.framing == Framing::CHUNKED && size > 0)
	{
		const auto chunk = http::make_chunk(body);
		std::vector<asio::const_buffer> buffers{asio::buffer(head)};
		buffers.insert(buffers.end(), asio::buffer_sequence_begin(chunk), asio::buffer_sequence_end(chunk));
		asio::write(_io, buffers, ec);
	}
	else
	{
		const std::array<asio::const_buffer, 2> buffers{asio::buffer(head), body};
		asio::write(_io, buffers, ec);
	}
	if (ec) throwNetError(ec, _peer);
}

} // namespace Net
} // namespace Tavik
