#include "Tavik/Callweave/EventDispatcher.h"
#include "Tavik/Callweave/ORB.h"
#include "Tavik/Callweave/TransportFactoryManager.h"

#include "CallweaveFakes.h"

#include <gtest/gtest.h>

#include <functional>
#include <string_view>

using namespace CallweaveFakes;

namespace {

struct NullFactory : TransportFactory
{
	Transport* createTransport() override { return nullptr; }
};

/// An ORB and a transport factory manager, each with a registration for "upnp-eventing".
struct Registries
{
	Registries()
	{
		orb.registerEventDispatcher("http://127.0.0.1:8080/dev/svc", "upnp-eventing", pDispatcher);
		manager.registerFactory("upnp-eventing", new NullFactory);
	}

	ORB orb;
	AutoPtr<EventDispatcher> pDispatcher = new EventDispatcher("upnp-eventing");
	TransportFactoryManager manager;
};

struct Rule
{
	const char* name;
	operator std::string_view() const { return name; } // what gtest prints
	std::function<void(Registries&)> call;
	const char* error;
};

using RegistriesTest = ::testing::TestWithParam<Rule>;

} // namespace

TEST_P(RegistriesTest, Rule)
{
	Registries registries;
	EXPECT_EQ(errorOf([&] { GetParam().call(registries); }), GetParam().error);
}

// Dispatchers are known by the path of their URI and their protocol.
INSTANTIATE_TEST_SUITE_P(
    Rows, RegistriesTest,
    ::testing::Values(
        Rule{"OtherHostWithQuery",
             [](Registries& r) { r.orb.unregisterEventDispatcher("http://[::1]:1/dev/svc?x=1", "upnp-eventing"); },
             "no exception"},
        Rule{"TrailingSlash", [](Registries& r) { r.orb.unregisterEventDispatcher("/dev/svc/", "upnp-eventing"); },
             "Not found: No event dispatcher registered: /dev/svc/"},
        Rule{"OtherProtocol", [](Registries& r) { r.orb.unregisterEventDispatcher("/dev/svc", "other"); },
             "Not found: No event dispatcher registered: /dev/svc"},
        Rule{"KnownPath",
             [](Registries& r) { r.orb.registerEventDispatcher("/dev/svc?x=1", "upnp-eventing", r.pDispatcher); },
             "Exists: Event dispatcher already registered: /dev/svc"},
        Rule{"NullDispatcher", [](Registries& r) { r.orb.registerEventDispatcher("/x", "upnp-eventing", nullptr); },
             "Null pointer: Event dispatcher is null: /x"},
        Rule{"KnownProtocol",
             [](Registries& r) { r.manager.registerFactory("upnp-eventing", new NullFactory); },
             "Exists: Transport factory already registered: upnp-eventing"},
        Rule{"NullFactory", [](Registries& r) { r.manager.registerFactory("null", nullptr); },
             "Null pointer: Transport factory is null: null"},
        Rule{"UnknownFactory", [](Registries& r) { r.manager.unregisterFactory("UPNP-eventing"); },
             "Not found: No transport factory registered: UPNP-eventing"},
        Rule{"TransportOfUnknownProtocol", [](Registries& r) { r.manager.createTransport("other"); },
             "Not found: No transport factory registered: other"},
        Rule{"FactoryMakingNothing", [](Registries& r) { r.manager.createTransport("upnp-eventing"); },
             "Null pointer: Transport factory created no transport: upnp-eventing"}),
    [](const ::testing::TestParamInfo<Rule>& info) { return std::string(info.param.name); });
