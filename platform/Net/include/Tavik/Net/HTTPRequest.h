#ifndef Tavik_Net_HTTPRequest_INCLUDED
#define Tavik_Net_HTTPRequest_INCLUDED

#include "Tavik/Net/HTTPMessage.h"

#include <string>

namespace Tavik {
namespace Net {

/// An HTTP request head: method, request target (URI) and version, plus the
/// header fields of HTTPMessage. Any method token is allowed ("SUBSCRIBE").
///
/// Not thread-safe.
class HTTPRequest : public HTTPMessage
{
public:
	/// The methods "GET", "HEAD" and "POST".
	///@{
	static const std::string HTTP_GET;
	static const std::string HTTP_HEAD;
	static const std::string HTTP_POST;
	///@}

	/// GET / HTTP/1.0.
	HTTPRequest();
	/// A request for uri (the request target) with method, without header fields.
	HTTPRequest(const std::string& method, const std::string& uri, const std::string& version = HTTP_1_1);
	~HTTPRequest() override;

	/// The method, e.g. "GET" or "NOTIFY".
	///@{
	void setMethod(const std::string& method);
	const std::string& getMethod() const { return _method; }
	///@}

	/// The request target as sent or received: path, query and fragment.
	///@{
	void setURI(const std::string& uri);
	const std::string& getURI() const { return _uri; }
	///@}

private:
	std::string _method;
	std::string _uri;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPRequest_INCLUDED
