#include "Tavik/UPnP/GENA/Transport.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

const std::string Transport::PROTOCOL = "upnp-eventing";
const std::string Transport::NOTIFY = "NOTIFY";
const std::string Transport::HDR_NT = "NT";
const std::string Transport::HDR_NTS = "NTS";
const std::string Transport::HDR_SID = "SID";
const std::string Transport::HDR_SEQ = "SEQ";
const std::string Transport::CONTENT_TYPE = "text/xml; charset=\"utf-8\"";
const std::string Transport::UPNP_EVENT = "upnp:event";
const std::string Transport::UPNP_PROPCHANGE = "upnp:propchange";

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
