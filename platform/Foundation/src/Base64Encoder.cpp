#include "Tavik/Base64Encoder.h"

#include "Tavik/Exception.h"

#include <algorithm>
#include <cstring>
#include <streambuf>

namespace Tavik {

namespace {

const char* const MSG_RESERVED_OPTIONS = "Base64 options must be 0";
const char* const MSG_NEGATIVE_LINE_LENGTH = "Base64 line length must not be negative";

const char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// Bytes collected before they are encoded: 256 whole groups.
constexpr std::size_t INPUT_SIZE = 3 * 256;
/// Encoded text collected before it goes to the target stream.
constexpr std::size_t OUTPUT_SIZE = 1024;
/// The most text one group can produce: four characters, each after a line end.
constexpr std::size_t MAX_GROUP_TEXT = 4 * 3;

} // namespace

/// Collects bytes in its put area and encodes whole groups as the area fills.
class Base64Encoder::Buffer : public std::streambuf
{
public:
	explicit Buffer(std::ostream& ostr) : _ostr(ostr) { setp(_input, _input + INPUT_SIZE); }

	/// Encodes the last bytes with padding; false when the target failed.
	bool close()
	{
		if (_closed) return true;
		_closed = true;
		const bool ok = encodeGroups(true);
		setp(nullptr, nullptr);
		return ok && _ostr.flush().good();
	}

	int lineLength() const { return _lineLength; }
	void setLineLength(int lineLength) { _lineLength = lineLength; }

protected:
	int_type overflow(int_type c) override
	{
		if (_closed || !encodeGroups(false)) return traits_type::eof();
		if (!traits_type::eq_int_type(c, traits_type::eof()))
		{
			*pptr() = traits_type::to_char_type(c);
			pbump(1);
			return c;
		}
		return traits_type::not_eof(c);
	}

	int sync() override
	{
		if (_closed) return 0;
		return encodeGroups(false) && _ostr.flush().good() ? 0 : -1;
	}

private:
	/// Encodes the whole groups in the put area (all of it, padded, when
	/// final) and keeps the rest at its start.
	bool encodeGroups(bool final)
	{
		const char* p = pbase();
		const char* end = pptr();
		while (end - p >= 3 || (final && end > p))
		{
			const std::size_t count = std::min<std::size_t>(3, std::size_t(end - p));
			encodeGroup(reinterpret_cast<const unsigned char*>(p), count);
			p += count;
			if (OUTPUT_SIZE - _outputLength < MAX_GROUP_TEXT && !flushOutput()) return false;
		}
		const std::ptrdiff_t rest = end - p;
		std::memmove(_input, p, std::size_t(rest));
		setp(_input, _input + INPUT_SIZE);
		pbump(int(rest));
		return flushOutput();
	}

	void encodeGroup(const unsigned char* bytes, std::size_t count)
	{
		const unsigned b0 = bytes[0];
		const unsigned b1 = count > 1 ? bytes[1] : 0;
		const unsigned b2 = count > 2 ? bytes[2] : 0;
		putChar(ALPHABET[b0 >> 2]);
		putChar(ALPHABET[((b0 & 0x03) << 4) | (b1 >> 4)]);
		putChar(count > 1 ? ALPHABET[((b1 & 0x0F) << 2) | (b2 >> 6)] : '=');
		putChar(count > 2 ? ALPHABET[b2 & 0x3F] : '=');
	}

	void putChar(char c)
	{
		if (_lineLength > 0 && _column >= _lineLength)
		{
			_output[_outputLength++] = '\r';
			_output[_outputLength++] = '\n';
			_column = 0;
		}
		_output[_outputLength++] = c;
		++_column;
	}

	bool flushOutput()
	{
		_ostr.write(_output, std::streamsize(_outputLength));
		_outputLength = 0;
		return _ostr.good();
	}

	std::ostream& _ostr;
	char _input[INPUT_SIZE];
	char _output[OUTPUT_SIZE];
	std::size_t _outputLength = 0;
	int _lineLength = DEFAULT_LINE_LENGTH;
	int _column = 0;
	bool _closed = false;
};

Base64Encoder::Base64Encoder(std::ostream& ostr, int options) : std::ostream(nullptr)
{
	if (options != 0) throw InvalidArgumentException(MSG_RESERVED_OPTIONS);
	_pBuffer = std::make_unique<Buffer>(ostr);
	init(_pBuffer.get());
}

Base64Encoder::~Base64Encoder()
{
	try
	{
		close();
	}
	catch (...)
	{
		// A destructor must not throw; the caller who wants to see a failing
		// target calls close() first.
	}
}

void Base64Encoder::close()
{
	if (!_pBuffer->close()) setstate(std::ios::badbit);
}

void Base64Encoder::setLineLength(int lineLength)
{
	if (lineLength < 0) throw InvalidArgumentException(MSG_NEGATIVE_LINE_LENGTH);
	_pBuffer->setLineLength(lineLength);
}

int Base64Encoder::lineLength() const
{
	return _pBuffer->lineLength();
}

} // namespace Tavik
