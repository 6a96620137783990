#ifndef Tavik_URI_INCLUDED
#define Tavik_URI_INCLUDED

#include <string>

namespace Tavik {

/// A URI reference (RFC 3986), absolute ("http://host:8080/path?q#f") or
/// relative ("/path?q", "//host/path", "path", ""), split into its parts.
///
/// The scheme is stored in lower case; every other part is kept exactly as
/// written, without percent-decoding or normalisation, so two URIs whose
/// paths differ only in encoding or dot segments compare as different paths.
/// An empty query or fragment ("/p?", "/p#") is treated as absent.
///
/// Parsing throws SyntaxException, with the text as argument, for: a space or
/// control character anywhere ("Invalid character in URI"), a scheme that does
/// not start with a letter or holds characters other than letters, digits,
/// '+', '-' and '.' ("Invalid scheme in URI"), a port that is not decimal
/// digits or exceeds 65535 ("Invalid port in URI"), a host name holding other
/// than letters, digits, "-._~", '%' and "!$&'()*+,;=" ("Invalid host in URI"),
/// an IPv6 literal without its closing ']', holding other than hexadecimal
/// digits, ':', '.' and a "%zone", or followed by anything but ":port"
/// ("Invalid IPv6 address in URI"). An empty port ("http://h:/") counts as
/// not given. A failed parse or assignment leaves the object unchanged.
///
/// A URI is a value; const operations may run concurrently, changes need the
/// caller's synchronisation.
class URI
{
public:
	/// An empty relative reference.
	URI();
	/// Parses uri; throws SyntaxException (see the class comment).
	///@{
	explicit URI(const std::string& uri);
	explicit URI(const char* uri);
	///@}

	/// Parses uri and replaces the contents; throws SyntaxException.
	///@{
	URI& operator=(const std::string& uri);
	URI& operator=(const char* uri);
	///@}

	/// Makes the URI empty.
	void clear();
	/// True when every part is empty.
	bool empty() const;

	/// The URI as text: the scheme, "//" and the authority (with user info
	/// and a non-default port) when present, then getPathEtc() (without the
	/// "/" it adds for an empty path).
	std::string toString() const;

	/// True when there is no scheme.
	bool isRelative() const;

	/// The lower-case scheme, e.g. "http"; empty for a relative reference.
	const std::string& getScheme() const { return _scheme; }
	/// The user information before '@' in the authority, as written.
	const std::string& getUserInfo() const { return _userInfo; }
	/// The host as written; an IPv6 literal without its brackets.
	const std::string& getHost() const { return _host; }
	/// The port given in the URI, else the scheme's well-known port (http 80,
	/// https 443), else 0.
	unsigned short getPort() const;
	/// The port given in the URI, or 0 when none was given.
	unsigned short getSpecifiedPort() const { return _port; }
	/// host, or host:port when the port was given and is not the scheme's
	/// well-known port; an IPv6 host in brackets ("[::1]:8080"). No user info.
	std::string getAuthority() const;
	/// The path as written; may be empty.
	const std::string& getPath() const { return _path; }
	/// The query without its '?', as written.
	const std::string& getQuery() const { return _query; }
	/// The fragment without its '#', as written.
	const std::string& getFragment() const { return _fragment; }
	/// The path, "?" and the query when there is one, "#" and the fragment when
	/// there is one: the request target of an HTTP request. The path is "/" when
	/// it is empty in a URI with an authority ("http://host" gives "/").
	std::string getPathEtc() const;
	/// As getPathEtc(), without the fragment.
	std::string getPathAndQuery() const;

private:
	/// Fills the parts of a new object from uri.
	void parse(const std::string& uri);
	void parseAuthority(const std::string& authority, const std::string& uri);
	/// The path, "/" for an empty one after an authority.
	std::string requestPath() const;
	/// path followed by "?" and the query, and "#" and the fragment if asked for.
	std::string withQueryAndFragment(std::string path, bool withFragment) const;

	std::string _scheme;
	std::string _userInfo;
	std::string _host;
	unsigned short _port = 0;
	bool _hasAuthority = false;
	std::string _path;
	std::string _query;
	std::string _fragment;
};

} // namespace Tavik

#endif // Tavik_URI_INCLUDED
