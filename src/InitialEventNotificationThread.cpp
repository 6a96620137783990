#include "Tavik/UPnP/GENA/InitialEventNotificationThread.h"

#include "GENATexts.h"
#include "Tavik/Exception.h"
#include "Tavik/Format.h"
#include "Tavik/Logger.h"
#include "Tavik/Net/HTTPClientSession.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Thread.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/Serializer.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/URI.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

namespace {

// The initial event is the only message with SEQ 0; regular events start at 1.
const std::string INITIAL_SEQUENCE = "0";

} // namespace

InitialEventNotificationThread::InitialEventNotificationThread(
    Listener& listener, AutoPtr<Callweave::EventDispatcher> pEventDispatcher, const std::string& callbackURL,
    const std::string& sid, const std::string& requestURI, const Clock& expiry)
    : _listener(listener), _pEventDispatcher(std::move(pEventDispatcher)), _callbackURL(callbackURL),
      _sid(sid), _requestURI(requestURI), _expiry(expiry),
      _logger(Logger::get("UPnP.GENA.InitialEventNotificationTask"))
{
	_listener.initialEventStarted(_pEventDispatcher.get());
}

InitialEventNotificationThread::~InitialEventNotificationThread()
{
	_listener.initialEventFinished(_pEventDispatcher.get());
}

void InitialEventNotificationThread::run()
{
	Thread::sleep(DELAY_MILLISECONDS);
	try
	{
		StateProvider* pProvider =
		    _listener.findStateProvider("http://" + _listener.endPoint() + _requestURI);
		if (pProvider)
		{
			const std::vector<std::pair<std::string, std::string>> state = pProvider->currentState();
			if (!state.empty()) sendInitialEvent(state);
		}
		registerSubscriber();
	}
	catch (const Exception& exc)
	{
		_logger.log(exc);
	}
	catch (...)
	{
		// Nothing may escape to the thread pool, and a foreign exception
		// carries nothing worth logging.
	}
	delete this;
}

void InitialEventNotificationThread::sendInitialEvent(
    const std::vector<std::pair<std::string, std::string>>& state)
{
	const URI uri(_callbackURL);
	Net::HTTPClientSession session(uri.getHost(), uri.getPort());
	Net::HTTPRequest request;
	Transport::prepareNotify(request, uri.getPathEtc(), INITIAL_SEQUENCE, _sid);

	Serializer serializer;
	serializer.setup(session.sendRequest(request));
	serializer.serializeMessageBegin(Listener::EMPTY, Callweave::SerializerBase::MESSAGE_EVENT);
	for (const auto& variable : state)
	{
		serializer.serialize(variable.first, variable.second);
	}
	serializer.serializeMessageEnd(Listener::EMPTY, Callweave::SerializerBase::MESSAGE_EVENT);

	Net::HTTPResponse response;
	session.receiveResponse(response);
	if (response.getStatus() != Net::HTTPResponse::HTTP_OK)
	{
		if (_logger.error())
		{
			_logger.log(Message::PRIO_ERROR,
			            format(Texts::INITIAL_EVENT_HTTP_ERROR, _callbackURL,
			                   static_cast<int>(response.getStatus()), response.getReason()));
		}
		throw IOException(Texts::INITIAL_EVENT_FAILED);
	}
}

void InitialEventNotificationThread::registerSubscriber()
{
	if (!_pEventDispatcher) throw NullPointerException();
	_pEventDispatcher->subscribe(_sid, _callbackURL, _expiry);
	AutoPtr<Callweave::Transport> pTransport;
	{
		ScopedLock<FastMutex> lock(_pEventDispatcher->mutex());
		pTransport = _pEventDispatcher->transportForSubscriber(_sid);
	}
	// Outside the dispatcher's lock: the attribute store locks on its own.
	pTransport->setAttribute(Transport::HDR_SID, _sid);
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
