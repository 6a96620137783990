#ifndef Tavik_Base64Decoder_INCLUDED
#define Tavik_Base64Decoder_INCLUDED

#include <istream>
#include <memory>

namespace Tavik {

/// An input stream that reads Base64 text (standard alphabet of RFC 4648)
/// from another stream and yields the decoded bytes.
///
/// ASCII white space, line breaks included, is skipped anywhere. '=' padding
/// ends the data: nothing after it is read from the source. A final group
/// without padding (two or three characters at the end of the source) is
/// accepted.
///
/// Bad text throws DataFormatException out of the reading operation (get(),
/// read(), operator>>, ...): "Invalid character in Base64 data" with the
/// character as argument, "Misplaced padding in Base64 data", or
/// "Incomplete group in Base64 data" for a single character left at the end.
/// For that the stream is constructed with exceptions(std::ios::badbit);
/// clearing that mask makes bad text show only as badbit. After such an error
/// the stream stays bad. One decoder is used by one thread at a time.
class Base64Decoder : public std::istream
{
public:
	/// Decodes from istr, which must outlive the decoder. options is reserved
	/// and must be 0; any other value throws InvalidArgumentException.
	explicit Base64Decoder(std::istream& istr, int options = 0);
	~Base64Decoder() override;
	Base64Decoder(const Base64Decoder&) = delete;
	Base64Decoder& operator=(const Base64Decoder&) = delete;

private:
	class Buffer;
	std::unique_ptr<Buffer> _pBuffer;
};

} // namespace Tavik

#endif // Tavik_Base64Decoder_INCLUDED
