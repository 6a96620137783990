#ifndef HTTPPeer_INCLUDED
#define HTTPPeer_INCLUDED

// A peer that speaks correct HTTP through our own server: the publisher a
// subscriber talks to, or the callback a publisher notifies. It records every
// request and answers as its script says.

#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/HTTPServerParams.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"
#include "Tavik/Net/NameValueCollection.h"
#include "TestSupport.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

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
		void handleRequest(Tavik::Net::HTTPServerRequest& request, Tavik::Net::HTTPServerResponse& response) override
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

/// A request as the peer received it, and when.
struct Received
{
	std::string method;
	std::string uri;
	Tavik::Net::NameValueCollection headers;
	std::string body;
	unsigned short clientPort = 0;
	std::chrono::steady_clock::time_point at;
};

/// What the peer answers: a status and header fields, no body.
struct Answer
{
	Tavik::Net::HTTPResponse::HTTPStatus status = Tavik::Net::HTTPResponse::HTTP_OK;
	std::vector<std::pair<std::string, std::string>> headers;
};

/// An HTTP server on host (127.0.0.1 by default; a free port) that records
/// every request, body included, and answers each as the script says (200
/// without a script). The script runs on the server's workers without the
/// peer's lock, so it may block (on a Gate) to hold an exchange in flight.
class HTTPPeer
{
public:
	/// Gets the request and its index (0 for the first one received).
	using Script = std::function<Answer(const Received&, std::size_t)>;

	explicit HTTPPeer(Script script = {}, const std::string& host = "127.0.0.1",
	                  const Tavik::Net::HTTPServerParams& params = Tavik::Net::HTTPServerParams())
	    : _pState(std::make_shared<State>()), _host(host)
	{
		_pState->script = std::move(script);
		auto pState = _pState;
		_pServer = std::make_unique<Tavik::Net::HTTPServer>(
		    makeFactory([pState](Tavik::Net::HTTPServerRequest& request, Tavik::Net::HTTPServerResponse& response) {
			    pState->handle(request, response);
		    }),
		    host, 0, params);
		_pServer->start();
	}

	~HTTPPeer() { stop(); }

	/// Stops serving; later requests find the port closed.
	void stop() { _pServer->stop(); }

	/// Replaces the script for the requests that follow.
	void answerWith(Script script)
	{
		std::lock_guard<std::mutex> lock(_pState->mutex);
		_pState->script = std::move(script);
	}

	unsigned short port() const { return _pServer->port(); }
	std::string url(const std::string& pathEtc) const
	{
		const bool v6 = _host.find(':') != std::string::npos;
		return "http://" + (v6 ? "[" + _host + "]" : _host) + ":" + std::to_string(port()) + pathEtc;
	}

	/// Waits until at least n requests have been answered; false at the deadline.
	bool waitFor(std::size_t n) const
	{
		std::unique_lock<std::mutex> lock(_pState->mutex);
		return _pState->changed.wait_for(lock, DEADLINE, [&] { return _pState->requests.size() >= n; });
	}

	std::vector<Received> requests() const
	{
		std::lock_guard<std::mutex> lock(_pState->mutex);
		return _pState->requests;
	}

	/// The requests with this method, in the order answered.
	std::vector<Received> requests(const std::string& method) const
	{
		std::vector<Received> matching;
		for (Received& request : requests())
			if (request.method == method) matching.push_back(std::move(request));
		return matching;
	}

private:
	struct State
	{
		void handle(Tavik::Net::HTTPServerRequest& request, Tavik::Net::HTTPServerResponse& response)
		{
			Received received{request.getMethod(), request.getURI(), request, readAll(request.stream()),
			                  request.clientAddress().port(), std::chrono::steady_clock::now()};
			Script current;
			std::size_t index = 0;
			{
				std::lock_guard<std::mutex> lock(mutex);
				current = script;
				index = count++;
			}
			const Answer answer = current ? current(received, index) : Answer();
			{
				std::lock_guard<std::mutex> lock(mutex);
				requests.push_back(std::move(received));
				changed.notify_all();
			}
			response.setStatusAndReason(answer.status);
			for (const auto& header : answer.headers)
				response.set(header.first, header.second);
			response.send();
		}

		Script script;
		mutable std::mutex mutex;
		std::condition_variable changed;
		std::vector<Received> requests;
		std::size_t count = 0;
	};

	std::shared_ptr<State> _pState;
	std::string _host;
	std::unique_ptr<Tavik::Net::HTTPServer> _pServer;
};

} // namespace TestSupport

#endif // HTTPPeer_INCLUDED
