#ifndef Tavik_NumericString_INCLUDED
#define Tavik_NumericString_INCLUDED

#include <limits>
#include <string>

namespace Tavik {

/// Writes value as the shortest digit string that reads back as the same
/// float, followed by a terminating NUL, into buffer.
///
/// With the value written as d.ddd x 10^e, the text is in plain decimal
/// notation when lowDec <= e < highDec ("0.000123", "123.45", "1500") and in
/// exponential notation otherwise: the digits with a point after the first,
/// the letter 'e', the sign of the exponent and at least two exponent digits
/// ("1e+20", "1.5e-07", "-2.25e+100"). Negative zero is "-0", not-a-number
/// "nan", the infinities "inf" and "-inf".
///
/// Throws InvalidArgumentException when bufferSize is too small for the text
/// and its NUL (780 is always enough); buffer is then left unchanged.
/// Safe to call from any thread.
void floatToStr(char* buffer, int bufferSize, float value, int lowDec = -std::numeric_limits<float>::digits10,
				int highDec = std::numeric_limits<float>::digits10);

/// As floatToStr(), for a double.
void doubleToStr(char* buffer, int bufferSize, double value,
				 int lowDec = -std::numeric_limits<double>::digits10,
				 int highDec = std::numeric_limits<double>::digits10);

/// The text floatToStr() writes, as a string.
std::string floatToStr(float value, int lowDec = -std::numeric_limits<float>::digits10,
					   int highDec = std::numeric_limits<float>::digits10);

/// The text doubleToStr() writes, as a string.
std::string doubleToStr(double value, int lowDec = -std::numeric_limits<double>::digits10,
						int highDec = std::numeric_limits<double>::digits10);

} // namespace Tavik

#endif // Tavik_NumericString_INCLUDED
