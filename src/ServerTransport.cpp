#include "Tavik/UPnP/GENA/ServerTransport.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

ServerTransport::ServerTransport(Net::HTTPServerRequest& request):
	_request(request)
{
	_serializer.setup(_nullStream);
	_deserializer.setup(_request.stream());
}

ServerTransport::~ServerTransport() = default;

Callweave::Deserializer& ServerTransport::beginRequest()
{
	return _deserializer;
}

Callweave::Serializer& ServerTransport::sendReply(Callweave::SerializerBase::MessageType)
{
	return _serializer;
}

void ServerTransport::endRequest()
{
}

Deserializer& ServerTransport::deserializer()
{
	return _deserializer;
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
