// Embedding libTavikUPnPGENA through the ready-made host: publish one service
// with one evented variable, subscribe to it over loopback, change it once.

#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Callweave/Serializer.h"
#include "Tavik/UPnP/GENA/Transport.h"
#include "Tavik/UPnP/Host/Host.h"

#include <condition_variable>
#include <iostream>
#include <mutex>

using namespace Tavik;
using Tavik::UPnP::Host::Host;

// The current state, sent to every new subscriber as its initial event.
class Power : public UPnP::GENA::StateProvider
{
public:
	std::vector<std::pair<std::string, std::string>> currentState() override { return {{"Status", "0"}}; }
};

int main()
{
	Power power;
	Host::Service service;
	service.serviceType = "urn:schemas-upnp-org:service:SwitchPower:1";
	service.serviceId = "urn:upnp-org:serviceId:SwitchPower";
	service.name = "SwitchPower"; // events at /upnp-eventing/SwitchPower
	service.scpd = "<scpd xmlns=\"urn:schemas-upnp-org:service-1-0\"/>";
	service.pDispatcher = new Callweave::EventDispatcher(UPnP::GENA::Transport::PROTOCOL);
	service.pStateProvider = &power;

	Host host{Host::Params()}; // 127.0.0.1, a free port
	host.setDevice(Host::Device{"urn:schemas-upnp-org:device:BinaryLight:1", "Lamp", "uuid:1", {service}});
	host.start();

	// The subscriber side: print each event, count them.
	std::mutex mutex;
	std::condition_variable arrived;
	int events = 0;
	AutoPtr<Callweave::GenericEventSubscriber> pSubscriber =
	    new Callweave::GenericEventSubscriber(host.eventURL("SwitchPower"));
	pSubscriber->eventReceived += Delegate<const Callweave::GenericEventSubscriber::Event>(
	    [&](const void*, const Callweave::GenericEventSubscriber::Event& event) {
		    std::cout << event.name << " = " << event.value << std::endl;
		    std::lock_guard<std::mutex> lock(mutex);
		    ++events;
		    arrived.notify_all();
	    });
	host.subscribe(pSubscriber);
	auto waitFor = [&](int count) {
		std::unique_lock<std::mutex> lock(mutex);
		return arrived.wait_for(lock, std::chrono::seconds(10), [&] { return events >= count; });
	};

	if (!waitFor(1)) return 1;   // the initial event: Status = 0
	host.waitForInitialEvents(); // the subscriber is now in the dispatcher
	service.pDispatcher->fireEvent("Status", [](Callweave::Serializer& serializer) {
		serializer.serialize(Callweave::EventSubscriber::VALUE_ARGUMENT, std::string("1"));
	});
	if (!waitFor(2)) return 1; // Status = 1

	host.shutdown(); // unsubscribes, stops the server, withdraws the service
	return 0;
}
