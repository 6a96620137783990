#ifndef Tavik_UPnP_GENA_GENATexts_INCLUDED
#define Tavik_UPnP_GENA_GENATexts_INCLUDED

// The exact texts of the GENA library's exceptions and log messages, each
// written once here and pinned by a test.

namespace Tavik {
namespace UPnP {
namespace GENA {
namespace Texts {

// Transport: a two-way event answered with a status other than 200 (the
// argument is the reason phrase).
constexpr const char* HTTP_ERROR = "HTTP Error";

// InitialEventNotificationThread: the error logged when the subscriber answers
// the initial NOTIFY with a status other than 200 (callback URL, status,
// reason phrase), and the message of the IOException that follows it.
constexpr const char* INITIAL_EVENT_HTTP_ERROR =
	"HTTP error while sending initial event message to %s; HTTP status: %d %s";
constexpr const char* INITIAL_EVENT_FAILED = "initial event message failed";

// Listener::subscribeToEvents: the failed response checks, in the order they
// are made (status, with the reason phrase as argument and the status as code;
// SID; TIMEOUT; a SID already in the table, with the SID as argument).
constexpr const char* SUBSCRIBE_HTTP_ERROR = "HTTP error";
constexpr const char* MISSING_SID_HEADER = "Missing SID header in subscription response";
constexpr const char* INVALID_TIMEOUT_HEADER = "Invalid TIMEOUT header in subscription response";
constexpr const char* SUBSCRIPTION_EXISTS = "A subscription with the given SID already exists";

// Listener::unsubscribeFromEvents: a subscriber without subscription, and the
// warning for an UNSUBSCRIBE answered other than 200 (SID, status, reason).
constexpr const char* UNKNOWN_SUBSCRIBER = "Unknown subscriber";
constexpr const char* UNSUBSCRIBE_FAILED = "Unsubscribe (SID: %s) failed: %d %s";

// Listener, with Settings::earlyNotifyGrace: the debug line of a NOTIFY that
// waits for its SID (the SID).
constexpr const char* EARLY_NOTIFY_WAITING = "NOTIFY for unknown SID %s waits for a subscription request in flight";

// SubscriptionRenewalThread; URI is the endpoint's path, query and fragment.
// 412 (URI, SID, status, reason), the re-subscription after it failing (URI,
// SID, and the cause: the status and reason for a 412, GAP_CAUSE after a
// sequence gap), another status (URI, SID, status, reason), an exception
// (URI, SID, display text), and a re-subscription after a sequence gap (URI,
// SID).
constexpr const char* RENEWAL_RESUBSCRIBING = "Renewal failed; attempting to re-subscribe (URI=%s, SID=%s): %d %s";
constexpr const char* SUBSCRIPTION_LOST = "Event subscription lost (URI=%s, SID=%s): %s";
constexpr const char* STATUS_CAUSE = "%d %s";
constexpr const char* GAP_CAUSE = "event sequence gap";
constexpr const char* GAP_RESUBSCRIBING = "Event sequence gap; attempting to re-subscribe (URI=%s, SID=%s)";
constexpr const char* RENEWAL_HTTP_ERROR = "HTTP Error while renewing event subscription (URI=%s, SID=%s): %d %s";
constexpr const char* RENEWAL_ERROR = "Error while renewing event subscription (URI=%s, SID=%s): %s";

// RequestHandler: the debug lines of every request (method, URI, version and
// peer; then the CALLBACK and SID values when present).
constexpr const char* REQUEST_LINE = "%s %s %s from %s";
constexpr const char* CALLBACK_LINE = "Callback: ";
constexpr const char* SID_LINE = "SID: ";

} // namespace Texts
} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_GENATexts_INCLUDED
