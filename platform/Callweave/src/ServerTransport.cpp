#include "Tavik/Callweave/ServerTransport.h"

namespace Tavik {
namespace Callweave {

ServerTransport::ServerTransport() = default;

ServerTransport::~ServerTransport() = default;

bool ServerTransport::authenticate(const std::string&)
{
	return true;
}

bool ServerTransport::authorize(const std::string&, const std::string&)
{
	return true;
}

} // namespace Callweave
} // namespace Tavik
