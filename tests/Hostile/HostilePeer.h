#ifndef HostilePeer_INCLUDED
#define HostilePeer_INCLUDED

// A raw loopback peer that misbehaves on purpose, and the pieces of HTTP it
// needs to do so at the right moment.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace HostileTesting {

/// Reads one request head, up to and including its blank line, one byte at a
/// time so that nothing after it is consumed; returns what came when the
/// connection ends first.
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

/// Reads a request head and the body after it: Content-Length bytes, or a
/// chunked body up to its last chunk (assumed to carry no trailer fields).
inline std::string readRequest(int fd)
{
	std::string request = readHead(fd);
	const bool chunked = request.find("Transfer-Encoding: chunked") != std::string::npos;
	const std::string::size_type field = request.find("Content-Length: ");
	std::size_t length =
	    field == std::string::npos ? 0 : std::strtoul(request.c_str() + field + 16, nullptr, 10);
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

/// A loopback peer that accepts connections one after the other on its own
/// thread and treats each as its behaviour says. The behaviour gets the
/// connection and returns true to keep it open, untouched, until the peer is
/// destroyed (a peer that never reads), false when it has closed it.
class HostilePeer
{
public:
	using Behaviour = std::function<bool(int fd)>;

	explicit HostilePeer(Behaviour behaviour) : _behaviour(std::move(behaviour))
	{
		_fd = ::socket(AF_INET, SOCK_STREAM, 0);
		sockaddr_in address{};
		address.sin_family = AF_INET;
		address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
		socklen_t length = sizeof(address);
		if (::bind(_fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
		    ::listen(_fd, 64) != 0 || ::getsockname(_fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
			throw std::runtime_error("cannot listen on 127.0.0.1");
		_port = ntohs(address.sin_port);
		_thread = std::thread([this] { serve(); });
	}

	~HostilePeer()
	{
		// Wakes the blocked accept(); a behaviour still running ends with its
		// connection, which the other side closes or times out.
		::shutdown(_fd, SHUT_RDWR);
		_thread.join();
		::close(_fd);
		for (int fd : _held)
			::close(fd);
	}

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

} // namespace HostileTesting

#endif // HostilePeer_INCLUDED
