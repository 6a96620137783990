#include "Watch.h"

#include "Messages.h"
#include "Options.h"
#include "Tavik/Exception.h"
#include "Tavik/Format.h"

#include <condition_variable>
#include <mutex>

namespace Gena {

using Tavik::Callweave::GenericEventSubscriber;
using Tavik::UPnP::GENA::Listener;
using Tavik::UPnP::Host::Host;

struct Watch::Shared
{
	explicit Shared(Output& output) : output(output) {}

	void count(std::size_t& counter)
	{
		std::lock_guard<std::mutex> lock(mutex);
		++counter;
		changed.notify_all();
	}

	bool waitFor(const std::size_t& counter, std::size_t count, std::chrono::seconds timeout)
	{
		std::unique_lock<std::mutex> lock(mutex);
		return changed.wait_for(lock, timeout, [&] { return counter >= count; });
	}

	Output& output;
	std::mutex mutex;
	std::condition_variable changed;
	std::size_t properties = 0; // guarded by mutex
	std::size_t renewals = 0;   // guarded by mutex
};

Watch::Watch(Host& host, Output& output) : _host(host), _pShared(std::make_shared<Shared>(output))
{
	std::shared_ptr<Shared> pShared = _pShared;
	Listener& listener = host.listener();
	listener.subscriptionRenewed +=
	    Tavik::Delegate<const std::string>([pShared](const void*, const std::string& url) {
		    pShared->output.print("renewed", {{"url", url}});
		    pShared->count(pShared->renewals);
	    });
	listener.subscriptionRenewalFailed +=
	    Tavik::Delegate<const std::string>([pShared](const void*, const std::string& url) {
		    pShared->output.print("renewal-failed", {{"url", url}});
	    });
	listener.subscriptionLost +=
	    Tavik::Delegate<const std::string>([pShared](const void*, const std::string& url) {
		    pShared->output.print("lost", {{"url", url}});
	    });
	listener.sequenceGap += Tavik::Delegate<const Listener::SequenceGap>(
	    [pShared](const void*, const Listener::SequenceGap& gap) {
		    pShared->output.print(
		        "error", {{"url", gap.endpointURI},
		                  {"sid", gap.sid},
		                  {"message", Tavik::format(Messages::SEQUENCE_GAP, std::to_string(gap.expected),
		                                            std::to_string(gap.received))}});
	    });
}

void Watch::subscribeAll(const std::vector<Target>& targets)
{
	for (const Target& target : targets)
	{
		Tavik::AutoPtr<GenericEventSubscriber> pSubscriber(new GenericEventSubscriber(target.eventURL));
		std::shared_ptr<Shared> pShared = _pShared;
		const std::string service = target.serviceType;
		pSubscriber->eventReceived += Tavik::Delegate<const GenericEventSubscriber::Event>(
		    [pShared, service](const void*, const GenericEventSubscriber::Event& event) {
			    const Host::Notification notification = Host::currentNotification();
			    Output::Fields fields = {{"sid", notification.sid}, {"seq", notification.seq}};
			    if (!service.empty()) fields.emplace_back("service", service);
			    fields.emplace_back("name", event.name);
			    fields.emplace_back("value", event.value);
			    pShared->output.print("property", fields);
			    pShared->count(pShared->properties);
		    });
		try
		{
			_host.subscribe(pSubscriber);
		}
		catch (const Tavik::Exception& exc)
		{
			throw Failure(Tavik::format(Messages::SUBSCRIBE_FAILED, target.eventURL, exc.displayText()));
		}
		_subscribers.push_back(pSubscriber);
		Output::Fields fields = {{"url", target.eventURL}};
		if (!target.serviceType.empty()) fields.emplace_back("service", target.serviceType);
		_pShared->output.print("subscribed", fields);
	}
}

void Watch::unsubscribeAll()
{
	for (const auto& pSubscriber : _subscribers)
	{
		try
		{
			_host.unsubscribe(pSubscriber);
			_pShared->output.print("unsubscribed", {{"url", pSubscriber->endpointURI()}});
		}
		catch (const Tavik::Exception& exc)
		{
			_pShared->output.print("error",
			                       {{"url", pSubscriber->endpointURI()}, {"message", exc.displayText()}});
		}
	}
	_subscribers.clear();
}

bool Watch::waitForProperties(std::size_t count, std::chrono::seconds timeout)
{
	return _pShared->waitFor(_pShared->properties, count, timeout);
}

bool Watch::waitForRenewals(std::size_t count, std::chrono::seconds timeout)
{
	return _pShared->waitFor(_pShared->renewals, count, timeout);
}

} // namespace Gena
