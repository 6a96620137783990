#include "Tavik/Callweave/AttributedObject.h"

namespace Tavik {
namespace Callweave {

AttributedObject::AttributedObject() = default;

AttributedObject::~AttributedObject() = default;

void AttributedObject::setAttribute(const std::string& name, const std::string& value)
{
	ScopedLock<FastMutex> lock(_mutex);
	_attributes[name] = value;
}

std::string AttributedObject::getAttribute(const std::string& name) const
{
	ScopedLock<FastMutex> lock(_mutex);
	const auto it = _attributes.find(name);
	return it == _attributes.end() ? std::string() : it->second;
}

} // namespace Callweave
} // namespace Tavik
