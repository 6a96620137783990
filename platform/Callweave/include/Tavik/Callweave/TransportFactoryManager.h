#ifndef Tavik_Callweave_TransportFactoryManager_INCLUDED
#define Tavik_Callweave_TransportFactoryManager_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Callweave/Transport.h"
#include "Tavik/Callweave/TransportFactory.h"
#include "Tavik/Mutex.h"

#include <map>
#include <string>

namespace Tavik {
namespace Callweave {

/// The registry of transport factories, one per protocol name.
///
/// Rules: a protocol has at most one factory; registering a second one throws
/// ExistsException, and unregistering or creating a transport for a protocol
/// without a factory throws NotFoundException. Protocol names are compared
/// byte for byte.
///
/// Thread safety: every operation may be called from any thread. The lock is
/// held only around the table; factories create transports, and unregistered
/// factories are released, with no lock held.
class TransportFactoryManager
{
public:
	/// An empty registry. The framework uses instance(); separate registries
	/// serve tests.
	TransportFactoryManager();
	TransportFactoryManager(const TransportFactoryManager&) = delete;
	TransportFactoryManager& operator=(const TransportFactoryManager&) = delete;
	~TransportFactoryManager();

	/// The process-wide registry.
	static TransportFactoryManager& instance();

	/// Registers pFactory for protocol, keeping a reference to it.
	/// Throws NullPointerException for a null factory and ExistsException
	/// (with the protocol as argument) when the protocol has a factory.
	void registerFactory(const std::string& protocol, AutoPtr<TransportFactory> pFactory);
	/// Removes the factory of protocol. Throws NotFoundException (with the
	/// protocol as argument) when there is none.
	void unregisterFactory(const std::string& protocol);
	/// A new transport from the factory of protocol. Throws NotFoundException
	/// when there is none, NullPointerException when the factory makes no
	/// transport, and whatever the factory throws.
	AutoPtr<Transport> createTransport(const std::string& protocol);

private:
	FastMutex _mutex;
	std::map<std::string, AutoPtr<TransportFactory>> _factories;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_TransportFactoryManager_INCLUDED
