// Any text for every NumberParser operation. The first two bytes choose the
// thousands and decimal separators, the rest is the text. parseX() must throw
// SyntaxException exactly when tryParseX() refuses, and both must agree on
// the value.

#include "Tavik/Exception.h"
#include "Tavik/NumberParser.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

using Tavik::NumberParser;

namespace {

template <class T, class Parse, class TryParse>
void check(const std::string& text, Parse parse, TryParse tryParse)
{
	T tried{};
	const bool accepted = tryParse(text, tried);
	try
	{
		const T parsed = parse(text);
		if (!accepted) std::abort();
		// NaN is the one value unequal to itself.
		if (!(parsed == tried) &&
		    !(std::isnan(static_cast<double>(parsed)) && std::isnan(static_cast<double>(tried))))
			std::abort();
	}
	catch (const Tavik::SyntaxException&)
	{
		if (accepted) std::abort();
	}
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size)
{
	if (size < 2) return 0;
	const char thousands = static_cast<char>(pData[0]);
	const char decimal = static_cast<char>(pData[1]);
	const std::string text(reinterpret_cast<const char*>(pData) + 2, size - 2);

	check<int>(
	    text, [&](const std::string& s) { return NumberParser::parse(s, thousands); },
	    [&](const std::string& s, int& v) { return NumberParser::tryParse(s, v, thousands); });
	check<unsigned>(
	    text, [&](const std::string& s) { return NumberParser::parseUnsigned(s, thousands); },
	    [&](const std::string& s, unsigned& v) { return NumberParser::tryParseUnsigned(s, v, thousands); });
	check<std::int64_t>(
	    text, [&](const std::string& s) { return NumberParser::parse64(s, thousands); },
	    [&](const std::string& s, std::int64_t& v) { return NumberParser::tryParse64(s, v, thousands); });
	check<std::uint64_t>(
	    text, [&](const std::string& s) { return NumberParser::parseUnsigned64(s, thousands); },
	    [&](const std::string& s, std::uint64_t& v) {
		    return NumberParser::tryParseUnsigned64(s, v, thousands);
	    });
	check<double>(
	    text, [&](const std::string& s) { return NumberParser::parseFloat(s, decimal, thousands); },
	    [&](const std::string& s, double& v) {
		    return NumberParser::tryParseFloat(s, v, decimal, thousands);
	    });
	return 0;
}
