#include "Tavik/Net/HTTPServerResponse.h"

#include "NetTexts.h"
#include "Tavik/Exception.h"

namespace Tavik {
namespace Net {

HTTPServerResponse::HTTPServerResponse() : _sent(false), _finished(false) {}

HTTPServerResponse::~HTTPServerResponse() = default;

std::ostream& HTTPServerResponse::send()
{
	if (_sent) throw IllegalStateException(Texts::RESPONSE_ALREADY_SENT);
	_sent = true;
	return beginBody();
}

void HTTPServerResponse::finish()
{
	if (_finished) return;
	if (!_sent) send();
	_finished = true;
	endBody();
}

} // namespace Net
} // namespace Tavik
