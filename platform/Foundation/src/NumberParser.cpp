#include "Tavik/NumberParser.h"

#include "Tavik/Exception.h"

#include <charconv>
#include <limits>
#include <string_view>
#include <type_traits>

namespace Tavik {

namespace {

const char* const MSG_NOT_INTEGER = "Not a valid integer";
const char* const MSG_NOT_UNSIGNED = "Not a valid unsigned integer";
const char* const MSG_NOT_FLOAT = "Not a valid floating-point number";

bool isSpace(char c)
{
	return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

bool isDigit(char c)
{
	return c >= '0' && c <= '9';
}

char toLower(char c)
{
	return (c >= 'A' && c <= 'Z') ? char(c - 'A' + 'a') : c;
}

std::string_view trimmed(const std::string& s)
{
	std::string_view text(s);
	while (!text.empty() && isSpace(text.front()))
		text.remove_prefix(1);
	while (!text.empty() && isSpace(text.back()))
		text.remove_suffix(1);
	return text;
}

bool equalsIgnoringCase(std::string_view text, std::string_view lowerCaseWord)
{
	if (text.size() != lowerCaseWord.size()) return false;
	for (std::size_t i = 0; i < text.size(); ++i)
	{
		if (toLower(text[i]) != lowerCaseWord[i]) return false;
	}
	return true;
}

/// Appends the digits that start at text[pos] to out and advances pos past
/// them. A separator counts only between two digits; with grouping false
/// there is none. Returns false when text[pos] is not a digit.
bool takeDigits(std::string_view text, std::size_t& pos, bool grouping, char separator, std::string& out)
{
	const std::size_t start = pos;
	while (pos < text.size())
	{
		const char c = text[pos];
		const bool betweenDigits = pos > start && pos + 1 < text.size() && isDigit(text[pos + 1]);
		if (isDigit(c))
			out += c;
		else if (!(grouping && c == separator && betweenDigits))
			break;
		++pos;
	}
	return pos > start;
}

/// Converts the whole of digits, which holds only an optional '-' and the
/// characters from_chars reads, into value; false on any rest or overflow.
template <class T> bool convert(const std::string& digits, T& value)
{
	T result;
	const char* end = digits.data() + digits.size();
	const auto [ptr, ec] = std::from_chars(digits.data(), end, result);
	if (ec != std::errc() || ptr != end) return false;
	value = result;
	return true;
}

template <class T> bool parseInteger(const std::string& s, T& value, char thousandSeparator)
{
	const std::string_view text = trimmed(s);
	std::size_t pos = 0;
	std::string digits;
	if (pos < text.size() && (text[pos] == '+' || text[pos] == '-'))
	{
		if (text[pos] == '-')
		{
			if (!std::is_signed_v<T>) return false;
			digits += '-';
		}
		++pos;
	}
	if (!takeDigits(text, pos, true, thousandSeparator, digits) || pos != text.size()) return false;
	return convert(digits, value);
}

bool parseSpecialFloat(std::string_view word, bool negative, double& value)
{
	double result;
	if (equalsIgnoringCase(word, "nan"))
		result = std::numeric_limits<double>::quiet_NaN();
	else if (equalsIgnoringCase(word, "inf") || equalsIgnoringCase(word, "infinity"))
		result = std::numeric_limits<double>::infinity();
	else
		return false;
	value = negative ? -result : result;
	return true;
}

bool parseDouble(const std::string& s, double& value, char decimalSeparator, char thousandSeparator)
{
	const std::string_view text = trimmed(s);
	std::size_t pos = 0;
	bool negative = false;
	if (pos < text.size() && (text[pos] == '+' || text[pos] == '-'))
	{
		negative = text[pos] == '-';
		++pos;
	}
	if (pos < text.size() && !isDigit(text[pos]) && text[pos] != decimalSeparator)
		return parseSpecialFloat(text.substr(pos), negative, value);

	// Rewrite the number in the syntax from_chars reads: '-', digits, '.', 'e'.
	std::string number(negative ? "-" : "");
	const bool grouping = thousandSeparator != decimalSeparator;
	const bool hasIntegerPart = takeDigits(text, pos, grouping, thousandSeparator, number);
	bool hasFraction = false;
	if (pos < text.size() && text[pos] == decimalSeparator)
	{
		number += '.';
		++pos;
		hasFraction = takeDigits(text, pos, false, 0, number);
	}
	if (!hasIntegerPart && !hasFraction) return false;
	if (pos < text.size() && (text[pos] == 'e' || text[pos] == 'E'))
	{
		number += 'e';
		++pos;
		if (pos < text.size() && (text[pos] == '+' || text[pos] == '-')) number += text[pos++];
		if (!takeDigits(text, pos, false, 0, number)) return false;
	}
	return pos == text.size() && convert(number, value);
}

template <class T> T parseOrThrow(const std::string& s, char thousandSeparator, const char* message)
{
	T value;
	if (!parseInteger(s, value, thousandSeparator)) throw SyntaxException(message, s);
	return value;
}

} // namespace

int NumberParser::parse(const std::string& s, char thousandSeparator)
{
	return parseOrThrow<int>(s, thousandSeparator, MSG_NOT_INTEGER);
}

bool NumberParser::tryParse(const std::string& s, int& value, char thousandSeparator)
{
	return parseInteger(s, value, thousandSeparator);
}

unsigned NumberParser::parseUnsigned(const std::string& s, char thousandSeparator)
{
	return parseOrThrow<unsigned>(s, thousandSeparator, MSG_NOT_UNSIGNED);
}

bool NumberParser::tryParseUnsigned(const std::string& s, unsigned& value, char thousandSeparator)
{
	return parseInteger(s, value, thousandSeparator);
}

std::int64_t NumberParser::parse64(const std::string& s, char thousandSeparator)
{
	return parseOrThrow<std::int64_t>(s, thousandSeparator, MSG_NOT_INTEGER);
}

bool NumberParser::tryParse64(const std::string& s, std::int64_t& value, char thousandSeparator)
{
	return parseInteger(s, value, thousandSeparator);
}

std::uint64_t NumberParser::parseUnsigned64(const std::string& s, char thousandSeparator)
{
	return parseOrThrow<std::uint64_t>(s, thousandSeparator, MSG_NOT_UNSIGNED);
}

bool NumberParser::tryParseUnsigned64(const std::string& s, std::uint64_t& value, char thousandSeparator)
{
	return parseInteger(s, value, thousandSeparator);
}

double NumberParser::parseFloat(const std::string& s, char decimalSeparator, char thousandSeparator)
{
	double value;
	if (!parseDouble(s, value, decimalSeparator, thousandSeparator)) throw SyntaxException(MSG_NOT_FLOAT, s);
	return value;
}

bool NumberParser::tryParseFloat(const std::string& s, double& value, char decimalSeparator,
								 char thousandSeparator)
{
	return parseDouble(s, value, decimalSeparator, thousandSeparator);
}

} // namespace Tavik
