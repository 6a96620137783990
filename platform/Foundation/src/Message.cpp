#include "Tavik/Message.h"

#include "Tavik/Exception.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace Tavik {

namespace {

const char* const PRIORITY_NAMES[] = {"Fatal",  "Critical",    "Error", "Warning",
                                      "Notice", "Information", "Debug", "Trace"};

} // namespace

Message::Message(const std::string& source, const std::string& text, int priority)
    : _source(source), _text(text), _priority(static_cast<Priority>(priority)),
      _threadId(static_cast<long>(::syscall(SYS_gettid)))
{
	if (priority < PRIO_FATAL || priority > PRIO_TRACE)
		throw InvalidArgumentException("invalid log priority", std::to_string(priority));
}

const char* Message::priorityName(int priority) noexcept
{
	if (priority < PRIO_FATAL || priority > PRIO_TRACE) return "Unknown";
	return PRIORITY_NAMES[priority - PRIO_FATAL];
}

} // namespace Tavik
