#ifndef Tavik_Message_INCLUDED
#define Tavik_Message_INCLUDED

#include "Tavik/Timestamp.h"

#include <string>

namespace Tavik {

/// One log entry: the name of the logger that made it (its source), the text,
/// the priority, the time it was made and the system's id of the thread that
/// made it.
class Message
{
public:
	/// Lower numbers are more severe; a logger at level L delivers priorities 1 to L.
	enum Priority
	{
		PRIO_FATAL = 1,
		PRIO_CRITICAL,
		PRIO_ERROR,
		PRIO_WARNING,
		PRIO_NOTICE,
		PRIO_INFORMATION,
		PRIO_DEBUG,
		PRIO_TRACE
	};

	/// A message stamped with the current time and the calling thread.
	/// Throws InvalidArgumentException when priority is not one of Priority.
	Message(const std::string& source, const std::string& text, int priority);

	/// The name of a priority ("Error", "Warning", ...); "Unknown" outside 1 to 8.
	static const char* priorityName(int priority) noexcept;

	/// The name of the logger that made the message.
	const std::string& source() const noexcept { return _source; }
	/// The text of the message.
	const std::string& text() const noexcept { return _text; }
	/// The priority of the message.
	Priority priority() const noexcept { return _priority; }
	/// When the message was made.
	const Timestamp& time() const noexcept { return _time; }
	/// The kernel's id of the thread that made the message.
	long threadId() const noexcept { return _threadId; }

private:
	std::string _source;
	std::string _text;
	Priority _priority;
	Timestamp _time;
	long _threadId;
};

} // namespace Tavik

#endif // Tavik_Message_INCLUDED
