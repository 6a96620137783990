#ifndef TestSupport_INCLUDED
#define TestSupport_INCLUDED

#include <chrono>
#include <condition_variable>
#include <istream>
#include <iterator>
#include <mutex>
#include <string>

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

/// The rest of the stream as a string.
inline std::string readAll(std::istream& stream)
{
	return std::string(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

} // namespace TestSupport

#endif // TestSupport_INCLUDED
