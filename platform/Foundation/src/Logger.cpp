#include "Tavik/Logger.h"

#include "Tavik/ConsoleChannel.h"
#include "Tavik/Exception.h"

#include <map>

namespace Tavik {

namespace {

const int LEVEL_OFF = 0;

void checkLevel(int level)
{
	if (level < LEVEL_OFF || level > Message::PRIO_TRACE)
		throw InvalidArgumentException("invalid log level", std::to_string(level));
}

// True when name is ancestor or lies below it ("" is everyone's ancestor).
bool isAtOrBelow(const std::string& name, const std::string& ancestor)
{
	if (ancestor.empty() || name == ancestor) return true;
	return name.size() > ancestor.size() && name.compare(0, ancestor.size(), ancestor) == 0 &&
	       name[ancestor.size()] == '.';
}

} // namespace

/// Every logger of the process, by name. Never destroyed (see instance()).
class LoggerRegistry
{
public:
	// Leaked on purpose: pool and timer threads may log while static objects
	// are destroyed at exit, and references to loggers must stay valid.
	static LoggerRegistry& instance()
	{
		static LoggerRegistry* pRegistry = new LoggerRegistry;
		return *pRegistry;
	}

	Logger& get(const std::string& name)
	{
		ScopedLock<FastMutex> lock(_mutex);
		return getLocked(name);
	}

	template <class Apply> void applyBelow(const std::string& name, Apply apply)
	{
		ScopedLock<FastMutex> lock(_mutex);
		getLocked(name);
		for (auto& entry : _loggers)
		{
			if (isAtOrBelow(entry.first, name)) apply(*entry.second);
		}
	}

private:
	LoggerRegistry() { _loggers.emplace("", new Logger("", Message::PRIO_INFORMATION, new ConsoleChannel)); }

	Logger& getLocked(const std::string& name)
	{
		auto it = _loggers.find(name);
		if (it != _loggers.end()) return *it->second;
		const Logger& parent = nearestAncestor(name);
		Logger* pLogger = new Logger(name, parent.getLevel(), parent.getChannel());
		_loggers.emplace(name, pLogger);
		return *pLogger;
	}

	const Logger& nearestAncestor(std::string name) const
	{
		for (;;)
		{
			const auto dot = name.rfind('.');
			name.erase(dot == std::string::npos ? 0 : dot);
			auto it = _loggers.find(name);
			if (it != _loggers.end()) return *it->second;
		}
	}

	FastMutex _mutex;
	std::map<std::string, Logger*> _loggers;
};

Logger::Logger(const std::string& name, int level, AutoPtr<Channel> pChannel)
    : _name(name), _level(level), _pChannel(std::move(pChannel))
{}

Logger::~Logger() = default;

Logger& Logger::get(const std::string& name)
{
	return LoggerRegistry::instance().get(name);
}

Logger& Logger::root()
{
	return get("");
}

void Logger::setLevel(const std::string& name, int level)
{
	checkLevel(level);
	LoggerRegistry::instance().applyBelow(name, [level](Logger& logger) { logger.setLevel(level); });
}

void Logger::setChannel(const std::string& name, AutoPtr<Channel> pChannel)
{
	LoggerRegistry::instance().applyBelow(name, [&pChannel](Logger& logger) { logger.setChannel(pChannel); });
}

void Logger::log(int prio, const std::string& text)
{
	if (prio < Message::PRIO_FATAL || prio > Message::PRIO_TRACE)
		throw InvalidArgumentException("invalid log priority", std::to_string(prio));
	if (!is(prio)) return;
	try
	{
		deliver(Message(_name, text, prio));
	}
	catch (...)
	{
		// Out of memory while copying the text: the message is lost.
	}
}

void Logger::log(const Message& msg) noexcept
{
	if (is(msg.priority())) deliver(msg);
}

void Logger::log(const Exception& exc) noexcept
{
	if (!error()) return;
	try
	{
		deliver(Message(_name, exc.displayText(), Message::PRIO_ERROR));
	}
	catch (...)
	{
		// As in log(prio, text).
	}
}

void Logger::setLevel(int level)
{
	checkLevel(level);
	_level.store(level, std::memory_order_relaxed);
}

void Logger::setChannel(AutoPtr<Channel> pChannel)
{
	ScopedLock<FastMutex> lock(_channelMutex);
	_pChannel.swap(pChannel);
	// The old channel is released after the lock, when pChannel goes out of scope.
}

AutoPtr<Channel> Logger::getChannel() const
{
	ScopedLock<FastMutex> lock(_channelMutex);
	return _pChannel;
}

void Logger::deliver(const Message& msg) noexcept
{
	try
	{
		AutoPtr<Channel> pChannel = getChannel();
		if (pChannel) pChannel->log(msg);
	}
	catch (...)
	{
		// A failing channel loses the message; logging must not break the caller.
	}
}

} // namespace Tavik
