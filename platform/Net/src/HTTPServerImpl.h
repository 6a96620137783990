#ifndef Tavik_Net_HTTPServerImpl_INCLUDED
#define Tavik_Net_HTTPServerImpl_INCLUDED

#include "Tavik/Logger.h"
#include "Tavik/Net/HTTPServer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <unordered_map>
#include <vector>

namespace Tavik {
namespace Net {

class ServerConnection;

/// The server's threads and bookkeeping. Each connection is, at any time, in
/// one of two hands: the I/O thread's (waiting for a request head, or writing
/// a refusal) or a worker's (queued, or being served). The registry records
/// which; stop() uses it to wake every connection in the right way.
///
/// Locking: _mutex guards the queue, the registry and the stopping flag. It is
/// held around bookkeeping and around the non-blocking shutdown()/close()
/// calls that must not race with each other on one descriptor, never around
/// reads, writes or handler code.
class HTTPServer::Impl
{
public:
	Impl(SharedPtr<HTTPRequestHandlerFactory> pFactory, const std::string& host, unsigned short port,
	     const HTTPServerParams& params);
	~Impl();

	void start();
	void stop();

	const HTTPServerParams& params() const { return _params; }
	const SocketAddress& address() const { return _address; }
	HTTPRequestHandlerFactory& factory() const { return *_pFactory; }
	Logger& logger() const { return _logger; }

	/// I/O thread: queues a connection whose request head is complete for a
	/// worker. False when the queue is full or the server stops.
	bool dispatch(const std::shared_ptr<ServerConnection>& pConnection);
	/// Worker thread: returns a served connection to the I/O thread, which
	/// waits for its next request (keepAlive) or closes it gracefully. When
	/// the server stops, closes it at once instead.
	void handBack(const std::shared_ptr<ServerConnection>& pConnection, bool keepAlive);
	/// Any thread: forgets the connection and closes its socket.
	void close(ServerConnection& connection);

private:
	struct Entry
	{
		std::shared_ptr<ServerConnection> pConnection;
		bool withWorker;
	};

	void accept();
	void runWorker();
	/// I/O thread: the last part of stop().
	void abortIO();

	const HTTPServerParams _params;
	SharedPtr<HTTPRequestHandlerFactory> _pFactory;
	Logger& _logger;
	boost::asio::io_context _io;
	boost::asio::ip::tcp::acceptor _acceptor;
	boost::asio::steady_timer _acceptRetryTimer;
	SocketAddress _address;

	std::mutex _mutex;
	std::condition_variable _queueReady;
	std::deque<std::shared_ptr<ServerConnection>> _queue;
	std::unordered_map<ServerConnection*, Entry> _connections;
	bool _started = false;
	bool _stopping = false;

	std::thread _ioThread;
	std::vector<std::thread> _workers;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPServerImpl_INCLUDED
