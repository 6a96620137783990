#include "Tavik/Callweave/SerializerBase.h"

#include "Tavik/Exception.h"

namespace Tavik {
namespace Callweave {

SerializerBase::SerializerBase() = default;

SerializerBase::~SerializerBase() = default;

void SerializerBase::clearProperties()
{
	_properties.clear();
}

void SerializerBase::setProperty(const std::string& name, const std::string& value)
{
	_properties[name] = value;
}

const std::string& SerializerBase::getProperty(const std::string& name) const
{
	const auto it = _properties.find(name);
	if (it == _properties.end()) throw NotFoundException("No such serializer property", name);
	return it->second;
}

} // namespace Callweave
} // namespace Tavik
