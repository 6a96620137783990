#ifndef Tavik_XML_Locator_INCLUDED
#define Tavik_XML_Locator_INCLUDED

namespace Tavik {
namespace XML {

/// Where in the document the parser is while it calls a ContentHandler.
/// Valid only during the parse that handed it out.
class Locator
{
public:
	virtual ~Locator();

	/// Line of the current event, counted from 1.
	virtual int getLineNumber() const = 0;
	/// Column of the current event in bytes, counted from 1.
	virtual int getColumnNumber() const = 0;
};

} // namespace XML
} // namespace Tavik

#endif // Tavik_XML_Locator_INCLUDED
