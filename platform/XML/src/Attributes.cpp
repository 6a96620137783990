#include "Tavik/XML/Attributes.h"

#include "Tavik/Exception.h"

#include <string>

namespace Tavik {
namespace XML {

namespace {

const std::string NO_VALUE;

} // namespace

Attributes::Attributes() : _length(0)
{
}

Attributes::~Attributes() = default;

void Attributes::addAttribute(const std::string& namespaceURI, const std::string& localName,
                              const std::string& qname, const std::string& value)
{
	if (_length == static_cast<int>(_attributes.size())) _attributes.emplace_back();
	Attribute& attribute = _attributes[_length++];
	attribute.uri.assign(namespaceURI);
	attribute.localName.assign(localName);
	attribute.qname.assign(qname);
	attribute.value.assign(value);
}

void Attributes::clear()
{
	_length = 0;
}

int Attributes::getLength() const
{
	return _length;
}

const std::string& Attributes::getURI(int index) const
{
	return at(index).uri;
}

const std::string& Attributes::getLocalName(int index) const
{
	return at(index).localName;
}

const std::string& Attributes::getQName(int index) const
{
	return at(index).qname;
}

const std::string& Attributes::getValue(int index) const
{
	return at(index).value;
}

const std::string& Attributes::getValue(const std::string& qname) const
{
	for (int i = 0; i < _length; ++i)
	{
		if (_attributes[i].qname == qname) return _attributes[i].value;
	}
	return NO_VALUE;
}

const std::string& Attributes::getValue(const std::string& namespaceURI, const std::string& localName) const
{
	for (int i = 0; i < _length; ++i)
	{
		const Attribute& attribute = _attributes[i];
		if (attribute.localName == localName && attribute.uri == namespaceURI) return attribute.value;
	}
	return NO_VALUE;
}

const Attributes::Attribute& Attributes::at(int index) const
{
	if (index < 0 || index >= _length)
		throw InvalidArgumentException("Attribute index out of range", std::to_string(index));
	return _attributes[index];
}

} // namespace XML
} // namespace Tavik
