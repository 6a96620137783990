#ifndef Tavik_Callweave_AttributedObject_INCLUDED
#define Tavik_Callweave_AttributedObject_INCLUDED

#include "Tavik/Mutex.h"

#include <map>
#include <string>

namespace Tavik {
namespace Callweave {

/// Named string attributes attached to an object, such as the "SID" of the
/// subscriber that a transport serves.
///
/// Thread safety: every operation may be called from any thread; one thread
/// may set an attribute while another reads it.
class AttributedObject
{
public:
	AttributedObject();
	AttributedObject(const AttributedObject&) = delete;
	AttributedObject& operator=(const AttributedObject&) = delete;
	virtual ~AttributedObject();

	/// Sets or replaces the attribute.
	void setAttribute(const std::string& name, const std::string& value);
	/// The value of the attribute, or the empty string when none has this name.
	std::string getAttribute(const std::string& name) const;

private:
	mutable FastMutex _mutex;
	std::map<std::string, std::string> _attributes;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_AttributedObject_INCLUDED
