#include "Tavik/Net/SocketAddress.h"

namespace Tavik {
namespace Net {

SocketAddress::SocketAddress() : _host("0.0.0.0"), _port(0) {}

SocketAddress::SocketAddress(const std::string& host, unsigned short port) : _host(host), _port(port) {}

std::string SocketAddress::toString() const
{
	const bool ipv6 = _host.find(':') != std::string::npos;
	std::string text;
	text.reserve(_host.size() + 8);
	if (ipv6) text += '[';
	text += _host;
	if (ipv6) text += ']';
	text += ':';
	text += std::to_string(_port);
	return text;
}

} // namespace Net
} // namespace Tavik
