#ifndef Tavik_gena_DimmableLight_INCLUDED
#define Tavik_gena_DimmableLight_INCLUDED

#include "Tavik/UPnP/Host/Host.h"

#include <memory>
#include <string>
#include <vector>

namespace Gena {

/// The demo device: a dimmable light (urn:schemas-upnp-org:device:DimmableLight:1)
/// with the two standard services SwitchPower:1, evented variable Status
/// ("0" or "1", initially "0"), and Dimming:1, evented variable
/// LoadLevelStatus (0 to 100, initially "100"). Values are taken as text,
/// unchecked: the device exists to show events, not to model a lamp.
class DimmableLight
{
public:
	DimmableLight();
	~DimmableLight();

	/// The device for Host::setDevice().
	const Tavik::UPnP::Host::Host::Device& device() const;

	/// Stores value and fires the event of variable name; the service type
	/// of the variable, or the empty string when there is no such variable.
	/// Thread safe.
	std::string set(const std::string& name, const std::string& value);

	/// The service type of the service with this event URL path, or empty.
	std::string serviceTypeOfPath(const std::string& path) const;

private:
	class State;

	Tavik::UPnP::Host::Host::Device _device;
	std::vector<std::unique_ptr<State>> _states; // one per service, in the device's order
};

} // namespace Gena

#endif // Tavik_gena_DimmableLight_INCLUDED
