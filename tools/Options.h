#ifndef Tavik_gena_Options_INCLUDED
#define Tavik_gena_Options_INCLUDED

#include <stdexcept>
#include <string>

namespace Gena {

/// A command line the tool cannot run: exit code 2.
class UsageError : public std::runtime_error
{
public:
	using std::runtime_error::runtime_error;
};

/// A command that could not do its job: exit code 1.
class Failure : public std::runtime_error
{
public:
	using std::runtime_error::runtime_error;
};

/// The parsed command line.
struct Options
{
	/// 1800 seconds: the subscription duration monitor asks for by default.
	static constexpr int DEFAULT_TIMEOUT = 1800;
	/// One day: the longest --timeout, and the longest grant the tool's
	/// listener gives (unless --strict).
	static constexpr int MAX_TIMEOUT = 86400;

	std::string command; ///< "demo", "publish", "monitor", "help" or "version"
	std::string url;     ///< monitor's URL, checked to be http
	bool hasListen = false;
	std::string listenHost = "127.0.0.1";
	unsigned short listenPort = 0;
	int timeout = DEFAULT_TIMEOUT;
	bool json = false;
	bool strict = false;
};

/// Parses argv[1..argc-1]. Throws UsageError with the message to show.
Options parseOptions(int argc, const char* const argv[]);

/// Splits "host:port" or "[v6]:port". Throws UsageError.
void parseListen(const std::string& text, std::string& host, unsigned short& port);

} // namespace Gena

#endif // Tavik_gena_Options_INCLUDED
