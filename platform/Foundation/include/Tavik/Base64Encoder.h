#ifndef Tavik_Base64Encoder_INCLUDED
#define Tavik_Base64Encoder_INCLUDED

#include <memory>
#include <ostream>

namespace Tavik {

/// An output stream that writes the bytes given to it, Base64-encoded with
/// the standard alphabet of RFC 4648 and '=' padding, to another stream.
///
/// The text is broken into lines of lineLength() characters (default 72),
/// each but the last followed by "\r\n"; no line end follows the last line.
/// close() completes the final group; until then up to two bytes wait for the
/// rest of their group. When the target stream fails, this stream's badbit is
/// set. One encoder is used by one thread at a time.
class Base64Encoder : public std::ostream
{
public:
	/// Default characters per line.
	static constexpr int DEFAULT_LINE_LENGTH = 72;

	/// Encodes into ostr, which must outlive the encoder. options is reserved
	/// and must be 0; any other value throws InvalidArgumentException.
	explicit Base64Encoder(std::ostream& ostr, int options = 0);
	/// Closes the encoder if close() has not been called; never throws.
	~Base64Encoder() override;
	Base64Encoder(const Base64Encoder&) = delete;
	Base64Encoder& operator=(const Base64Encoder&) = delete;

	/// Writes the pending bytes as a final group, padded with '=', and flushes
	/// the target stream. Writing after close() fails (badbit). A second
	/// close() does nothing. Throws only what the stream's exceptions() mask asks for.
	void close();

	/// Sets the characters per line; 0 writes one line without breaks.
	/// Negative values throw InvalidArgumentException. Takes effect for the
	/// characters written after the call.
	void setLineLength(int lineLength);
	/// The characters per line; 0 for no line breaks.
	int lineLength() const;

private:
	class Buffer;
	std::unique_ptr<Buffer> _pBuffer;
};

} // namespace Tavik

#endif // Tavik_Base64Encoder_INCLUDED
