#include "Commands.h"
#include "Discovery.h"
#include "Interrupts.h"
#include "Watch.h"

namespace Gena {

using Tavik::UPnP::Host::Host;

int runMonitor(const Options& options, Output& output)
{
	Interrupts interrupts;
	const std::vector<Target> targets = findTargets(options.url);
	Host::Params params;
	// The callback URL must be reachable from the publisher: by default the
	// address this host uses towards it, not whatever the first interface is.
	params.address = options.hasListen ? options.listenHost : localAddressFor(targets.front().eventURL);
	params.port = options.listenPort;
	const std::unique_ptr<Host> pHost = makeHost(params, options.strict);
	pHost->listener().setEventSubscriptionTimeout(options.timeout);
	pHost->start();
	output.print("listening", {{"url", pHost->url(Host::EVENT_PATH)}});

	Watch watch(*pHost, output);
	try
	{
		watch.subscribeAll(targets);
	}
	catch (const Failure&)
	{
		watch.unsubscribeAll();
		throw;
	}
	interrupts.wait();
	watch.unsubscribeAll();
	pHost->shutdown();
	return 0;
}

} // namespace Gena
