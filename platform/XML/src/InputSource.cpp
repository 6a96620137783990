#include "Tavik/XML/InputSource.h"

namespace Tavik {
namespace XML {

InputSource::InputSource(std::istream& istr) : _istr(istr)
{
}

InputSource::~InputSource() = default;

std::istream& InputSource::getByteStream() const
{
	return _istr;
}

} // namespace XML
} // namespace Tavik
