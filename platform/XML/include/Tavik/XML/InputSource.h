#ifndef Tavik_XML_InputSource_INCLUDED
#define Tavik_XML_InputSource_INCLUDED

#include <istream>

namespace Tavik {
namespace XML {

/// A document to parse: the byte stream it is read from. The stream is read
/// (not owned) and must outlive the parse.
class InputSource
{
public:
	/// A document read from istr.
	explicit InputSource(std::istream& istr);
	~InputSource();

	/// The stream given to the constructor.
	std::istream& getByteStream() const;

private:
	std::istream& _istr;
};

} // namespace XML
} // namespace Tavik

#endif // Tavik_XML_InputSource_INCLUDED
