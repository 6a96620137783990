#include "Tavik/UPnP/GENA/SubscriptionRenewalThread.h"

#include "GENATexts.h"
#include "PublisherExchange.h"
#include "Tavik/Exception.h"
#include "Tavik/Format.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/Transport.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

SubscriptionRenewalThread::SubscriptionRenewalThread(Listener& listener,
                                                     AutoPtr<Callweave::EventSubscriber> pSubscriber,
                                                     const std::string& sid, int timeout, Action action)
    : _listener(listener), _pSubscriber(std::move(pSubscriber)), _sid(sid), _timeout(timeout),
      _action(action), _logger(Logger::get("UPnP.GENA.SubscriptionRenewalThread"))
{
	_listener.renewalStarted();
}

SubscriptionRenewalThread::~SubscriptionRenewalThread()
{
	// The last use of the listener: its destructor may proceed from here on.
	_listener.renewalFinished();
}

void SubscriptionRenewalThread::run()
{
	try
	{
		if (_action == Action::RENEW)
		{
			renew();
		}
		else
		{
			const std::string uri = logURI();
			if (_logger.warning()) _logger.warning(format(Texts::GAP_RESUBSCRIBING, uri, _sid));
			resubscribe(uri, Texts::GAP_CAUSE);
		}
	}
	catch (...)
	{
		// Not a Tavik::Exception, or thrown by an event delegate while a
		// failure was being reported: nothing more to report it with.
	}
	delete this;
}

std::string SubscriptionRenewalThread::logURI() const
{
	try
	{
		return URI(_pSubscriber->endpointURI()).getPathEtc();
	}
	catch (const Exception&)
	{
		return _pSubscriber->endpointURI();
	}
}

void SubscriptionRenewalThread::renew()
{
	const std::string& endpointURI = _pSubscriber->endpointURI();
	const std::string uri = logURI();
	try
	{
		const URI endpoint(endpointURI);
		Net::HTTPRequest request = PublisherExchange::request(Listener::SUBSCRIBE, endpoint);
		request.set(Transport::HDR_SID, _sid);
		request.set(Listener::HDR_TIMEOUT, format("%s%d", Listener::TIMEOUT_SECOND, _timeout));
		Net::HTTPResponse response;
		PublisherExchange::send(endpoint, request, response);

		const int status = response.getStatus();
		if (status == Net::HTTPResponse::HTTP_OK)
		{
			_listener.subscriptionRenewed.notify(&_listener, endpointURI);
		}
		else if (status == Net::HTTPResponse::HTTP_PRECONDITION_FAILED)
		{
			if (_logger.warning())
				_logger.warning(
				    format(Texts::RENEWAL_RESUBSCRIBING, uri, _sid, status, response.getReason()));
			resubscribe(uri, format(Texts::STATUS_CAUSE, status, response.getReason()));
		}
		else
		{
			if (_logger.error())
				_logger.error(format(Texts::RENEWAL_HTTP_ERROR, uri, _sid, status, response.getReason()));
			_listener.subscriptionRenewalFailed.notify(&_listener, endpointURI);
		}
	}
	catch (const Exception& exc)
	{
		if (_logger.error()) _logger.error(format(Texts::RENEWAL_ERROR, uri, _sid, exc.displayText()));
		_listener.subscriptionRenewalFailed.notify(&_listener, endpointURI);
	}
}

void SubscriptionRenewalThread::resubscribe(const std::string& uri, const std::string& cause)
{
	// The publisher has forgotten the SID (it restarted, or the subscription
	// expired), or events were lost: drop the old entry and its task, then
	// subscribe anew, which brings the whole state again.
	try
	{
		_listener.unsubscribeFromEvents(_pSubscriber);
		_listener.subscribeToEvents(_pSubscriber);
	}
	catch (const Exception& exc)
	{
		_logger.log(exc);
		reportLost(uri, cause);
	}
	catch (...)
	{
		reportLost(uri, cause);
	}
}

void SubscriptionRenewalThread::reportLost(const std::string& uri, const std::string& cause)
{
	if (_logger.error()) _logger.error(format(Texts::SUBSCRIPTION_LOST, uri, _sid, cause));
	_listener.subscriptionLost.notify(&_listener, _pSubscriber->endpointURI());
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
