#ifndef Tavik_Format_INCLUDED
#define Tavik_Format_INCLUDED

#include "Tavik/NumberFormatter.h"

#include <string>
#include <type_traits>
#include <vector>

namespace Tavik {

namespace Impl {

/// Fills the placeholders of fmt with texts, in order (see Tavik::format).
std::string formatTexts(const std::string& fmt, const std::vector<std::string>& texts);

inline std::string formatArgument(const std::string& value)
{
	return value;
}

inline std::string formatArgument(const char* value)
{
	return value ? std::string(value) : std::string("(null)");
}

inline std::string formatArgument(char value)
{
	return std::string(1, value);
}

inline std::string formatArgument(bool value)
{
	return value ? "true" : "false";
}

template <class T> std::enable_if_t<std::is_integral_v<T>, std::string> formatArgument(T value)
{
	if constexpr (std::is_signed_v<T>)
		return NumberFormatter::format(static_cast<long long>(value));
	else
		return NumberFormatter::format(static_cast<unsigned long long>(value));
}

} // namespace Impl

/// Builds a text from fmt, replacing each placeholder "%s" or "%d", in order,
/// with the text form of the next argument; "%%" is a single '%'.
///
/// Both placeholders take any supported argument; the letter only tells the
/// reader what to expect. Text forms: std::string and const char* as they
/// are (a null const char* as "(null)"), char as the character itself, bool
/// as "true" or "false", every other integer type in decimal as written by
/// NumberFormatter. Other argument types do not compile.
///
/// A placeholder without an argument stays in the text as written; arguments
/// without a placeholder are ignored; a '%' followed by anything else is kept
/// as it is. Throws only std::bad_alloc. Safe to call from any thread.
///
///     format("%s%d", "Second-", 1800) == "Second-1800"
template <class... Args> std::string format(const std::string& fmt, const Args&... args)
{
	return Impl::formatTexts(fmt, {Impl::formatArgument(args)...});
}

} // namespace Tavik

#endif // Tavik_Format_INCLUDED
