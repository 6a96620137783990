#include "Tavik/Base64Decoder.h"

#include "Tavik/Exception.h"

#include <array>
#include <exception>
#include <memory>
#include <streambuf>
#include <string>
#include <utility>

namespace Tavik {

namespace {

const char* const MSG_RESERVED_OPTIONS = "Base64 options must be 0";
const char* const MSG_INVALID_CHARACTER = "Invalid character in Base64 data";
const char* const MSG_MISPLACED_PADDING = "Misplaced padding in Base64 data";
const char* const MSG_INCOMPLETE_GROUP = "Incomplete group in Base64 data";

/// Bytes decoded ahead of the reader: 256 whole groups.
constexpr std::size_t DECODED_SIZE = 3 * 256;

constexpr int NOT_IN_ALPHABET = -1;
constexpr int END_OF_SOURCE = std::char_traits<char>::eof();

constexpr std::array<signed char, 256> makeDecodeTable()
{
	std::array<signed char, 256> table{};
	for (auto& value : table)
		value = NOT_IN_ALPHABET;
	const char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
	for (int i = 0; i < 64; ++i)
		table[static_cast<unsigned char>(alphabet[i])] = static_cast<signed char>(i);
	return table;
}

constexpr std::array<signed char, 256> DECODE_TABLE = makeDecodeTable();

bool isSpace(int c)
{
	return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

/// The character as it can be shown in a message: itself when printable,
/// else "\xNN".
std::string describe(int c)
{
	if (c > ' ' && c < 0x7F) return std::string(1, char(c));
	const char hex[] = "0123456789abcdef";
	return {'\\', 'x', hex[(c >> 4) & 0xF], hex[c & 0xF]};
}

} // namespace

/// Decodes whole groups from the source into its get area.
class Base64Decoder::Buffer : public std::streambuf
{
public:
	explicit Buffer(std::istream& istr) : _istr(istr) {}

protected:
	int_type underflow() override
	{
		if (_pError)
			std::rethrow_exception(std::exchange(_pError, nullptr));
		std::size_t length = 0;
		try
		{
			while (!_ended && DECODED_SIZE - length >= 3)
				length += decodeGroup(_decoded + length);
		}
		catch (const DataFormatException&)
		{
			// The bytes before the bad text are delivered first.
			if (length == 0)
				throw;
			_pError = std::current_exception();
		}
		if (length == 0)
			return traits_type::eof();
		setg(_decoded, _decoded, _decoded + length);
		return traits_type::to_int_type(_decoded[0]);
	}

private:
	/// Reads one group and writes its 0 to 3 bytes to out; sets _ended at
	/// the padding or the end of the source.
	std::size_t decodeGroup(char* out)
	{
		int values[4];
		int count = 0;
		while (count < 4)
		{
			const int c = nextCharacter();
			if (c == END_OF_SOURCE)
			{
				_ended = true;
				break;
			}
			if (c == '=')
			{
				readPadding(count);
				break;
			}
			const int value = DECODE_TABLE[static_cast<unsigned char>(c)];
			if (value == NOT_IN_ALPHABET) fail(MSG_INVALID_CHARACTER, describe(c));
			values[count++] = value;
		}
		if (count == 1) fail(MSG_INCOMPLETE_GROUP, std::string());
		if (count == 0) return 0;
		out[0] = char((values[0] << 2) | (values[1] >> 4));
		if (count > 2) out[1] = char(((values[1] & 0x0F) << 4) | (values[2] >> 2));
		if (count > 3) out[2] = char(((values[2] & 0x03) << 6) | values[3]);
		return std::size_t(count - 1);
	}

	/// After the first '=' of a group that holds count characters: two
	/// characters need "==", three need "=". Ends the data.
	void readPadding(int count)
	{
		_ended = true;
		if (count < 2 || (count == 2 && nextCharacter() != '=')) fail(MSG_MISPLACED_PADDING, std::string());
	}

	/// The next character of the source that is not white space, or END_OF_SOURCE.
	int nextCharacter()
	{
		std::streambuf* pSource = _istr.rdbuf();
		if (pSource == nullptr) return END_OF_SOURCE;
		int c;
		do
		{
			c = pSource->sbumpc();
		} while (isSpace(c));
		return c;
	}

	[[noreturn]] void fail(const char* message, const std::string& argument)
	{
		_ended = true;
		throw DataFormatException(message, argument);
	}

	std::istream& _istr;
	char _decoded[DECODED_SIZE];
	bool _ended = false;
	/// The error found after the bytes now in the get area.
	std::exception_ptr _pError;
};

Base64Decoder::Base64Decoder(std::istream& istr, int options) : std::istream(nullptr)
{
	if (options != 0) throw InvalidArgumentException(MSG_RESERVED_OPTIONS);
	_pBuffer = std::make_unique<Buffer>(istr);
	init(_pBuffer.get());
	// Without badbit in the mask the istream operations would swallow the
	// DataFormatException of the buffer and only set badbit.
	exceptions(std::ios::badbit);
}

Base64Decoder::~Base64Decoder() = default;

} // namespace Tavik
