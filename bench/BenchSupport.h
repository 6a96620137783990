#ifndef BenchSupport_INCLUDED
#define BenchSupport_INCLUDED

#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/HTTPServerParams.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"
#include "Tavik/StreamCopier.h"

#include <csignal>
#include <functional>
#include <memory>
#include <string>

/// Pieces shared by the benchmark and load programs.
namespace BenchSupport {

/// The callback server of the subscribers in a benchmark: an HTTP server on
/// 127.0.0.1 and a free port that reads each request's body, answers 200
/// and then hands the request and its body to the observer (on the
/// server's threads, one call per request at a time per connection).
class Sink
{
public:
	using Observer = std::function<void(const Tavik::Net::HTTPServerRequest&, const std::string& body)>;

	/// 4096 connections: how many may wait for a server thread, so that the
	/// sink is never what refuses a NOTIFY (with 503) in a burst.
	static constexpr int MAX_QUEUED = 4096;

	/// Starts serving at once. Throws Tavik::Net exceptions when it cannot
	/// listen.
	explicit Sink(Observer observer)
	{
		Tavik::Net::HTTPServerParams params;
		params.maxQueued = MAX_QUEUED;
		_pServer = std::make_unique<Tavik::Net::HTTPServer>(std::make_shared<Factory>(std::move(observer)),
		                                                    "127.0.0.1", 0, params);
		_pServer->start();
	}

	~Sink() { _pServer->stop(); }

	Sink(const Sink&) = delete;
	Sink& operator=(const Sink&) = delete;

	/// The base callback URL, http://127.0.0.1:<port>/cb; any path below
	/// the server is served alike.
	std::string url() const { return "http://127.0.0.1:" + std::to_string(_pServer->port()) + "/cb"; }

private:
	class Handler : public Tavik::Net::HTTPRequestHandler
	{
	public:
		explicit Handler(const Observer& observer) : _observer(observer) {}

		void handleRequest(Tavik::Net::HTTPServerRequest& request,
		                   Tavik::Net::HTTPServerResponse& response) override
		{
			std::string body;
			Tavik::StreamCopier::copyToString(request.stream(), body);
			response.setStatusAndReason(Tavik::Net::HTTPResponse::HTTP_OK);
			response.send();
			_observer(request, body);
		}

	private:
		const Observer& _observer;
	};

	class Factory : public Tavik::Net::HTTPRequestHandlerFactory
	{
	public:
		explicit Factory(Observer observer) : _observer(std::move(observer)) {}

		Tavik::Net::HTTPRequestHandler* createRequestHandler(const Tavik::Net::HTTPServerRequest&) override
		{
			return new Handler(_observer);
		}

	private:
		Observer _observer;
	};

	std::unique_ptr<Tavik::Net::HTTPServer> _pServer;
};

/// Blocks SIGINT and SIGTERM in the calling thread and in every thread it
/// starts later, so that only waitForStop() takes them; call it first in
/// main(). The set of both signals.
inline sigset_t blockStopSignals()
{
	sigset_t signals;
	sigemptyset(&signals);
	sigaddset(&signals, SIGINT);
	sigaddset(&signals, SIGTERM);
	pthread_sigmask(SIG_BLOCK, &signals, nullptr);
	return signals;
}

/// Waits for SIGINT or SIGTERM, blocked with blockStopSignals().
inline void waitForStop(const sigset_t& signals)
{
	int signal = 0;
	sigwait(&signals, &signal);
}

} // namespace BenchSupport

#endif // BenchSupport_INCLUDED
