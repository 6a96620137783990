#include "Commands.h"
#include "DimmableLight.h"
#include "Interrupts.h"
#include "Messages.h"
#include "Tavik/Format.h"

#include <sstream>

namespace Gena {

using Tavik::Callweave::EventDispatcher;
using Tavik::UPnP::Host::Host;

namespace {

const char* kindName(Host::SubscriptionChange::Kind kind)
{
	switch (kind)
	{
	case Host::SubscriptionChange::SUBSCRIBED:
		return "subscribed";
	case Host::SubscriptionChange::RENEWED:
		return "renewed";
	default:
		return "unsubscribed";
	}
}

/// One stdin line: "set NAME VALUE" (the value is the rest of the line).
void handleLine(const std::string& line, Host& host, DimmableLight& light, Output& output)
{
	std::istringstream words(line);
	std::string command, name, value;
	words >> command >> name >> std::ws;
	std::getline(words, value);
	if (command.empty()) return;
	if (command != "set" || name.empty() || value.empty())
		return output.print("error", {{"message", Messages::BAD_INPUT}});
	// A subscriber whose initial event went out gets this change too.
	host.waitForInitialEvents();
	const std::string service = light.set(name, value);
	if (service.empty())
		return output.print("error", {{"message", Tavik::format(Messages::UNKNOWN_VARIABLE, name)}});
	output.print("property", {{"service", service}, {"name", name}, {"value", value}});
}

} // namespace

int runPublish(const Options& options, Output& output)
{
	Interrupts interrupts;
	DimmableLight light;
	Host::Params params;
	params.address = options.listenHost;
	params.port = options.listenPort;
	const std::unique_ptr<Host> pHost = makeHost(params, options.strict);
	pHost->setDevice(light.device());
	pHost->subscriptionChanged += Tavik::Delegate<const Host::SubscriptionChange>(
	    [&output, &light](const void*, const Host::SubscriptionChange& change) {
		    Output::Fields fields = {{"sid", change.sid}, {"service", light.serviceTypeOfPath(change.path)}};
		    if (!change.timeout.empty()) fields.emplace_back("timeout", change.timeout);
		    output.print(kindName(change.kind), fields);
	    });
	for (const Host::Service& service : light.device().services)
	{
		service.pDispatcher->subscriberDropped += Tavik::Delegate<const EventDispatcher::SubscriberDrop>(
		    [&output](const void*, const EventDispatcher::SubscriberDrop& drop) {
			    output.print("lost", {{"sid", drop.sid}, {"url", drop.endPoint}, {"message", drop.message}});
		    });
		service.pDispatcher->deliveryFailed += Tavik::Delegate<const EventDispatcher::DeliveryFailure>(
		    [&output](const void*, const EventDispatcher::DeliveryFailure& failure) {
			    output.print("error",
			                 {{"sid", failure.sid}, {"url", failure.endPoint}, {"message", failure.error}});
		    });
	}
	pHost->start();
	output.print("listening", {{"url", pHost->descriptionURL()}});

	interrupts.wait([&](const std::string& line) { handleLine(line, *pHost, light, output); });
	pHost->shutdown();
	return 0;
}

} // namespace Gena
