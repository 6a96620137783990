#include "Tavik/Format.h"

namespace Tavik {
namespace Impl {

std::string formatTexts(const std::string& fmt, const std::vector<std::string>& texts)
{
	std::string result;
	result.reserve(fmt.size());
	std::size_t next = 0;
	for (std::size_t i = 0; i < fmt.size(); ++i)
	{
		const char c = fmt[i];
		const char directive = i + 1 < fmt.size() ? fmt[i + 1] : '\0';
		if (c != '%' || (directive != '%' && directive != 's' && directive != 'd'))
		{
			result += c;
			continue;
		}
		++i;
		if (directive == '%')
			result += '%';
		else if (next < texts.size())
			result += texts[next++];
		else
			result.append({'%', directive});
	}
	return result;
}

} // namespace Impl
} // namespace Tavik
