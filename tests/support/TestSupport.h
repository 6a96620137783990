#ifndef TestSupport_INCLUDED
#define TestSupport_INCLUDED

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <istream>
#include <iterator>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Small helpers shared by the test programs of every library.
namespace TestSupport {

/// Generous: the deadline of every wait in the tests. Waits end as soon as
/// their condition holds, so the deadline only matters when a test fails.
constexpr std::chrono::seconds DEADLINE(30);

/// A gate that threads wait at until the test opens it.
class Gate
{
public:
	void open()
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_open = true;
		_changed.notify_all();
	}

	/// False when the deadline passed first.
	bool wait()
	{
		std::unique_lock<std::mutex> lock(_mutex);
		return _changed.wait_for(lock, DEADLINE, [this] { return _open; });
	}

private:
	std::mutex _mutex;
	std::condition_variable _changed;
	bool _open = false;
};

/// Strings that other threads add and a test waits for. Thread safe.
class StringLog
{
public:
	void add(std::string entry)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_entries.push_back(std::move(entry));
		_changed.notify_all();
	}

	/// Waits until at least n entries have been added; false at the deadline.
	bool waitFor(std::size_t n)
	{
		std::unique_lock<std::mutex> lock(_mutex);
		return _changed.wait_for(lock, DEADLINE, [&] { return _entries.size() >= n; });
	}

	std::vector<std::string> entries()
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _entries;
	}

private:
	std::mutex _mutex;
	std::condition_variable _changed;
	std::vector<std::string> _entries;
};

/// The rest of the stream as a string.
inline std::string readAll(std::istream& stream)
{
	return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

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

} // namespace TestSupport

#endif // TestSupport_INCLUDED
