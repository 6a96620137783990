#include "Tavik/UPnP/GENA/Listener.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

const std::string Listener::SUBSCRIBE = "SUBSCRIBE";
const std::string Listener::UNSUBSCRIBE = "UNSUBSCRIBE";
const std::string Listener::HDR_CALLBACK = "CALLBACK";
const std::string Listener::HDR_TIMEOUT = "TIMEOUT";
const std::string Listener::TIMEOUT_SECOND = "Second-";
const std::string Listener::TIMEOUT_INFINITE = "Second-infinite";
const std::string Listener::EMPTY;

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
