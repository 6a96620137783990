#ifndef Tavik_Callweave_TypedEventSubscriber_INCLUDED
#define Tavik_Callweave_TypedEventSubscriber_INCLUDED

#include "Tavik/Callweave/Deserializer.h"
#include "Tavik/Callweave/EventSubscriber.h"
#include "Tavik/Mutex.h"

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace Tavik {
namespace Callweave {

/// An event subscriber that hands each event, read into the type its
/// application expects, to the handler registered for the event's name:
///
///     pSubscriber->on<int>("LoadLevelStatus", [](const int& level) { ... });
///
/// Events for which no handler is registered are ignored: their value is not
/// read and invoke() succeeds.
///
/// Thread safety: on() may be called while events arrive; a handler runs on
/// the thread that calls invoke(), with no lock held.
class TypedEventSubscriber : public EventSubscriber
{
public:
	/// A subscriber to the events of the remote object at endpointURI, with
	/// no handler yet.
	explicit TypedEventSubscriber(const std::string& endpointURI);

	/// Registers handler for the events named eventName, replacing the handler
	/// registered before for that name. The value is read with the
	/// Deserializer::deserialize() overload for T, so T must be one of the
	/// types a deserializer reads; a value that does not convert makes
	/// invoke() throw the deserializer's exception, and the handler is not
	/// called. An exception of the handler passes out of invoke().
	template <class T> void on(const std::string& eventName, std::function<void(const T&)> handler)
	{
		setReader(eventName, [handler = std::move(handler)](Deserializer& deserializer) {
			T value{};
			deserializer.deserialize(VALUE_ARGUMENT, true, value);
			handler(value);
		});
	}

protected:
	~TypedEventSubscriber() override;

	void handleEvent(const std::string& eventName, Deserializer& deserializer) override;

private:
	using Reader = std::function<void(Deserializer&)>;

	void setReader(const std::string& eventName, Reader reader);

	FastMutex _mutex; // guards _readers
	std::map<std::string, Reader> _readers;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_TypedEventSubscriber_INCLUDED
