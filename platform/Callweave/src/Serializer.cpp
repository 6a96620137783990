#include "Tavik/Callweave/Serializer.h"

namespace Tavik {
namespace Callweave {

Serializer::Serializer() = default;

Serializer::~Serializer() = default;

void Serializer::serializeOptionalBegin(const std::string&, bool)
{
}

void Serializer::serializeOptionalEnd(const std::string&)
{
}

void Serializer::pushAttribute(const std::string&, const std::string&)
{
}

void Serializer::registerNamespace(const std::string&)
{
}

void Serializer::setup(std::ostream& ostr)
{
	clearProperties();
	resetImpl();
	setupImpl(ostr);
}

void Serializer::reset()
{
	clearProperties();
	resetImpl();
}

} // namespace Callweave
} // namespace Tavik
