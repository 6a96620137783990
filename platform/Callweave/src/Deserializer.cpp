#include "Tavik/Callweave/Deserializer.h"

namespace Tavik {
namespace Callweave {

Deserializer::Deserializer() = default;

Deserializer::~Deserializer() = default;

bool Deserializer::deserializeOptionalBegin(const std::string&, bool, bool&)
{
	return false;
}

void Deserializer::deserializeOptionalEnd(const std::string&)
{
}

void Deserializer::pushAttribute(const std::string&, const std::string&, bool)
{
}

void Deserializer::setup(std::istream& istr)
{
	clearProperties();
	resetImpl();
	setupImpl(istr);
}

void Deserializer::reset()
{
	clearProperties();
	resetImpl();
}

} // namespace Callweave
} // namespace Tavik
