#include "Tavik/ConsoleChannel.h"

#include "Tavik/Message.h"
#include "Tavik/Mutex.h"

#include <algorithm>
#include <iostream>

namespace Tavik {

namespace {

// One lock for every console channel: they all share std::clog. Never
// destroyed, because pool threads may still log while the process exits.
FastMutex& consoleMutex()
{
	static FastMutex* pMutex = new FastMutex;
	return *pMutex;
}

} // namespace

ConsoleChannel::~ConsoleChannel() = default;

void ConsoleChannel::log(const Message& msg)
{
	std::string line = format(msg);
	line.push_back('\n');
	ScopedLock<FastMutex> lock(consoleMutex());
	std::clog << line << std::flush;
}

std::string ConsoleChannel::format(const Message& msg)
{
	std::string line;
	line.append("[").append(Message::priorityName(msg.priority())).append("] ");
	line.append(msg.source()).append(": ");
	const auto textStart = line.size();
	line.append(msg.text());
	std::replace_if(
	    line.begin() + textStart, line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
	return line;
}

} // namespace Tavik
