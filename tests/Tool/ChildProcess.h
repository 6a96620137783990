#ifndef ChildProcess_INCLUDED
#define ChildProcess_INCLUDED

#include <chrono>
#include <string>
#include <vector>

/// A program run as a child process with pipes on stdin, stdout and stderr,
/// for testing a command end to end. Every wait has a deadline; the
/// destructor kills a child that is still running.
class ChildProcess
{
public:
	using Clock = std::chrono::steady_clock;

	/// Starts program with arguments. Throws std::runtime_error.
	ChildProcess(const std::string& program, const std::vector<std::string>& arguments);
	~ChildProcess();

	ChildProcess(const ChildProcess&) = delete;
	ChildProcess& operator=(const ChildProcess&) = delete;

	/// The next stdout line (without its end), or false at the deadline or
	/// the end of output.
	bool readLine(std::string& line, std::chrono::seconds timeout);
	/// Reads stdout lines until one contains text; that line, or the empty
	/// string at the deadline or the end of output. Skipped lines are kept
	/// in lines().
	std::string readLineWith(const std::string& text, std::chrono::seconds timeout);
	/// Every stdout line read so far.
	const std::vector<std::string>& lines() const { return _lines; }

	/// Writes text to the child's stdin.
	void write(const std::string& text);
	/// Sends signal.
	void signal(int number);

	/// Reads the rest of stdout and stderr and waits for the exit; the exit
	/// status, or -1 at the deadline (or when killed by a signal).
	int wait(std::chrono::seconds timeout);
	/// Everything the child wrote to stderr (complete after wait()).
	const std::string& errors() const { return _errors; }

private:
	/// Reads whatever the pipes hold, waiting at most until deadline for
	/// something to arrive; closes a pipe at its end.
	void pump(Clock::time_point deadline);

	int _pid = -1;
	int _stdin = -1;
	int _stdout = -1;
	int _stderr = -1;
	std::string _pending;
	std::string _errors;
	std::vector<std::string> _lines;
	int _status = -1;
	bool _exited = false;
};

#endif // ChildProcess_INCLUDED
