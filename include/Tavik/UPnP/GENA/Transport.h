#ifndef Tavik_UPnP_GENA_Transport_INCLUDED
#define Tavik_UPnP_GENA_Transport_INCLUDED

#include <string>

namespace Tavik {
namespace UPnP {
namespace GENA {

/// Sends the events of one subscriber to its callback URL as NOTIFY requests.
/// Holds the words of an event notification on the wire.
class Transport
{
public:
	/// "upnp-eventing": the transport protocol's name and the path segment
	/// of callback URLs.
	static const std::string PROTOCOL;
	/// "NOTIFY": the method of an event notification.
	static const std::string NOTIFY;
	/// "NT": notification type header.
	static const std::string HDR_NT;
	/// "NTS": notification sub-type header.
	static const std::string HDR_NTS;
	/// "SID": subscription identifier header.
	static const std::string HDR_SID;
	/// "SEQ": event key header.
	static const std::string HDR_SEQ;
	/// text/xml; charset="utf-8" (the quotes are part of it).
	static const std::string CONTENT_TYPE;
	/// "upnp:event": the only notification type.
	static const std::string UPNP_EVENT;
	/// "upnp:propchange": the only notification sub-type.
	static const std::string UPNP_PROPCHANGE;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_Transport_INCLUDED
