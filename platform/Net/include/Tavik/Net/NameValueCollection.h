#ifndef Tavik_Net_NameValueCollection_INCLUDED
#define Tavik_Net_NameValueCollection_INCLUDED

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Tavik {
namespace Net {

/// An ordered list of name/value pairs whose names compare ignoring ASCII
/// letter case, as HTTP header fields do. A name may occur more than once.
///
/// Not thread-safe: one thread at a time, or several readers.
class NameValueCollection
{
public:
	/// A name and its value.
	using Entry = std::pair<std::string, std::string>;
	/// Walks the entries in order.
	using ConstIterator = std::vector<Entry>::const_iterator;

	NameValueCollection();
	virtual ~NameValueCollection();

	/// Replaces the value of the first entry with the name and drops any later
	/// ones; appends a new entry when there is none.
	void set(const std::string& name, const std::string& value);
	/// Appends an entry, keeping any that have the same name.
	void add(const std::string& name, const std::string& value);
	/// True when an entry with the name exists.
	bool has(const std::string& name) const;
	/// The value of the first entry with the name. Throws NotFoundException
	/// (with the name as argument) when there is none.
	const std::string& get(const std::string& name) const;
	/// The value of the first entry with the name, or defaultValue.
	const std::string& get(const std::string& name, const std::string& defaultValue) const;
	/// Same as get(name).
	const std::string& operator[](const std::string& name) const;
	/// Removes every entry with the name.
	void erase(const std::string& name);
	/// Removes every entry.
	void clear();

	/// True when there is no entry.
	bool empty() const { return _entries.empty(); }
	/// The number of entries, each repeated name counted.
	std::size_t size() const { return _entries.size(); }
	/// Entries in the order they were added.
	///@{
	ConstIterator begin() const { return _entries.begin(); }
	ConstIterator end() const { return _entries.end(); }
	///@}

private:
	std::vector<Entry>::iterator find(const std::string& name);
	ConstIterator find(const std::string& name) const;

	std::vector<Entry> _entries;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_NameValueCollection_INCLUDED
