#include "PublisherExchange.h"

#include "Tavik/Net/HTTPClientSession.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

Net::HTTPRequest PublisherExchange::request(const std::string& method, const URI& endpoint)
{
	return Net::HTTPRequest(method, endpoint.getPathEtc(), Net::HTTPMessage::HTTP_1_1);
}

void PublisherExchange::send(const URI& endpoint, Net::HTTPRequest& request, Net::HTTPResponse& response)
{
	Net::HTTPClientSession session(endpoint.getHost(), endpoint.getPort());
	session.setTimeout(TIMEOUT);
	session.sendRequest(request);
	session.receiveResponse(response);
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
