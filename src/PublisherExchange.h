#ifndef Tavik_UPnP_GENA_PublisherExchange_INCLUDED
#define Tavik_UPnP_GENA_PublisherExchange_INCLUDED

#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/Timespan.h"
#include "Tavik/URI.h"

#include <string>

namespace Tavik {
namespace UPnP {
namespace GENA {

/// The one HTTP exchange shape of the subscription client (SUBSCRIBE,
/// renewal, UNSUBSCRIBE): a body-less request to the publisher's event URL
/// over a connection of its own.
class PublisherExchange
{
public:
	/// 30 seconds: the longest one connect, send or receive waits for the
	/// publisher; then the exchange fails with Net::TimeoutException.
	static constexpr Timespan TIMEOUT = Timespan(30, 0);

	/// A request for method to the publisher at endpoint: target is the
	/// endpoint's path, query and fragment, version HTTP/1.1, no body.
	static Net::HTTPRequest request(const std::string& method, const URI& endpoint);

	/// Sends request to the host and port of endpoint on a new connection,
	/// reads the response head into response (the body is not read) and
	/// closes the connection. Throws the Tavik::Net exceptions of the exchange.
	static void send(const URI& endpoint, Net::HTTPRequest& request, Net::HTTPResponse& response);
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_PublisherExchange_INCLUDED
