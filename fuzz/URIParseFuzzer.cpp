// Any text as a URI. A URI that parses must print as text that parses back
// to the same URI, part for part.

#include "Tavik/Exception.h"
#include "Tavik/URI.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

bool sameParts(const Tavik::URI& a, const Tavik::URI& b)
{
	return a.getScheme() == b.getScheme() && a.getUserInfo() == b.getUserInfo() &&
	       a.getHost() == b.getHost() && a.getPort() == b.getPort() && a.getPath() == b.getPath() &&
	       a.getQuery() == b.getQuery() && a.getFragment() == b.getFragment();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size)
{
	const std::string text(reinterpret_cast<const char*>(pData), size);
	Tavik::URI uri;
	try
	{
		uri = text;
	}
	catch (const Tavik::SyntaxException&)
	{
		return 0;
	}
	uri.getAuthority();
	uri.getPathEtc();
	uri.getPathAndQuery();
	uri.isRelative();
	uri.empty();
	const Tavik::URI again(uri.toString());
	if (!sameParts(uri, again)) std::abort();
	return 0;
}
