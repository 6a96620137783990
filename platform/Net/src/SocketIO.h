#ifndef Tavik_Net_SocketIO_INCLUDED
#define Tavik_Net_SocketIO_INCLUDED

#include "Tavik/Timespan.h"

#include <boost/asio/buffer.hpp>
#include <boost/system/error_code.hpp>
#include <boost/system/system_error.hpp>

#include <sys/uio.h>

#include <cstddef>

namespace Tavik {
namespace Net {

/// Blocking reads and writes with a timeout on a non-blocking socket
/// descriptor that this object does not own: each call waits with poll() for
/// at most the timeout, so a silent peer ends in boost::asio::error::timed_out
/// instead of a hang, and shutting the socket down from another thread wakes
/// it at once. Models Beast's SyncReadStream and SyncWriteStream.
///
/// The first failure sticks: every later call fails with the same error, so a
/// broken connection is never read or written half-way again.
class SocketIO
{
public:
	SocketIO(int fd, const Timespan& timeout) : _fd(fd), _timeoutMilliseconds(toMilliseconds(timeout)) {}

	/// A new non-blocking TCP socket connected to the address within the
	/// timeout, or -1 with ec set. The caller owns (and closes) it.
	static int connect(const void* pAddress, unsigned addressLength, int family, const Timespan& timeout,
	                   boost::system::error_code& ec);

	/// True when the socket can be read without waiting: data, end of stream
	/// or an error. An idle persistent connection that is readable has been
	/// closed (or spoken out of turn) by its peer.
	bool readable() const;

	template <class MutableBufferSequence>
	std::size_t read_some(const MutableBufferSequence& buffers, boost::system::error_code& ec)
	{
		for (auto it = boost::asio::buffer_sequence_begin(buffers);
		     it != boost::asio::buffer_sequence_end(buffers); ++it)
		{
			const boost::asio::mutable_buffer buffer(*it);
			if (buffer.size() > 0) return receive(buffer.data(), buffer.size(), ec);
		}
		ec = {};
		return 0;
	}

	template <class MutableBufferSequence> std::size_t read_some(const MutableBufferSequence& buffers)
	{
		boost::system::error_code ec;
		const std::size_t n = read_some(buffers, ec);
		if (ec) throw boost::system::system_error(ec);
		return n;
	}

	template <class ConstBufferSequence>
	std::size_t write_some(const ConstBufferSequence& buffers, boost::system::error_code& ec)
	{
		iovec vectors[MAX_VECTORS];
		int count = 0;
		for (auto it = boost::asio::buffer_sequence_begin(buffers);
		     it != boost::asio::buffer_sequence_end(buffers) && count < MAX_VECTORS; ++it)
		{
			const boost::asio::const_buffer buffer(*it);
			if (buffer.size() == 0) continue;
			vectors[count].iov_base = const_cast<void*>(buffer.data());
			vectors[count].iov_len = buffer.size();
			++count;
		}
		return send(vectors, count, ec);
	}

	template <class ConstBufferSequence> std::size_t write_some(const ConstBufferSequence& buffers)
	{
		boost::system::error_code ec;
		const std::size_t n = write_some(buffers, ec);
		if (ec) throw boost::system::system_error(ec);
		return n;
	}

private:
	/// Buffers gathered into one send; later ones go in the next write_some.
	static constexpr int MAX_VECTORS = 16;

	static int toMilliseconds(const Timespan& timeout);

	std::size_t receive(void* pData, std::size_t size, boost::system::error_code& ec);
	std::size_t send(const iovec* pVectors, int count, boost::system::error_code& ec);
	/// Waits until the socket is ready for events; false with ec set on
	/// timeout or error.
	bool wait(short events, boost::system::error_code& ec);

	int _fd;
	int _timeoutMilliseconds;
	boost::system::error_code _error;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_SocketIO_INCLUDED
