#ifndef Tavik_UPnP_GENA_SubscriptionRenewalTask_INCLUDED
#define Tavik_UPnP_GENA_SubscriptionRenewalTask_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Util/TimerTask.h"

#include <string>

namespace Tavik {
namespace UPnP {
namespace GENA {

class Listener;

/// The timer task of one outgoing subscription: each firing hands a
/// SubscriptionRenewalThread to the default thread pool, so the timer thread
/// never waits on the network. Listener::subscribeToEvents schedules it with
/// a period of 750 ms per granted second; Listener::unsubscribeFromEvents and
/// the Listener's destructor cancel it.
class SubscriptionRenewalTask : public Util::TimerTask
{
public:
	/// A task renewing the subscription sid of pSubscriber for timeout
	/// seconds (1 or more) at each firing. The listener must outlive the task's
	/// runs (its destructor cancels every task it scheduled).
	SubscriptionRenewalTask(Listener& listener, AutoPtr<Callweave::EventSubscriber> pSubscriber,
	                        const std::string& sid, int timeout);

	/// Starts one renewal worker on the default thread pool. When the pool
	/// refuses it, this firing is skipped silently and the next one tries
	/// again. Throws nothing but std::bad_alloc.
	void run() override;

protected:
	~SubscriptionRenewalTask() override;

private:
	Listener& _listener;
	AutoPtr<Callweave::EventSubscriber> _pSubscriber;
	std::string _sid;
	int _timeout;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_SubscriptionRenewalTask_INCLUDED
