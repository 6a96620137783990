#ifndef Tavik_NullStream_INCLUDED
#define Tavik_NullStream_INCLUDED

#include <ostream>
#include <streambuf>

namespace Tavik {

/// An output stream that accepts and discards everything written to it and
/// never fails. Costs no allocation. One stream is used by one thread at a time.
class NullOutputStream : public std::ostream
{
public:
	NullOutputStream();
	~NullOutputStream() override;
	NullOutputStream(const NullOutputStream&) = delete;
	NullOutputStream& operator=(const NullOutputStream&) = delete;

private:
	class Buffer : public std::streambuf
	{
	protected:
		int_type overflow(int_type c) override;
		std::streamsize xsputn(const char_type* s, std::streamsize n) override;
	};

	Buffer _buffer;
};

} // namespace Tavik

#endif // Tavik_NullStream_INCLUDED
