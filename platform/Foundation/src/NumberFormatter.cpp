#include "Tavik/NumberFormatter.h"

#include <charconv>
#include <limits>

namespace Tavik {

namespace {

template <class T> void appendDecimal(std::string& str, T value)
{
	// digits10 + 1 digits and a sign cover every value of T.
	char buffer[std::numeric_limits<T>::digits10 + 2];
	const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
	str.append(buffer, result.ptr);
}

template <class T> std::string formatDecimal(T value)
{
	std::string str;
	appendDecimal(str, value);
	return str;
}

} // namespace

std::string NumberFormatter::format(int value)
{
	return formatDecimal(value);
}

std::string NumberFormatter::format(unsigned value)
{
	return formatDecimal(value);
}

std::string NumberFormatter::format(long value)
{
	return formatDecimal(value);
}

std::string NumberFormatter::format(unsigned long value)
{
	return formatDecimal(value);
}

std::string NumberFormatter::format(long long value)
{
	return formatDecimal(value);
}

std::string NumberFormatter::format(unsigned long long value)
{
	return formatDecimal(value);
}

void NumberFormatter::append(std::string& str, int value)
{
	appendDecimal(str, value);
}

void NumberFormatter::append(std::string& str, unsigned value)
{
	appendDecimal(str, value);
}

void NumberFormatter::append(std::string& str, long value)
{
	appendDecimal(str, value);
}

void NumberFormatter::append(std::string& str, unsigned long value)
{
	appendDecimal(str, value);
}

void NumberFormatter::append(std::string& str, long long value)
{
	appendDecimal(str, value);
}

void NumberFormatter::append(std::string& str, unsigned long long value)
{
	appendDecimal(str, value);
}

} // namespace Tavik
