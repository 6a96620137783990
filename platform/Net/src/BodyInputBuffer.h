#ifndef Tavik_Net_BodyInputBuffer_INCLUDED
#define Tavik_Net_BodyInputBuffer_INCLUDED

#include "NetError.h"
#include "SocketIO.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>

#include <memory>
#include <streambuf>
#include <string>

namespace Tavik {
namespace Net {

/// The stream buffer behind a received message body: each underflow lets
/// Beast's parser read what the socket has, up to 8 KiB, so the body streams
/// through without being held whole; the framing (chunks, Content-Length,
/// end of connection) and the parser's body limit are Beast's. The 8 KiB
/// buffer is allocated at the first read and released at the end of the
/// body, so an idle connection holds none.
///
/// Errors throw the Net exceptions; an istream over this buffer should have
/// badbit in its exceptions() mask so that they reach the reader.
template <bool isRequest> class BodyInputBuffer : public std::streambuf
{
public:
	using Parser = boost::beast::http::parser<isRequest, boost::beast::http::buffer_body>;

	/// The parser's head must be complete; buffer holds what was read beyond
	/// it. peer ("host:port") names the other end in exception messages.
	BodyInputBuffer(SocketIO& io, boost::beast::flat_buffer& buffer, Parser& parser, const std::string& peer)
	    : _io(io), _buffer(buffer), _parser(parser), _peer(peer), _limitExceeded(false)
	{
	}

	/// True when the whole body has been received (though maybe not read).
	bool complete() const { return _parser.is_done(); }
	/// True when reading failed because the body outgrew the parser's limit.
	bool limitExceeded() const { return _limitExceeded; }

	/// Reads the rest of the body and drops it; throws as reading does.
	void drain()
	{
		while (!traits_type::eq_int_type(underflow(), traits_type::eof()))
			setg(eback(), egptr(), egptr());
	}

protected:
	int_type underflow() override
	{
		namespace http = boost::beast::http;
		if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
		while (!_parser.is_done())
		{
			if (!_pChunk) _pChunk.reset(new char[CHUNK_SIZE]);
			auto& body = _parser.get().body();
			body.data = _pChunk.get();
			body.size = CHUNK_SIZE;
			boost::system::error_code ec;
			http::read_some(_io, _buffer, _parser, ec);
			if (ec == http::error::need_buffer) ec = {};
			if (ec)
			{
				_limitExceeded = ec == http::error::body_limit;
				throwNetError(ec, _peer);
			}
			const std::size_t size = CHUNK_SIZE - body.size;
			if (size > 0)
			{
				setg(_pChunk.get(), _pChunk.get(), _pChunk.get() + size);
				return traits_type::to_int_type(_pChunk[0]);
			}
		}
		setg(nullptr, nullptr, nullptr);
		_pChunk.reset();
		return traits_type::eof();
	}

private:
	static constexpr std::size_t CHUNK_SIZE = 8192;

	SocketIO& _io;
	boost::beast::flat_buffer& _buffer;
	Parser& _parser;
	std::string _peer;
	bool _limitExceeded;
	std::unique_ptr<char[]> _pChunk;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_BodyInputBuffer_INCLUDED
