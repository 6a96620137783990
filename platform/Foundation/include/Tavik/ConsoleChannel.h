#ifndef Tavik_ConsoleChannel_INCLUDED
#define Tavik_ConsoleChannel_INCLUDED

#include "Tavik/Channel.h"

#include <string>

namespace Tavik {

/// Writes each message to std::clog as one line:
/// "[<priority name>] <source>: <text>". Line breaks in the text are written as
/// spaces, so that a text carrying a peer's data cannot forge further lines.
/// Thread-safe: lines of concurrent messages never interleave.
class ConsoleChannel : public Channel
{
public:
	ConsoleChannel() = default;

	void log(const Message& msg) override;

	/// The line written for msg, without the line end.
	static std::string format(const Message& msg);

protected:
	~ConsoleChannel() override;
};

} // namespace Tavik

#endif // Tavik_ConsoleChannel_INCLUDED
