#include "Tavik/Net/HTTPServer.h"

#include "HTTPServerImpl.h"
#include "NetTexts.h"
#include "ServerConnection.h"
#include "Tavik/Net/NetException.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <chrono>

namespace Tavik {
namespace Net {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;

namespace {

/// How long the server waits before accepting again after accept() failed
/// (out of descriptors, most likely), instead of failing again at once.
constexpr std::chrono::milliseconds ACCEPT_RETRY_DELAY(100);

tcp::endpoint resolve(asio::io_context& io, const std::string& host, unsigned short port)
{
	error_code ec;
	tcp::resolver resolver(io);
	const auto results = resolver.resolve(host, std::to_string(port),
	                                      tcp::resolver::passive | tcp::resolver::numeric_service, ec);
	if (ec || results.empty()) throw HostNotFoundException(host);
	return results.begin()->endpoint();
}

} // namespace

HTTPServer::Impl::Impl(SharedPtr<HTTPRequestHandlerFactory> pFactory, const std::string& host,
                       unsigned short port, const HTTPServerParams& params)
    : _params(params), _pFactory(std::move(pFactory)), _logger(Logger::get("Net.HTTPServer")), _acceptor(_io),
      _acceptRetryTimer(_io)
{
	if (!_pFactory) throw NullPointerException();
	const tcp::endpoint endpoint = resolve(_io, host, port);
	error_code ec;
	_acceptor.open(endpoint.protocol(), ec);
	if (!ec) _acceptor.set_option(tcp::acceptor::reuse_address(true), ec);
	if (!ec) _acceptor.bind(endpoint, ec);
	if (!ec) _acceptor.listen(asio::socket_base::max_listen_connections, ec);
	if (ec)
		throw NetException(Texts::CANNOT_LISTEN, SocketAddress(host, port).toString() + ": " + ec.message());
	const tcp::endpoint local = _acceptor.local_endpoint();
	_address = SocketAddress(local.address().to_string(), local.port());
}

HTTPServer::Impl::~Impl()
{
	stop();
}

void HTTPServer::Impl::start()
{
	{
		std::lock_guard<std::mutex> lock(_mutex);
		if (_started || _stopping) throw IllegalStateException(Texts::SERVER_ALREADY_STARTED);
		_started = true;
	}
	accept();
	_ioThread = std::thread([this] {
		// Handlers do not throw, but should one, the I/O thread must go on.
		for (;;)
		{
			try
			{
				_io.run();
				return;
			}
			catch (const std::exception& exc)
			{
				_logger.error(exc.what());
			}
		}
	});
	const unsigned workers = std::max(1u, _params.maxThreads);
	for (unsigned i = 0; i < workers; ++i)
		_workers.emplace_back([this] { runWorker(); });
}

void HTTPServer::Impl::stop()
{
	{
		std::lock_guard<std::mutex> lock(_mutex);
		if (_stopping) return;
		_stopping = true;
		for (auto& connection : _connections)
			if (connection.second.withWorker) connection.second.pConnection->shutdownSocket();
	}
	_queueReady.notify_all();
	if (_ioThread.joinable())
	{
		asio::post(_io, [this] { abortIO(); });
	}
	else
	{
		error_code ec;
		_acceptor.close(ec);
	}
	for (auto& worker : _workers)
		worker.join();
	if (_ioThread.joinable()) _ioThread.join();

	// Left now: connections that were queued but never served.
	std::unordered_map<ServerConnection*, Entry> connections;
	{
		std::lock_guard<std::mutex> lock(_mutex);
		for (auto& connection : _connections)
			connection.second.pConnection->closeSocket();
		connections.swap(_connections);
		_queue.clear();
	}
}

void HTTPServer::Impl::abortIO()
{
	error_code ec;
	_acceptor.close(ec);
	_acceptRetryTimer.cancel();
	std::vector<std::shared_ptr<ServerConnection>> idle;
	{
		std::lock_guard<std::mutex> lock(_mutex);
		for (auto& connection : _connections)
			if (!connection.second.withWorker) idle.push_back(connection.second.pConnection);
	}
	for (auto& pConnection : idle)
		pConnection->abort();
}

void HTTPServer::Impl::accept()
{
	_acceptor.async_accept([this](const error_code& ec, tcp::socket socket) {
		if (ec == asio::error::operation_aborted || !_acceptor.is_open()) return;
		if (ec)
		{
			if (_logger.error()) _logger.error(std::string(Texts::ACCEPT_FAILED) + ": " + ec.message());
			_acceptRetryTimer.expires_after(ACCEPT_RETRY_DELAY);
			_acceptRetryTimer.async_wait([this](const error_code& waitError) {
				if (!waitError) accept();
			});
			return;
		}
		auto pConnection = std::make_shared<ServerConnection>(*this, std::move(socket));
		bool accepted = false;
		{
			std::lock_guard<std::mutex> lock(_mutex);
			accepted = !_stopping;
			if (accepted)
				_connections.emplace(pConnection.get(), Entry{pConnection, false});
			else
				pConnection->closeSocket();
		}
		if (accepted) pConnection->waitForRequest();
		accept();
	});
}

void HTTPServer::Impl::runWorker()
{
	for (;;)
	{
		std::shared_ptr<ServerConnection> pConnection;
		{
			std::unique_lock<std::mutex> lock(_mutex);
			_queueReady.wait(lock, [this] { return _stopping || !_queue.empty(); });
			if (_stopping) return;
			pConnection = std::move(_queue.front());
			_queue.pop_front();
		}
		pConnection->serve();
	}
}

bool HTTPServer::Impl::dispatch(const std::shared_ptr<ServerConnection>& pConnection)
{
	{
		std::lock_guard<std::mutex> lock(_mutex);
		if (_stopping || _queue.size() >= _params.maxQueued) return false;
		_connections.at(pConnection.get()).withWorker = true;
		_queue.push_back(pConnection);
	}
	_queueReady.notify_one();
	return true;
}

void HTTPServer::Impl::handBack(const std::shared_ptr<ServerConnection>& pConnection, bool keepAlive)
{
	{
		std::lock_guard<std::mutex> lock(_mutex);
		if (_stopping)
		{
			pConnection->closeSocket();
			_connections.erase(pConnection.get());
			return;
		}
		_connections.at(pConnection.get()).withWorker = false;
	}
	asio::post(_io, [pConnection, keepAlive] {
		if (keepAlive)
			pConnection->waitForRequest();
		else
			pConnection->closeGracefully();
	});
}

void HTTPServer::Impl::close(ServerConnection& connection)
{
	std::lock_guard<std::mutex> lock(_mutex);
	connection.closeSocket();
	_connections.erase(&connection);
}

HTTPServer::HTTPServer(SharedPtr<HTTPRequestHandlerFactory> pFactory, const std::string& host,
                       unsigned short port, const HTTPServerParams& params)
    : _pImpl(new Impl(std::move(pFactory), host, port, params))
{}

HTTPServer::~HTTPServer() = default;

void HTTPServer::start()
{
	_pImpl->start();
}

void HTTPServer::stop()
{
	_pImpl->stop();
}

unsigned short HTTPServer::port() const
{
	return _pImpl->address().port();
}

const SocketAddress& HTTPServer::address() const
{
	return _pImpl->address();
}

const HTTPServerParams& HTTPServer::params() const
{
	return _pImpl->params();
}

} // namespace Net
} // namespace Tavik
