// Any text through Base64Decoder. Bad text ends in DataFormatException; text
// that decodes must give bytes that, encoded again and decoded, come back
// unchanged.

#include "Tavik/Base64Decoder.h"
#include "Tavik/Base64Encoder.h"
#include "Tavik/Exception.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

namespace {

/// Reads with read() as the property-set deserializer does. Not through a
/// string built from std::istreambuf_iterator: the fuzzer runtime, built
/// without exceptions, brings its own copy of that string constructor, which
/// leaks when the stream throws.
std::string decode(const std::string& text)
{
	std::istringstream source(text);
	Tavik::Base64Decoder decoder(source);
	std::string bytes;
	char buffer[512];
	while (decoder.read(buffer, sizeof buffer) || decoder.gcount() > 0)
		bytes.append(buffer, std::size_t(decoder.gcount()));
	return bytes;
}

std::string encode(const std::string& bytes)
{
	std::ostringstream target;
	Tavik::Base64Encoder encoder(target);
	encoder << bytes;
	encoder.close();
	return target.str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size)
{
	std::string bytes;
	try
	{
		bytes = decode(std::string(reinterpret_cast<const char*>(pData), size));
	}
	catch (const Tavik::DataFormatException&)
	{
		return 0;
	}
	if (decode(encode(bytes)) != bytes) std::abort();
	return 0;
}
