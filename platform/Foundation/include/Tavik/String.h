#ifndef Tavik_String_INCLUDED
#define Tavik_String_INCLUDED

#include <string>

namespace Tavik {

/// Compares a and b byte by byte with ASCII letters folded to lower case
/// (no locale; bytes above 127 compare as unsigned values). Returns a
/// negative number, 0 or a positive number when a sorts before, equal to or
/// after b; a proper prefix sorts first. Safe to call from any thread.
int icompare(const std::string& a, const std::string& b);

/// As icompare(a, b) with a = str.substr(pos, n), but without copying and
/// without throwing: a pos beyond the end of str gives an empty part, and n
/// is cut to what remains (icompare(header, 0, 7, "Second-")).
int icompare(const std::string& str, std::string::size_type pos, std::string::size_type n,
			 const std::string& other);

} // namespace Tavik

#endif // Tavik_String_INCLUDED
