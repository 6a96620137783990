#include "Tavik/TestChannel.h"

#include <algorithm>
#include <chrono>

namespace Tavik {

TestChannel::~TestChannel() = default;

void TestChannel::log(const Message& msg)
{
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_messages.push_back(msg);
	}
	_received.notify_all();
}

std::vector<Message> TestChannel::messages() const
{
	std::lock_guard<std::mutex> lock(_mutex);
	return _messages;
}

void TestChannel::clear()
{
	std::lock_guard<std::mutex> lock(_mutex);
	_messages.clear();
}

std::size_t TestChannel::count(const std::string& textPart, int priority) const
{
	std::lock_guard<std::mutex> lock(_mutex);
	return countLocked(textPart, priority);
}

bool TestChannel::waitFor(std::size_t n, const std::string& textPart, int priority, Timespan timeout) const
{
	std::unique_lock<std::mutex> lock(_mutex);
	return _received.wait_for(lock, std::chrono::microseconds(timeout.totalMicroseconds()),
	                          [&] { return countLocked(textPart, priority) >= n; });
}

std::size_t TestChannel::countLocked(const std::string& textPart, int priority) const
{
	return std::count_if(_messages.begin(), _messages.end(), [&](const Message& msg) {
		return (priority == ANY_PRIORITY || msg.priority() == priority) &&
		       msg.text().find(textPart) != std::string::npos;
	});
}

} // namespace Tavik
