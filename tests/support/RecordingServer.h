#ifndef RecordingServer_INCLUDED
#define RecordingServer_INCLUDED

#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/HTTPServerParams.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"
#include "Tavik/Net/NameValueCollection.h"
#include "TestSupport.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace TestSupport {

/// One request as a loopback HTTP peer received it.
struct RecordedRequest
{
	std::string method;
	std::string uri;
	Tavik::Net::NameValueCollection headers;
	std::string body;
	unsigned short clientPort = 0;
};

/// An HTTP server on 127.0.0.1 (or host; a free port) that records every
/// request and answers each with the status that answerWith() chose (200 by
/// default).
class RecordingServer
{
public:
	using Answer = std::function<Tavik::Net::HTTPResponse::HTTPStatus(const RecordedRequest&)>;

	explicit RecordingServer(const Tavik::Net::HTTPServerParams& params = Tavik::Net::HTTPServerParams(),
	                         const std::string& host = "127.0.0.1")
	    : _pState(std::make_shared<State>()), _host(host)
	{
		_pServer = std::make_unique<Tavik::Net::HTTPServer>(std::make_shared<Factory>(_pState), host, 0, params);
		_pServer->start();
	}

	~RecordingServer() { _pServer->stop(); }

	unsigned short port() const { return _pServer->port(); }
	std::string url(const std::string& path) const
	{
		return "http://" + _host + ":" + std::to_string(port()) + path;
	}

	/// Decides the status of each following answer.
	void answerWith(Answer answer)
	{
		std::lock_guard<std::mutex> lock(_pState->mutex);
		_pState->answer = std::move(answer);
	}

	/// Waits until at least n requests have arrived; false at the deadline.
	bool waitFor(std::size_t n)
	{
		std::unique_lock<std::mutex> lock(_pState->mutex);
		return _pState->changed.wait_for(lock, DEADLINE, [&] { return _pState->requests.size() >= n; });
	}

	std::vector<RecordedRequest> requests() const
	{
		std::lock_guard<std::mutex> lock(_pState->mutex);
		return _pState->requests;
	}

private:
	struct State
	{
		std::mutex mutex;
		std::condition_variable changed;
		std::vector<RecordedRequest> requests;
		Answer answer;
	};

	class Handler : public Tavik::Net::HTTPRequestHandler
	{
	public:
		explicit Handler(std::shared_ptr<State> pState) : _pState(std::move(pState)) {}

		void handleRequest(Tavik::Net::HTTPServerRequest& request, Tavik::Net::HTTPServerResponse& response) override
		{
			RecordedRequest recorded;
			recorded.method = request.getMethod();
			recorded.uri = request.getURI();
			recorded.headers = request;
			recorded.body = readAll(request.stream());
			recorded.clientPort = request.clientAddress().port();
			Tavik::Net::HTTPResponse::HTTPStatus status = Tavik::Net::HTTPResponse::HTTP_OK;
			{
				std::lock_guard<std::mutex> lock(_pState->mutex);
				if (_pState->answer) status = _pState->answer(recorded);
				_pState->requests.push_back(std::move(recorded));
				_pState->changed.notify_all();
			}
			response.setStatusAndReason(status);
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

#endif // RecordingServer_INCLUDED
