#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/UPnP/GENA/Serializer.h"
#include "Tavik/UPnP/GENA/Transport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using Tavik::UPnP::GENA::Listener;
using Tavik::UPnP::GENA::Serializer;
using Tavik::UPnP::GENA::Transport;

namespace {

struct ConstantCase
{
	const char* name;
	const std::string* pConstant;
	std::string expected;
};

void PrintTo(const ConstantCase& row, std::ostream* pOut)
{
	*pOut << row.name;
}

class ConstantsTest : public ::testing::TestWithParam<ConstantCase>
{
};

TEST_P(ConstantsTest, HasItsWireValue)
{
	EXPECT_EQ(*GetParam().pConstant, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
	Vocabulary, ConstantsTest,
	::testing::Values(ConstantCase{"UPNP_EVENT_NAMESPACE", &Serializer::UPNP_EVENT_NAMESPACE,
                                   "urn:schemas-upnp-org:event-1-0"},
                      ConstantCase{"UPNP_PROPERTYSET", &Serializer::UPNP_PROPERTYSET, "propertyset"},
                      ConstantCase{"UPNP_PROPERTY", &Serializer::UPNP_PROPERTY, "property"},
                      ConstantCase{"EMPTY_STRING", &Serializer::EMPTY_STRING, ""},
                      ConstantCase{"PROTOCOL", &Transport::PROTOCOL, "upnp-eventing"},
                      ConstantCase{"NOTIFY", &Transport::NOTIFY, "NOTIFY"},
                      ConstantCase{"HDR_NT", &Transport::HDR_NT, "NT"},
                      ConstantCase{"HDR_NTS", &Transport::HDR_NTS, "NTS"},
                      ConstantCase{"HDR_SID", &Transport::HDR_SID, "SID"},
                      ConstantCase{"HDR_SEQ", &Transport::HDR_SEQ, "SEQ"},
                      ConstantCase{"CONTENT_TYPE", &Transport::CONTENT_TYPE, "text/xml; charset=\"utf-8\""},
                      ConstantCase{"UPNP_EVENT", &Transport::UPNP_EVENT, "upnp:event"},
                      ConstantCase{"UPNP_PROPCHANGE", &Transport::UPNP_PROPCHANGE, "upnp:propchange"},
                      ConstantCase{"SUBSCRIBE", &Listener::SUBSCRIBE, "SUBSCRIBE"},
                      ConstantCase{"UNSUBSCRIBE", &Listener::UNSUBSCRIBE, "UNSUBSCRIBE"},
                      ConstantCase{"HDR_CALLBACK", &Listener::HDR_CALLBACK, "CALLBACK"},
                      ConstantCase{"HDR_TIMEOUT", &Listener::HDR_TIMEOUT, "TIMEOUT"},
                      ConstantCase{"TIMEOUT_SECOND", &Listener::TIMEOUT_SECOND, "Second-"},
                      ConstantCase{"TIMEOUT_INFINITE", &Listener::TIMEOUT_INFINITE, "Second-infinite"},
                      ConstantCase{"EMPTY", &Listener::EMPTY, ""}),
	[](const ::testing::TestParamInfo<ConstantCase>& info) { return info.param.name; });

TEST(ConstantsQuirksTest, ContentTypeQuotesAndTheInfinitePrefix)
{
	EXPECT_EQ(Transport::CONTENT_TYPE.size(), 25u);
	EXPECT_EQ(std::count(Transport::CONTENT_TYPE.begin(), Transport::CONTENT_TYPE.end(), '"'), 2);
	EXPECT_EQ(Listener::TIMEOUT_INFINITE.rfind(Listener::TIMEOUT_SECOND, 0), 0u);
	EXPECT_NE(&Serializer::EMPTY_STRING, &Listener::EMPTY);
}

} // namespace
