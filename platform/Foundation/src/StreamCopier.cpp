#include "Tavik/StreamCopier.h"

#include "Tavik/Exception.h"

#include <istream>
#include <memory>
#include <ostream>

namespace Tavik {

namespace {

const char* const MSG_ZERO_BUFFER = "Stream copy buffer size must not be 0";

/// Reads istr in blocks and hands each block to sink, which returns false to stop.
template <class Sink> std::streamsize copyBlocks(std::istream& istr, std::size_t bufferSize, Sink sink)
{
	if (bufferSize == 0) throw InvalidArgumentException(MSG_ZERO_BUFFER);
	const std::unique_ptr<char[]> pBuffer(new char[bufferSize]);
	std::streamsize total = 0;
	while (istr)
	{
		istr.read(pBuffer.get(), std::streamsize(bufferSize));
		const std::streamsize count = istr.gcount();
		if (count == 0 || !sink(pBuffer.get(), count)) break;
		total += count;
	}
	return total;
}

} // namespace

std::streamsize StreamCopier::copyStream(std::istream& istr, std::ostream& ostr, std::size_t bufferSize)
{
	return copyBlocks(istr, bufferSize,
	                  [&ostr](const char* data, std::streamsize count)
	                  {
		                  ostr.write(data, count);
		                  return ostr.good();
	                  });
}

std::streamsize StreamCopier::copyToString(std::istream& istr, std::string& str, std::size_t bufferSize)
{
	return copyBlocks(istr, bufferSize,
	                  [&str](const char* data, std::streamsize count)
	                  {
		                  str.append(data, std::size_t(count));
		                  return true;
	                  });
}

} // namespace Tavik
