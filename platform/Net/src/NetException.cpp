#include "Tavik/Net/NetException.h"

namespace Tavik {
namespace Net {

TAVIK_IMPLEMENT_EXCEPTION(NetException, Tavik::IOException, "Tavik::Net::NetException", "Net exception")
TAVIK_IMPLEMENT_EXCEPTION(ConnectionRefusedException, NetException, "Tavik::Net::ConnectionRefusedException",
                          "Connection refused")
TAVIK_IMPLEMENT_EXCEPTION(HostNotFoundException, NetException, "Tavik::Net::HostNotFoundException",
                          "Host not found")
TAVIK_IMPLEMENT_EXCEPTION(MessageException, NetException, "Tavik::Net::MessageException", "Message exception")
TAVIK_IMPLEMENT_EXCEPTION(NoMessageException, NetException, "Tavik::Net::NoMessageException",
                          "No message received")
TAVIK_IMPLEMENT_EXCEPTION(TimeoutException, Tavik::TimeoutException, "Tavik::Net::TimeoutException",
                          "Timeout")

} // namespace Net
} // namespace Tavik
