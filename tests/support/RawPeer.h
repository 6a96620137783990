#ifndef RawPeer_INCLUDED
#define RawPeer_INCLUDED

// Peers that speak raw bytes over loopback sockets: a client that sends
// exactly what a test gives, and a listener whose connections misbehave on
// purpose (stall, trickle, reset, answer garbage).

#include "TestSupport.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace TestSupport {

/// Reads one HTTP head, up to and including its blank line, a byte at a time
/// so that nothing after it is consumed; what came when the connection ends first.
inline std::string readHead(int fd)
{
	std::string head;
	char c;
	while (head.size() < 4 || head.compare(head.size() - 4, 4, "\r\n\r\n") != 0)
	{
		if (::recv(fd, &c, 1, 0) != 1) break;
		head += c;
	}
	return head;
}

/// Reads a request head and its body: Content-Length bytes, or a chunked body
/// up to its last chunk (without trailer fields).
inline std::string readRequest(int fd)
{
	std::string request = readHead(fd);
	const bool chunked = request.find("Transfer-Encoding: chunked") != std::string::npos;
	const std::string::size_type field = request.find("Content-Length: ");
	std::size_t length = field == std::string::npos ? 0 : std::strtoul(request.c_str() + field + 16, nullptr, 10);
	const std::string lastChunk = "\r\n0\r\n\r\n";
	char c;
	while (chunked ? request.size() < lastChunk.size() ||
	                     request.compare(request.size() - lastChunk.size(), lastChunk.size(), lastChunk) != 0
	               : length-- > 0)
	{
		if (::recv(fd, &c, 1, 0) != 1) break;
		request += c;
	}
	return request;
}

/// Sends all of bytes, or as much as the peer takes before it goes away.
inline void sendAll(int fd, const std::string& bytes)
{
	std::size_t sent = 0;
	while (sent < bytes.size())
	{
		const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
		if (n <= 0) return;
		sent += std::size_t(n);
	}
}

/// Closes fd with a reset (RST) instead of an orderly shutdown.
inline void resetConnection(int fd)
{
	const linger abort{1, 0};
	::setsockopt(fd, SOL_SOCKET, SO_LINGER, &abort, sizeof(abort));
	::close(fd);
}

/// A blocking client connection to 127.0.0.1:port; every read gives up after DEADLINE.
class RawConnection
{
public:
	explicit RawConnection(unsigned short port)
	{
		_fd = ::socket(AF_INET, SOCK_STREAM, 0);
		timeval timeout{std::chrono::seconds(DEADLINE).count(), 0};
		::setsockopt(_fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
		sockaddr_in address{};
		address.sin_family = AF_INET;
		address.sin_port = htons(port);
		address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
		if (::connect(_fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0)
		{
			::close(_fd);
			throw std::runtime_error("connect failed");
		}
	}
	~RawConnection() { ::close(_fd); }
	RawConnection(const RawConnection&) = delete;
	RawConnection& operator=(const RawConnection&) = delete;

	void send(const std::string& bytes) { sendAll(_fd, bytes); }

	/// The next head; throws when the connection ends before it is complete.
	std::string readHead()
	{
		const std::string head = TestSupport::readHead(_fd);
		if (head.size() < 4 || head.compare(head.size() - 4, 4, "\r\n\r\n") != 0)
			throw std::runtime_error("no complete head: " + head);
		return head;
	}

	/// Everything until the other side closes; throws when it does not within DEADLINE.
	std::string readUntilClosed()
	{
		std::string data;
		char buffer[4096];
		for (;;)
		{
			const ssize_t n = ::recv(_fd, buffer, sizeof(buffer), 0);
			if (n == 0 || (n < 0 && errno == ECONNRESET)) return data;
			if (n < 0) throw std::runtime_error("connection not closed: " + data);
			data.append(buffer, std::size_t(n));
		}
	}

	int fd() const { return _fd; }

private:
	int _fd;
};

/// A listener on 127.0.0.1 that accepts connections one after the other on a
/// thread of its own and treats each as its behaviour says. The behaviour gets
/// the connection and returns true to keep it open, untouched, until the peer
/// is destroyed (a peer that stops reading), false when it has closed it.
/// Without a behaviour the peer only listens: connections wait in its backlog
/// and are never accepted.
class RawPeer
{
public:
	using Behaviour = std::function<bool(int fd)>;

	explicit RawPeer(Behaviour behaviour = {}) : _behaviour(std::move(behaviour))
	{
		_fd = ::socket(AF_INET, SOCK_STREAM, 0);
		sockaddr_in address{};
		address.sin_family = AF_INET;
		address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
		socklen_t length = sizeof(address);
		if (::bind(_fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 || ::listen(_fd, 64) != 0 ||
		    ::getsockname(_fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
			throw std::runtime_error("cannot listen on 127.0.0.1");
		_port = ntohs(address.sin_port);
		if (_behaviour) _thread = std::thread([this] { serve(); });
	}

	~RawPeer()
	{
		// Wakes the blocked accept(); a behaviour still running ends with its
		// connection, which the other side closes or times out.
		::shutdown(_fd, SHUT_RDWR);
		if (_thread.joinable()) _thread.join();
		::close(_fd);
		for (int fd : _held)
			::close(fd);
	}
	RawPeer(const RawPeer&) = delete;
	RawPeer& operator=(const RawPeer&) = delete;

	unsigned short port() const { return _port; }
	std::string url(const std::string& pathEtc) const
	{
		return "http://127.0.0.1:" + std::to_string(_port) + pathEtc;
	}

private:
	void serve()
	{
		for (;;)
		{
			const int fd = ::accept(_fd, nullptr, nullptr);
			if (fd < 0) return;
			if (_behaviour(fd)) _held.push_back(fd);
		}
	}

	int _fd;
	unsigned short _port;
	Behaviour _behaviour;
	std::vector<int> _held; // only touched by the peer's thread until it is joined
	std::thread _thread;
};

} // namespace TestSupport

#endif // RawPeer_INCLUDED
