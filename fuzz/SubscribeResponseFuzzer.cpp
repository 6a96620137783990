// Any bytes as the publisher's answer to SUBSCRIBE: a loopback peer answers
// every request of Listener::subscribeToEvents() with the input and closes,
// so the real client session reads the response head and the listener makes
// its checks of status, SID and TIMEOUT. A subscription that is granted is
// cancelled again (UNSUBSCRIBE, answered the same way), so that the table and
// the timer stay small. Refusals are exceptions of the foundation's hierarchy.

#include "FuzzSupport.h"

#include "Tavik/Callweave/GenericEventSubscriber.h"
#include "Tavik/Exception.h"
#include "Tavik/UPnP/GENA/Listener.h"
#include "Tavik/Util/Timer.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>

using namespace Tavik;
using namespace Tavik::UPnP::GENA;

namespace {

/// A publisher that reads each request head and answers it with the bytes
/// of the current input. Its thread serves until the process ends.
class Publisher
{
public:
	Publisher() : _fd(FuzzSupport::listenOnLoopback(_port))
	{
		std::thread([this] { serve(); }).detach();
	}

	unsigned short port() const { return _port; }

	void answerWith(std::string answer)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_answer = std::move(answer);
	}

private:
	void serve()
	{
		for (;;)
		{
			const int fd = ::accept(_fd, nullptr, nullptr);
			if (fd < 0) continue;
			FuzzSupport::limitReads(fd);
			readHead(fd);
			std::string answer;
			{
				std::lock_guard<std::mutex> lock(_mutex);
				answer = _answer;
			}
			FuzzSupport::sendAll(fd, answer);
			::close(fd);
		}
	}

	/// Reads up to the blank line that ends the request head: the client's
	/// requests carry no body.
	static void readHead(int fd)
	{
		std::string head;
		char c;
		while (head.size() < 4 || head.compare(head.size() - 4, 4, "\r\n\r\n") != 0)
		{
			if (::recv(fd, &c, 1, 0) != 1) return;
			head += c;
		}
	}

	unsigned short _port = 0;
	int _fd;
	std::mutex _mutex;
	std::string _answer;
};

/// The listener and its publisher, set up on the first input and kept for
/// the whole run.
struct Client
{
	Client() : listener(new Listener("127.0.0.1:1", timer))
	{
		FuzzSupport::discardLogs();
		listener->setEventSubscriptionTimeout(300);
	}

	Publisher publisher;
	Util::Timer timer;
	AutoPtr<Listener> listener;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size)
{
	// Never destroyed: the publisher's thread serves until the process ends.
	static Client* pClient = new Client;

	pClient->publisher.answerWith(std::string(reinterpret_cast<const char*>(pData), size));
	AutoPtr<Callweave::EventSubscriber> pSubscriber(new Callweave::GenericEventSubscriber(
	    "http://127.0.0.1:" + std::to_string(pClient->publisher.port()) + "/svc/event"));
	try
	{
		pClient->listener->subscribeToEvents(pSubscriber);
	}
	catch (const Exception&)
	{
		return 0;
	}
	try
	{
		pClient->listener->unsubscribeFromEvents(pSubscriber);
	}
	catch (const Exception&)
	{}
	return 0;
}
