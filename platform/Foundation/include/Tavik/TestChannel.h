#ifndef Tavik_TestChannel_INCLUDED
#define Tavik_TestChannel_INCLUDED

#include "Tavik/Channel.h"
#include "Tavik/Message.h"
#include "Tavik/Timespan.h"

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace Tavik {

/// Records every message it receives, for tests. Thread-safe: background
/// threads log into it while a test waits for their lines with waitFor().
class TestChannel : public Channel
{
public:
	/// Matches every priority in count() and waitFor().
	static constexpr int ANY_PRIORITY = 0;

	TestChannel() = default;

	void log(const Message& msg) override;

	/// A copy of the messages received so far, oldest first.
	std::vector<Message> messages() const;
	/// Forgets every message received so far.
	void clear();

	/// The number of messages whose text contains textPart (the empty text is
	/// in every message) and whose priority is priority, or any priority when
	/// priority is ANY_PRIORITY.
	std::size_t count(const std::string& textPart, int priority = ANY_PRIORITY) const;

	/// Waits until count(textPart, priority) is at least n, or until timeout
	/// has passed. Returns whether the count was reached.
	bool waitFor(std::size_t n, const std::string& textPart, int priority = ANY_PRIORITY,
	             Timespan timeout = Timespan(30, 0)) const;

protected:
	~TestChannel() override;

private:
	std::size_t countLocked(const std::string& textPart, int priority) const;

	mutable std::mutex _mutex;
	mutable std::condition_variable _received;
	std::vector<Message> _messages;
};

} // namespace Tavik

#endif // Tavik_TestChannel_INCLUDED
