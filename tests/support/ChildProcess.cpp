#include "ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace TestSupport {

namespace {

void closeFd(int& fd)
{
	if (fd >= 0) ::close(fd);
	fd = -1;
}

/// Appends what fd holds to text; closes fd at its end.
void readInto(int& fd, std::string& text)
{
	char buffer[4096];
	const ssize_t n = ::read(fd, buffer, sizeof buffer);
	if (n <= 0)
		closeFd(fd);
	else
		text.append(buffer, static_cast<std::size_t>(n));
}

} // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments)
{
	int pipes[3][2] = {{-1, -1}, {-1, -1}, {-1, -1}};
	for (auto& ends : pipes)
	{
		if (::pipe2(ends, O_CLOEXEC) != 0)
		{
			const std::string error = std::strerror(errno);
			for (auto& opened : pipes)
			{
				closeFd(opened[0]);
				closeFd(opened[1]);
			}
			throw std::runtime_error("pipe: " + error);
		}
	}
	posix_spawn_file_actions_t actions;
	posix_spawn_file_actions_init(&actions);
	posix_spawn_file_actions_adddup2(&actions, pipes[0][0], STDIN_FILENO);
	posix_spawn_file_actions_adddup2(&actions, pipes[1][1], STDOUT_FILENO);
	posix_spawn_file_actions_adddup2(&actions, pipes[2][1], STDERR_FILENO);
	std::vector<char*> argv;
	argv.push_back(const_cast<char*>(program.c_str()));
	for (const std::string& argument : arguments)
		argv.push_back(const_cast<char*>(argument.c_str()));
	argv.push_back(nullptr);
	const int rc = ::posix_spawn(&_pid, program.c_str(), &actions, nullptr, argv.data(), environ);
	posix_spawn_file_actions_destroy(&actions);
	closeFd(pipes[0][0]);
	closeFd(pipes[1][1]);
	closeFd(pipes[2][1]);
	_stdin = pipes[0][1];
	_stdout = pipes[1][0];
	_stderr = pipes[2][0];
	if (rc != 0)
	{
		_pid = -1;
		closeFd(_stdin);
		closeFd(_stdout);
		closeFd(_stderr);
		throw std::runtime_error("cannot run " + program + ": " + std::strerror(rc));
	}
}

ChildProcess::~ChildProcess()
{
	closeFd(_stdin);
	if (!_exited && _pid > 0)
	{
		::kill(_pid, SIGTERM);
		if (wait(DEADLINE) < 0 && !_exited)
		{
			::kill(_pid, SIGKILL);
			::waitpid(_pid, nullptr, 0);
		}
	}
	closeFd(_stdout);
	closeFd(_stderr);
}

void ChildProcess::send(const std::string& line)
{
	const std::string text = line + "\n";
	if (::write(_stdin, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
		throw std::runtime_error("write to the child failed");
}

void ChildProcess::signal(int number)
{
	if (!_exited) ::kill(_pid, number);
}

void ChildProcess::pump(Clock::time_point deadline)
{
	const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
	pollfd fds[2] = {{_stdout, POLLIN, 0}, {_stderr, POLLIN, 0}};
	if (::poll(fds, 2, static_cast<int>(left > 0 ? left : 0)) <= 0) return;
	if (fds[0].revents != 0) readInto(_stdout, _pending);
	if (fds[1].revents != 0) readInto(_stderr, _errors);
}

std::optional<std::string> ChildProcess::readLine(Clock::time_point deadline)
{
	for (;;)
	{
		const std::string::size_type end = _pending.find('\n');
		if (end != std::string::npos)
		{
			_lines.push_back(_pending.substr(0, end));
			_pending.erase(0, end + 1);
			return _lines.back();
		}
		if (_stdout < 0 || Clock::now() >= deadline) return std::nullopt;
		pump(deadline);
	}
}

std::optional<std::string> ChildProcess::expect(const std::string& prefix, std::chrono::milliseconds timeout)
{
	const Clock::time_point deadline = Clock::now() + timeout;
	while (const std::optional<std::string> line = readLine(deadline))
	{
		if (line->compare(0, prefix.size(), prefix) == 0) return line;
	}
	return std::nullopt;
}

int ChildProcess::wait(std::chrono::milliseconds timeout)
{
	const Clock::time_point deadline = Clock::now() + timeout;
	// The child closes its pipes when it exits; read them to the end first so
	// that it never blocks on a full pipe.
	while ((_stdout >= 0 || _stderr >= 0) && Clock::now() < deadline)
		pump(deadline);
	while (_pending.find('\n') != std::string::npos && readLine(deadline))
	{}
	while (!_exited && Clock::now() < deadline)
	{
		int status = 0;
		if (::waitpid(_pid, &status, WNOHANG) == _pid)
		{
			_exited = true;
			_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
			break;
		}
		// The pipes are closed, so the exit is a matter of moments.
		::poll(nullptr, 0, 5);
	}
	return _exited ? _status : -1;
}

std::string ChildProcess::transcript() const
{
	std::string all;
	for (const std::string& line : _lines)
		all += line + "\n";
	if (!_errors.empty()) all += "stderr: " + _errors;
	return all;
}

} // namespace TestSupport
