#include "Tavik/Net/HTTPServerResponse.h"

#include "NetTexts.h"
#include "Tavik/Exception.h"

namespace Tavik {
namespace Net {

HTTPServerResponse::HTTPServerResponse() : _sent(false) {}

HTTPServerResponse::~HTTPServerResponse() = default;

std::ostream& HTTPServerResponse::send()
{
	if (_sent) throw IllegalStateException(Texts::RESPONSE_ALREADY_SENT);
	_sent = true;
	return beginBody();
}

} // namespace Net
} // namespace Tavik
