#ifndef Tavik_UPnP_GENA_Listener_INCLUDED
#define Tavik_UPnP_GENA_Listener_INCLUDED

#include <string>

namespace Tavik {
namespace UPnP {
namespace GENA {

/// The host's event endpoint. Holds the words of subscriptions on the wire.
class Listener
{
public:
	/// "SUBSCRIBE": the method of a new subscription and of a renewal.
	static const std::string SUBSCRIBE;
	/// "UNSUBSCRIBE": the method that cancels a subscription.
	static const std::string UNSUBSCRIBE;
	/// "CALLBACK": the header carrying the callback URL in angle brackets.
	static const std::string HDR_CALLBACK;
	/// "TIMEOUT": the requested or granted subscription duration.
	static const std::string HDR_TIMEOUT;
	/// "Second-": prefix of a finite TIMEOUT value, followed by decimal seconds.
	/// It is also a prefix of TIMEOUT_INFINITE: test for that first.
	static const std::string TIMEOUT_SECOND;
	/// "Second-infinite": the TIMEOUT value of a subscription that never expires.
	static const std::string TIMEOUT_INFINITE;
	/// The empty string.
	static const std::string EMPTY;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_Listener_INCLUDED
