#ifndef Tavik_Callweave_CallweaveTexts_INCLUDED
#define Tavik_Callweave_CallweaveTexts_INCLUDED

// Every exception message and log text of the Callweave library, in one place.

namespace Tavik {
namespace Callweave {
namespace Texts {

// TransportFactoryManager
constexpr const char* FACTORY_EXISTS = "Transport factory already registered";
constexpr const char* FACTORY_NOT_FOUND = "No transport factory registered";
constexpr const char* FACTORY_NULL = "Transport factory is null";
constexpr const char* FACTORY_MADE_NO_TRANSPORT = "Transport factory created no transport";

// ORB
constexpr const char* DISPATCHER_EXISTS = "Event dispatcher already registered";
constexpr const char* DISPATCHER_NOT_FOUND = "No event dispatcher registered";
constexpr const char* DISPATCHER_NULL = "Event dispatcher is null";

// EventDispatcher
constexpr const char* UNKNOWN_SUBSCRIBER = "Unknown subscriber";
constexpr const char* DISPATCHER_STOPPED = "Event dispatcher stopped";
constexpr const char* STOP_FROM_DELIVERY_THREAD = "Event dispatcher stopped from its own delivery thread";
constexpr const char* INVALID_DELIVERY_THREADS = "Delivery threads must be at least 1";
constexpr const char* INVALID_MAX_QUEUED_EVENTS = "Maximum queued events must be at least 1";
constexpr const char* INVALID_FAILURE_GRACE = "Failure grace must not be negative";
constexpr const char* DROP_QUEUE_FULL = "event queue full";
constexpr const char* DROP_DELIVERY_FAILING = "deliveries failing";
constexpr const char* LOG_SUBSCRIBER_DROPPED = "Dropped subscriber %s at %s: %s";
constexpr const char* LOG_DELIVERY_FAILED = "Event %s to subscriber %s at %s failed: %s";
constexpr const char* LOG_DELEGATE_FAILED = "Event dispatcher delegate failed: %s";
constexpr const char* LOG_THREAD_FAILED = "Cannot start an event delivery thread: %s";
constexpr const char* UNKNOWN_EXCEPTION = "unknown exception";

// EventSubscriber
constexpr const char* NOT_AN_EVENT = "Not an event message";

} // namespace Texts
} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_CallweaveTexts_INCLUDED
