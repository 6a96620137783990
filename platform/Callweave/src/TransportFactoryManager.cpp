#include "Tavik/Callweave/TransportFactoryManager.h"

#include "CallweaveTexts.h"

#include "Tavik/Exception.h"

namespace Tavik {
namespace Callweave {

TransportFactoryManager::TransportFactoryManager() = default;

TransportFactoryManager::~TransportFactoryManager() = default;

TransportFactoryManager& TransportFactoryManager::instance()
{
	static TransportFactoryManager manager;
	return manager;
}

void TransportFactoryManager::registerFactory(const std::string& protocol, AutoPtr<TransportFactory> pFactory)
{
	if (!pFactory) throw NullPointerException(Texts::FACTORY_NULL, protocol);
	ScopedLock<FastMutex> lock(_mutex);
	if (!_factories.emplace(protocol, pFactory).second)
		throw ExistsException(Texts::FACTORY_EXISTS, protocol);
}

void TransportFactoryManager::unregisterFactory(const std::string& protocol)
{
	AutoPtr<TransportFactory> pRemoved; // released after the lock, since it may run the factory's destructor
	{
		ScopedLock<FastMutex> lock(_mutex);
		const auto it = _factories.find(protocol);
		if (it == _factories.end()) throw NotFoundException(Texts::FACTORY_NOT_FOUND, protocol);
		pRemoved = it->second;
		_factories.erase(it);
	}
}

AutoPtr<Transport> TransportFactoryManager::createTransport(const std::string& protocol)
{
	AutoPtr<TransportFactory> pFactory;
	{
		ScopedLock<FastMutex> lock(_mutex);
		const auto it = _factories.find(protocol);
		if (it == _factories.end()) throw NotFoundException(Texts::FACTORY_NOT_FOUND, protocol);
		pFactory = it->second;
	}
	AutoPtr<Transport> pTransport(pFactory->createTransport());
	if (!pTransport) throw NullPointerException(Texts::FACTORY_MADE_NO_TRANSPORT, protocol);
	return pTransport;
}

} // namespace Callweave
} // namespace Tavik
