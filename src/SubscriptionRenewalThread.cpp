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
                                                     const std::string& sid, int timeout)
    : _listener(listener), _pSubscriber(std::move(pSubscriber)), _sid(sid), _timeout(timeout),
      _logger(Logger::get("UPnP.GENA.SubscriptionRenewalThread"))
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
		renew();
	}
	catch (...)
	{
		// Not a Tavik::Exception, or thrown by an event delegate while a
		// failure was being reported: nothing more to report it with.
	}
	delete this;
}

void SubscriptionRenewalThread::renew()
{
	const std::string& endpointURI = _pSubscriber->endpointURI();
	// The log lines name the endpoint by its path, query and fragment; an
	// endpoint that does not parse is named as it is.
	std::string uri = endpointURI;
	try
	{
		const URI endpoint(endpointURI);
		uri = endpoint.getPathEtc();
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
			resubscribe(uri, status, response.getReason());
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

void SubscriptionRenewalThread::resubscribe(const std::string& uri, int status, const std::string& reason)
{
	// The publisher has forgotten the SID (it restarted, or the subscription
	// expired): drop the old entry and its task, then subscribe anew.
	if (_logger.warning()) _logger.warning(format(Texts::RENEWAL_RESUBSCRIBING, uri, _sid, status, reason));
	try
	{
		_listener.unsubscribeFromEvents(_pSubscriber);
		_listener.subscribeToEvents(_pSubscriber);
	}
	catch (const Exception& exc)
	{
		_logger.log(exc);
		reportLost(uri, status, reason);
	}
	catch (...)
	{
		reportLost(uri, status, reason);
	}
}

void SubscriptionRenewalThread::reportLost(const std::string& uri, int status, const std::string& reason)
{
	if (_logger.error()) _logger.error(format(Texts::SUBSCRIPTION_LOST, uri, _sid, status, reason));
	_listener.subscriptionLost.notify(&_listener, _pSubscriber->endpointURI());
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
