#ifndef Tavik_Net_LoopbackPeers_INCLUDED
#define Tavik_Net_LoopbackPeers_INCLUDED

// Helpers of the Net tests that talk over loopback sockets: a raw client
// that sends exactly the bytes a test gives, a raw listener, a gate to hold
// a handler, and a handler factory made of a function.

#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"
#include "TestSupport.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>

namespace NetTest {

using TestSupport::DEADLINE;
using TestSupport::Gate;
using TestSupport::readAll;

using HandlerFunction = std::function<void(Tavik::Net::HTTPServerRequest&, Tavik::Net::HTTPServerResponse&)>;

/// Makes handlers that run one function, and counts the requests.
class FunctionHandlerFactory : public Tavik::Net::HTTPRequestHandlerFactory
{
public:
	explicit FunctionHandlerFactory(HandlerFunction function) : _function(std::move(function)) {}

	Tavik::Net::HTTPRequestHandler* createRequestHandler(const Tavik::Net::HTTPServerRequest&) override
	{
		++calls;
		return new Handler(_function);
	}

	std::atomic<int> calls{0};

private:
	class Handler : public Tavik::Net::HTTPRequestHandler
	{
	public:
		explicit Handler(const HandlerFunction& function) : _function(function) {}
		void handleRequest(Tavik::Net::HTTPServerRequest& request,
		                   Tavik::Net::HTTPServerResponse& response) override
		{
			_function(request, response);
		}

	private:
		const HandlerFunction& _function;
	};

	HandlerFunction _function;
};

inline std::shared_ptr<FunctionHandlerFactory> makeFactory(HandlerFunction function)
{
	return std::make_shared<FunctionHandlerFactory>(std::move(function));
}

/// A blocking client socket to 127.0.0.1 that sends and reads raw bytes;
/// every read gives up after DEADLINE.
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
			throw std::runtime_error("connect failed");
	}
	~RawConnection() { ::close(_fd); }

	void send(const std::string& bytes)
	{
		if (::send(_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) != ssize_t(bytes.size()))
			throw std::runtime_error("send failed");
	}

	/// Everything up to and including the blank line after the header fields.
	std::string readHead()
	{
		std::string head;
		while (head.size() < 4 || head.compare(head.size() - 4, 4, "\r\n\r\n") != 0)
		{
			char c;
			if (::recv(_fd, &c, 1, 0) != 1) throw std::runtime_error("no complete head: " + head);
			head += c;
		}
		return head;
	}

	/// Everything until the server closes; throws when it does not within DEADLINE.
	std::string readUntilClosed()
	{
		std::string data;
		char buffer[4096];
		for (;;)
		{
			const ssize_t n = ::recv(_fd, buffer, sizeof(buffer), 0);
			if (n == 0) return data;
			if (n < 0)
			{
				if (errno == ECONNRESET) return data;
				throw std::runtime_error("connection not closed: " + data);
			}
			data.append(buffer, std::size_t(n));
		}
	}

	int fd() const { return _fd; }

private:
	int _fd;
};

/// A listening socket on 127.0.0.1 that accepts on request: a peer that
/// never speaks HTTP.
class RawListener
{
public:
	RawListener()
	{
		_fd = ::socket(AF_INET, SOCK_STREAM, 0);
		sockaddr_in address{};
		address.sin_family = AF_INET;
		address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
		::bind(_fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
		socklen_t length = sizeof(address);
		::getsockname(_fd, reinterpret_cast<sockaddr*>(&address), &length);
		_port = ntohs(address.sin_port);
	}
	~RawListener() { ::close(_fd); }

	void listen() { ::listen(_fd, 8); }
	/// Accepts one connection and returns its descriptor (owned by the caller).
	int accept() { return ::accept(_fd, nullptr, nullptr); }
	unsigned short port() const { return _port; }

private:
	int _fd;
	unsigned short _port;
};

} // namespace NetTest

#endif // Tavik_Net_LoopbackPeers_INCLUDED
