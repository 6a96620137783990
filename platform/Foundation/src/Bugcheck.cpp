#include "Tavik/Bugcheck.h"

#include "Tavik/Exception.h"

#include <string>

namespace Tavik {

namespace {

// "src/Serializer.cpp" reads "src/Serializer": the build strips the repository
// root from __FILE__, and the extension adds nothing to the location.
std::string location(const char* file, int line)
{
	std::string path(file ? file : "");
	const auto slash = path.rfind('/');
	const auto dot = path.rfind('.');
	if (dot != std::string::npos && (slash == std::string::npos || dot > slash))
		path.erase(dot);
	return "in file \"" + path + "\", line " + std::to_string(line);
}

} // namespace

void Bugcheck::bugcheck(const char* file, int line)
{
	throw BugcheckException(location(file, line));
}

void Bugcheck::bugcheck(const char* msg, const char* file, int line)
{
	throw BugcheckException(std::string(msg) + " " + location(file, line));
}

} // namespace Tavik
