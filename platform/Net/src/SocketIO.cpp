#include "SocketIO.h"

#include <boost/asio/error.hpp>

#include <cerrno>
#include <fcntl.h>
#include <limits>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Tavik {
namespace Net {

namespace {

boost::system::error_code lastError()
{
	return boost::system::error_code(errno, boost::system::system_category());
}

} // namespace

int SocketIO::toMilliseconds(const Timespan& timeout)
{
	const auto milliseconds = timeout.totalMilliseconds();
	if (milliseconds < 0) return 0;
	return milliseconds > std::numeric_limits<int>::max() ? std::numeric_limits<int>::max()
	                                                      : int(milliseconds);
}

int SocketIO::connect(const void* pAddress, unsigned addressLength, int family, const Timespan& timeout,
                      boost::system::error_code& ec)
{
	const int fd = ::socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
	if (fd < 0)
	{
		ec = lastError();
		return -1;
	}
	// Requests and responses are written whole or per flushed chunk; waiting
	// for more data to fill a segment would only add latency.
	const int on = 1;
	::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));

	if (::connect(fd, static_cast<const sockaddr*>(pAddress), addressLength) != 0 && errno != EINPROGRESS)
	{
		ec = lastError();
		::close(fd);
		return -1;
	}
	SocketIO io(fd, timeout);
	int error = 0;
	socklen_t length = sizeof(error);
	if (!io.wait(POLLOUT, ec) || ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length) != 0 || error != 0)
	{
		if (!ec) ec = boost::system::error_code(error ? error : errno, boost::system::system_category());
		::close(fd);
		return -1;
	}
	ec = {};
	return fd;
}

bool SocketIO::readable() const
{
	pollfd entry{_fd, POLLIN, 0};
	return ::poll(&entry, 1, 0) != 0;
}

std::size_t SocketIO::receive(void* pData, std::size_t size, boost::system::error_code& ec)
{
	while (!_error)
	{
		const ssize_t n = ::recv(_fd, pData, size, 0);
		if (n > 0)
		{
			ec = {};
			return std::size_t(n);
		}
		if (n == 0)
			_error = boost::asio::error::eof;
		else if (errno == EAGAIN || errno == EWOULDBLOCK)
			wait(POLLIN, _error);
		else if (errno != EINTR)
			_error = lastError();
	}
	ec = _error;
	return 0;
}

std::size_t SocketIO::send(const iovec* pVectors, int count, boost::system::error_code& ec)
{
	if (count == 0 && !_error)
	{
		ec = {};
		return 0;
	}
	msghdr message{};
	message.msg_iov = const_cast<iovec*>(pVectors);
	message.msg_iovlen = std::size_t(count);
	while (!_error)
	{
		const ssize_t n = ::sendmsg(_fd, &message, MSG_NOSIGNAL);
		if (n >= 0)
		{
			ec = {};
			return std::size_t(n);
		}
		if (errno == EAGAIN || errno == EWOULDBLOCK)
			wait(POLLOUT, _error);
		else if (errno != EINTR)
			_error = lastError();
	}
	ec = _error;
	return 0;
}

bool SocketIO::wait(short events, boost::system::error_code& ec)
{
	pollfd entry{_fd, events, 0};
	for (;;)
	{
		const int ready = ::poll(&entry, 1, _timeoutMilliseconds);
		if (ready > 0) return true;
		if (ready == 0)
		{
			ec = boost::asio::error::timed_out;
			return false;
		}
		if (errno != EINTR)
		{
			ec = lastError();
			return false;
		}
	}
}

} // namespace Net
} // namespace Tavik
