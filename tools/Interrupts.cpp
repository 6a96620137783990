#include "Interrupts.h"

#include "Options.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace Gena {

namespace {

/// 4096 bytes: the longest input line; a longer one is handed over as it is
/// (and refused as a command) rather than buffered without end.
const std::size_t MAX_LINE = 4096;

int signalPipe[2] = {-1, -1};
struct sigaction previousInt;
struct sigaction previousTerm;
struct sigaction previousPipe;

extern "C" void onSignal(int)
{
	const int savedErrno = errno;
	const char byte = 1;
	// Nothing to do when the pipe is full: a wake-up is pending anyway.
	[[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
	errno = savedErrno;
}

} // namespace

Interrupts::Interrupts()
{
	if (::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0)
		throw Failure(std::string("pipe: ") + std::strerror(errno));
	struct sigaction action;
	std::memset(&action, 0, sizeof action);
	action.sa_handler = onSignal;
	sigemptyset(&action.sa_mask);
	action.sa_flags = SA_RESTART;
	::sigaction(SIGINT, &action, &previousInt);
	::sigaction(SIGTERM, &action, &previousTerm);
	action.sa_handler = SIG_IGN;
	::sigaction(SIGPIPE, &action, &previousPipe);
}

Interrupts::~Interrupts()
{
	::sigaction(SIGINT, &previousInt, nullptr);
	::sigaction(SIGTERM, &previousTerm, nullptr);
	::sigaction(SIGPIPE, &previousPipe, nullptr);
	::close(signalPipe[0]);
	::close(signalPipe[1]);
	signalPipe[0] = signalPipe[1] = -1;
}

void Interrupts::wait(const std::function<void(const std::string&)>& onLine)
{
	bool readInput = static_cast<bool>(onLine);
	std::string pending;
	for (;;)
	{
		pollfd fds[2] = {{signalPipe[0], POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
		if (::poll(fds, readInput ? 2 : 1, -1) < 0)
		{
			if (errno == EINTR) continue;
			throw Failure(std::string("poll: ") + std::strerror(errno));
		}
		if (fds[0].revents != 0) return;
		if (!readInput || fds[1].revents == 0) continue;
		char buffer[4096];
		const ssize_t n = ::read(STDIN_FILENO, buffer, sizeof buffer);
		if (n < 0 && (errno == EINTR || errno == EAGAIN)) continue;
		if (n <= 0)
		{
			// End of input (or an unreadable stdin): keep serving until a signal.
			if (!pending.empty()) onLine(pending);
			readInput = false;
			continue;
		}
		pending.append(buffer, static_cast<std::size_t>(n));
		std::string::size_type end;
		while ((end = pending.find('\n')) != std::string::npos)
		{
			std::string line = pending.substr(0, end);
			pending.erase(0, end + 1);
			if (!line.empty() && line.back() == '\r') line.pop_back();
			onLine(line);
		}
		if (pending.size() > MAX_LINE)
		{
			onLine(pending); // not a command; reported as bad input
			pending.clear();
		}
	}
}

} // namespace Gena
