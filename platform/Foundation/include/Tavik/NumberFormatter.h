#ifndef Tavik_NumberFormatter_INCLUDED
#define Tavik_NumberFormatter_INCLUDED

#include <string>

namespace Tavik {

/// Writes integers as plain decimal text: the digits of the value, a leading
/// '-' for a negative value, no '+', no fill characters and no digit grouping
/// (-9223372036854775808, 0, 4294967295).
///
/// All operations are static, never throw except std::bad_alloc, and are
/// safe to call from any thread.
class NumberFormatter
{
public:
	NumberFormatter() = delete;

	/// The decimal text of value.
	///@{
	static std::string format(int value);
	static std::string format(unsigned value);
	static std::string format(long value);
	static std::string format(unsigned long value);
	static std::string format(long long value);
	static std::string format(unsigned long long value);
	///@}

	/// Appends the decimal text of value to str.
	///@{
	static void append(std::string& str, int value);
	static void append(std::string& str, unsigned value);
	static void append(std::string& str, long value);
	static void append(std::string& str, unsigned long value);
	static void append(std::string& str, long long value);
	static void append(std::string& str, unsigned long long value);
	///@}
};

} // namespace Tavik

#endif // Tavik_NumberFormatter_INCLUDED
