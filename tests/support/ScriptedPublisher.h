#ifndef ScriptedPublisher_INCLUDED
#define ScriptedPublisher_INCLUDED

#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"
#include "Tavik/Net/NameValueCollection.h"
#include "TestSupport.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

/// A request that the scripted publisher received, and when.
struct PublisherRequest
{
	std::string method;
	std::string uri;
	Tavik::Net::NameValueCollection headers;
	std::chrono::steady_clock::time_point receivedAt;
};

/// What the scripted publisher answers: a status and header fields, no body.
struct PublisherAnswer
{
	Tavik::Net::HTTPResponse::HTTPStatus status = Tavik::Net::HTTPResponse::HTTP_OK;
	std::vector<std::pair<std::string, std::string>> headers;
};

/// An HTTP server on 127.0.0.1 (or host; a free port) standing in for the
/// publisher of GENA events: it records every request and answers each as the
/// script says. The script runs on the server's threads, without the
/// recorder's lock, so it may block (on a Gate) to keep an exchange in flight.
class ScriptedPublisher
{
public:
	/// Gets the request and its index (0 for the first one received).
	using Script = std::function<PublisherAnswer(const PublisherRequest&, std::size_t)>;

	explicit ScriptedPublisher(Script script, const std::string& host = "127.0.0.1")
	    : _pState(std::make_shared<State>()), _host(host)
	{
		_pState->script = std::move(script);
		_pServer = std::make_unique<Tavik::Net::HTTPServer>(std::make_shared<Factory>(_pState), host, 0);
		_pServer->start();
	}

	~ScriptedPublisher() { stop(); }

	/// Stops serving; later requests find the port closed.
	void stop() { _pServer->stop(); }

	std::string url(const std::string& pathEtc) const
	{
		return "http://" + _host + ":" + std::to_string(_pServer->port()) + pathEtc;
	}

	/// Waits until at least n requests have arrived; false at the deadline.
	bool waitFor(std::size_t n) const
	{
		std::unique_lock<std::mutex> lock(_pState->mutex);
		return _pState->changed.wait_for(lock, DEADLINE, [&] { return _pState->requests.size() >= n; });
	}

	std::vector<PublisherRequest> requests() const
	{
		std::lock_guard<std::mutex> lock(_pState->mutex);
		return _pState->requests;
	}

private:
	struct State
	{
		Script script;
		mutable std::mutex mutex;
		std::condition_variable changed;
		std::vector<PublisherRequest> requests;
		std::size_t received = 0;
	};

	class Handler : public Tavik::Net::HTTPRequestHandler
	{
	public:
		explicit Handler(std::shared_ptr<State> pState) : _pState(std::move(pState)) {}

		void handleRequest(Tavik::Net::HTTPServerRequest& request,
		                   Tavik::Net::HTTPServerResponse& response) override
		{
			PublisherRequest recorded{request.getMethod(), request.getURI(), request,
			                          std::chrono::steady_clock::now()};
			readAll(request.stream());
			std::size_t index = 0;
			{
				std::lock_guard<std::mutex> lock(_pState->mutex);
				index = _pState->received++;
			}
			const PublisherAnswer answer = _pState->script(recorded, index);
			{
				std::lock_guard<std::mutex> lock(_pState->mutex);
				_pState->requests.push_back(std::move(recorded));
				_pState->changed.notify_all();
			}
			response.setStatusAndReason(answer.status);
			for (const auto& header : answer.headers)
				response.set(header.first, header.second);
			response.send();
		}

	private:
		std::shared_ptr<State> _pState;
	};

	class Factory : public Tavik::Net::HTTPRequestHandlerFactory
	{
	public:
		explicit Factory(std::shared_ptr<State> pState) : _pState(std::move(pState)) {}
		Tavik::Net::HTTPRequestHandler* createRequestHandler(const Tavik::Net::HTTPServerRequest&) override
		{
			return new Handler(_pState);
		}

	private:
		std::shared_ptr<State> _pState;
	};

	std::shared_ptr<State> _pState;
	std::string _host;
	std::unique_ptr<Tavik::Net::HTTPServer> _pServer;
};

} // namespace TestSupport

#endif // ScriptedPublisher_INCLUDED
