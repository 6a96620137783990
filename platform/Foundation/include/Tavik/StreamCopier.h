#ifndef Tavik_StreamCopier_INCLUDED
#define Tavik_StreamCopier_INCLUDED

#include <cstddef>
#include <iosfwd>
#include <string>

namespace Tavik {

/// Copies the rest of a stream, in blocks of bufferSize bytes (one buffer
/// per call). A bufferSize of 0 throws InvalidArgumentException.
/// Exceptions of the streams propagate. Safe to call from any thread for
/// streams that no other thread uses.
class StreamCopier
{
public:
	StreamCopier() = delete;

	/// Reads istr to its end (or until reading fails) and writes everything
	/// to ostr; stops early when ostr fails. Returns the bytes written.
	static std::streamsize copyStream(std::istream& istr, std::ostream& ostr, std::size_t bufferSize = 8192);

	/// Reads istr to its end (or until reading fails) and appends everything
	/// to str. Returns the bytes appended.
	static std::streamsize copyToString(std::istream& istr, std::string& str, std::size_t bufferSize = 8192);
};

} // namespace Tavik

#endif // Tavik_StreamCopier_INCLUDED
