#include "Tavik/Callweave/EventDispatcher.h"

#include "CallweaveTexts.h"

#include "Tavik/Callweave/Serializer.h"
#include "Tavik/Callweave/TransportFactoryManager.h"
#include "Tavik/Exception.h"
#include "Tavik/Format.h"
#include "Tavik/Logger.h"

#include <algorithm>
#include <exception>
#include <list>
#include <system_error>
#include <utility>

namespace Tavik {
namespace Callweave {

namespace {

// A dispatcher addresses its subscribers through transports connected to their
// end points; it names no object or interface to them.
const std::string NO_NAME;

/// Runs action; the display text of what it throws, or empty when it returns.
template <class Action> std::string errorOf(Action&& action)
{
	try
	{
		action();
		return std::string();
	}
	catch (const Exception& exc)
	{
		return exc.displayText();
	}
	catch (const std::exception& exc)
	{
		const std::string text(exc.what());
		return text.empty() ? Texts::UNKNOWN_EXCEPTION : text;
	}
	catch (...)
	{
		return Texts::UNKNOWN_EXCEPTION;
	}
}

const EventDispatcherParams& checked(const EventDispatcherParams& params)
{
	if (params.deliveryThreads < 1) throw InvalidArgumentException(Texts::INVALID_DELIVERY_THREADS);
	if (params.maxQueuedEvents < 1) throw InvalidArgumentException(Texts::INVALID_MAX_QUEUED_EVENTS);
	if (params.failureGrace < Timespan()) throw InvalidArgumentException(Texts::INVALID_FAILURE_GRACE);
	return params;
}

bool isExpired(Clock expiry, Clock now)
{
	return expiry.raw() != 0 && now >= expiry;
}

} // namespace

struct EventDispatcher::Event
{
	std::string name;
	EventWriter writer; // empty for an event without arguments
};

struct EventDispatcher::Subscriber
{
	Subscriber(const std::string& aSid, const std::string& anEndPoint, Clock anExpiry,
	           AutoPtr<Transport> aTransport)
	    : sid(aSid), endPoint(anEndPoint), pTransport(std::move(aTransport)), expiry(anExpiry)
	{}

	// Set at construction; read without the lock.
	const std::string sid;
	const std::string endPoint;
	const AutoPtr<Transport> pTransport;

	// Guarded by the dispatcher's mutex.
	Clock expiry;
	std::list<EventPtr> queue; // a list, so that an idle subscriber costs no buffer
	bool scheduled = false;    // in _ready, or a delivery thread is driving it
	bool removed = false;
	bool failing = false;  // the last delivery failed
	Clock firstFailure{0}; // the first failure since the last success
};

EventDispatcher::EventDispatcher(const std::string& protocol, const EventDispatcherParams& params)
    : _protocol(protocol), _params(checked(params)), _logger(Logger::get("Tavik.Callweave.EventDispatcher"))
{}

EventDispatcher::~EventDispatcher()
{
	// A delivery thread cannot join itself: releasing the last reference from
	// a delegate is a misuse that ends here in std::terminate.
	stop();
}

void EventDispatcher::subscribe(const std::string& sid, const std::string& endPoint, Clock expiry)
{
	Subscribers removed;
	const Clock current = now();
	{
		ScopedLock<FastMutex> lock(_mutex);
		if (_stopped) throw IllegalStateException(Texts::DISPATCHER_STOPPED);
		sweepExpiredLocked(current, removed);
		const auto it = _subscribers.find(sid);
		if (it != _subscribers.end())
		{
			if (!isExpired(it->second->expiry, current))
			{
				it->second->expiry = expiry;
				return;
			}
			// Gone already, though the sweep has not come by yet.
			removeLocked(it->second, removed);
		}
	}
	if (endPoint.empty()) throw NotFoundException(Texts::UNKNOWN_SUBSCRIBER, sid);

	// The factory and connect() are the protocol's code: run them unlocked.
	AutoPtr<Transport> pTransport = TransportFactoryManager::instance().createTransport(_protocol);
	pTransport->connect(endPoint);
	SubscriberPtr pSubscriber = std::make_shared<Subscriber>(sid, endPoint, expiry, pTransport);

	ScopedLock<FastMutex> lock(_mutex);
	if (_stopped) throw IllegalStateException(Texts::DISPATCHER_STOPPED);
	const auto inserted = _subscribers.emplace(sid, pSubscriber);
	// Another thread may have added the same subscriber meanwhile; it keeps its
	// transport, and ours is released after the lock.
	if (!inserted.second) inserted.first->second->expiry = expiry;
}

void EventDispatcher::unsubscribe(const std::string& sid)
{
	Subscribers removed;
	ScopedLock<FastMutex> lock(_mutex);
	const auto it = _subscribers.find(sid);
	if (it == _subscribers.end()) throw NotFoundException(Texts::UNKNOWN_SUBSCRIBER, sid);
	removeLocked(it->second, removed);
}

AutoPtr<Transport> EventDispatcher::transportForSubscriber(const std::string& sid)
{
	const auto it = _subscribers.find(sid);
	if (it == _subscribers.end()) throw NotFoundException(Texts::UNKNOWN_SUBSCRIBER, sid);
	return it->second->pTransport;
}

std::size_t EventDispatcher::subscriberCount() const
{
	const Clock current = now();
	ScopedLock<FastMutex> lock(_mutex);
	return std::size_t(std::count_if(_subscribers.begin(), _subscribers.end(), [&](const auto& entry) {
		return !isExpired(entry.second->expiry, current);
	}));
}

void EventDispatcher::fireEvent(const std::string& eventName, EventWriter writer)
{
	const EventPtr pEvent = std::make_shared<const Event>(Event{eventName, std::move(writer)});
	const Clock current = now();
	Subscribers removed;
	std::vector<SubscriberDrop> drops;
	std::string threadError;
	{
		ScopedLock<FastMutex> lock(_mutex);
		if (_stopped) return;
		Subscribers expired;
		Subscribers full;
		for (const auto& entry : _subscribers)
		{
			Subscriber& subscriber = *entry.second;
			if (isExpired(subscriber.expiry, current))
			{
				expired.push_back(entry.second);
				continue;
			}
			if (subscriber.queue.size() >= _params.maxQueuedEvents)
			{
				full.push_back(entry.second);
				continue;
			}
			subscriber.queue.push_back(pEvent);
			if (!subscriber.scheduled)
			{
				subscriber.scheduled = true;
				_ready.push_back(entry.second);
			}
		}
		for (const SubscriberPtr& pSubscriber : expired)
			removeLocked(pSubscriber, removed);
		for (const SubscriberPtr& pSubscriber : full)
			dropLocked(pSubscriber, DROP_QUEUE_FULL, removed, drops);
		threadError = startThreadsLocked();
	}
	if (!threadError.empty()) _logger.error(format(Texts::LOG_THREAD_FAILED, threadError));
	reportDrops(drops);
}

void EventDispatcher::stop()
{
	if (isDeliveryThread()) throw IllegalStateException(Texts::STOP_FROM_DELIVERY_THREAD);
	std::map<std::string, SubscriberPtr> subscribers;
	std::deque<SubscriberPtr> ready;
	std::vector<std::thread> threads;
	{
		ScopedLock<FastMutex> lock(_mutex);
		_stopped = true;
		for (const auto& entry : _subscribers)
			entry.second->removed = true;
		subscribers.swap(_subscribers);
		ready.swap(_ready);
		threads.swap(_threads);
		_deliveryWaiting.notify_all();
	}
	for (std::thread& thread : threads)
		thread.join();
}

const std::string& EventDispatcher::protocol() const
{
	return _protocol;
}

FastMutex& EventDispatcher::mutex()
{
	return _mutex;
}

bool EventDispatcher::nextDelivery(SubscriberPtr& pSubscriber, EventPtr& pEvent)
{
	std::unique_lock<FastMutex> lock(_mutex);
	while (!_stopped && _ready.empty())
	{
		++_idleThreads;
		_deliveryWaiting.wait(lock);
		--_idleThreads;
	}
	if (_stopped) return false;
	// Subscribers in _ready are never removed and always have an event queued.
	pSubscriber = _ready.front();
	_ready.pop_front();
	pEvent = pSubscriber->queue.front();
	pSubscriber->queue.pop_front();
	return true;
}

void EventDispatcher::runDeliveries()
{
	SubscriberPtr pSubscriber;
	EventPtr pEvent;
	while (nextDelivery(pSubscriber, pEvent))
	{
		Transport& transport = *pSubscriber->pTransport;
		const std::string& name = pEvent->name;
		std::string error = errorOf([&] {
			Serializer& serializer =
			    transport.beginMessage(NO_NAME, NO_NAME, name, SerializerBase::MESSAGE_EVENT);
			serializer.serializeMessageBegin(name, SerializerBase::MESSAGE_EVENT);
			if (pEvent->writer) pEvent->writer(serializer);
			serializer.serializeMessageEnd(name, SerializerBase::MESSAGE_EVENT);
			transport.sendMessage(NO_NAME, NO_NAME, name, SerializerBase::MESSAGE_EVENT);
		});
		const std::string endError = errorOf([&] { transport.endRequest(); });
		if (error.empty()) error = endError;

		std::vector<SubscriberDrop> drops;
		finishDelivery(pSubscriber, error, drops);
		if (!error.empty())
			reportFailure(DeliveryFailure{pSubscriber->sid, pSubscriber->endPoint, name, error});
		reportDrops(drops);
		// Released here, unlocked: the last reference may destroy the transport.
		pSubscriber.reset();
		pEvent.reset();
	}
}

void EventDispatcher::finishDelivery(const SubscriberPtr& pSubscriber, const std::string& error,
                                     std::vector<SubscriberDrop>& drops)
{
	const Clock current = now();
	Subscribers removed;
	ScopedLock<FastMutex> lock(_mutex);
	Subscriber& subscriber = *pSubscriber;
	if (error.empty())
	{
		subscriber.failing = false;
	}
	else
	{
		if (!subscriber.failing)
		{
			subscriber.failing = true;
			subscriber.firstFailure = current;
		}
		if (!subscriber.removed &&
		    current - subscriber.firstFailure >= _params.failureGrace.totalMicroseconds())
			dropLocked(pSubscriber, DROP_DELIVERY_FAILING, removed, drops);
	}
	if (subscriber.removed || subscriber.queue.empty())
		subscriber.scheduled = false;
	else
		_ready.push_back(pSubscriber); // behind the others, so that every subscriber gets its turn
}

void EventDispatcher::removeLocked(const SubscriberPtr& pSubscriber, Subscribers& removed)
{
	// Kept first: pSubscriber may refer to the map entry erased below.
	removed.push_back(pSubscriber);
	Subscriber& subscriber = *removed.back();
	subscriber.removed = true;
	const auto it = std::find(_ready.begin(), _ready.end(), removed.back());
	if (it != _ready.end()) _ready.erase(it);
	_subscribers.erase(subscriber.sid);
}

void EventDispatcher::sweepExpiredLocked(Clock now, Subscribers& removed)
{
	// A sweep visits every subscriber: once a second at most, so that a burst
	// of new subscriptions stays linear in their number.
	if (now < _nextSweep) return;
	_nextSweep = now + SWEEP_INTERVAL_MICROSECONDS;
	Subscribers expired;
	for (const auto& entry : _subscribers)
	{
		if (isExpired(entry.second->expiry, now)) expired.push_back(entry.second);
	}
	for (const SubscriberPtr& pSubscriber : expired)
		removeLocked(pSubscriber, removed);
}

void EventDispatcher::dropLocked(const SubscriberPtr& pSubscriber, DropReason reason, Subscribers& removed,
                                 std::vector<SubscriberDrop>& drops)
{
	removeLocked(pSubscriber, removed);
	drops.push_back(
	    SubscriberDrop{pSubscriber->sid, pSubscriber->endPoint, reason,
	                   reason == DROP_QUEUE_FULL ? Texts::DROP_QUEUE_FULL : Texts::DROP_DELIVERY_FAILING});
}

std::string EventDispatcher::startThreadsLocked()
{
	std::size_t started = 0;
	while (_ready.size() > std::size_t(_idleThreads) + started &&
	       _threads.size() < std::size_t(_params.deliveryThreads))
	{
		try
		{
			_threads.emplace_back(&EventDispatcher::runDeliveries, this);
			++started;
		}
		catch (const std::system_error& exc)
		{
			// The events stay queued for the threads that exist, or for the
			// next fireEvent(), which tries again.
			return exc.what();
		}
	}
	if (_idleThreads > 0 && !_ready.empty()) _deliveryWaiting.notify_all();
	return std::string();
}

bool EventDispatcher::isDeliveryThread()
{
	const std::thread::id self = std::this_thread::get_id();
	ScopedLock<FastMutex> lock(_mutex);
	return std::any_of(_threads.begin(), _threads.end(),
	                   [&](const std::thread& thread) { return thread.get_id() == self; });
}

void EventDispatcher::reportDrops(const std::vector<SubscriberDrop>& drops)
{
	for (const SubscriberDrop& drop : drops)
	{
		if (_logger.warning())
			_logger.warning(format(Texts::LOG_SUBSCRIBER_DROPPED, drop.sid, drop.endPoint, drop.message));
		reportDelegateError(errorOf([&] { subscriberDropped.notify(this, drop); }));
	}
}

void EventDispatcher::reportFailure(const DeliveryFailure& failure)
{
	if (_logger.notice())
	{
		_logger.notice(format(Texts::LOG_DELIVERY_FAILED, failure.eventName, failure.sid, failure.endPoint,
		                      failure.error));
	}
	reportDelegateError(errorOf([&] { deliveryFailed.notify(this, failure); }));
}

void EventDispatcher::reportDelegateError(const std::string& error)
{
	if (!error.empty()) _logger.error(format(Texts::LOG_DELEGATE_FAILED, error));
}

Clock EventDispatcher::now() const
{
	return _params.clock ? _params.clock() : Clock();
}

} // namespace Callweave
} // namespace Tavik
