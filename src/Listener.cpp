#include "Tavik/UPnP/GENA/Listener.h"

#include "GENATexts.h"
#include "PublisherExchange.h"
#include "Tavik/Exception.h"
#include "Tavik/Format.h"
#include "Tavik/NumberParser.h"
#include "Tavik/String.h"
#include "Tavik/ThreadPool.h"
#include "Tavik/URI.h"
#include "Tavik/UPnP/GENA/StateProvider.h"
#include "Tavik/UPnP/GENA/SubscriptionRenewalTask.h"
#include "Tavik/UPnP/GENA/SubscriptionRenewalThread.h"
#include "Tavik/UPnP/GENA/Transport.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>

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
const std::size_t Listener::MAX_EARLY_NOTIFY_WAITS = 4;

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

namespace {

/// The granted seconds of a subscription response's TIMEOUT header: the
/// requested ones when it is empty, 0 for infinite. Throws IOException when it
/// is neither "Second-infinite" nor "Second-" and an integer (letter case
/// ignored).
int grantedTimeout(const std::string& header, int requested)
{
	if (header.empty()) return requested;
	int seconds = 0;
	if (!Listener::parseTimeout(header, seconds)) throw IOException(Texts::INVALID_TIMEOUT_HEADER);
	return seconds;
}

/// The renewal period of a grant of seconds (1 or more): 750 ms per second, so
/// that a subscription is renewed when 75 % of it has run. Computed in 64 bits
/// (750 * seconds overflows an int above 2,863,311 s) and clamped to
/// Util::Timer::MAX_DELAY (about 317 years), the longest period the timer
/// accepts; the largest int grant gives about 51 years, so the clamp only
/// guards against a smaller timer limit.
long renewalPeriod(int seconds)
{
	return static_cast<long>(std::min<std::int64_t>(std::int64_t(750) * seconds, Util::Timer::MAX_DELAY));
}

} // namespace

bool Listener::parseTimeout(const std::string& value, int& seconds)
{
	// "Second-" is a prefix of "Second-infinite": the infinite form goes first.
	if (icompare(value, TIMEOUT_INFINITE) == 0)
	{
		seconds = 0;
		return true;
	}
	const std::string::size_type prefix = TIMEOUT_SECOND.size();
	return value.size() >= prefix && icompare(value, 0, prefix, TIMEOUT_SECOND) == 0 &&
	       NumberParser::tryParse(value.substr(prefix), seconds, ',');
}

Listener::~Listener()
{
	{
		ScopedLock<FastMutex> lock(_mutex);
		// A worker still in flight may re-subscribe: keep it from scheduling.
		_closing = true;
		for (auto& entry : _subscriptions)
		{
			if (entry.second.pRenewalTask) entry.second.pRenewalTask->cancel();
		}
	}
	std::unique_lock<std::mutex> lock(_workMutex);
	_workFinished.wait(lock, [this] { return _renewalsInFlight == 0 && _initialEvents.empty(); });
}

void Listener::renewalStarted()
{
	std::lock_guard<std::mutex> lock(_workMutex);
	++_renewalsInFlight;
}

void Listener::renewalFinished()
{
	std::lock_guard<std::mutex> lock(_workMutex);
	--_renewalsInFlight;
	// Notified under the lock: once the destructor sees nothing in flight,
	// this call has no further use of the condition variable.
	_workFinished.notify_all();
}

void Listener::initialEventStarted(const Callweave::EventDispatcher* pDispatcher)
{
	std::lock_guard<std::mutex> lock(_workMutex);
	++_initialEvents[pDispatcher];
}

void Listener::initialEventFinished(const Callweave::EventDispatcher* pDispatcher)
{
	std::lock_guard<std::mutex> lock(_workMutex);
	const auto it = _initialEvents.find(pDispatcher);
	if (--it->second == 0) _initialEvents.erase(it);
	_workFinished.notify_all(); // under the lock, as in renewalFinished()
}

std::size_t Listener::pendingInitialEvents(const Callweave::EventDispatcher& dispatcher)
{
	std::lock_guard<std::mutex> lock(_workMutex);
	const auto it = _initialEvents.find(&dispatcher);
	return it == _initialEvents.end() ? 0 : it->second;
}

bool Listener::waitForInitialEvents(const Timespan& timeout)
{
	std::unique_lock<std::mutex> lock(_workMutex);
	return _workFinished.wait_for(lock, std::chrono::microseconds(timeout.totalMicroseconds()),
	                              [this] { return _initialEvents.empty(); });
}

void Listener::subscribeStarted()
{
	std::lock_guard<std::mutex> lock(_subscribeMutex);
	++_subscribesInFlight;
}

void Listener::subscribeFinished()
{
	std::lock_guard<std::mutex> lock(_subscribeMutex);
	--_subscribesInFlight;
	// Wakes the NOTIFY requests waiting for a SID: this request has stored
	// its SID by now, or failed.
	_subscribeFinished.notify_all();
}

AutoPtr<Callweave::EventSubscriber> Listener::awaitSubscriber(const std::string& sid)
{
	const Timespan grace = settings().earlyNotifyGrace;
	if (grace <= Timespan()) return nullptr;
	const auto deadline = std::chrono::steady_clock::now() + std::chrono::microseconds(grace.totalMicroseconds());
	std::unique_lock<std::mutex> lock(_subscribeMutex);
	// Looks once more: the SID may have been stored since the caller looked.
	if (_subscribesInFlight == 0 || _earlyNotifyWaits >= MAX_EARLY_NOTIFY_WAITS) return findSubscriber(sid);
	++_earlyNotifyWaits;
	if (_logger.debug())
	{
		lock.unlock();
		_logger.debug(format(Texts::EARLY_NOTIFY_WAITING, sid));
		lock.lock();
	}
	AutoPtr<Callweave::EventSubscriber> pSubscriber;
	// A subscription request stores its SID before it stops counting as in
	// flight, so the last check after the wake-up sees it.
	_subscribeFinished.wait_until(lock, deadline, [&] {
		pSubscriber = findSubscriber(sid);
		return pSubscriber || _subscribesInFlight == 0;
	});
	--_earlyNotifyWaits;
	return pSubscriber;
}

namespace {

/// Whether a SEQ lies ahead of the expected one, or behind it (a duplicate or
/// an older one): serial number arithmetic, half the number space each way.
bool isAhead(std::uint32_t received, std::uint32_t expected)
{
	return static_cast<std::uint32_t>(received - expected) < (std::uint32_t(1) << 31);
}

} // namespace

void Listener::sequenceReceived(const std::string& sid, const std::string& seq)
{
	unsigned received = 0;
	if (!NumberParser::tryParseUnsigned(seq, received)) return;
	SequenceGap gap;
	AutoPtr<Callweave::EventSubscriber> pResubscribe;
	{
		ScopedLock<FastMutex> lock(_mutex);
		auto it = _subscriptions.find(sid);
		if (!_settings.trackSequence || it == _subscriptions.end()) return;
		auto inserted = _sequences.emplace(sid, Sequence());
		Sequence& sequence = inserted.first->second;
		// A subscription starts with its initial NOTIFY, SEQ 0; after 4294967295 comes 1.
		const std::uint32_t expected = inserted.second ? 0
			: sequence.last == std::numeric_limits<std::uint32_t>::max() ? 1 : sequence.last + 1;
		if (received == 0 || received == expected)
		{
			sequence.last = received;
			return;
		}
		// Before the first NOTIFY every SEQ lies ahead.
		if (!inserted.second && !isAhead(received, expected)) return;
		sequence.last = received;
		gap = SequenceGap{sid, it->second.pSubscriber->endpointURI(), expected, received};
		if (_settings.resubscribeOnGap && !sequence.resubscribing && !_closing)
		{
			sequence.resubscribing = true;
			pResubscribe = it->second.pSubscriber;
		}
	}
	try
	{
		sequenceGap.notify(this, gap);
	}
	catch (const Exception& exc)
	{
		_logger.log(exc);
	}
	if (!pResubscribe) return;
	// Off the server's thread: the re-subscription waits on the publisher,
	// whose initial NOTIFY may come back to this very server.
	std::unique_ptr<SubscriptionRenewalThread> pThread(new SubscriptionRenewalThread(*this, pResubscribe, sid, 0,
		SubscriptionRenewalThread::Action::RESUBSCRIBE));
	try
	{
		ThreadPool::defaultPool().start(*pThread);
		pThread.release(); // the run deletes itself when done
	}
	catch (const Exception& exc)
	{
		// The pool refused it: logged, and the next gap may try again.
		_logger.log(exc);
		ScopedLock<FastMutex> lock(_mutex);
		auto it = _sequences.find(sid);
		if (it != _sequences.end()) it->second.resubscribing = false;
	}
}

std::string Listener::subscribeToEvents(AutoPtr<Callweave::EventSubscriber> pSubscriber)
{
	if (!pSubscriber) throw NullPointerException();

	struct InFlight
	{
		explicit InFlight(Listener& listener) : listener(listener) { listener.subscribeStarted(); }
		~InFlight() { listener.subscribeFinished(); }
		Listener& listener;
	} inFlight(*this);

	const URI endpoint(pSubscriber->endpointURI());
	const int requested = _eventSubscriptionTimeout;
	Net::HTTPRequest request = PublisherExchange::request(SUBSCRIBE, endpoint);
	request.set(HDR_CALLBACK, "<http://" + endPoint() + "/" + protocol() + ">");
	request.set(HDR_TIMEOUT, requested > 0 ? format("%s%d", TIMEOUT_SECOND, requested) : TIMEOUT_INFINITE);
	request.set(Transport::HDR_NT, Transport::UPNP_EVENT);
	Net::HTTPResponse response;
	PublisherExchange::send(endpoint, request, response);

	if (response.getStatus() != Net::HTTPResponse::HTTP_OK)
		throw IOException(Texts::SUBSCRIBE_HTTP_ERROR, response.getReason(), response.getStatus());
	if (!response.has(Transport::HDR_SID)) throw IOException(Texts::MISSING_SID_HEADER);
	const std::string sid = response.get(Transport::HDR_SID);
	const int timeout = grantedTimeout(response.get(HDR_TIMEOUT, EMPTY), requested);

	ScopedLock<FastMutex> lock(_mutex);
	if (_subscriptions.count(sid) != 0) throw ExistsException(Texts::SUBSCRIPTION_EXISTS, sid);
	Subscription subscription{pSubscriber, nullptr};
	if (timeout >= 1 && !_closing)
	{
		AutoPtr<Util::TimerTask> pTask(new SubscriptionRenewalTask(*this, pSubscriber, sid, timeout));
		const long period = renewalPeriod(timeout);
		_timer.schedule(pTask, period, period);
		subscription.pRenewalTask = pTask;
	}
	_subscriptions.emplace(sid, subscription);
	return EMPTY;
}

void Listener::unsubscribeFromEvents(AutoPtr<Callweave::EventSubscriber> pSubscriber)
{
	std::string sid;
	{
		ScopedLock<FastMutex> lock(_mutex);
		// Keyed by SID: the subscriber's entries are found by a walk, and the
		// one with the smallest SID goes first.
		auto it = std::find_if(_subscriptions.begin(), _subscriptions.end(),
		                       [&](const auto& entry) { return entry.second.pSubscriber == pSubscriber; });
		if (it != _subscriptions.end())
		{
			sid = it->first;
			if (it->second.pRenewalTask) it->second.pRenewalTask->cancel();
			_sequences.erase(sid);
			_subscriptions.erase(it);
		}
	}
	// A null subscriber never matches a stored entry, so it ends here as well.
	if (sid.empty()) throw NotFoundException(Texts::UNKNOWN_SUBSCRIBER);

	const URI endpoint(pSubscriber->endpointURI());
	Net::HTTPRequest request = PublisherExchange::request(UNSUBSCRIBE, endpoint);
	request.set(Transport::HDR_SID, sid);
	Net::HTTPResponse response;
	PublisherExchange::send(endpoint, request, response);
	if (response.getStatus() != Net::HTTPResponse::HTTP_OK && _logger.warning())
	{
		_logger.warning(format(Texts::UNSUBSCRIBE_FAILED, sid, static_cast<int>(response.getStatus()),
		                       response.getReason()));
	}
}

// ---- END subscription client (h8) ----

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
