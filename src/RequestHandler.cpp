#include "Tavik/UPnP/GENA/RequestHandler.h"

#include "GENATexts.h"

#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Clock.h"
#include "Tavik/Exception.h"
#include "Tavik/Format.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/URI.h"
#include "Tavik/UUID.h"
#include "Tavik/UUIDGenerator.h"
#include "Tavik/UPnP/GENA/InitialEventNotificationThread.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/ServerTransport.h"
#include "Tavik/UPnP/GENA/Transport.h"

#include <memory>

namespace Tavik {
namespace UPnP {
namespace GENA {

using Net::HTTPResponse;
using Net::HTTPServerRequest;
using Net::HTTPServerResponse;

namespace {

const std::string SID_PREFIX = "uuid:";

/// The text strictly between the first '<' and the first '>' of header;
/// false when there is no '<' before the first '>'.
bool extractCallbackURL(const std::string& header, std::string& url)
{
	const std::string::size_type open = header.find('<');
	const std::string::size_type close = header.find('>');
	if (open == std::string::npos || close == std::string::npos || open > close) return false;
	url = header.substr(open + 1, close - open - 1);
	return true;
}

/// Whether the host of callbackURL is the address the request came from.
bool callbackIsPeer(const std::string& callbackURL, const HTTPServerRequest& request)
{
	try
	{
		return URI(callbackURL).getHost() == request.clientAddress().host();
	}
	catch (const Exception&)
	{
		return false;
	}
}

/// Default-pool threads a new subscription leaves free: room for the
/// renewals of the host's own subscriptions, and for the server's workers
/// passing the check at the same moment (8 by default), so that a granted
/// subscription finds a thread for its initial event.
const int POOL_RESERVE = 16;

} // namespace

RequestHandler::RequestHandler(Listener& listener):
	_listener(listener),
	_logger(Logger::get("UPnP.GENA.RequestHandler"))
{
}

RequestHandler::~RequestHandler() = default;

void RequestHandler::handleRequest(HTTPServerRequest& request, HTTPServerResponse& response)
{
	if (_logger.debug())
	{
		_logger.debug(format(Texts::REQUEST_LINE, request.getMethod(), request.getURI(), request.getVersion(),
			request.clientAddress().toString()));
		if (request.has(Listener::HDR_CALLBACK)) _logger.debug(Texts::CALLBACK_LINE + request.get(Listener::HDR_CALLBACK));
		if (request.has(Transport::HDR_SID)) _logger.debug(Texts::SID_LINE + request.get(Transport::HDR_SID));
	}

	const std::string& method = request.getMethod();
	if (method == Net::HTTPRequest::HTTP_HEAD)
		response.send();
	else if (method == Transport::NOTIFY)
		handleNotify(request, response);
	else if (method == Listener::SUBSCRIBE)
		handleSubscribe(request, response);
	else if (method == Listener::UNSUBSCRIBE)
		handleUnsubscribe(request, response);
	else
		sendResponse(response, HTTPResponse::HTTP_METHOD_NOT_ALLOWED);
}

void RequestHandler::sendResponse(HTTPServerResponse& response, HTTPResponse::HTTPStatus status)
{
	response.setStatusAndReason(status);
	response.send();
	// On the wire now, not when the handler returns: the subscriber must have
	// its SID before the initial event, which starts right after.
	response.finish();
}

void RequestHandler::handleSubscribe(HTTPServerRequest& request, HTTPServerResponse& response)
{
	const std::string& callback = request.get(Listener::HDR_CALLBACK, Listener::EMPTY);
	const std::string& nt = request.get(Transport::HDR_NT, Listener::EMPTY);
	const std::string& timeoutHeader = request.get(Listener::HDR_TIMEOUT, Listener::EMPTY);
	std::string sid = request.get(Transport::HDR_SID, Listener::EMPTY);
	const bool renewal = !sid.empty();
	const Listener::Settings settings = _listener.settings();

	if (callback.empty() && !renewal) return sendResponse(response, HTTPResponse::HTTP_PRECONDITION_FAILED);
	if (!callback.empty() && renewal) return sendResponse(response, HTTPResponse::HTTP_BAD_REQUEST);
	if (!nt.empty() && renewal) return sendResponse(response, HTTPResponse::HTTP_BAD_REQUEST);

	std::string callbackURL;
	if (!callback.empty() && !extractCallbackURL(callback, callbackURL))
		return sendResponse(response, HTTPResponse::HTTP_PRECONDITION_FAILED);
	if (!renewal && nt != Transport::UPNP_EVENT) return sendResponse(response, HTTPResponse::HTTP_PRECONDITION_FAILED);
	if (!renewal && settings.checkCallback && !callbackIsPeer(callbackURL, request))
		return sendResponse(response, HTTPResponse::HTTP_PRECONDITION_FAILED);

	int timeout = _listener.getEventSubscriptionTimeout();
	if (!timeoutHeader.empty() && !Listener::parseTimeout(timeoutHeader, timeout))
		return sendResponse(response, HTTPResponse::HTTP_PRECONDITION_FAILED);
	if (settings.maxTimeout > 0 && (timeout == 0 || timeout > settings.maxTimeout)) timeout = settings.maxTimeout;

	if (renewal)
	{
		if (sid.compare(0, SID_PREFIX.size(), SID_PREFIX) != 0)
			return sendResponse(response, HTTPResponse::HTTP_PRECONDITION_FAILED);
	}
	else
	{
		sid = SID_PREFIX + UUIDGenerator().create().toString();
	}

	const std::string uri = "http://" + _listener.endPoint() + request.getURI();
	AutoPtr<Callweave::EventDispatcher> pDispatcher = Callweave::ORB::instance().findEventDispatcher(uri, Transport::PROTOCOL);
	if (!pDispatcher) return sendResponse(response, HTTPResponse::HTTP_NOT_FOUND);
	if (!renewal && settings.maxSubscriptions > 0 &&
		pDispatcher->subscriberCount() + _listener.pendingInitialEvents(*pDispatcher) >= settings.maxSubscriptions)
		return sendResponse(response, HTTPResponse::HTTP_SERVICE_UNAVAILABLE);
	// The initial event of a new subscription needs a pool thread. Without
	// one to spare, 503 (try again later) beats a 200 for a subscription that
	// would never be registered.
	if (!renewal && ThreadPool::defaultPool().available() <= POOL_RESERVE)
		return sendResponse(response, HTTPResponse::HTTP_SERVICE_UNAVAILABLE);

	Clock expiry(0);
	if (timeout != 0)
	{
		expiry.update();
		expiry += static_cast<Clock::ClockDiff>(timeout) * 1000000;
	}
	const bool refreshFirst = renewal && settings.strictRenewal;
	if (refreshFirst)
	{
		// Refreshed before the answer: a SID the dispatcher does not know, or
		// has just found expired, gets 412 rather than a 200 for nothing.
		try
		{
			pDispatcher->subscribe(sid, callbackURL, expiry);
		}
		catch (const NotFoundException&)
		{
			return sendResponse(response, HTTPResponse::HTTP_PRECONDITION_FAILED);
		}
	}

	response.set(Transport::HDR_SID, sid);
	response.set(Listener::HDR_TIMEOUT, timeout == 0 ? Listener::TIMEOUT_INFINITE : format("%s%d", Listener::TIMEOUT_SECOND, timeout));
	sendResponse(response, HTTPResponse::HTTP_OK);

	if (renewal)
	{
		if (!refreshFirst) pDispatcher->subscribe(sid, callbackURL, expiry);
		return;
	}
	std::unique_ptr<InitialEventNotificationThread> pThread(new InitialEventNotificationThread(_listener, pDispatcher,
		callbackURL, sid, request.getURI(), expiry));
	ThreadPool::defaultPool().start(*pThread);
	pThread.release(); // the run deletes itself when done
}

void RequestHandler::handleUnsubscribe(HTTPServerRequest& request, HTTPServerResponse& response)
{
	const std::string& sid = request.get(Transport::HDR_SID, Listener::EMPTY);
	if (sid.empty()) return sendResponse(response, HTTPResponse::HTTP_BAD_REQUEST);

	const std::string uri = "http://" + _listener.endPoint() + request.getURI();
	AutoPtr<Callweave::EventDispatcher> pDispatcher = Callweave::ORB::instance().findEventDispatcher(uri, Transport::PROTOCOL);
	if (!pDispatcher) return sendResponse(response, HTTPResponse::HTTP_INTERNAL_SERVER_ERROR);
	try
	{
		pDispatcher->unsubscribe(sid);
	}
	catch (const Exception& exc)
	{
		_logger.log(exc);
		return sendResponse(response, HTTPResponse::HTTP_PRECONDITION_FAILED);
	}
	sendResponse(response, HTTPResponse::HTTP_OK);
}

void RequestHandler::handleNotify(HTTPServerRequest& request, HTTPServerResponse& response)
{
	if (!request.has(Transport::HDR_SID)) return sendResponse(response, HTTPResponse::HTTP_PRECONDITION_FAILED);
	const std::string& sid = request.get(Transport::HDR_SID);
	AutoPtr<Callweave::EventSubscriber> pSubscriber = _listener.findSubscriber(sid);
	// The initial NOTIFY may overtake the response to our SUBSCRIBE.
	if (!pSubscriber) pSubscriber = _listener.awaitSubscriber(sid);
	if (!pSubscriber) return sendResponse(response, HTTPResponse::HTTP_PRECONDITION_FAILED);
	_listener.sequenceReceived(sid, request.get(Transport::HDR_SEQ, Listener::EMPTY));
	try
	{
		ServerTransport transport(request);
		// The deserializer presents the last property of the document first.
		while (transport.deserializer().hasProperties())
		{
			pSubscriber->invoke(transport, AutoPtr<Callweave::RemoteObject>());
			transport.deserializer().popProperty();
		}
	}
	catch (const Exception& exc)
	{
		_logger.log(exc);
		return sendResponse(response, HTTPResponse::HTTP_INTERNAL_SERVER_ERROR);
	}
	sendResponse(response, HTTPResponse::HTTP_OK);
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
