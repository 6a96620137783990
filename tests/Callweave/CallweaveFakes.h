#ifndef CallweaveFakes_INCLUDED
#define CallweaveFakes_INCLUDED

// Fakes of the transport layer for the Callweave tests: transports that record
// what they are asked to do and can be told to block or to fail.

#include "Tavik/AutoPtr.h"
#include "Tavik/Callweave/Deserializer.h"
#include "Tavik/Callweave/DeserializerException.h"
#include "Tavik/Callweave/Serializer.h"
#include "Tavik/Callweave/ServerTransport.h"
#include "Tavik/Callweave/Transport.h"
#include "Tavik/Callweave/TransportException.h"
#include "Tavik/Callweave/TransportFactory.h"
#include "Tavik/Exception.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace CallweaveFakes {

using namespace Tavik;
using namespace Tavik::Callweave;

/// Generous: tests wait on conditions, and only a broken build reaches it.
constexpr std::chrono::seconds DEADLINE(30);

/// Where a fake transport fails, per end point.
enum class Behaviour
{
	DELIVER,
	BLOCK,          ///< sendMessage() waits until release()
	FAIL_BEGIN,     ///< beginMessage() throws
	FAIL_SERIALIZE, ///< serializeMessageEnd() throws
	FAIL_SEND,      ///< sendMessage() throws
	FAIL_END,       ///< endRequest() throws
};

/// The shared state of all fake transports of a test: the behaviour and the
/// record of every end point. Thread-safe.
class FakeNetwork
{
public:
	void setBehaviour(const std::string& endPoint, Behaviour behaviour)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_behaviours[endPoint] = behaviour;
	}

	Behaviour behaviour(const std::string& endPoint)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		const auto it = _behaviours.find(endPoint);
		return it == _behaviours.end() ? Behaviour::DELIVER : it->second;
	}

	void record(const std::string& endPoint, const std::string& text)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_records[endPoint].push_back(text);
		_changed.notify_all();
	}

	/// Everything recorded for endPoint, oldest first.
	std::vector<std::string> records(const std::string& endPoint)
	{
		std::lock_guard<std::mutex> lock(_mutex);
		return _records[endPoint];
	}

	/// The "sent ..." records of endPoint: the events delivered to it.
	std::vector<std::string> delivered(const std::string& endPoint)
	{
		std::vector<std::string> result;
		for (const std::string& text : records(endPoint))
		{
			if (text.rfind("sent ", 0) == 0) result.push_back(text.substr(5));
		}
		return result;
	}

	/// Waits until endPoint has at least n records starting with prefix.
	bool waitFor(const std::string& endPoint, const std::string& prefix, std::size_t n = 1)
	{
		std::unique_lock<std::mutex> lock(_mutex);
		return _changed.wait_for(lock, DEADLINE, [&] {
			const auto& texts = _records[endPoint];
			return std::size_t(std::count_if(texts.begin(), texts.end(), [&](const std::string& text) {
				       return text.rfind(prefix, 0) == 0;
			       })) >= n;
		});
	}

	/// Blocks the calling transport until release() (or the deadline).
	void block(const std::string& endPoint)
	{
		std::unique_lock<std::mutex> lock(_mutex);
		_records[endPoint].push_back("blocked");
		_changed.notify_all();
		_changed.wait_for(lock, 2 * DEADLINE, [&] { return _released; });
	}

	void release()
	{
		std::lock_guard<std::mutex> lock(_mutex);
		_released = true;
		_changed.notify_all();
	}

	/// Transports used by two threads at once.
	std::atomic<int> overlaps{0};
	/// Transports that exist.
	std::atomic<int> transports{0};

private:
	std::mutex _mutex;
	std::condition_variable _changed;
	std::map<std::string, Behaviour> _behaviours;
	std::map<std::string, std::vector<std::string>> _records;
	bool _released = false;
};

/// Writes every value as "name=value" into values.
class RecordingSerializer : public Serializer
{
public:
	void resetImpl() override {}
	void setupImpl(std::ostream&) override {}
	void serializeMessageBegin(const std::string& name, MessageType type) override
	{
		add("messageBegin " + name + " " + std::to_string(type));
	}
	void serializeMessageEnd(const std::string& name, MessageType type) override
	{
		if (failEnd) throw IOException("cannot write");
		add("messageEnd " + name + " " + std::to_string(type));
	}
	void serializeFaultMessage(const std::string&, Exception&) override {}
	void serializeStructBegin(const std::string&) override {}
	void serializeStructEnd(const std::string&) override {}
	void serializeSequenceBegin(const std::string&, unsigned int) override {}
	void serializeSequenceEnd(const std::string&) override {}
	void serializeNullableBegin(const std::string&, bool) override {}
	void serializeNullableEnd(const std::string&) override {}
	void serialize(const std::string& n, signed char v) override { add(n, v); }
	void serialize(const std::string& n, unsigned char v) override { add(n, v); }
	void serialize(const std::string& n, short v) override { add(n, v); }
	void serialize(const std::string& n, unsigned short v) override { add(n, v); }
	void serialize(const std::string& n, int v) override { add(n, v); }
	void serialize(const std::string& n, unsigned int v) override { add(n, v); }
	void serialize(const std::string& n, long v) override { add(n, v); }
	void serialize(const std::string& n, unsigned long v) override { add(n, v); }
	void serialize(const std::string& n, long long v) override { add(n, v); }
	void serialize(const std::string& n, unsigned long long v) override { add(n, v); }
	void serialize(const std::string& n, bool v) override { add(n, v); }
	void serialize(const std::string& n, float v) override { add(n, v); }
	void serialize(const std::string& n, double v) override { add(n, v); }
	void serialize(const std::string& n, char v) override { add(n, v); }
	void serialize(const std::string& n, const std::string& v) override { add(n, v); }
	void serialize(const std::string& n, const std::vector<char>& v) override
	{
		add(n, std::string(v.begin(), v.end()));
	}

	std::vector<std::string> values;
	bool failEnd = false;

private:
	template <class T> void add(const std::string& name, const T& value)
	{
		std::ostringstream text;
		text << name << "=" << value;
		add(text.str());
	}
	void add(const std::string& text) { values.push_back(text); }
};

/// A transport that records its calls on the FakeNetwork under its end point
/// and behaves as the network says for that end point.
class FakeTransport : public Transport
{
public:
	explicit FakeTransport(FakeNetwork& network) : _network(network) { ++_network.transports; }

	const std::string& endPoint() const override { return _endPoint; }
	void connect(const std::string& endPoint) override
	{
		if (endPoint == "unreachable") throw IOException("cannot connect");
		_endPoint = endPoint;
		_network.record(_endPoint, "connect");
	}
	void disconnect() override { _endPoint.clear(); }
	bool connected() const override { return !_endPoint.empty(); }

	Serializer& beginMessage(const std::string&, const std::string&, const std::string& messageName,
	                         SerializerBase::MessageType type) override
	{
		if (_busy.exchange(true)) ++_network.overlaps;
		_network.record(_endPoint, "beginMessage " + messageName + " " + std::to_string(type));
		_serializer.values.clear();
		const Behaviour behaviour = _network.behaviour(_endPoint);
		_serializer.failEnd = behaviour == Behaviour::FAIL_SERIALIZE;
		if (behaviour == Behaviour::FAIL_BEGIN) throw IOException("cannot begin");
		return _serializer;
	}
	void sendMessage(const std::string&, const std::string&, const std::string& messageName,
	                 SerializerBase::MessageType) override
	{
		const Behaviour behaviour = _network.behaviour(_endPoint);
		if (behaviour == Behaviour::BLOCK) _network.block(_endPoint);
		if (behaviour == Behaviour::FAIL_SEND) throw TransportException("HTTP Error", "Gone");
		std::string wrote = "wrote";
		std::string sent = "sent " + messageName;
		for (const std::string& value : _serializer.values)
		{
			wrote += " [" + value + "]";
			if (value.find('=') != std::string::npos) sent += " " + value;
		}
		_network.record(_endPoint, wrote);
		_network.record(_endPoint, sent);
	}
	Serializer& beginRequest(const std::string&, const std::string&, const std::string&,
	                         SerializerBase::MessageType) override
	{
		throw NotImplementedForTest();
	}
	Deserializer& sendRequest(const std::string&, const std::string&, const std::string&,
	                          SerializerBase::MessageType) override
	{
		throw NotImplementedForTest();
	}
	void endRequest() override
	{
		_network.record(_endPoint, "endRequest");
		_busy = false;
		if (_network.behaviour(_endPoint) == Behaviour::FAIL_END) throw IOException("cannot end");
	}

protected:
	~FakeTransport() override
	{
		_network.record(_endPoint, "destroyed");
		--_network.transports;
	}

private:
	struct NotImplementedForTest : Exception
	{
		NotImplementedForTest() : Exception("the dispatcher sends one-way messages only") {}
	};

	FakeNetwork& _network;
	std::string _endPoint;
	RecordingSerializer _serializer;
	std::atomic<bool> _busy{false};
};

class FakeTransportFactory : public TransportFactory
{
public:
	explicit FakeTransportFactory(FakeNetwork& network) : _network(network) {}

	Transport* createTransport() override
	{
		++created;
		return new FakeTransport(_network);
	}

	std::atomic<int> created{0};

private:
	FakeNetwork& _network;
};

/// A deserializer holding a stack of (name, value text) events, presenting the
/// last one, as a protocol's deserializer does. Records the calls it gets.
class FakeDeserializer : public Deserializer
{
public:
	void push(const std::string& name, const std::string& value) { _events.emplace_back(name, value); }
	void pop() { _events.pop_back(); }

	MessageType messageType = MESSAGE_EVENT;
	std::vector<std::string> calls;

	void resetImpl() override {}
	void setupImpl(std::istream&) override {}
	MessageType findMessage(std::string& name) override
	{
		name = current().first;
		calls.push_back("findMessage " + name);
		return messageType;
	}
	void deserializeMessageBegin(const std::string& name, MessageType type) override
	{
		calls.push_back("messageBegin " + name + " " + std::to_string(type));
	}
	void deserializeMessageEnd(const std::string& name, MessageType type) override
	{
		calls.push_back("messageEnd " + name + " " + std::to_string(type));
	}
	bool deserializeStructBegin(const std::string&, bool) override { return false; }
	void deserializeStructEnd(const std::string&) override {}
	bool deserializeSequenceBegin(const std::string&, bool, unsigned int&) override { return false; }
	void deserializeSequenceEnd(const std::string&) override {}
	bool deserializeNullableBegin(const std::string&, bool, bool&) override { return false; }
	void deserializeNullableEnd(const std::string&) override {}
	bool deserialize(const std::string& n, bool, signed char& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, unsigned char& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, short& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, unsigned short& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, int& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, unsigned int& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, long& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, unsigned long& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, long long& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, unsigned long long& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, float& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, double& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, bool& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, char& v) override { return read(n, v); }
	bool deserialize(const std::string& n, bool, std::string& v) override
	{
		calls.push_back("read string " + n);
		v = current().second;
		return true;
	}
	bool deserialize(const std::string& n, bool, std::vector<char>& v) override
	{
		calls.push_back("read bytes " + n);
		v.assign(current().second.begin(), current().second.end());
		return true;
	}

private:
	const std::pair<std::string, std::string>& current()
	{
		if (_events.empty()) throw DeserializerException("no more events");
		return _events.back();
	}
	template <class T> bool read(const std::string& name, T& value)
	{
		calls.push_back("read number " + name);
		std::istringstream text(current().second);
		text >> std::boolalpha >> value;
		if (!text || text.peek() != std::char_traits<char>::eof())
			throw DataFormatException("not a number", current().second);
		return true;
	}

	std::vector<std::pair<std::string, std::string>> _events;
};

/// A server transport over a FakeDeserializer; records its calls into the
/// deserializer's call list, so that one list shows the order of both.
class FakeServerTransport : public ServerTransport
{
public:
	FakeDeserializer deserializer;
	RecordingSerializer replySerializer;
	bool failEnd = false;

	Deserializer& beginRequest() override
	{
		deserializer.calls.push_back("beginRequest");
		return deserializer;
	}
	Serializer& sendReply(SerializerBase::MessageType) override
	{
		deserializer.calls.push_back("sendReply");
		return replySerializer;
	}
	void endRequest() override
	{
		deserializer.calls.push_back("endRequest");
		if (failEnd) throw IOException("cannot end");
	}
};

} // namespace CallweaveFakes

#endif // CallweaveFakes_INCLUDED
