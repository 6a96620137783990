#include "ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

void closeFd(int& fd)
{
	if (fd >= 0) ::close(fd);
	fd = -1;
}

} // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments)
{
	int in[2], out[2], err[2];
	if (::pipe2(in, O_CLOEXEC) != 0 || ::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0)
		throw std::runtime_error("pipe failed");
	std::vector<char*> argv;
	argv.push_back(const_cast<char*>(program.c_str()));
	for (const std::string& argument : arguments)
		argv.push_back(const_cast<char*>(argument.c_str()));
	argv.push_back(nullptr);
	_pid = ::fork();
	if (_pid < 0) throw std::runtime_error("fork failed");
	if (_pid == 0)
	{
		::dup2(in[0], STDIN_FILENO);
		::dup2(out[1], STDOUT_FILENO);
		::dup2(err[1], STDERR_FILENO);
		::execv(program.c_str(), argv.data());
		::_exit(127);
	}
	::close(in[0]);
	::close(out[1]);
	::close(err[1]);
	_stdin = in[1];
	_stdout = out[0];
	_stderr = err[0];
}

ChildProcess::~ChildProcess()
{
	if (!_exited && _pid > 0)
	{
		::kill(_pid, SIGKILL);
		::waitpid(_pid, nullptr, 0);
	}
	closeFd(_stdin);
	closeFd(_stdout);
	closeFd(_stderr);
}

void ChildProcess::pump(Clock::time_point deadline)
{
	const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
	pollfd fds[2] = {{_stdout, POLLIN, 0}, {_stderr, POLLIN, 0}};
	const int ready = ::poll(fds, 2, static_cast<int>(left > 0 ? left : 0));
	if (ready <= 0) return;
	char buffer[4096];
	if (fds[0].revents != 0)
	{
		const ssize_t n = ::read(_stdout, buffer, sizeof buffer);
		if (n <= 0)
			closeFd(_stdout);
		else
			_pending.append(buffer, static_cast<std::size_t>(n));
	}
	if (fds[1].revents != 0)
	{
		const ssize_t n = ::read(_stderr, buffer, sizeof buffer);
		if (n <= 0)
			closeFd(_stderr);
		else
			_errors.append(buffer, static_cast<std::size_t>(n));
	}
}

bool ChildProcess::readLine(std::string& line, std::chrono::seconds timeout)
{
	const Clock::time_point deadline = Clock::now() + timeout;
	for (;;)
	{
		const std::string::size_type end = _pending.find('\n');
		if (end != std::string::npos)
		{
			line = _pending.substr(0, end);
			_pending.erase(0, end + 1);
			_lines.push_back(line);
			return true;
		}
		if (_stdout < 0 || Clock::now() >= deadline) return false;
		pump(deadline);
	}
}

std::string ChildProcess::readLineWith(const std::string& text, std::chrono::seconds timeout)
{
	const Clock::time_point deadline = Clock::now() + timeout;
	std::string line;
	while (Clock::now() < deadline &&
	       readLine(line, std::chrono::duration_cast<std::chrono::seconds>(deadline - Clock::now()) +
	                          std::chrono::seconds(1)))
	{
		if (line.find(text) != std::string::npos) return line;
	}
	return std::string();
}

void ChildProcess::write(const std::string& text)
{
	if (::write(_stdin, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
		throw std::runtime_error("write to child failed");
}

void ChildProcess::signal(int number)
{
	::kill(_pid, number);
}

int ChildProcess::wait(std::chrono::seconds timeout)
{
	const Clock::time_point deadline = Clock::now() + timeout;
	// The child closes its pipes when it exits; read them to the end first so
	// that it never blocks on a full pipe.
	while ((_stdout >= 0 || _stderr >= 0) && Clock::now() < deadline)
		pump(deadline);
	std::string line;
	while (_pending.find('\n') != std::string::npos && readLine(line, std::chrono::seconds(0)))
	{}
	while (!_exited && Clock::now() < deadline)
	{
		int status = 0;
		const pid_t pid = ::waitpid(_pid, &status, WNOHANG);
		if (pid == _pid)
		{
			_exited = true;
			_status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
			break;
		}
		// The pipes are closed, so the exit is a matter of moments.
		std::this_thread::sleep_for(std::chrono::milliseconds(5));
	}
	return _exited ? _status : -1;
}
