#ifndef GENATestSupport_INCLUDED
#define GENATestSupport_INCLUDED

#include "Tavik/Callweave/Deserializer.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/UPnP/GENA/Listener.h"

#include <mutex>
#include <string>
#include <vector>

/// Test doubles shared by the GENA unit and integration tests.
namespace TestSupport {

/// A Listener that opens the test-only door to its subscription table.
class TestListener : public Tavik::UPnP::GENA::Listener
{
public:
	using Listener::Listener;
	using Listener::addSubscription;
};

/// An event subscriber that records the names of the events it receives.
class RecordingSubscriber : public Tavik::Callweave::EventSubscriber
{
public:
	RecordingSubscriber() : Tavik::Callweave::EventSubscriber("http://127.0.0.1:1/remote") {}

	std::vector<std::string> names()
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _names;
	}

protected:
	void handleEvent(const std::string& eventName, Tavik::Callweave::Deserializer&) override
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_names.push_back(eventName);
	}

private:
	std::mutex _mutex;
	std::vector<std::string> _names;
};

} // namespace TestSupport

#endif // GENATestSupport_INCLUDED
