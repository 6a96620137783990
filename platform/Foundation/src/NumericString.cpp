#include "Tavik/NumericString.h"

#include "Tavik/Exception.h"
#include "Tavik/NumberFormatter.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace Tavik {

namespace {

const char* const MSG_BUFFER_TOO_SMALL = "Buffer too small for number text";

/// The longest text: a plain-notation double at the bottom of the denormal
/// range, "-0." followed by 323 zeros and 17 digits.
constexpr std::size_t MAX_TEXT_LENGTH = 400;

/// A digit string d.ddd x 10^exponent, the shortest that reads back as the value.
struct Decimal
{
	bool negative = false;
	char digits[24];
	int digitCount = 0;
	int exponent = 0;
};

/// Writes the text of value into out (MAX_TEXT_LENGTH bytes, no NUL) and
/// returns its length.
template <class T> std::size_t writeNumber(char* out, T value, int lowDec, int highDec)
{
	if (std::isnan(value))
	{
		std::memcpy(out, "nan", 3);
		return 3;
	}
	if (std::isinf(value))
	{
		const char* text = value < 0 ? "-inf" : "inf";
		std::memcpy(out, text, std::strlen(text));
		return std::strlen(text);
	}

	// to_chars without a precision gives the shortest round-trip digits, and its
	// scientific form ("-1.5e-07", "1e+20") is already our exponential notation.
	char scientific[48];
	const char* end =
	    std::to_chars(scientific, scientific + sizeof(scientific), value, std::chars_format::scientific).ptr;
	Decimal decimal;
	const char* p = scientific;
	decimal.negative = *p == '-';
	if (decimal.negative) ++p;
	for (; *p != 'e'; ++p)
	{
		if (*p != '.') decimal.digits[decimal.digitCount++] = *p;
	}
	const bool negativeExponent = p[1] == '-';
	std::from_chars(p + 2, end, decimal.exponent);
	if (negativeExponent) decimal.exponent = -decimal.exponent;

	if (decimal.exponent < lowDec || decimal.exponent >= highDec)
	{
		std::memcpy(out, scientific, std::size_t(end - scientific));
		return std::size_t(end - scientific);
	}

	char* q = out;
	if (decimal.negative) *q++ = '-';
	if (decimal.exponent < 0)
	{
		*q++ = '0';
		*q++ = '.';
		for (int i = -1; i > decimal.exponent; --i)
			*q++ = '0';
		std::memcpy(q, decimal.digits, std::size_t(decimal.digitCount));
		q += decimal.digitCount;
	}
	else
	{
		const int integerDigits = decimal.exponent + 1;
		for (int i = 0; i < integerDigits; ++i)
			*q++ = i < decimal.digitCount ? decimal.digits[i] : '0';
		if (decimal.digitCount > integerDigits)
		{
			*q++ = '.';
			std::memcpy(q, decimal.digits + integerDigits, std::size_t(decimal.digitCount - integerDigits));
			q += decimal.digitCount - integerDigits;
		}
	}
	return std::size_t(q - out);
}

template <class T> void writeToBuffer(char* buffer, int bufferSize, T value, int lowDec, int highDec)
{
	char text[MAX_TEXT_LENGTH];
	const std::size_t length = writeNumber(text, value, lowDec, highDec);
	if (buffer == nullptr || bufferSize < 0 || std::size_t(bufferSize) <= length)
		throw InvalidArgumentException(MSG_BUFFER_TOO_SMALL, NumberFormatter::format(length + 1));
	std::memcpy(buffer, text, length);
	buffer[length] = '\0';
}

template <class T> std::string writeToString(T value, int lowDec, int highDec)
{
	char text[MAX_TEXT_LENGTH];
	return std::string(text, writeNumber(text, value, lowDec, highDec));
}

} // namespace

void floatToStr(char* buffer, int bufferSize, float value, int lowDec, int highDec)
{
	writeToBuffer(buffer, bufferSize, value, lowDec, highDec);
}

void doubleToStr(char* buffer, int bufferSize, double value, int lowDec, int highDec)
{
	writeToBuffer(buffer, bufferSize, value, lowDec, highDec);
}

std::string floatToStr(float value, int lowDec, int highDec)
{
	return writeToString(value, lowDec, highDec);
}

std::string doubleToStr(double value, int lowDec, int highDec)
{
	return writeToString(value, lowDec, highDec);
}

} // namespace Tavik
