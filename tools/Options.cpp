#include "Options.h"

#include "Messages.h"
#include "Tavik/Exception.h"
#include "Tavik/Format.h"
#include "Tavik/URI.h"

#include <cstdlib>

namespace Gena {

namespace {

bool parseNumber(const std::string& text, long low, long high, long& value)
{
	if (text.empty() || text.size() > 6 || text.find_first_not_of("0123456789") != std::string::npos)
		return false;
	value = std::strtol(text.c_str(), nullptr, 10);
	return value >= low && value <= high;
}

void checkHTTPURL(const std::string& url)
{
	try
	{
		const Tavik::URI uri(url);
		if (uri.getScheme() == "http" && !uri.getHost().empty()) return;
	}
	catch (const Tavik::Exception&)
	{}
	throw UsageError(Tavik::format(Messages::NOT_HTTP_URL, url));
}

} // namespace

void parseListen(const std::string& text, std::string& host, unsigned short& port)
{
	const std::string::size_type colon = text.rfind(':');
	long number = 0;
	if (colon == std::string::npos || colon == 0 || !parseNumber(text.substr(colon + 1), 0, 65535, number))
		throw UsageError(Tavik::format(Messages::BAD_LISTEN, text));
	host = text.substr(0, colon);
	if (host.front() == '[')
	{
		if (host.size() < 3 || host.back() != ']')
			throw UsageError(Tavik::format(Messages::BAD_LISTEN, text));
		host = host.substr(1, host.size() - 2);
	}
	port = static_cast<unsigned short>(number);
}

Options parseOptions(int argc, const char* const argv[])
{
	Options options;
	if (argc < 2) throw UsageError(Messages::MISSING_COMMAND);
	options.command = argv[1];
	if (options.command == "-h" || options.command == "--help" || options.command == "help")
	{
		options.command = "help";
		return options;
	}
	if (options.command == "--version")
	{
		options.command = "version";
		return options;
	}
	if (options.command != "demo" && options.command != "publish" && options.command != "monitor")
		throw UsageError(Tavik::format(Messages::UNKNOWN_COMMAND, options.command));

	bool hasTimeout = false;
	for (int i = 2; i < argc; ++i)
	{
		const std::string argument = argv[i];
		const bool takesValue = argument == "--listen" || argument == "--timeout";
		if (takesValue && i + 1 == argc) throw UsageError(Tavik::format(Messages::MISSING_VALUE, argument));
		if (argument == "--json")
			options.json = true;
		else if (argument == "--strict")
			options.strict = true;
		else if (argument == "--listen")
		{
			parseListen(argv[++i], options.listenHost, options.listenPort);
			options.hasListen = true;
		}
		else if (argument == "--timeout")
		{
			long seconds = 0;
			if (!parseNumber(argv[++i], 1, Options::MAX_TIMEOUT, seconds))
				throw UsageError(Tavik::format(Messages::BAD_TIMEOUT, std::string(argv[i])));
			options.timeout = static_cast<int>(seconds);
			hasTimeout = true;
		}
		else if (argument.compare(0, 1, "-") == 0)
			throw UsageError(Tavik::format(Messages::UNKNOWN_OPTION, argument));
		else if (options.command == "monitor" && options.url.empty())
			options.url = argument;
		else
			throw UsageError(Tavik::format(Messages::UNEXPECTED_ARGUMENT, argument));
	}
	if (options.command == "demo" && options.hasListen)
		throw UsageError(
		    Tavik::format(Messages::OPTION_NOT_FOR_COMMAND, std::string("--listen"), options.command));
	if (options.command != "monitor" && hasTimeout)
		throw UsageError(
		    Tavik::format(Messages::OPTION_NOT_FOR_COMMAND, std::string("--timeout"), options.command));
	if (options.command == "monitor")
	{
		if (options.url.empty()) throw UsageError(Messages::MISSING_URL);
		checkHTTPURL(options.url);
	}
	return options;
}

} // namespace Gena
