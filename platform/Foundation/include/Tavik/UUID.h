#ifndef Tavik_UUID_INCLUDED
#define Tavik_UUID_INCLUDED

#include <array>
#include <cstdint>
#include <string>

namespace Tavik {

class UUIDGenerator;

/// A 128-bit universally unique identifier (RFC 4122), a value type.
///
/// Text form: 36 characters, 32 hexadecimal digits in groups of 8-4-4-4-12
/// separated by '-', e.g. "6ba7b810-9dad-41d1-80b4-00c04fd430c8"; written in
/// lower case, read in either case. Const operations may run concurrently.
class UUID
{
public:
	/// The null UUID, all bits 0.
	UUID() = default;
	/// Reads the text form; throws SyntaxException "Invalid UUID" with the
	/// text as argument when it is not exactly that form.
	explicit UUID(const std::string& uuid);

	/// Reads the text form and replaces the value; throws SyntaxException
	/// as the constructor does, leaving the value unchanged.
	void parse(const std::string& uuid);
	/// As parse(), but returns false instead of throwing.
	bool tryParse(const std::string& uuid);

	/// The 36-character lower-case text form.
	std::string toString() const;
	/// True when all bits are 0.
	bool isNull() const;
	/// The version number, the high four bits of byte 6 (4 for random UUIDs).
	int version() const { return _bytes[6] >> 4; }

	/// Equality of all 128 bits.
	///@{
	bool operator==(const UUID& other) const { return _bytes == other._bytes; }
	bool operator!=(const UUID& other) const { return _bytes != other._bytes; }
	///@}
	/// Byte-wise order, the same as the order of the text forms.
	///@{
	bool operator<(const UUID& other) const { return _bytes < other._bytes; }
	bool operator<=(const UUID& other) const { return _bytes <= other._bytes; }
	bool operator>(const UUID& other) const { return _bytes > other._bytes; }
	bool operator>=(const UUID& other) const { return _bytes >= other._bytes; }
	///@}

private:
	using Bytes = std::array<std::uint8_t, 16>;
	explicit UUID(const Bytes& bytes) : _bytes(bytes) {}

	Bytes _bytes{};

	friend class UUIDGenerator;
};

} // namespace Tavik

#endif // Tavik_UUID_INCLUDED
