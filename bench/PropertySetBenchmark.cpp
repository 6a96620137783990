// Writing and reading event property sets, beside a raw expat parse of the
// same bytes (fresh namespace-aware parser per document, no handlers): the
// floor that reading is measured against.

#include "Tavik/UPnP/GENA/Deserializer.h"
#include "Tavik/UPnP/GENA/Serializer.h"

#include <benchmark/benchmark.h>
#include <expat.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

using Tavik::Callweave::SerializerBase;
using Tavik::UPnP::GENA::Deserializer;
using Tavik::UPnP::GENA::Serializer;

namespace {

// State variables as a media renderer reports them: short names, values from
// a digit to a short sentence with a character that needs escaping.
std::vector<std::pair<std::string, std::string>> variables(int count)
{
	std::vector<std::pair<std::string, std::string>> result;
	for (int i = 0; i < count; ++i)
	{
		std::string value;
		switch (i % 3)
		{
		case 0:
			value = std::to_string(i * 37);
			break;
		case 1:
			value = "PLAYING";
			break;
		default:
			value = "Track " + std::to_string(i) + " - Artist & Band";
			break;
		}
		result.emplace_back("Variable" + std::to_string(i), value);
	}
	return result;
}

void writeEvent(Serializer& serializer, std::ostream& ostr,
                const std::vector<std::pair<std::string, std::string>>& values)
{
	serializer.setup(ostr);
	serializer.serializeMessageBegin(std::string(), SerializerBase::MESSAGE_EVENT);
	for (const auto& value : values) serializer.serialize(value.first, value.second);
	serializer.serializeMessageEnd(std::string(), SerializerBase::MESSAGE_EVENT);
}

std::string document(int count)
{
	std::ostringstream ostr;
	Serializer serializer;
	writeEvent(serializer, ostr, variables(count));
	return ostr.str();
}

void setCounters(benchmark::State& state, std::size_t documentSize)
{
	state.SetItemsProcessed(state.iterations());
	state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(documentSize));
}

void BM_WritePropertySet(benchmark::State& state)
{
	const auto values = variables(static_cast<int>(state.range(0)));
	Serializer serializer;
	std::size_t size = 0;
	for (auto _ : state)
	{
		std::ostringstream ostr;
		writeEvent(serializer, ostr, values);
		size = static_cast<std::size_t>(ostr.tellp());
		benchmark::DoNotOptimize(size);
	}
	setCounters(state, size);
}

void BM_ReadPropertySet(benchmark::State& state)
{
	const std::string body = document(static_cast<int>(state.range(0)));
	for (auto _ : state)
	{
		std::istringstream istr(body);
		Deserializer deserializer;
		deserializer.setup(istr);
		std::string name;
		std::string value;
		while (deserializer.hasProperties())
		{
			deserializer.findMessage(name);
			deserializer.deserialize(name, true, value);
			benchmark::DoNotOptimize(value.data());
			deserializer.popProperty();
		}
	}
	setCounters(state, body.size());
}

void BM_RawExpatParse(benchmark::State& state)
{
	const std::string body = document(static_cast<int>(state.range(0)));
	for (auto _ : state)
	{
		XML_Parser parser = XML_ParserCreateNS(nullptr, '\x1F');
		const XML_Status status = XML_Parse(parser, body.data(), static_cast<int>(body.size()), XML_TRUE);
		XML_ParserFree(parser);
		if (status != XML_STATUS_OK) state.SkipWithError("expat refused the document");
	}
	setCounters(state, body.size());
}

} // namespace

BENCHMARK(BM_WritePropertySet)->Arg(10)->Arg(100);
BENCHMARK(BM_ReadPropertySet)->Arg(10)->Arg(100);
BENCHMARK(BM_RawExpatParse)->Arg(10)->Arg(100);

BENCHMARK_MAIN();
