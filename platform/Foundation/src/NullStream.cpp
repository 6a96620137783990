#include "Tavik/NullStream.h"

namespace Tavik {

NullOutputStream::NullOutputStream() : std::ostream(&_buffer) {}

NullOutputStream::~NullOutputStream() = default;

NullOutputStream::Buffer::int_type NullOutputStream::Buffer::overflow(int_type c)
{
	return traits_type::not_eof(c);
}

std::streamsize NullOutputStream::Buffer::xsputn(const char_type*, std::streamsize n)
{
	return n;
}

} // namespace Tavik
