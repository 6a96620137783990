#include "Tavik/String.h"

namespace Tavik {

namespace {

unsigned char foldCase(char c)
{
	const auto u = static_cast<unsigned char>(c);
	return (u >= 'A' && u <= 'Z') ? static_cast<unsigned char>(u - 'A' + 'a') : u;
}

int compareFolded(const char* a, std::size_t aLength, const char* b, std::size_t bLength)
{
	const std::size_t common = aLength < bLength ? aLength : bLength;
	for (std::size_t i = 0; i < common; ++i)
	{
		const unsigned char ca = foldCase(a[i]);
		const unsigned char cb = foldCase(b[i]);
		if (ca != cb) return ca < cb ? -1 : 1;
	}
	if (aLength == bLength) return 0;
	return aLength < bLength ? -1 : 1;
}

} // namespace

int icompare(const std::string& a, const std::string& b)
{
	return compareFolded(a.data(), a.size(), b.data(), b.size());
}

int icompare(const std::string& str, std::string::size_type pos, std::string::size_type n,
			 const std::string& other)
{
	if (pos > str.size()) pos = str.size();
	if (n > str.size() - pos) n = str.size() - pos;
	return compareFolded(str.data() + pos, n, other.data(), other.size());
}

} // namespace Tavik
