#ifndef Tavik_Logger_INCLUDED
#define Tavik_Logger_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Channel.h"
#include "Tavik/Message.h"
#include "Tavik/Mutex.h"

#include <atomic>
#include <string>

namespace Tavik {

class Exception;

/// A named source of log messages with a level and a channel.
///
/// Loggers form a simple hierarchy by name: "A.B" is below "A", and every
/// logger is below the root logger, whose name is "". A logger is created on
/// first use with the level and channel of its nearest existing ancestor (the
/// root logger: level PRIO_INFORMATION, a ConsoleChannel). Loggers are never
/// destroyed, so references to them stay valid until the process exits.
///
/// A message of priority P is delivered when P <= level (is(P)); level 0 turns
/// a logger off. Build costly texts only when the level admits them:
///     if (logger.debug()) logger.debug(format("SID: %s", sid));
///
/// Thread safety: every operation may be called from any thread. Level tests
/// take no lock. The logging operations never throw because of the channel:
/// a failing channel loses the message.
class Logger
{
public:
	Logger(const Logger&) = delete;
	Logger& operator=(const Logger&) = delete;

	/// The logger with this name, created on first use.
	static Logger& get(const std::string& name);
	/// The root logger (name "").
	static Logger& root();

	/// Sets the level of the named logger (creating it) and of every existing
	/// logger below it; loggers created later below it inherit the level. The
	/// empty name means every logger.
	/// Throws InvalidArgumentException when level is not within 0 to 8.
	static void setLevel(const std::string& name, int level);
	/// Sets the channel of the named logger and of every logger below it, as
	/// setLevel(name, level) does for the level.
	static void setChannel(const std::string& name, AutoPtr<Channel> pChannel);

	/// True when a message of priority prio would be delivered.
	bool is(int prio) const noexcept { return prio <= _level.load(std::memory_order_relaxed); }
	/// True when a message of the priority named by the operation would be
	/// delivered.
	///@{
	bool fatal() const noexcept { return is(Message::PRIO_FATAL); }
	bool critical() const noexcept { return is(Message::PRIO_CRITICAL); }
	bool error() const noexcept { return is(Message::PRIO_ERROR); }
	bool warning() const noexcept { return is(Message::PRIO_WARNING); }
	bool notice() const noexcept { return is(Message::PRIO_NOTICE); }
	bool information() const noexcept { return is(Message::PRIO_INFORMATION); }
	bool debug() const noexcept { return is(Message::PRIO_DEBUG); }
	bool trace() const noexcept { return is(Message::PRIO_TRACE); }
	///@}

	/// Logs text at the priority named by the operation.
	///@{
	void fatal(const std::string& text) { log(Message::PRIO_FATAL, text); }
	void critical(const std::string& text) { log(Message::PRIO_CRITICAL, text); }
	void error(const std::string& text) { log(Message::PRIO_ERROR, text); }
	void warning(const std::string& text) { log(Message::PRIO_WARNING, text); }
	void notice(const std::string& text) { log(Message::PRIO_NOTICE, text); }
	void information(const std::string& text) { log(Message::PRIO_INFORMATION, text); }
	void debug(const std::string& text) { log(Message::PRIO_DEBUG, text); }
	void trace(const std::string& text) { log(Message::PRIO_TRACE, text); }
	///@}

	/// Logs text at priority prio with this logger as the source.
	/// Throws InvalidArgumentException when prio is not within 1 to 8.
	void log(int prio, const std::string& text);
	/// Delivers msg, as it is, when is(msg.priority()).
	void log(const Message& msg) noexcept;
	/// Logs exc.displayText() at PRIO_ERROR.
	void log(const Exception& exc) noexcept;

	/// The logger's name, e.g. "UPnP.GENA.Listener"; "" for the root logger.
	const std::string& name() const noexcept { return _name; }

	/// Sets this logger's level alone. Throws InvalidArgumentException when
	/// level is not within 0 to 8.
	void setLevel(int level);
	/// The logger's level: 0 (off) to 8 (PRIO_TRACE).
	int getLevel() const noexcept { return _level.load(std::memory_order_relaxed); }

	/// Sets this logger's channel alone; a null channel drops every message.
	void setChannel(AutoPtr<Channel> pChannel);
	/// The logger's channel, shared; null when messages are dropped.
	AutoPtr<Channel> getChannel() const;

private:
	friend class LoggerRegistry;

	Logger(const std::string& name, int level, AutoPtr<Channel> pChannel);
	~Logger();

	void deliver(const Message& msg) noexcept;

	const std::string _name;
	std::atomic<int> _level;
	mutable FastMutex _channelMutex;
	AutoPtr<Channel> _pChannel;
};

} // namespace Tavik

#endif // Tavik_Logger_INCLUDED
