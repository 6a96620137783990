#ifndef ChildProcess_INCLUDED
#define ChildProcess_INCLUDED

#include "TestSupport.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace TestSupport {

/// A program run as a child process with pipes on its stdin, stdout and
/// stderr, driven by lines on stdin and read in lines from stdout, for
/// testing a command or a peer end to end. Every wait has a deadline. The
/// destructor closes stdin and ends a child still running with SIGTERM
/// (SIGKILL when that does not end it within DEADLINE), and reaps it.
/// Not thread safe: one test thread drives it.
class ChildProcess
{
public:
	using Clock = std::chrono::steady_clock;

	/// Starts program with arguments. Throws std::runtime_error when it
	/// cannot (no pipes, or the program cannot be run).
	ChildProcess(const std::string& program, const std::vector<std::string>& arguments = {});
	~ChildProcess();

	ChildProcess(const ChildProcess&) = delete;
	ChildProcess& operator=(const ChildProcess&) = delete;

	/// Writes line and a newline to the child's stdin. Throws
	/// std::runtime_error when the write fails.
	void send(const std::string& line);
	/// Sends the signal number to the child.
	void signal(int number);

	/// The next stdout line (without its end, also kept in lines());
	/// nothing at the deadline or the end of output.
	std::optional<std::string> readLine(Clock::time_point deadline);
	/// The next stdout line that starts with prefix, skipping (but keeping in
	/// lines()) the others; nothing when timeout passed or the output ended
	/// first.
	std::optional<std::string> expect(const std::string& prefix,
	                                  std::chrono::milliseconds timeout = DEADLINE);

	/// Reads the rest of stdout and stderr and waits for the exit: the exit
	/// status, or -1 when the child did not exit within timeout or was
	/// killed by a signal.
	int wait(std::chrono::milliseconds timeout = DEADLINE);

	/// Every stdout line read so far.
	const std::vector<std::string>& lines() const { return _lines; }
	/// Everything read from stderr so far (all of it after wait()).
	const std::string& errors() const { return _errors; }
	/// The lines read so far and stderr, for failure messages.
	std::string transcript() const;

private:
	/// Reads whatever the pipes hold, waiting at most until deadline for
	/// something to arrive; closes a pipe at its end.
	void pump(Clock::time_point deadline);

	pid_t _pid = -1;
	int _stdin = -1;
	int _stdout = -1;
	int _stderr = -1;
	std::string _pending;
	std::string _errors;
	std::vector<std::string> _lines;
	int _status = -1;
	bool _exited = false;
};

} // namespace TestSupport

#endif // ChildProcess_INCLUDED
