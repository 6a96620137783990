#ifndef Tavik_Channel_INCLUDED
#define Tavik_Channel_INCLUDED

#include "Tavik/RefCountedObject.h"

namespace Tavik {

class Message;

/// Where a Logger delivers its messages. Shared between loggers through AutoPtr.
class Channel : public RefCountedObject
{
public:
	/// Writes or records the message. Called by several threads at once, so
	/// implementations must be thread-safe; an exception thrown here is dropped
	/// by the Logger.
	virtual void log(const Message& msg) = 0;

protected:
	~Channel() override;
};

} // namespace Tavik

#endif // Tavik_Channel_INCLUDED
