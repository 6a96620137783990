#ifndef PeerProcess_INCLUDED
#define PeerProcess_INCLUDED

#include "TestSupport.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace InteropTest {

/// A peer program run as a child process, driven by lines on its stdin and
/// reporting in lines on its stdout (stderr is inherited, for diagnostics).
/// The destructor ends a peer still running with SIGTERM (SIGKILL when that
/// does not end it within the deadline) and reaps it.
class PeerProcess
{
public:
	/// Starts program with args; throws std::runtime_error when it cannot.
	PeerProcess(const std::string& program, const std::vector<std::string>& args = {})
	{
		int input[2];
		int output[2];
		if (pipe2(input, O_CLOEXEC) != 0) throw std::runtime_error("pipe: " + std::string(strerror(errno)));
		if (pipe2(output, O_CLOEXEC) != 0)
		{
			close(input[0]);
			close(input[1]);
			throw std::runtime_error("pipe: " + std::string(strerror(errno)));
		}
		posix_spawn_file_actions_t actions;
		posix_spawn_file_actions_init(&actions);
		posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
		posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
		std::vector<char*> argv;
		argv.push_back(const_cast<char*>(program.c_str()));
		for (const std::string& arg : args)
			argv.push_back(const_cast<char*>(arg.c_str()));
		argv.push_back(nullptr);
		const int rc = posix_spawn(&_pid, program.c_str(), &actions, nullptr, argv.data(), environ);
		posix_spawn_file_actions_destroy(&actions);
		close(input[0]);
		close(output[1]);
		_stdin = input[1];
		_stdout = output[0];
		if (rc != 0)
		{
			closeAll();
			throw std::runtime_error("cannot run " + program + ": " + strerror(rc));
		}
	}

	~PeerProcess()
	{
		closeAll();
		if (_pid > 0) kill(_pid, SIGTERM);
		if (_pid > 0 && !reap())
		{
			kill(_pid, SIGKILL);
			waitpid(_pid, nullptr, 0);
		}
	}

	PeerProcess(const PeerProcess&) = delete;
	PeerProcess& operator=(const PeerProcess&) = delete;

	/// Sends one command line (the newline is added).
	void send(const std::string& line)
	{
		const std::string text = line + "\n";
		if (write(_stdin, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
			throw std::runtime_error("cannot write to the peer");
	}

	/// The next output line that starts with prefix, skipping (but keeping in
	/// lines()) the others; nothing when wait passed or the peer ended first.
	std::optional<std::string> expect(const std::string& prefix,
	                                  std::chrono::milliseconds wait = TestSupport::DEADLINE)
	{
		const auto deadline = std::chrono::steady_clock::now() + wait;
		for (;;)
		{
			const std::optional<std::string> line = readLine(deadline);
			if (!line) return std::nullopt;
			if (line->compare(0, prefix.size(), prefix) == 0) return line;
		}
	}

	/// Sends the signal number to the peer.
	void signal(int number)
	{
		if (_pid > 0) kill(_pid, number);
	}

	/// Waits for the peer to end: its exit code, or -1 when it did not exit
	/// by itself within the deadline.
	int exitCode()
	{
		if (_pid > 0 && !reap()) return -1;
		return WIFEXITED(_status) ? WEXITSTATUS(_status) : -1;
	}

	/// Every line read so far, for failure messages.
	std::string lines() const
	{
		std::string all;
		for (const std::string& line : _lines)
			all += line + "\n";
		return all;
	}

private:
	std::optional<std::string> readLine(std::chrono::steady_clock::time_point deadline)
	{
		for (;;)
		{
			const std::string::size_type end = _buffer.find('\n');
			if (end != std::string::npos)
			{
				_lines.push_back(_buffer.substr(0, end));
				_buffer.erase(0, end + 1);
				return _lines.back();
			}
			const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
			    deadline - std::chrono::steady_clock::now());
			if (left.count() <= 0) return std::nullopt;
			pollfd ready{_stdout, POLLIN, 0};
			if (poll(&ready, 1, static_cast<int>(left.count())) <= 0) continue;
			char chunk[4096];
			const ssize_t n = read(_stdout, chunk, sizeof chunk);
			if (n <= 0) return std::nullopt;
			_buffer.append(chunk, static_cast<std::size_t>(n));
		}
	}

	/// Waits for the peer to end within the deadline; false when it did not.
	bool reap()
	{
		const auto deadline = std::chrono::steady_clock::now() + TestSupport::DEADLINE;
		while (waitpid(_pid, &_status, WNOHANG) == 0)
		{
			if (std::chrono::steady_clock::now() > deadline) return false;
			poll(nullptr, 0, 10);
		}
		_pid = -1;
		return true;
	}

	void closeAll()
	{
		if (_stdin >= 0) close(_stdin);
		if (_stdout >= 0) close(_stdout);
		_stdin = -1;
		_stdout = -1;
	}

	pid_t _pid = -1;
	int _status = 0;
	int _stdin = -1;
	int _stdout = -1;
	std::string _buffer;
	std::vector<std::string> _lines;
};

/// The words of line, split at spaces.
inline std::vector<std::string> wordsOf(const std::string& line)
{
	std::vector<std::string> words;
	std::string::size_type start = 0;
	while (start < line.size())
	{
		const std::string::size_type end = std::min(line.find(' ', start), line.size());
		if (end > start) words.push_back(line.substr(start, end - start));
		start = end + 1;
	}
	return words;
}

} // namespace InteropTest

#endif // PeerProcess_INCLUDED
