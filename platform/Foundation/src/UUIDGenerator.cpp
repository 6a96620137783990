#include "Tavik/UUIDGenerator.h"

#include "Tavik/Exception.h"

#include <cerrno>
#include <sys/random.h>
#include <system_error>

namespace Tavik {

namespace {

const char* const MSG_NO_RANDOM = "Cannot obtain random bytes";

void fillRandom(std::uint8_t* buffer, std::size_t length)
{
	std::size_t filled = 0;
	while (filled < length)
	{
		const ssize_t count = ::getrandom(buffer + filled, length - filled, 0);
		if (count < 0)
		{
			if (errno == EINTR) continue;
			const int error = errno;
			throw SystemException(MSG_NO_RANDOM, std::system_category().message(error), error);
		}
		filled += std::size_t(count);
	}
}

} // namespace

UUID UUIDGenerator::create()
{
	UUID::Bytes bytes;
	fillRandom(bytes.data(), bytes.size());
	bytes[6] = std::uint8_t((bytes[6] & 0x0F) | 0x40); // version 4: random
	bytes[8] = std::uint8_t((bytes[8] & 0x3F) | 0x80); // variant 10xx: RFC 4122
	return UUID(bytes);
}

UUIDGenerator& UUIDGenerator::defaultGenerator()
{
	static UUIDGenerator generator;
	return generator;
}

} // namespace Tavik
