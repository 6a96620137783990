#ifndef Tavik_Callweave_EventDispatcherParams_INCLUDED
#define Tavik_Callweave_EventDispatcherParams_INCLUDED

#include "Tavik/Clock.h"
#include "Tavik/Timespan.h"

#include <cstddef>
#include <functional>

namespace Tavik {
namespace Callweave {

/// The limits of an EventDispatcher. The constructor of the dispatcher throws
/// InvalidArgumentException for values outside the ranges given here.
struct EventDispatcherParams
{
	/// The defaults of deliveryThreads, maxQueuedEvents and failureGrace (30 s).
	///@{
	static constexpr int DEFAULT_DELIVERY_THREADS = 4;
	static constexpr std::size_t DEFAULT_MAX_QUEUED_EVENTS = 64;
	static constexpr Timespan::TimeDiff DEFAULT_FAILURE_GRACE = 30 * Timespan::SECONDS;
	///@}

	/// The most threads the dispatcher delivers events on, at least 1. Threads
	/// are started when events wait and no thread is idle, and kept until the
	/// dispatcher stops. Each drives one subscriber at a time, so this many
	/// slow or unreachable subscribers (each blocking for its transport's
	/// timeout) are needed to delay the others.
	int deliveryThreads = DEFAULT_DELIVERY_THREADS;

	/// The most events that may wait for one subscriber, not counting the one
	/// being delivered; at least 1. A subscriber that holds this many when
	/// another event is fired is dropped: it gets no more events, and its next
	/// renewal is refused as unknown, so it has to subscribe anew.
	std::size_t maxQueuedEvents = DEFAULT_MAX_QUEUED_EVENTS;

	/// How long a subscriber's deliveries may keep failing, counted from the
	/// first failure after its last success; not negative. The first failure
	/// at or beyond it drops the subscriber, as for a full queue. 0 drops a
	/// subscriber at its first failure.
	Timespan failureGrace = Timespan(DEFAULT_FAILURE_GRACE);

	/// Where the dispatcher reads the current time, for expiries and the
	/// failure grace; empty for the system's monotonic clock (Clock()). Must
	/// be callable from any thread.
	std::function<Clock()> clock;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_EventDispatcherParams_INCLUDED
