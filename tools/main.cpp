// gena: try UPnP eventing from the command line (see Messages::USAGE).
// Exit codes: 0 success, 1 failure, 2 usage error; messages go to stderr.

#include "Commands.h"
#include "Messages.h"
#include "Tavik/Exception.h"
#include "Tavik/Format.h"
#include "Tavik/Logger.h"
#include "Tavik/Message.h"

#include <iostream>

int main(int argc, char* argv[])
{
	using namespace Gena;
	// The libraries' own notices would mix with the output; warnings and
	// errors still reach stderr.
	Tavik::Logger::setLevel("", Tavik::Message::PRIO_WARNING);
	try
	{
		const Options options = parseOptions(argc, argv);
		if (options.command == "help")
		{
			std::cout << Messages::USAGE;
			return 0;
		}
		if (options.command == "version")
		{
			std::cout << Tavik::format(Messages::VERSION, GENA_VERSION) << std::endl;
			return 0;
		}
		Output output(std::cout, options.json);
		if (options.command == "demo") return runDemo(options, output);
		if (options.command == "publish") return runPublish(options, output);
		return runMonitor(options, output);
	}
	catch (const UsageError& error)
	{
		std::cerr << Messages::PROGRAM_PREFIX << error.what() << "\n\n" << Messages::USAGE;
		return 2;
	}
	catch (const Failure& failure)
	{
		std::cerr << Messages::PROGRAM_PREFIX << failure.what() << std::endl;
		return 1;
	}
	catch (const Tavik::Exception& exc)
	{
		std::cerr << Messages::PROGRAM_PREFIX << exc.displayText() << std::endl;
		return 1;
	}
	catch (const std::exception& exc)
	{
		std::cerr << Messages::PROGRAM_PREFIX << exc.what() << std::endl;
		return 1;
	}
}
