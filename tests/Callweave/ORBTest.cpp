#include "Tavik/Callweave/ORB.h"
#include "Tavik/Exception.h"

#include <gtest/gtest.h>

#include <string>

using namespace Tavik;
using namespace Tavik::Callweave;

namespace {

struct Lookup
{
	const char* name;
	const char* uri;
	const char* protocol;
	bool found;
};

void PrintTo(const Lookup& lookup, std::ostream* pStream)
{
	*pStream << lookup.uri << " " << lookup.protocol;
}

} // namespace

class ORBLookupTest : public ::testing::TestWithParam<Lookup>
{
protected:
	ORB orb;
	AutoPtr<EventDispatcher> pDispatcher = new EventDispatcher("upnp-eventing");
};

TEST_P(ORBLookupTest, DispatchersAreFoundByThePathOfTheURI)
{
	orb.registerEventDispatcher("http://127.0.0.1:8080/dev/svc", "upnp-eventing", pDispatcher);
	const Lookup& lookup = GetParam();
	AutoPtr<EventDispatcher> pFound = orb.findEventDispatcher(lookup.uri, lookup.protocol);
	EXPECT_EQ(pFound.get(), lookup.found ? pDispatcher.get() : nullptr);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, ORBLookupTest,
    ::testing::Values(Lookup{"same", "http://127.0.0.1:8080/dev/svc", "upnp-eventing", true},
                      Lookup{"otherHost", "http://[::1]:49152/dev/svc", "upnp-eventing", true},
                      Lookup{"withQuery", "http://127.0.0.1:8080/dev/svc?x=1", "upnp-eventing", true},
                      Lookup{"withFragment", "http://127.0.0.1:8080/dev/svc#f", "upnp-eventing", true},
                      Lookup{"pathOnly", "/dev/svc", "upnp-eventing", true},
                      Lookup{"trailingSlash", "http://127.0.0.1:8080/dev/svc/", "upnp-eventing", false},
                      Lookup{"otherCase", "http://127.0.0.1:8080/dev/SVC", "upnp-eventing", false},
                      Lookup{"prefix", "http://127.0.0.1:8080/dev", "upnp-eventing", false},
                      Lookup{"otherProtocol", "http://127.0.0.1:8080/dev/svc", "other", false},
                      Lookup{"empty", "", "upnp-eventing", false}),
    [](const ::testing::TestParamInfo<Lookup>& info) { return std::string(info.param.name); });

TEST(ORBTest, RegistrationRules)
{
	ORB orb;
	AutoPtr<EventDispatcher> pDispatcher(new EventDispatcher("upnp-eventing"));
	orb.registerEventDispatcher("http://h:1/dev/svc", "upnp-eventing", pDispatcher);
	orb.registerEventDispatcher("http://h:1/dev/svc", "other", pDispatcher);

	try
	{
		orb.registerEventDispatcher("/dev/svc?x=1", "upnp-eventing", pDispatcher);
		ADD_FAILURE() << "no exception";
	}
	catch (const ExistsException& exc)
	{
		EXPECT_EQ(exc.message(), "Event dispatcher already registered: /dev/svc");
	}
	EXPECT_THROW(orb.registerEventDispatcher("/dev/null", "upnp-eventing", nullptr), NullPointerException);
	EXPECT_THROW(orb.registerEventDispatcher("http://h:x/dev", "upnp-eventing", pDispatcher),
	             SyntaxException);

	orb.unregisterEventDispatcher("/dev/svc", "upnp-eventing");
	EXPECT_FALSE(orb.findEventDispatcher("http://h:1/dev/svc", "upnp-eventing"));
	EXPECT_TRUE(orb.findEventDispatcher("http://h:1/dev/svc", "other"));
	try
	{
		orb.unregisterEventDispatcher("http://h:1/dev/svc", "upnp-eventing");
		ADD_FAILURE() << "no exception";
	}
	catch (const NotFoundException& exc)
	{
		EXPECT_EQ(exc.message(), "No event dispatcher registered: /dev/svc");
	}
}
