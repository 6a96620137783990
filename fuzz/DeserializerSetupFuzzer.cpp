// Any bytes as the body of a NOTIFY: Deserializer::setup() parses them, then
// every queued property is read as every type the framework may ask for.
// Refusals are exceptions of the foundation's hierarchy; anything else (a
// crash, undefined behaviour, a leak, another exception type) is a finding.

#include "Tavik/Exception.h"
#include "Tavik/UPnP/GENA/Deserializer.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

using Tavik::Callweave::SerializerBase;
using Tavik::UPnP::GENA::Deserializer;

namespace {

template <class T> void readAs(Deserializer& deserializer, const std::string& name)
{
	T value{};
	try
	{
		deserializer.deserialize(name, true, value);
	}
	catch (const Tavik::Exception&)
	{}
}

void readEveryType(Deserializer& deserializer, const std::string& name)
{
	readAs<signed char>(deserializer, name);
	readAs<unsigned char>(deserializer, name);
	readAs<short>(deserializer, name);
	readAs<unsigned short>(deserializer, name);
	readAs<int>(deserializer, name);
	readAs<unsigned int>(deserializer, name);
	readAs<long>(deserializer, name);
	readAs<unsigned long>(deserializer, name);
	readAs<long long>(deserializer, name);
	readAs<unsigned long long>(deserializer, name);
	readAs<float>(deserializer, name);
	readAs<double>(deserializer, name);
	readAs<bool>(deserializer, name);
	readAs<char>(deserializer, name);
	readAs<std::string>(deserializer, name);
	readAs<std::vector<char>>(deserializer, name);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size)
{
	std::istringstream body(std::string(reinterpret_cast<const char*>(pData), size));
	Deserializer deserializer;
	try
	{
		deserializer.setup(body);
	}
	catch (const Tavik::Exception&)
	{
		// The properties read before the error stay queued: read them too.
	}
	while (deserializer.hasProperties())
	{
		std::string name;
		deserializer.findMessage(name);
		deserializer.deserializeMessageBegin(name, SerializerBase::MESSAGE_EVENT);
		readEveryType(deserializer, name);
		deserializer.deserializeMessageEnd(name, SerializerBase::MESSAGE_EVENT);
		deserializer.popProperty();
	}
	deserializer.reset();
	return 0;
}
