#include "Commands.h"
#include "DimmableLight.h"
#include "Messages.h"
#include "Tavik/Format.h"
#include "Watch.h"

#include <chrono>

namespace Gena {

using Tavik::UPnP::Host::Host;

namespace {

/// 2 seconds: the subscription duration the demo asks for, so that the
/// renewal (at 75 % of it) comes within the demo's few seconds.
const int DEMO_TIMEOUT_SECONDS = 2;
/// How long each step may take before the demo gives up with exit code 1.
const std::chrono::seconds STEP_DEADLINE(10);

void expect(bool happened, const std::string& step)
{
	if (!happened) throw Failure(Tavik::format(Messages::DEMO_STEP_FAILED, step));
}

} // namespace

int runDemo(const Options& options, Output& output)
{
	// One host publishes the light and subscribes to it over loopback.
	DimmableLight light;
	Host host(Host::Params(), listenerSettings(options.strict));
	host.setDevice(light.device());
	host.listener().setEventSubscriptionTimeout(DEMO_TIMEOUT_SECONDS);
	host.start();
	output.print("listening", {{"url", host.descriptionURL()}});

	std::vector<Target> targets;
	for (const Host::Service& service : light.device().services)
		targets.push_back(Target{host.eventURL(service.name), service.serviceType});
	Watch watch(host, output);
	try
	{
		watch.subscribeAll(targets);
		expect(watch.waitForProperties(2, STEP_DEADLINE), "the initial events");
		host.waitForInitialEvents();
		const std::pair<const char*, const char*> changes[] = {
		    {"Status", "1"}, {"LoadLevelStatus", "40"}, {"Status", "0"}};
		std::size_t expected = 2;
		for (const auto& change : changes)
		{
			light.set(change.first, change.second);
			expect(watch.waitForProperties(++expected, STEP_DEADLINE),
			       std::string("the event of ") + change.first);
		}
		expect(watch.waitForRenewals(targets.size(), STEP_DEADLINE), "the renewal");
	}
	catch (const Failure&)
	{
		watch.unsubscribeAll();
		throw;
	}
	watch.unsubscribeAll();
	host.shutdown();
	return 0;
}

} // namespace Gena
