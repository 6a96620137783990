#include "Commands.h"
#include "Messages.h"
#include "Tavik/Exception.h"
#include "Tavik/Format.h"

namespace Gena {

using Tavik::UPnP::Host::Host;

/// Two seconds: how long a NOTIFY that overtook its SUBSCRIBE response may
/// wait for the SID to be stored.
const Tavik::Timespan EARLY_NOTIFY_GRACE(2 * Tavik::Timespan::SECONDS);

Tavik::UPnP::GENA::Listener::Settings listenerSettings(bool strict)
{
	Tavik::UPnP::GENA::Listener::Settings settings;
	if (strict) return settings;
	settings.checkCallback = true;
	settings.strictRenewal = true;
	settings.maxTimeout = Options::MAX_TIMEOUT;
	settings.earlyNotifyGrace = EARLY_NOTIFY_GRACE;
	settings.trackSequence = true;
	settings.resubscribeOnGap = true;
	return settings;
}

std::unique_ptr<Host> makeHost(const Host::Params& params, bool strict)
{
	try
	{
		return std::make_unique<Host>(params, listenerSettings(strict));
	}
	catch (const Tavik::Exception& exc)
	{
		throw Failure(Tavik::format(Messages::CANNOT_LISTEN,
		                            params.address + ":" + std::to_string(params.port), exc.displayText()));
	}
}

} // namespace Gena
