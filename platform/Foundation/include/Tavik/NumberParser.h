#ifndef Tavik_NumberParser_INCLUDED
#define Tavik_NumberParser_INCLUDED

#include <cstdint>
#include <string>

namespace Tavik {

/// Reads decimal numbers from text.
///
/// Rules shared by every operation:
/// - Leading and trailing ASCII white space (space, `\t`, `\n`, `\v`, `\f`, `\r`) is ignored.
/// - One optional sign, '+' or '-', comes first; the unsigned operations accept
///   '+' only ("-0" is refused too).
/// - Digits may be grouped with thousandSeparator, which is allowed only
///   between two digits: "1,000" and "1,0,0" are read, ",1", "1," and "1,,0"
///   are not.
/// - Anything else is refused: the empty text, other characters, hexadecimal
///   forms ("0x1F"), and values outside the range of the result type.
///
/// parseX() throws SyntaxException for refused text, with the message
/// "Not a valid integer", "Not a valid unsigned integer" or "Not a valid
/// floating-point number" and the text as argument; tryParseX() returns false
/// instead and leaves value unchanged.
///
/// All operations are static and safe to call from any thread.
class NumberParser
{
public:
	NumberParser() = delete;

	/// Reads a signed int.
	///@{
	static int parse(const std::string& s, char thousandSeparator = ',');
	static bool tryParse(const std::string& s, int& value, char thousandSeparator = ',');

	///@}

	/// Reads an unsigned int.
	///@{
	static unsigned parseUnsigned(const std::string& s, char thousandSeparator = ',');
	static bool tryParseUnsigned(const std::string& s, unsigned& value, char thousandSeparator = ',');
	///@}

	/// Reads a signed 64-bit integer.
	///@{
	static std::int64_t parse64(const std::string& s, char thousandSeparator = ',');
	static bool tryParse64(const std::string& s, std::int64_t& value, char thousandSeparator = ',');
	///@}

	/// Reads an unsigned 64-bit integer.
	///@{
	static std::uint64_t parseUnsigned64(const std::string& s, char thousandSeparator = ',');
	static bool tryParseUnsigned64(const std::string& s, std::uint64_t& value, char thousandSeparator = ',');
	///@}

	/// Reads a double in decimal ("12.5", ".5", "5."), or exponent form ("1.5e-07",
	/// "1E+20"), or one of the words "nan", "inf" and "infinity" (any letter case).
	/// decimalSeparator marks the fraction; thousandSeparator may group the
	/// digits before it (when both are the same character, it is the decimal
	/// separator and there is no grouping). Values beyond the range of double, and values so small
	/// that they would read as zero, are refused. Reads back every text that
	/// floatToStr() and doubleToStr() write, bit for bit.
	///@{
	static double parseFloat(const std::string& s, char decimalSeparator = '.', char thousandSeparator = ',');
	static bool tryParseFloat(const std::string& s, double& value, char decimalSeparator = '.',
	                          char thousandSeparator = ',');
	///@}
};

} // namespace Tavik

#endif // Tavik_NumberParser_INCLUDED
