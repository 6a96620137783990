#ifndef Tavik_gena_Watch_INCLUDED
#define Tavik_gena_Watch_INCLUDED

#include "Output.h"
#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/UPnP/Host/Host.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace Gena {

/// One remote service to subscribe to.
struct Target
{
	std::string eventURL;
	std::string serviceType; ///< empty when the user gave the event URL itself
};

/// The subscriber side of monitor and demo: subscribes to targets through a
/// host and prints "subscribed", every "property", the listener's renewal
/// events and "unsubscribed".
class Watch
{
public:
	/// Hooks the printing to host's listener. The host must be started.
	Watch(Tavik::UPnP::Host::Host& host, Output& output);

	/// Subscribes to every target, printing "subscribed" for each. Throws
	/// Failure (SUBSCRIBE_FAILED) at the first refusal; the subscriptions made
	/// before it stay, for unsubscribeAll().
	void subscribeAll(const std::vector<Target>& targets);
	/// Cancels every subscription, printing "unsubscribed", or "error" when
	/// the publisher could not be told.
	void unsubscribeAll();

	/// Waits until count properties, or count renewals, have arrived in all;
	/// false when timeout passed first.
	bool waitForProperties(std::size_t count, std::chrono::seconds timeout);
	bool waitForRenewals(std::size_t count, std::chrono::seconds timeout);

private:
	struct Shared;

	Tavik::UPnP::Host::Host& _host;
	// Shared with the delegates, which the listener keeps until it goes.
	std::shared_ptr<Shared> _pShared;
	std::vector<Tavik::AutoPtr<Tavik::Callweave::GenericEventSubscriber>> _subscribers;
};

} // namespace Gena

#endif // Tavik_gena_Watch_INCLUDED
