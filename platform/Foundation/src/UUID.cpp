#include "Tavik/UUID.h"

#include "Tavik/Exception.h"

namespace Tavik {

namespace {

const char* const MSG_INVALID_UUID = "Invalid UUID";

constexpr std::size_t TEXT_LENGTH = 36;

/// The text form has a '-' at these positions and hexadecimal digits elsewhere.
bool isDashPosition(std::size_t i)
{
	return i == 8 || i == 13 || i == 18 || i == 23;
}

int hexValue(char c)
{
	if (c >= '0' && c <= '9') return c - '0';
	if (c >= 'a' && c <= 'f') return c - 'a' + 10;
	if (c >= 'A' && c <= 'F') return c - 'A' + 10;
	return -1;
}

} // namespace

UUID::UUID(const std::string& uuid)
{
	parse(uuid);
}

void UUID::parse(const std::string& uuid)
{
	if (!tryParse(uuid)) throw SyntaxException(MSG_INVALID_UUID, uuid);
}

bool UUID::tryParse(const std::string& uuid)
{
	if (uuid.size() != TEXT_LENGTH) return false;
	Bytes bytes{};
	std::size_t nibble = 0;
	for (std::size_t i = 0; i < TEXT_LENGTH; ++i)
	{
		if (isDashPosition(i))
		{
			if (uuid[i] != '-') return false;
			continue;
		}
		const int value = hexValue(uuid[i]);
		if (value < 0) return false;
		bytes[nibble / 2] = std::uint8_t(bytes[nibble / 2] | (nibble % 2 == 0 ? value << 4 : value));
		++nibble;
	}
	_bytes = bytes;
	return true;
}

std::string UUID::toString() const
{
	static const char HEX[] = "0123456789abcdef";
	std::string text;
	text.reserve(TEXT_LENGTH);
	for (std::size_t i = 0; i < _bytes.size(); ++i)
	{
		if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
		text += HEX[_bytes[i] >> 4];
		text += HEX[_bytes[i] & 0x0F];
	}
	return text;
}

bool UUID::isNull() const
{
	return *this == UUID();
}

} // namespace Tavik
