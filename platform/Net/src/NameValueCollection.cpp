#include "Tavik/Net/NameValueCollection.h"

#include "Tavik/Exception.h"
#include "Tavik/String.h"

#include <algorithm>

namespace Tavik {
namespace Net {

NameValueCollection::NameValueCollection() = default;

NameValueCollection::~NameValueCollection() = default;

void NameValueCollection::set(const std::string& name, const std::string& value)
{
	auto it = find(name);
	if (it == _entries.end())
	{
		_entries.emplace_back(name, value);
		return;
	}
	it->second = value;
	_entries.erase(std::remove_if(it + 1, _entries.end(),
	                              [&name](const Entry& entry) { return icompare(entry.first, name) == 0; }),
	               _entries.end());
}

void NameValueCollection::add(const std::string& name, const std::string& value)
{
	_entries.emplace_back(name, value);
}

bool NameValueCollection::has(const std::string& name) const
{
	return find(name) != _entries.end();
}

const std::string& NameValueCollection::get(const std::string& name) const
{
	auto it = find(name);
	if (it == _entries.end()) throw NotFoundException(name);
	return it->second;
}

const std::string& NameValueCollection::get(const std::string& name, const std::string& defaultValue) const
{
	auto it = find(name);
	return it == _entries.end() ? defaultValue : it->second;
}

const std::string& NameValueCollection::operator[](const std::string& name) const
{
	return get(name);
}

void NameValueCollection::erase(const std::string& name)
{
	_entries.erase(std::remove_if(_entries.begin(), _entries.end(),
	                              [&name](const Entry& entry) { return icompare(entry.first, name) == 0; }),
	               _entries.end());
}

void NameValueCollection::clear()
{
	_entries.clear();
}

std::vector<NameValueCollection::Entry>::iterator NameValueCollection::find(const std::string& name)
{
	const auto& self = *this;
	return _entries.begin() + (self.find(name) - _entries.cbegin());
}

NameValueCollection::ConstIterator NameValueCollection::find(const std::string& name) const
{
	return std::find_if(_entries.begin(), _entries.end(),
	                    [&name](const Entry& entry) { return icompare(entry.first, name) == 0; });
}

} // namespace Net
} // namespace Tavik
