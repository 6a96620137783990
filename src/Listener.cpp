#include "Tavik/UPnP/GENA/Listener.h"

#include "Tavik/Exception.h"
#include "Tavik/URI.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/UPnP/GENA/Transport.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

const std::string Listener::SUBSCRIBE = "SUBSCRIBE";
const std::string Listener::UNSUBSCRIBE = "UNSUBSCRIBE";
const std::string Listener::HDR_CALLBACK = "CALLBACK";
const std::string Listener::HDR_TIMEOUT = "TIMEOUT";
const std::string Listener::TIMEOUT_SECOND = "Second-";
const std::string Listener::TIMEOUT_INFINITE = "Second-infinite";
const std::string Listener::EMPTY;

namespace {

const int DEFAULT_EVENT_SUBSCRIPTION_TIMEOUT = 1800; // seconds

} // namespace

Listener::Listener(const std::string& endPoint, Util::Timer& timer):
	Callweave::EventListener(endPoint),
	_timer(timer),
	_eventSubscriptionTimeout(DEFAULT_EVENT_SUBSCRIPTION_TIMEOUT),
	_logger(Logger::get("UPnP.GENA.Listener"))
{
}

Listener::~Listener() = default;

void Listener::setEventSubscriptionTimeout(int seconds)
{
	_eventSubscriptionTimeout = seconds;
}

int Listener::getEventSubscriptionTimeout() const
{
	return _eventSubscriptionTimeout;
}

void Listener::setSettings(const Settings& settings)
{
	ScopedLock<FastMutex> lock(_mutex);
	_settings = settings;
}

Listener::Settings Listener::settings() const
{
	ScopedLock<FastMutex> lock(_mutex);
	return _settings;
}

std::string Listener::pathOf(const std::string& uri)
{
	return URI(uri).getPath();
}

StateProvider* Listener::findStateProvider(const std::string& uri)
{
	ScopedLock<FastMutex> lock(_mutex);
	auto it = _stateProviders.find(pathOf(uri));
	return it == _stateProviders.end() ? nullptr : it->second;
}

void Listener::registerStateProvider(const std::string& uri, StateProvider* pProvider)
{
	ScopedLock<FastMutex> lock(_mutex);
	_stateProviders[pathOf(uri)] = pProvider;
}

void Listener::unregisterStateProvider(const std::string& uri)
{
	ScopedLock<FastMutex> lock(_mutex);
	_stateProviders.erase(pathOf(uri));
}

AutoPtr<Callweave::EventSubscriber> Listener::findSubscriber(const std::string& sid)
{
	ScopedLock<FastMutex> lock(_mutex);
	auto it = _subscriptions.find(sid);
	return it == _subscriptions.end() ? AutoPtr<Callweave::EventSubscriber>() : it->second.pSubscriber;
}

void Listener::addSubscription(const std::string& sid, const Subscription& subscription)
{
	ScopedLock<FastMutex> lock(_mutex);
	_subscriptions[sid] = subscription;
}

void Listener::start()
{
}

void Listener::stop()
{
}

const std::string& Listener::protocol() const
{
	return Transport::PROTOCOL;
}

std::string Listener::createURI(const std::string& interfaceName, const std::string& objectName)
{
	return "http://" + endPoint() + "/" + protocol() + "/" + interfaceName + "/" + objectName;
}

bool Listener::handlesURI(const std::string&)
{
	return false;
}

void Listener::registerObject(AutoPtr<Callweave::RemoteObject>, AutoPtr<Callweave::Skeleton>)
{
}

void Listener::unregisterObject(AutoPtr<Callweave::RemoteObject>)
{
}

// ---- BEGIN subscription client (h8): subscribeToEvents / unsubscribeFromEvents ----

std::string Listener::subscribeToEvents(AutoPtr<Callweave::EventSubscriber>)
{
	throw IllegalStateException("not implemented");
}

void Listener::unsubscribeFromEvents(AutoPtr<Callweave::EventSubscriber>)
{
	throw IllegalStateException("not implemented");
}

// ---- END subscription client (h8) ----

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
