#ifndef Tavik_UPnP_GENA_SubscriptionRenewalThread_INCLUDED
#define Tavik_UPnP_GENA_SubscriptionRenewalThread_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Logger.h"
#include "Tavik/Runnable.h"

#include <string>

namespace Tavik {
namespace UPnP {
namespace GENA {

class Listener;

/// One renewal of an outgoing subscription, run once on a thread of the
/// default pool: sends SUBSCRIBE with SID and TIMEOUT to the publisher and
/// reports the outcome through the listener's events. A 412 answer makes it
/// unsubscribe and subscribe anew; so does a worker started by the listener
/// after a sequence gap (Listener::Settings::resubscribeOnGap), without the
/// renewal. Logs on "UPnP.GENA.SubscriptionRenewalThread".
///
/// Lives on the heap and deletes itself at the end of run(). While it exists
/// it counts as a renewal in flight of its listener, whose destructor waits
/// for it.
class SubscriptionRenewalThread : public Runnable
{
public:
	/// What one worker does.
	enum class Action
	{
		/// Renew, and re-subscribe after 412.
		RENEW,
		/// Re-subscribe at once, after a sequence gap.
		RESUBSCRIBE
	};

	/// A renewal of the subscription sid of pSubscriber, asking for timeout
	/// seconds (the grant of the subscription; not used by RESUBSCRIBE).
	SubscriptionRenewalThread(Listener& listener, AutoPtr<Callweave::EventSubscriber> pSubscriber,
	                          const std::string& sid, int timeout, Action action = Action::RENEW);
	~SubscriptionRenewalThread() override;
	SubscriptionRenewalThread(const SubscriptionRenewalThread&) = delete;
	SubscriptionRenewalThread& operator=(const SubscriptionRenewalThread&) = delete;

	/// Renews the subscription, then deletes this object.
	/// 200 fires subscriptionRenewed; 412 logs a warning and re-subscribes
	/// (subscriptionLost and error lines when that throws); any other status,
	/// or a Tavik::Exception on the way (an event delegate's included), logs an
	/// error and fires subscriptionRenewalFailed. RESUBSCRIBE logs a warning
	/// and re-subscribes as after 412. Throws nothing.
	void run() override;

private:
	void renew();
	/// Unsubscribes and subscribes anew; cause ends the error line when that fails.
	void resubscribe(const std::string& uri, const std::string& cause);
	void reportLost(const std::string& uri, const std::string& cause);
	/// The endpoint as the log lines name it: its path, query and fragment,
	/// or the whole text when it does not parse.
	std::string logURI() const;

	Listener& _listener;
	AutoPtr<Callweave::EventSubscriber> _pSubscriber;
	std::string _sid;
	int _timeout;
	Action _action;
	Logger& _logger;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_SubscriptionRenewalThread_INCLUDED
