// A trivial HTTP server for load generators (wrk): "tavik" serves it with
// Tavik::Net::HTTPServer, "beast" with a minimal asynchronous Beast server
// written only for comparison, the ceiling on this machine.
//
// Usage: HTTPServerLoad tavik|beast [port] [threads]
// Prints the port, then serves until SIGINT or SIGTERM.

#include "BenchSupport.h"
#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>

#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

const std::string BODY = "Hello, World!";

class HelloHandler : public Tavik::Net::HTTPRequestHandler
{
public:
	void handleRequest(Tavik::Net::HTTPServerRequest&, Tavik::Net::HTTPServerResponse& response) override
	{
		response.setContentType("text/plain");
		response.send() << BODY;
	}
};

class HelloFactory : public Tavik::Net::HTTPRequestHandlerFactory
{
public:
	Tavik::Net::HTTPRequestHandler* createRequestHandler(const Tavik::Net::HTTPServerRequest&) override
	{
		return new HelloHandler;
	}
};

namespace beast = boost::beast;
namespace http = beast::http;
namespace asio = boost::asio;
using asio::ip::tcp;

/// One connection of the raw Beast server: read, answer, repeat while the
/// client keeps the connection.
class BeastSession : public std::enable_shared_from_this<BeastSession>
{
public:
	explicit BeastSession(tcp::socket socket) : _stream(std::move(socket)) {}

	void read()
	{
		_request = {};
		http::async_read(_stream, _buffer, _request,
		                 [self = shared_from_this()](beast::error_code ec, std::size_t) {
			                 if (!ec) self->answer();
		                 });
	}

private:
	void answer()
	{
		_response = {};
		_response.version(_request.version());
		_response.result(http::status::ok);
		_response.set(http::field::content_type, "text/plain");
		_response.keep_alive(_request.keep_alive());
		_response.body() = BODY;
		_response.prepare_payload();
		http::async_write(_stream, _response, [self = shared_from_this()](beast::error_code ec, std::size_t) {
			if (!ec && self->_response.keep_alive())
				self->read();
			else
				self->_stream.socket().shutdown(tcp::socket::shutdown_send, ec);
		});
	}

	beast::tcp_stream _stream;
	beast::flat_buffer _buffer;
	http::request<http::string_body> _request;
	http::response<http::string_body> _response;
};

void acceptBeast(tcp::acceptor& acceptor)
{
	acceptor.async_accept([&acceptor](beast::error_code ec, tcp::socket socket) {
		if (ec) return;
		socket.set_option(tcp::no_delay(true));
		std::make_shared<BeastSession>(std::move(socket))->read();
		acceptBeast(acceptor);
	});
}

} // namespace

int main(int argc, char** argv)
{
	const std::string kind = argc > 1 ? argv[1] : "";
	const unsigned short port = argc > 2 ? (unsigned short)std::atoi(argv[2]) : 0;
	const unsigned threads = argc > 3 ? unsigned(std::atoi(argv[3])) : 2;
	if (kind != "tavik" && kind != "beast")
	{
		std::cerr << "usage: HTTPServerLoad tavik|beast [port] [threads]\n";
		return 2;
	}
	const sigset_t signals = BenchSupport::blockStopSignals();

	if (kind == "tavik")
	{
		Tavik::Net::HTTPServerParams params;
		params.maxThreads = threads;
		Tavik::Net::HTTPServer server(std::make_shared<HelloFactory>(), "127.0.0.1", port, params);
		server.start();
		std::cout << server.port() << std::endl;
		BenchSupport::waitForStop(signals);
		server.stop();
		return 0;
	}

	asio::io_context io;
	tcp::acceptor acceptor(io, tcp::endpoint(asio::ip::make_address("127.0.0.1"), port));
	acceptBeast(acceptor);
	std::vector<std::thread> runners;
	for (unsigned i = 0; i < threads; ++i)
		runners.emplace_back([&io] { io.run(); });
	std::cout << acceptor.local_endpoint().port() << std::endl;
	BenchSupport::waitForStop(signals);
	io.stop();
	for (auto& runner : runners)
		runner.join();
	return 0;
}
