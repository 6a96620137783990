#ifndef Tavik_Net_SocketAddress_INCLUDED
#define Tavik_Net_SocketAddress_INCLUDED

#include <string>

namespace Tavik {
namespace Net {

/// An IP address (IPv4 or IPv6, in numeric text form) and a port.
class SocketAddress
{
public:
	/// 0.0.0.0:0.
	SocketAddress();
	/// The numeric host ("127.0.0.1", "::1") and port; no name lookup.
	SocketAddress(const std::string& host, unsigned short port);

	/// "host:port", with an IPv6 host in brackets: "[::1]:8080".
	std::string toString() const;

	/// The numeric host, without brackets.
	const std::string& host() const { return _host; }
	/// The port.
	unsigned short port() const { return _port; }

private:
	std::string _host;
	unsigned short _port;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_SocketAddress_INCLUDED
