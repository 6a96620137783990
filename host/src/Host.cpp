#include "Tavik/UPnP/Host/Host.h"

#include "Tavik/Callweave/ORB.h"
#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "Tavik/Net/HTTPRequestHandler.h"
#include "Tavik/Net/HTTPRequestHandlerFactory.h"
#include "Tavik/Net/HTTPServer.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/Net/HTTPServerResponse.h"
#include "Tavik/UPnP/GENA/RequestHandler.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/GENA/TransportFactory.h"
#include "Tavik/URI.h"

#include <algorithm>
#include <sstream>

namespace Tavik {
namespace UPnP {
namespace Host {

const std::string Host::DESCRIPTION_PATH = "/description.xml";
// A literal, not built from Transport::PROTOCOL: statics of other libraries
// may not be initialized yet.
const std::string Host::EVENT_PATH = "/upnp-eventing";

namespace {

const std::string SCPD_PATH = "/scpd/";
const std::string CONTROL_PATH = "/control/";

thread_local Host::Notification currentNotify;

// The GENA transport factory is process-wide; hosts share one registration.
std::mutex factoryMutex;
int factoryUsers = 0;

void acquireFactory()
{
	std::lock_guard<std::mutex> lock(factoryMutex);
	if (factoryUsers++ == 0) GENA::TransportFactory::registerFactory();
}

void releaseFactory()
{
	std::lock_guard<std::mutex> lock(factoryMutex);
	if (--factoryUsers == 0) GENA::TransportFactory::unregisterFactory();
}

std::string escapeXML(const std::string& text)
{
	std::string escaped;
	for (char c : text)
	{
		switch (c)
		{
		case '<':
			escaped += "&lt;";
			break;
		case '>':
			escaped += "&gt;";
			break;
		case '&':
			escaped += "&amp;";
			break;
		case '"':
			escaped += "&quot;";
			break;
		default:
			escaped += c;
		}
	}
	return escaped;
}

void element(std::ostream& xml, const std::string& indent, const std::string& name, const std::string& text)
{
	xml << indent << '<' << name << '>' << escapeXML(text) << "</" << name << ">\n";
}

std::string describe(const Host::Device& device)
{
	std::ostringstream xml;
	xml << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
	       "<root xmlns=\"urn:schemas-upnp-org:device-1-0\">\n"
	       "  <specVersion><major>1</major><minor>1</minor></specVersion>\n"
	       "  <device>\n";
	element(xml, "    ", "deviceType", device.deviceType);
	element(xml, "    ", "friendlyName", device.friendlyName);
	element(xml, "    ", "manufacturer", "Tavik");
	element(xml, "    ", "modelName", "libTavikUPnPGENA host");
	element(xml, "    ", "UDN", device.udn);
	xml << "    <serviceList>\n";
	for (const Host::Service& service : device.services)
	{
		xml << "      <service>\n";
		element(xml, "        ", "serviceType", service.serviceType);
		element(xml, "        ", "serviceId", service.serviceId);
		element(xml, "        ", "SCPDURL", SCPD_PATH + service.name + ".xml");
		// No SOAP control here; the URL is listed because the schema requires it.
		element(xml, "        ", "controlURL", CONTROL_PATH + service.name);
		element(xml, "        ", "eventSubURL", Host::EVENT_PATH + "/" + service.name);
		xml << "      </service>\n";
	}
	xml << "    </serviceList>\n  </device>\n</root>\n";
	return xml.str();
}

bool isEventPath(const std::string& path)
{
	return path.compare(0, Host::EVENT_PATH.size(), Host::EVENT_PATH) == 0 &&
	       (path.size() == Host::EVENT_PATH.size() || path[Host::EVENT_PATH.size()] == '/');
}

/// Makes a NOTIFY's SID and SEQ visible to the local subscribers it reaches
/// (see Host::currentNotification()) for as long as it is delivered.
class NotificationScope
{
public:
	explicit NotificationScope(const Host::Notification& notification) { currentNotify = notification; }
	~NotificationScope() { currentNotify = Host::Notification(); }
};

/// Answers GET and HEAD with one fixed XML document.
class DocumentHandler : public Net::HTTPRequestHandler
{
public:
	explicit DocumentHandler(const std::string& document) : _document(document) {}

	void handleRequest(Net::HTTPServerRequest& request, Net::HTTPServerResponse& response) override
	{
		if (request.getMethod() != Net::HTTPRequest::HTTP_GET &&
		    request.getMethod() != Net::HTTPRequest::HTTP_HEAD)
		{
			response.setStatusAndReason(Net::HTTPResponse::HTTP_METHOD_NOT_ALLOWED);
			response.send();
			return;
		}
		response.setStatusAndReason(Net::HTTPResponse::HTTP_OK);
		response.setContentType(GENA::Transport::CONTENT_TYPE);
		response.setContentLength(static_cast<std::int64_t>(_document.size()));
		std::ostream& body = response.send();
		if (request.getMethod() == Net::HTTPRequest::HTTP_GET) body << _document;
	}

private:
	const std::string& _document;
};

} // namespace

/// The GENA request handler, plus what a host wants to know: which NOTIFY a
/// local subscriber is handling, and which subscriptions were accepted.
class Host::EventHandler : public GENA::RequestHandler
{
public:
	explicit EventHandler(Host& host) : GENA::RequestHandler(*host._pListener), _host(host) {}

	void handleRequest(Net::HTTPServerRequest& request, Net::HTTPServerResponse& response) override
	{
		const std::string& method = request.getMethod();
		const std::string& sid = request.get(GENA::Transport::HDR_SID, GENA::Listener::EMPTY);
		if (method == GENA::Transport::NOTIFY)
		{
			const NotificationScope scope(
			    Notification{sid, request.get(GENA::Transport::HDR_SEQ, GENA::Listener::EMPTY)});
			GENA::RequestHandler::handleRequest(request, response);
			return;
		}
		GENA::RequestHandler::handleRequest(request, response);
		if (response.getStatus() != Net::HTTPResponse::HTTP_OK) return;
		const std::string path = URI(request.getURI()).getPath();
		if (method == GENA::Listener::SUBSCRIBE)
		{
			_host.notifySubscriptionChange(
			    SubscriptionChange{sid.empty() ? SubscriptionChange::SUBSCRIBED : SubscriptionChange::RENEWED,
			                       response.get(GENA::Transport::HDR_SID, GENA::Listener::EMPTY), path,
			                       response.get(GENA::Listener::HDR_TIMEOUT, GENA::Listener::EMPTY)});
		}
		else if (method == GENA::Listener::UNSUBSCRIBE)
		{
			_host.notifySubscriptionChange(
			    SubscriptionChange{SubscriptionChange::UNSUBSCRIBED, sid, path, ""});
		}
	}

private:
	Host& _host;
};

/// Picks the handler of each request by its path.
class Host::Router : public Net::HTTPRequestHandlerFactory
{
public:
	explicit Router(Host& host) : _host(host) {}

	Net::HTTPRequestHandler* createRequestHandler(const Net::HTTPServerRequest& request) override
	{
		const std::string path = URI(request.getURI()).getPath();
		if (isEventPath(path)) return new EventHandler(_host);
		auto document = _host._documents.find(path);
		if (document != _host._documents.end()) return new DocumentHandler(document->second);
		return nullptr;
	}

private:
	Host& _host;
};

Host::Host(const Params& params, const GENA::Listener::Settings& settings)
{
	_pServer.reset(
	    new Net::HTTPServer(std::make_shared<Router>(*this), params.address, params.port, params.server));
	const std::string& host = _pServer->address().host();
	// An IPv6 address goes into URLs in brackets.
	_endPoint = (host.find(':') == std::string::npos ? host : "[" + host + "]") + ":" +
	            std::to_string(_pServer->port());
	_pListener = new GENA::Listener(_endPoint, _timer);
	_pListener->setSettings(settings);
	acquireFactory();
	_factoryRegistered = true;
}

Host::~Host()
{
	shutdown();
}

void Host::setDevice(const Device& device)
{
	for (const Service& service : device.services)
	{
		const std::string eventURL = url(EVENT_PATH + "/" + service.name);
		Callweave::ORB::instance().registerEventDispatcher(eventURL, GENA::Transport::PROTOCOL,
		                                                   service.pDispatcher);
		_services.push_back(service);
		_pListener->registerStateProvider(eventURL, service.pStateProvider);
		_documents[SCPD_PATH + service.name + ".xml"] = service.scpd;
	}
	_documents[DESCRIPTION_PATH] = describe(device);
}

void Host::start()
{
	_pServer->start();
}

void Host::subscribe(AutoPtr<Callweave::EventSubscriber> pSubscriber)
{
	_pListener->subscribeToEvents(pSubscriber);
	std::lock_guard<std::mutex> lock(_mutex);
	_subscribers.push_back(pSubscriber);
}

void Host::unsubscribe(AutoPtr<Callweave::EventSubscriber> pSubscriber)
{
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_subscribers.erase(std::remove(_subscribers.begin(), _subscribers.end(), pSubscriber),
		                   _subscribers.end());
	}
	_pListener->unsubscribeFromEvents(pSubscriber);
}

bool Host::waitForInitialEvents(const Timespan& timeout)
{
	return _pListener->waitForInitialEvents(timeout);
}

void Host::shutdown()
{
	if (_shutDown) return;
	_shutDown = true;
	Logger& logger = Logger::get("UPnP.Host");

	// 1. Local subscribers first, so that no renewal task outlives the listener.
	std::vector<AutoPtr<Callweave::EventSubscriber>> subscribers;
	{
		std::lock_guard<std::mutex> lock(_mutex);
		subscribers.swap(_subscribers);
	}
	for (const auto& pSubscriber : subscribers)
	{
		try
		{
			_pListener->unsubscribeFromEvents(pSubscriber);
		}
		catch (const Exception& exc)
		{
			logger.log(exc);
		}
	}
	// 2. Stop routing; initial notifications already started still use the
	// listener and the dispatchers, so wait for them.
	_pServer->stop();
	waitForInitialEvents();
	// 3. Withdraw the services: nothing can reach their dispatchers now.
	for (const Service& service : _services)
	{
		const std::string eventURL = url(EVENT_PATH + "/" + service.name);
		try
		{
			Callweave::ORB::instance().unregisterEventDispatcher(eventURL, GENA::Transport::PROTOCOL);
		}
		catch (const Exception& exc)
		{
			logger.log(exc);
		}
		_pListener->unregisterStateProvider(eventURL);
		service.pDispatcher->stop();
	}
	_services.clear();
	// 4. The factory, then the listener (waits for renewals in flight).
	if (_factoryRegistered) releaseFactory();
	_factoryRegistered = false;
	_pListener.reset();
}

const std::string& Host::endPoint() const
{
	return _endPoint;
}

std::string Host::url(const std::string& path) const
{
	return "http://" + _endPoint + path;
}

std::string Host::descriptionURL() const
{
	return url(DESCRIPTION_PATH);
}

std::string Host::eventURL(const std::string& name) const
{
	return url(EVENT_PATH + "/" + name);
}

GENA::Listener& Host::listener()
{
	return *_pListener;
}

Host::Notification Host::currentNotification()
{
	return currentNotify;
}

void Host::notifySubscriptionChange(const SubscriptionChange& change)
{
	subscriptionChanged.notify(this, change);
}

} // namespace Host
} // namespace UPnP
} // namespace Tavik
