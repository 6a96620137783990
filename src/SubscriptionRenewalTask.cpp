#include "Tavik/UPnP/GENA/SubscriptionRenewalTask.h"

#include "Tavik/ThreadPool.h"
#include "Tavik/UPnP/GENA/SubscriptionRenewalThread.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

SubscriptionRenewalTask::SubscriptionRenewalTask(Listener& listener,
                                                 AutoPtr<Callweave::EventSubscriber> pSubscriber,
                                                 const std::string& sid, int timeout)
    : _listener(listener), _pSubscriber(std::move(pSubscriber)), _sid(sid), _timeout(timeout)
{}

SubscriptionRenewalTask::~SubscriptionRenewalTask() = default;

void SubscriptionRenewalTask::run()
{
	auto* pThread = new SubscriptionRenewalThread(_listener, _pSubscriber, _sid, _timeout);
	try
	{
		ThreadPool::defaultPool().start(*pThread);
	}
	catch (...)
	{
		// The pool is full or stopping: skip this firing, the next period tries again.
		delete pThread;
	}
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
