#include "Tavik/Callweave/TransportFactoryManager.h"
#include "Tavik/Exception.h"

#include "CallweaveFakes.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

using namespace Tavik;
using namespace Tavik::Callweave;
using namespace CallweaveFakes;

namespace {

/// A factory that registers another factory while it creates a transport:
/// this deadlocks if the manager holds its lock around createTransport().
class ReentrantFactory : public TransportFactory
{
public:
	ReentrantFactory(TransportFactoryManager& manager, FakeNetwork& network)
	    : _manager(manager), _network(network)
	{}

	Transport* createTransport() override
	{
		_manager.registerFactory("registered-meanwhile", new FakeTransportFactory(_network));
		return new FakeTransport(_network);
	}

private:
	TransportFactoryManager& _manager;
	FakeNetwork& _network;
};

class NullFactory : public TransportFactory
{
public:
	Transport* createTransport() override { return nullptr; }
};

template <class E> void expectMessage(const std::function<void()>& call, const std::string& message)
{
	try
	{
		call();
		ADD_FAILURE() << "no exception";
	}
	catch (const E& exc)
	{
		EXPECT_EQ(exc.message(), message);
	}
}

} // namespace

TEST(TransportFactoryManagerTest, EachTransportComesFromTheFactoryOfItsProtocol)
{
	FakeNetwork network;
	TransportFactoryManager manager;
	AutoPtr<FakeTransportFactory> pA(new FakeTransportFactory(network));
	AutoPtr<FakeTransportFactory> pB(new FakeTransportFactory(network));
	manager.registerFactory("a", pA);
	manager.registerFactory("b", pB);

	AutoPtr<Transport> pFirst = manager.createTransport("a");
	AutoPtr<Transport> pSecond = manager.createTransport("a");
	EXPECT_NE(pFirst, pSecond);
	EXPECT_EQ(pA->created, 2);
	EXPECT_EQ(pB->created, 0);
	EXPECT_EQ(pFirst->referenceCount(), 1); // the caller owns it

	manager.unregisterFactory("a");
	EXPECT_EQ(pA->referenceCount(), 1); // the manager let go of it
	manager.registerFactory("a", pB);   // a protocol may be registered again
	manager.createTransport("a");
	EXPECT_EQ(pB->created, 1);
}

TEST(TransportFactoryManagerTest, RegistrationRules)
{
	FakeNetwork network;
	TransportFactoryManager manager;
	AutoPtr<TransportFactory> pFactory(new FakeTransportFactory(network));
	manager.registerFactory("upnp-eventing", pFactory);

	expectMessage<ExistsException>([&] { manager.registerFactory("upnp-eventing", pFactory); },
	                               "Transport factory already registered: upnp-eventing");
	expectMessage<NotFoundException>([&] { manager.unregisterFactory("UPNP-eventing"); },
	                                 "No transport factory registered: UPNP-eventing");
	expectMessage<NotFoundException>([&] { manager.createTransport("other"); },
	                                 "No transport factory registered: other");
	expectMessage<NullPointerException>([&] { manager.registerFactory("null", nullptr); },
	                                    "Transport factory is null: null");
	manager.registerFactory("makes-nothing", new NullFactory);
	expectMessage<NullPointerException>([&] { manager.createTransport("makes-nothing"); },
	                                    "Transport factory created no transport: makes-nothing");
	manager.unregisterFactory("upnp-eventing");
	expectMessage<NotFoundException>([&] { manager.unregisterFactory("upnp-eventing"); },
	                                 "No transport factory registered: upnp-eventing");
}

TEST(TransportFactoryManagerTest, FactoriesCreateTransportsWithoutTheManagersLock)
{
	FakeNetwork network;
	TransportFactoryManager manager;
	manager.registerFactory("reentrant", new ReentrantFactory(manager, network));
	EXPECT_TRUE(manager.createTransport("reentrant"));
	EXPECT_TRUE(manager.createTransport("registered-meanwhile"));
}

TEST(TransportFactoryManagerTest, InstanceIsOneRegistryForTheProcess)
{
	FakeNetwork network;
	TransportFactoryManager::instance().registerFactory("instance-test", new FakeTransportFactory(network));
	EXPECT_TRUE(TransportFactoryManager::instance().createTransport("instance-test"));
	TransportFactoryManager::instance().unregisterFactory("instance-test");
	EXPECT_EQ(&TransportFactoryManager::instance(), &TransportFactoryManager::instance());
}
