#ifndef Tavik_UPnP_GENA_InitialEventNotificationThread_INCLUDED
#define Tavik_UPnP_GENA_InitialEventNotificationThread_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Clock.h"
#include "Tavik/Runnable.h"

#include <string>
#include <utility>
#include <vector>

namespace Tavik {

class Logger;

namespace UPnP {
namespace GENA {

class Listener;

/// Sends a new subscriber the current state of the service it subscribed to
/// (a NOTIFY with SEQ 0 over a connection of its own), and only then enters
/// the subscriber into the service's event dispatcher and stores its SID as
/// the "SID" attribute of the subscriber's transport. Registering afterwards
/// keeps SEQ 0 ahead of every regular event.
///
/// The SUBSCRIBE handler creates one with new for every new subscription,
/// after it has answered 200, and starts it on ThreadPool::defaultPool().
/// run() waits 100 ms, logs failures on the logger
/// "UPnP.GENA.InitialEventNotificationTask" (a subscriber whose initial event
/// failed is not registered and receives no events), lets no exception
/// escape, and deletes the object. Nobody may touch the object once run()
/// has started.
class InitialEventNotificationThread : public Runnable
{
public:
	/// The initial notification of subscription sid to the service at
	/// requestURI (path and query of the SUBSCRIBE, as received), whose events
	/// go to callbackURL until expiry through pEventDispatcher. The listener
	/// must outlive the run.
	InitialEventNotificationThread(Listener& listener, AutoPtr<Callweave::EventDispatcher> pEventDispatcher,
	                               const std::string& callbackURL, const std::string& sid,
	                               const std::string& requestURI, const Clock& expiry);
	~InitialEventNotificationThread() override;

	/// Sends the initial event, registers the subscriber and deletes this.
	/// Never throws.
	void run() override;

	/// 100: milliseconds run() waits before it sends anything, so that the
	/// subscriber has processed the 200 answer to its SUBSCRIBE first.
	static const long DELAY_MILLISECONDS = 100;

private:
	/// Sends the state as NOTIFY with SEQ 0 to the callback URL. Throws
	/// IOException "initial event message failed" for a status other than 200
	/// and the HTTP session's exceptions.
	void sendInitialEvent(const std::vector<std::pair<std::string, std::string>>& state);
	void registerSubscriber();

	Listener& _listener;
	AutoPtr<Callweave::EventDispatcher> _pEventDispatcher;
	std::string _callbackURL;
	std::string _sid;
	std::string _requestURI;
	Clock _expiry;
	Logger& _logger;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_InitialEventNotificationThread_INCLUDED
