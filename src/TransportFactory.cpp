#include "Tavik/UPnP/GENA/TransportFactory.h"

#include "Tavik/AutoPtr.h"
#include "Tavik/Callweave/TransportFactoryManager.h"
#include "Tavik/UPnP/GENA/Transport.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

TransportFactory::TransportFactory()
	: TransportFactory(DEFAULT_TIMEOUT, DEFAULT_KEEP_ALIVE, DEFAULT_KEEP_ALIVE_TIMEOUT)
{
}

TransportFactory::TransportFactory(const Timespan& timeout, bool keepAlive, const Timespan& keepAliveTimeout)
	: _timeout(timeout), _keepAlive(keepAlive), _keepAliveTimeout(keepAliveTimeout)
{
}

TransportFactory::~TransportFactory() = default;

Callweave::Transport* TransportFactory::createTransport()
{
	return new Transport(_timeout, _keepAlive, _keepAliveTimeout);
}

void TransportFactory::registerFactory()
{
	registerFactory(DEFAULT_TIMEOUT, DEFAULT_KEEP_ALIVE, DEFAULT_KEEP_ALIVE_TIMEOUT);
}

void TransportFactory::registerFactory(const Timespan& timeout, bool keepAlive, const Timespan& keepAliveTimeout)
{
	Callweave::TransportFactoryManager& manager = Callweave::TransportFactoryManager::instance();
	AutoPtr<Callweave::TransportFactory> pFactory(new TransportFactory(timeout, keepAlive, keepAliveTimeout));
	manager.registerFactory(Transport::PROTOCOL, pFactory);
}

void TransportFactory::unregisterFactory()
{
	Callweave::TransportFactoryManager::instance().unregisterFactory(Transport::PROTOCOL);
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
