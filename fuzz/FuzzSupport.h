#ifndef Tavik_FuzzSupport_INCLUDED
#define Tavik_FuzzSupport_INCLUDED

// Helpers of the fuzz targets that talk over loopback sockets: a channel that
// discards log lines (so that the logging code still runs, without flooding
// the fuzzer's output) and plain blocking sockets on 127.0.0.1.

#include "Tavik/Channel.h"
#include "Tavik/Logger.h"
#include "Tavik/Message.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>

namespace FuzzSupport {

/// How long a fuzz target waits for a peer at most; a longer wait is a hang,
/// reported by aborting.
constexpr int HANG_SECONDS = 10;

class DiscardChannel : public Tavik::Channel
{
public:
	void log(const Tavik::Message&) override {}
};

/// Every logger at debug level into a DiscardChannel.
inline void discardLogs()
{
	Tavik::Logger::setChannel("", new DiscardChannel);
	Tavik::Logger::setLevel("", Tavik::Message::PRIO_DEBUG);
}

inline sockaddr_in loopback(unsigned short port)
{
	sockaddr_in address{};
	address.sin_family = AF_INET;
	address.sin_port = htons(port);
	address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
	return address;
}

/// Gives reads on fd HANG_SECONDS before they fail.
inline void limitReads(int fd)
{
	timeval timeout{HANG_SECONDS, 0};
	::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout));
}

/// A connected socket to 127.0.0.1:port; aborts when the connect fails.
inline int connectTo(unsigned short port)
{
	const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
	const sockaddr_in address = loopback(port);
	if (fd < 0 || ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0)
		std::abort();
	limitReads(fd);
	return fd;
}

/// A socket listening on 127.0.0.1 at a free port, which port receives.
inline int listenOnLoopback(unsigned short& port)
{
	const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
	sockaddr_in address = loopback(0);
	socklen_t length = sizeof(address);
	if (fd < 0 || ::bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
	    ::listen(fd, 16) != 0 || ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
		std::abort();
	port = ntohs(address.sin_port);
	return fd;
}

/// Sends as much of bytes as the peer takes; stops at the first failure (the
/// peer may close early, after refusing the first bytes).
inline void sendAll(int fd, const std::string& bytes)
{
	std::size_t sent = 0;
	while (sent < bytes.size())
	{
		const ssize_t n = ::send(fd, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
		if (n <= 0) return;
		sent += static_cast<std::size_t>(n);
	}
}

/// Reads until the peer closes or resets; aborts when it does neither within
/// HANG_SECONDS.
inline void drainUntilClosed(int fd)
{
	char buffer[4096];
	for (;;)
	{
		const ssize_t n = ::recv(fd, buffer, sizeof(buffer), 0);
		if (n > 0) continue;
		if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) std::abort();
		return;
	}
}

} // namespace FuzzSupport

#endif // Tavik_FuzzSupport_INCLUDED
