#include "Tavik/URI.h"

#include "Tavik/Exception.h"
#include "Tavik/NumberFormatter.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace Tavik {

namespace {

const char* const MSG_INVALID_CHARACTER = "Invalid character in URI";
const char* const MSG_INVALID_SCHEME = "Invalid scheme in URI";
const char* const MSG_INVALID_HOST = "Invalid host in URI";
const char* const MSG_INVALID_PORT = "Invalid port in URI";
const char* const MSG_INVALID_IPV6 = "Invalid IPv6 address in URI";

constexpr unsigned MAX_PORT = 65535;

bool isAlpha(char c)
{
	return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c)
{
	return c >= '0' && c <= '9';
}

bool isHexDigit(char c)
{
	return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

bool isUnreserved(char c)
{
	return isAlpha(c) || isDigit(c) || c == '-' || c == '.' || c == '_' || c == '~';
}

bool isSubDelimiter(char c)
{
	return c != '\0' && std::strchr("!$&'()*+,;=", c) != nullptr;
}

bool isValidScheme(const std::string& scheme)
{
	if (scheme.empty() || !isAlpha(scheme[0])) return false;
	for (char c : scheme)
	{
		if (!isAlpha(c) && !isDigit(c) && c != '+' && c != '-' && c != '.') return false;
	}
	return true;
}

/// A registered name: unreserved characters, percent escapes and sub-delimiters.
bool isValidRegisteredName(const std::string& host)
{
	for (char c : host)
	{
		if (!isUnreserved(c) && !isSubDelimiter(c) && c != '%') return false;
	}
	return true;
}

/// Hexadecimal digits, ':' and '.' (an embedded IPv4 address), optionally
/// followed by '%' and a zone ("fe80::1%25eth0").
bool isValidIPv6(const std::string& address)
{
	const std::size_t zone = address.find('%');
	const std::size_t end = zone == std::string::npos ? address.size() : zone;
	if (address.find(':') >= end) return false;
	for (std::size_t i = 0; i < address.size(); ++i)
	{
		const char c = address[i];
		const bool valid = i < end ? (isHexDigit(c) || c == ':' || c == '.') : (isUnreserved(c) || c == '%');
		if (!valid) return false;
	}
	return true;
}

unsigned short parsePort(const std::string& text, const std::string& uri)
{
	unsigned value = 0;
	for (char c : text)
	{
		if (!isDigit(c)) throw SyntaxException(MSG_INVALID_PORT, uri);
		value = value * 10 + unsigned(c - '0');
		if (value > MAX_PORT) throw SyntaxException(MSG_INVALID_PORT, uri);
	}
	return static_cast<unsigned short>(value);
}

unsigned short wellKnownPort(const std::string& scheme)
{
	if (scheme == "http") return 80;
	if (scheme == "https") return 443;
	return 0;
}

} // namespace

URI::URI() = default;

URI::URI(const std::string& uri)
{
	parse(uri);
}

URI::URI(const char* uri)
{
	parse(uri ? std::string(uri) : std::string());
}

URI& URI::operator=(const std::string& uri)
{
	URI parsed(uri);
	*this = std::move(parsed);
	return *this;
}

URI& URI::operator=(const char* uri)
{
	URI parsed(uri);
	*this = std::move(parsed);
	return *this;
}

void URI::clear()
{
	*this = URI();
}

bool URI::empty() const
{
	return _scheme.empty() && !_hasAuthority && _userInfo.empty() && _host.empty() && _port == 0 &&
	       _path.empty() && _query.empty() && _fragment.empty();
}

std::string URI::toString() const
{
	std::string text;
	if (!_scheme.empty())
	{
		text += _scheme;
		text += ':';
	}
	if (_hasAuthority)
	{
		text += "//";
		if (!_userInfo.empty())
		{
			text += _userInfo;
			text += '@';
		}
		text += getAuthority();
	}
	return text + withQueryAndFragment(_path, true);
}

bool URI::isRelative() const
{
	return _scheme.empty();
}

unsigned short URI::getPort() const
{
	return _port != 0 ? _port : wellKnownPort(_scheme);
}

std::string URI::getAuthority() const
{
	std::string authority = _host.find(':') != std::string::npos ? "[" + _host + "]" : _host;
	if (_port != 0 && _port != wellKnownPort(_scheme))
	{
		authority += ':';
		NumberFormatter::append(authority, unsigned(_port));
	}
	return authority;
}

std::string URI::getPathEtc() const
{
	return withQueryAndFragment(requestPath(), true);
}

std::string URI::getPathAndQuery() const
{
	return withQueryAndFragment(requestPath(), false);
}

std::string URI::requestPath() const
{
	return (_path.empty() && _hasAuthority) ? std::string("/") : _path;
}

std::string URI::withQueryAndFragment(std::string path, bool withFragment) const
{
	if (!_query.empty())
	{
		path += '?';
		path += _query;
	}
	if (withFragment && !_fragment.empty())
	{
		path += '#';
		path += _fragment;
	}
	return path;
}

void URI::parse(const std::string& uri)
{
	for (char c : uri)
	{
		const auto u = static_cast<unsigned char>(c);
		if (u <= ' ' || u == 0x7F) throw SyntaxException(MSG_INVALID_CHARACTER, uri);
	}

	std::size_t pos = 0;
	// A ':' before any '/', '?' or '#' ends a scheme; a relative path cannot
	// have one in its first segment.
	const std::size_t schemeEnd = uri.find_first_of(":/?#");
	if (schemeEnd != std::string::npos && uri[schemeEnd] == ':')
	{
		_scheme = uri.substr(0, schemeEnd);
		if (!isValidScheme(_scheme)) throw SyntaxException(MSG_INVALID_SCHEME, uri);
		for (char& c : _scheme)
		{
			if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
		}
		pos = schemeEnd + 1;
	}

	if (uri.compare(pos, 2, "//") == 0)
	{
		pos += 2;
		const std::size_t authorityEnd = std::min(uri.find_first_of("/?#", pos), uri.size());
		parseAuthority(uri.substr(pos, authorityEnd - pos), uri);
		pos = authorityEnd;
	}

	const std::size_t pathEnd = std::min(uri.find_first_of("?#", pos), uri.size());
	_path = uri.substr(pos, pathEnd - pos);
	pos = pathEnd;
	if (pos < uri.size() && uri[pos] == '?')
	{
		const std::size_t queryEnd = std::min(uri.find('#', pos), uri.size());
		_query = uri.substr(pos + 1, queryEnd - pos - 1);
		pos = queryEnd;
	}
	if (pos < uri.size()) _fragment = uri.substr(pos + 1);
}

void URI::parseAuthority(const std::string& authority, const std::string& uri)
{
	_hasAuthority = true;
	const std::size_t at = authority.rfind('@');
	std::size_t hostStart = 0;
	if (at != std::string::npos)
	{
		_userInfo = authority.substr(0, at);
		hostStart = at + 1;
	}

	std::size_t portColon;
	if (authority.compare(hostStart, 1, "[") == 0)
	{
		const std::size_t close = authority.find(']', hostStart);
		if (close == std::string::npos) throw SyntaxException(MSG_INVALID_IPV6, uri);
		_host = authority.substr(hostStart + 1, close - hostStart - 1);
		if (!isValidIPv6(_host) || (close + 1 < authority.size() && authority[close + 1] != ':'))
			throw SyntaxException(MSG_INVALID_IPV6, uri);
		portColon = close + 1 < authority.size() ? close + 1 : std::string::npos;
	}
	else
	{
		portColon = authority.find(':', hostStart);
		_host = authority.substr(hostStart,
		                         portColon == std::string::npos ? std::string::npos : portColon - hostStart);
		if (!isValidRegisteredName(_host)) throw SyntaxException(MSG_INVALID_HOST, uri);
	}
	if (portColon != std::string::npos) _port = parsePort(authority.substr(portColon + 1), uri);
}

} // namespace Tavik
