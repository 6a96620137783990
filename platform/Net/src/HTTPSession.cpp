#include "Tavik/Net/HTTPSession.h"

namespace Tavik {
namespace Net {

HTTPSession::HTTPSession() : _timeout(DEFAULT_TIMEOUT), _keepAlive(false) {}

HTTPSession::~HTTPSession() = default;

void HTTPSession::setTimeout(const Timespan& timeout)
{
	_timeout = timeout;
}

void HTTPSession::setKeepAlive(bool keepAlive)
{
	_keepAlive = keepAlive;
}

} // namespace Net
} // namespace Tavik
