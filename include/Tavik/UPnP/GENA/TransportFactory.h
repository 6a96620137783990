#ifndef Tavik_UPnP_GENA_TransportFactory_INCLUDED
#define Tavik_UPnP_GENA_TransportFactory_INCLUDED

#include "Tavik/Callweave/TransportFactory.h"
#include "Tavik/Timespan.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

/// Makes the GENA event transports through which the framework's event
/// dispatchers reach their subscribers, all with the same connection settings.
///
/// The host registers a factory for the protocol "upnp-eventing" with
/// registerFactory() before subscribers can be served, and removes it with
/// unregisterFactory() when it shuts eventing down. A change of settings takes
/// unregisterFactory() and registerFactory() again; it applies to transports
/// made afterwards.
class TransportFactory : public Callweave::TransportFactory
{
public:
	/// 10 seconds: the default time-out of each network operation of a NOTIFY.
	static constexpr Timespan DEFAULT_TIMEOUT = Timespan(10 * Timespan::SECONDS);
	/// Off: by default every NOTIFY opens a connection of its own.
	static constexpr bool DEFAULT_KEEP_ALIVE = false;
	/// 8 seconds: how long an idle kept connection may be reused.
	static constexpr Timespan DEFAULT_KEEP_ALIVE_TIMEOUT = Timespan(8 * Timespan::SECONDS);

	/// A factory with the default settings.
	TransportFactory();
	/// A factory whose transports wait at most timeout in each network
	/// operation and, with keepAlive, reuse a connection idle for no longer
	/// than keepAliveTimeout.
	TransportFactory(const Timespan& timeout, bool keepAlive, const Timespan& keepAliveTimeout);

	/// A new, unconnected GENA Transport with this factory's settings and its
	/// own SEQ counter. The caller owns it.
	Callweave::Transport* createTransport() override;

	/// The settings given to the constructor.
	///@{
	const Timespan& timeout() const { return _timeout; }
	bool keepAlive() const { return _keepAlive; }
	const Timespan& keepAliveTimeout() const { return _keepAliveTimeout; }
	///@}

	/// Registers a factory with the default settings under "upnp-eventing".
	/// Throws the registry's ExistsException when one is registered already.
	static void registerFactory();
	/// Registers a factory with these settings under "upnp-eventing".
	static void registerFactory(const Timespan& timeout, bool keepAlive, const Timespan& keepAliveTimeout);
	/// Removes the factory registered under "upnp-eventing". Throws the
	/// registry's NotFoundException when none is registered.
	static void unregisterFactory();

protected:
	~TransportFactory() override;

private:
	Timespan _timeout;
	bool _keepAlive;
	Timespan _keepAliveTimeout;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_TransportFactory_INCLUDED
