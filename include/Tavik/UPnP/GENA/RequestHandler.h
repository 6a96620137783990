#ifndef Tavik_UPnP_GENA_RequestHandler_INCLUDED
#define Tavik_UPnP_GENA_RequestHandler_INCLUDED

#include "Tavik/Logger.h"
#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

class Listener;

/// The HTTP request handler of the event endpoint: answers SUBSCRIBE and
/// UNSUBSCRIBE for local objects with events, NOTIFY for the application's
/// own subscriptions, HEAD with 200 and every other method with 405.
/// Every answer is a bare status line with headers.
///
/// Keeps no state between requests: one handler may serve several threads.
/// Must not outlive its Listener.
class RequestHandler : public Net::HTTPRequestHandler
{
public:
	/// A handler for listener; logs to "UPnP.GENA.RequestHandler".
	explicit RequestHandler(Listener& listener);
	~RequestHandler() override;

	/// Logs the request at debug level and answers it by its method
	/// (case-sensitive). Catches nothing: exceptions of the broker, the
	/// dispatcher or the thread pool reach the HTTP server.
	void handleRequest(Net::HTTPServerRequest& request, Net::HTTPServerResponse& response) override;

	/// Sends status with its standard reason and no body, on the wire before
	/// it returns.
	void sendResponse(Net::HTTPServerResponse& response, Net::HTTPResponse::HTTPStatus status);
	/// Answers a new subscription or a renewal; starts the initial event
	/// notification of a new subscription after the 200.
	void handleSubscribe(Net::HTTPServerRequest& request, Net::HTTPServerResponse& response);
	/// Removes the subscriber named by SID from the object's dispatcher.
	void handleUnsubscribe(Net::HTTPServerRequest& request, Net::HTTPServerResponse& response);
	/// Delivers the properties of an event to the local subscriber named by
	/// SID, the last property of the document first. An unknown SID may first
	/// wait for a subscription request in flight, and SEQ is tracked, as the
	/// listener's settings earlyNotifyGrace and trackSequence say.
	void handleNotify(Net::HTTPServerRequest& request, Net::HTTPServerResponse& response);

private:
	Listener& _listener;
	Logger& _logger;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_RequestHandler_INCLUDED
