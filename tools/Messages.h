#ifndef Tavik_gena_Messages_INCLUDED
#define Tavik_gena_Messages_INCLUDED

#include <string>

// Every text the gena command shows, in one place. Texts with "%s" are
// filled with Tavik::format.
namespace Gena {
namespace Messages {

const std::string USAGE =
    "usage: gena demo [--json] [--strict]\n"
    "       gena publish [--listen HOST:PORT] [--json] [--strict]\n"
    "       gena monitor URL [--listen HOST:PORT] [--timeout SECONDS] [--json] [--strict]\n"
    "       gena --help | --version\n"
    "\n"
    "  demo     publish a dimmable light and subscribe to it on loopback, then exit\n"
    "  publish  serve the dimmable light until interrupted; stdin lines\n"
    "           'set NAME VALUE' change Status or LoadLevelStatus\n"
    "  monitor  subscribe to URL (an eventSubURL, or a device description URL for\n"
    "           every evented service it lists) and print the events until interrupted\n"
    "\n"
    "  --listen HOST:PORT  address of the HTTP server (port 0: a free port)\n"
    "  --timeout SECONDS   subscription duration to request (default 1800)\n"
    "  --json              one JSON object per line\n"
    "  --strict            plain GENA: turn off the listener's interoperability settings\n"
    "  --help              print this text and exit\n"
    "  --version           print the version and exit\n"
    "\n"
    "The manual page gena(1) describes the output and the exit codes.\n";

const std::string VERSION = "gena %s";
const std::string PROGRAM_PREFIX = "gena: ";
const std::string UNKNOWN_COMMAND = "unknown command '%s'";
const std::string MISSING_COMMAND = "missing command";
const std::string UNKNOWN_OPTION = "unknown option '%s'";
const std::string MISSING_VALUE = "option %s needs a value";
const std::string UNEXPECTED_ARGUMENT = "unexpected argument '%s'";
const std::string OPTION_NOT_FOR_COMMAND = "option %s does not apply to '%s'";
const std::string BAD_LISTEN = "--listen wants HOST:PORT with a port from 0 to 65535, not '%s'";
const std::string BAD_TIMEOUT = "--timeout wants whole seconds from 1 to 86400, not '%s'";
const std::string MISSING_URL = "monitor needs a URL";
const std::string NOT_HTTP_URL = "not an http URL: '%s'";

const std::string CANNOT_REACH = "cannot reach %s: %s";
const std::string HTTP_STATUS = "%s answered %s";
const std::string NOT_A_DESCRIPTION = "%s is not a UPnP device description: %s";
const std::string NO_EVENTED_SERVICES = "the description at %s lists no services with events";
const std::string SUBSCRIBE_FAILED = "subscribing to %s failed: %s";
const std::string CANNOT_LISTEN = "cannot listen on %s: %s";
const std::string NO_ROUTE = "no local address reaches %s: %s";
const std::string DEMO_STEP_FAILED = "demo: %s did not happen in time";

const std::string BAD_INPUT = "expected 'set NAME VALUE'";
const std::string UNKNOWN_VARIABLE = "unknown variable '%s' (known: Status, LoadLevelStatus)";
const std::string SEQUENCE_GAP = "events lost: expected SEQ %s, received %s";

} // namespace Messages
} // namespace Gena

#endif // Tavik_gena_Messages_INCLUDED
