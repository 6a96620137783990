#ifndef CallweaveFakes_INCLUDED
#define CallweaveFakes_INCLUDED

#include "Tavik/Callweave/Serializer.h"
#include "Tavik/Callweave/Transport.h"
#include "Tavik/Callweave/TransportException.h"
#include "Tavik/Callweave/TransportFactory.h"
#include "Tavik/Exception.h"
#include "Tavik/Logger.h"
#include "TestSupport.h"

#include <atomic>
#include <sstream>

namespace CallweaveFakes {

using namespace Tavik;
using namespace Tavik::Callweave;

/// The display text of the exception that call throws, or "no exception".
template <class F> std::string errorOf(F&& call)
{
	try
	{
		call();
	}
	catch (const Exception& exc)
	{
		return exc.displayText();
	}
	return "no exception";
}

/// Shared by the fake transports of a test. End points "slow..." block until released opens; "fail-begin",
/// "fail-send" and "fail-end" fail there, and "flaky" fails to send while failing is set.
struct FakeNetwork
{
	TestSupport::Gate released;
	std::atomic<bool> failing{true};
	std::atomic<int> transports{0};
};

/// A transport that is its own serializer. It logs "endPoint: connect", each event sent as "endPoint: [Name
/// name=value ...]", "blocked", "endRequest" and "destroyed" on the logger "Tavik.Callweave.Fake".
class FakeTransport : public Transport, public Serializer
{
public:
	using S = const std::string&;

	explicit FakeTransport(FakeNetwork& network) : _network(network) { ++_network.transports; }

	const std::string& endPoint() const override { return _endPoint; }
	void connect(S endPoint) override
	{
		if (endPoint == "unreachable") throw IOException("cannot connect");
		_endPoint = endPoint;
		record("connect");
	}
	void disconnect() override { _endPoint.clear(); }
	bool connected() const override { return !_endPoint.empty(); }
	Serializer& beginMessage(S, S, S, MessageType) override
	{
		if (_endPoint == "fail-begin") throw IOException("cannot begin");
		return *this;
	}
	void sendMessage(S, S, S, MessageType) override
	{
		if (_endPoint.rfind("slow", 0) == 0) record("blocked");
		if (_endPoint.rfind("slow", 0) == 0) _network.released.wait();
		if (_endPoint == "fail-send" || (_endPoint == "flaky" && _network.failing))
			throw TransportException("HTTP Error", "Gone");
		record(_text);
	}
	void endRequest() override
	{
		record("endRequest");
		if (_endPoint == "fail-end") throw IOException("cannot end");
	}
	Serializer& beginRequest(S, S, S, MessageType) override { throw IllegalStateException("one-way only"); }
	Deserializer& sendRequest(S, S, S, MessageType) override { throw IllegalStateException("one-way only"); }

	void serializeMessageBegin(S name, MessageType) override { _text = "[" + name; }
	void serializeMessageEnd(S, MessageType) override { _text += "]"; }
#define FAKE_WRITE(T) \
	void serialize(S n, T v) override { _text += " " + n + "=" + (std::ostringstream() << v).str(); }
	FAKE_WRITE(signed char) FAKE_WRITE(unsigned char) FAKE_WRITE(short) FAKE_WRITE(unsigned short) FAKE_WRITE(int)
	FAKE_WRITE(unsigned int) FAKE_WRITE(long) FAKE_WRITE(unsigned long) FAKE_WRITE(long long)
	FAKE_WRITE(unsigned long long) FAKE_WRITE(bool) FAKE_WRITE(float) FAKE_WRITE(double) FAKE_WRITE(char) FAKE_WRITE(S)
#undef FAKE_WRITE
	void serialize(S n, const std::vector<char>&) override { _text += " " + n; }
	void serializeFaultMessage(S, Exception&) override {}
	void serializeStructBegin(S) override {}
	void serializeStructEnd(S) override {}
	void serializeSequenceBegin(S, unsigned int) override {}
	void serializeSequenceEnd(S) override {}
	void serializeNullableBegin(S, bool) override {}
	void serializeNullableEnd(S) override {}
	void resetImpl() override {}
	void setupImpl(std::ostream&) override {}

protected:
	~FakeTransport() override
	{
		record("destroyed");
		--_network.transports;
	}

private:
	void record(const std::string& text) { Logger::get("Tavik.Callweave.Fake").information(_endPoint + ": " + text); }

	FakeNetwork& _network;
	std::string _endPoint;
	std::string _text;
};

struct FakeTransportFactory : TransportFactory
{
	explicit FakeTransportFactory(FakeNetwork& aNetwork) : network(aNetwork) {}
	Transport* createTransport() override { return new FakeTransport(network); }
	FakeNetwork& network;
};

} // namespace CallweaveFakes

#endif // CallweaveFakes_INCLUDED
