#include "NetError.h"

#include "NetTexts.h"
#include "Tavik/Net/NetException.h"

#include <boost/asio/error.hpp>
#include <boost/beast/core/error.hpp>
#include <boost/beast/http/error.hpp>

namespace Tavik {
namespace Net {

namespace http = boost::beast::http;

void throwNetError(const boost::system::error_code& ec, const std::string& peer)
{
	if (ec == boost::asio::error::connection_refused)
		throw ConnectionRefusedException(peer);
	if (ec == boost::asio::error::timed_out || ec == boost::beast::error::timeout)
		throw TimeoutException(peer);
	if (ec == http::error::end_of_stream) throw NoMessageException(peer);
	if (ec == http::error::partial_message) throw MessageException(Texts::INCOMPLETE_MESSAGE, peer);
	if (ec == http::error::header_limit || ec == http::error::body_limit)
		throw MessageException(Texts::MESSAGE_TOO_LARGE, ec.message());
	if (isHTTPError(ec)) throw MessageException(Texts::MALFORMED_MESSAGE, ec.message());
	throw NetException(Texts::NETWORK_ERROR, ec.message(), ec.value());
}

bool isHTTPError(const boost::system::error_code& ec)
{
	return ec.category() == http::make_error_code(http::error::bad_method).category();
}

} // namespace Net
} // namespace Tavik
