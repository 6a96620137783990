#ifndef Tavik_Net_BodyOutputBuffer_INCLUDED
#define Tavik_Net_BodyOutputBuffer_INCLUDED

#include "SocketIO.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <streambuf>
#include <string>

namespace Tavik {
namespace Net {

/// The stream buffer behind a message body being sent: it collects the body
/// in an 8 KiB buffer and writes it to the socket framed as the head says.
/// The buffer is allocated at the first body byte and released by finish(),
/// so an idle connection holds none.
///
/// The head is written lazily, together with the first body bytes that leave
/// the buffer (a flush, or a full buffer) or with the end of the message, so
/// a short message is one write. It is made at that moment by a HeadMaker,
/// which therefore can still choose the framing from what it knows then.
///
/// Errors (socket failures, a body longer than its Content-Length) throw the
/// Net exceptions; an ostream over this buffer should have badbit in its
/// exceptions() mask so that they reach the writer.
class BodyOutputBuffer : public std::streambuf
{
public:
	enum class Framing
	{
		NONE,        ///< no body may be written
		FIXED,       ///< exactly `length` bytes
		CHUNKED,     ///< one chunk per flush, then the last chunk
		UNTIL_CLOSE, ///< raw bytes; the end of the body is the end of the connection
		DISCARD      ///< the head only; body bytes are dropped (a response to HEAD)
	};

	struct Head
	{
		std::string text;
		Framing framing = Framing::NONE;
		std::uint64_t length = 0;
	};

	/// Makes the head when it must be written: bufferedBytes are the body
	/// bytes collected so far, complete tells whether that is the whole body.
	using HeadMaker = std::function<Head(std::size_t bufferedBytes, bool complete)>;

	/// peer ("host:port") names the other end in exception messages.
	BodyOutputBuffer(SocketIO& io, const std::string& peer);

	/// Starts a message; anything not yet written of the previous one,
	/// pending head and buffered body, is dropped.
	void begin(HeadMaker makeHead);
	/// Sends the head if still pending, the rest of the body and the last
	/// chunk; throws MessageException when a fixed-length body is short.
	/// A body byte written after it fails with MessageException.
	void finish();
	/// True once the head has been written (or handed to the socket).
	bool headSent() const { return _headSent; }

protected:
	int_type overflow(int_type c) override;
	int sync() override;

private:
	static constexpr std::size_t BUFFER_SIZE = 8192;

	/// Writes the buffered bytes (and the head first, when pending).
	void flushBuffer(bool complete);
	/// Points the put area at the whole buffer (empty when none is allocated).
	void resetPutArea();
	void write(const std::string& head, const char* pData, std::size_t size);

	SocketIO& _io;
	std::string _peer;
	HeadMaker _makeHead;
	Head _head;
	bool _headSent;
	std::uint64_t _written;
	std::unique_ptr<char[]> _pBuffer;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_BodyOutputBuffer_INCLUDED
