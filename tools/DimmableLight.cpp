#include "DimmableLight.h"

#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Callweave/Serializer.h"
#include "Tavik/UPnP/GENA/Transport.h"

#include <mutex>

namespace Gena {

using Tavik::UPnP::Host::Host;

namespace {

struct ServiceDefinition
{
	const char* name;
	const char* variable;
	const char* dataType;
	const char* initial;
};

const ServiceDefinition SERVICES[] = {
    {"SwitchPower", "Status", "boolean", "0"},
    {"Dimming", "LoadLevelStatus", "ui1", "100"},
};

std::string scpd(const ServiceDefinition& definition)
{
	return std::string("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
	                   "<scpd xmlns=\"urn:schemas-upnp-org:service-1-0\">\n"
	                   "  <specVersion><major>1</major><minor>1</minor></specVersion>\n"
	                   "  <serviceStateTable>\n"
	                   "    <stateVariable sendEvents=\"yes\"><name>") +
	       definition.variable + "</name><dataType>" + definition.dataType + "</dataType><defaultValue>" +
	       definition.initial + "</defaultValue></stateVariable>\n  </serviceStateTable>\n</scpd>\n";
}

} // namespace

/// The one evented variable of a service.
class DimmableLight::State : public Tavik::UPnP::GENA::StateProvider
{
public:
	State(const std::string& name, const std::string& value) : _name(name), _value(value) {}

	std::vector<std::pair<std::string, std::string>> currentState() override
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return {{_name, _value}};
	}

	const std::string& name() const { return _name; }

	void set(const std::string& value)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_value = value;
	}

private:
	const std::string _name;
	std::mutex _mutex;
	std::string _value;
};

DimmableLight::DimmableLight()
{
	_device.deviceType = "urn:schemas-upnp-org:device:DimmableLight:1";
	_device.friendlyName = "gena demo light";
	_device.udn = "uuid:7c1d6a2e-0d5f-4b8e-9a61-3f2c8e5d4b10";
	for (const ServiceDefinition& definition : SERVICES)
	{
		_states.emplace_back(new State(definition.variable, definition.initial));
		Host::Service service;
		service.serviceType = std::string("urn:schemas-upnp-org:service:") + definition.name + ":1";
		service.serviceId = std::string("urn:upnp-org:serviceId:") + definition.name;
		service.name = definition.name;
		service.scpd = scpd(definition);
		service.pDispatcher = new Tavik::Callweave::EventDispatcher(Tavik::UPnP::GENA::Transport::PROTOCOL);
		service.pStateProvider = _states.back().get();
		_device.services.push_back(service);
	}
}

DimmableLight::~DimmableLight() = default;

const Host::Device& DimmableLight::device() const
{
	return _device;
}

std::string DimmableLight::set(const std::string& name, const std::string& value)
{
	for (std::size_t i = 0; i < _states.size(); ++i)
	{
		if (_states[i]->name() != name) continue;
		_states[i]->set(value);
		const Host::Service& service = _device.services[i];
		service.pDispatcher->fireEvent(name, [value](Tavik::Callweave::Serializer& serializer) {
			serializer.serialize(Tavik::Callweave::EventSubscriber::VALUE_ARGUMENT, value);
		});
		return service.serviceType;
	}
	return std::string();
}

std::string DimmableLight::serviceTypeOfPath(const std::string& path) const
{
	for (const Host::Service& service : _device.services)
	{
		if (path == Host::EVENT_PATH + "/" + service.name) return service.serviceType;
	}
	return std::string();
}

} // namespace Gena
