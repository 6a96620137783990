#ifndef Tavik_Net_HTTPMessage_INCLUDED
#define Tavik_Net_HTTPMessage_INCLUDED

#include "Tavik/Net/NameValueCollection.h"

#include <cstdint>
#include <string>

namespace Tavik {
namespace Net {

/// The head shared by HTTP requests and responses: the protocol version and
/// the header fields (the message is the collection of its fields).
///
/// The framing properties (content length, chunked transfer encoding,
/// persistence, content type) live in their header fields, so reading a
/// received message and building one to send use the same accessors.
///
/// Not thread-safe.
class HTTPMessage : public NameValueCollection
{
public:
	/// The protocol versions "HTTP/1.0" and "HTTP/1.1".
	///@{
	static const std::string HTTP_1_0;
	static const std::string HTTP_1_1;
	///@}

	/// Header field names ("Connection", "Content-Length", "Content-Type",
	/// "Transfer-Encoding") and the values "close", "keep-alive" and "chunked".
	///@{
	static const std::string CONNECTION;
	static const std::string CONNECTION_CLOSE;
	static const std::string CONNECTION_KEEP_ALIVE;
	static const std::string CONTENT_LENGTH;
	static const std::string CONTENT_TYPE;
	static const std::string TRANSFER_ENCODING;
	static const std::string CHUNKED_TRANSFER_ENCODING;
	///@}

	/// getContentLength() of a message without Content-Length.
	static constexpr std::int64_t UNKNOWN_CONTENT_LENGTH = -1;

	~HTTPMessage() override;

	/// "HTTP/1.0" or "HTTP/1.1".
	void setVersion(const std::string& version);
	/// The protocol version, e.g. "HTTP/1.1".
	const std::string& getVersion() const { return _version; }

	/// Sets Content-Length and drops Transfer-Encoding; UNKNOWN_CONTENT_LENGTH
	/// (any negative value) removes Content-Length.
	void setContentLength(std::int64_t length);
	/// The Content-Length in bytes, or UNKNOWN_CONTENT_LENGTH when absent.
	/// Throws MessageException when the field is not a decimal number.
	std::int64_t getContentLength() const;

	/// true sets "Transfer-Encoding: chunked" and drops Content-Length; false
	/// removes Transfer-Encoding.
	void setChunkedTransferEncoding(bool chunked);
	/// Whether Transfer-Encoding lists "chunked".
	bool getChunkedTransferEncoding() const;

	/// Sets Content-Type; an empty type removes it.
	void setContentType(const std::string& mediaType);
	/// The Content-Type, empty when absent.
	const std::string& getContentType() const;

	/// false sets "Connection: close". true removes that for HTTP/1.1, where
	/// connections persist by default, and sets "Connection: keep-alive" for
	/// HTTP/1.0; set the version first.
	void setKeepAlive(bool keepAlive);
	/// Whether the connection persists after this message: the Connection
	/// field's "close" or "keep-alive" token, else the version's default.
	bool getKeepAlive() const;

protected:
	/// A message of this version without header fields.
	explicit HTTPMessage(const std::string& version);

private:
	std::string _version;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPMessage_INCLUDED
