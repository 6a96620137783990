#ifndef Tavik_Callweave_ServerTransport_INCLUDED
#define Tavik_Callweave_ServerTransport_INCLUDED

#include "Tavik/Callweave/SerializerBase.h"

#include <string>

namespace Tavik {
namespace Callweave {

class Deserializer;
class Serializer;

/// The server side of one incoming request, handed to Skeleton::invoke():
/// beginRequest() gives the deserializer of the request, sendReply() the
/// serializer of the reply, and endRequest() finishes the exchange.
///
/// Not thread-safe: one thread at a time, usually the one serving the request.
class ServerTransport
{
public:
	ServerTransport();
	ServerTransport(const ServerTransport&) = delete;
	ServerTransport& operator=(const ServerTransport&) = delete;
	virtual ~ServerTransport();

	/// Whether the request may call messageName. The default accepts every
	/// request, for protocols without authentication.
	virtual bool authenticate(const std::string& messageName);
	/// Whether the request may call messageName, which needs permission. The
	/// default accepts every request, for protocols without authorization.
	virtual bool authorize(const std::string& messageName, const std::string& permission);

	/// The deserializer set up on the request.
	virtual Deserializer& beginRequest() = 0;
	/// The serializer for a reply of the given type.
	virtual Serializer& sendReply(SerializerBase::MessageType messageType) = 0;
	/// Finishes the exchange, successful or not.
	virtual void endRequest() = 0;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_ServerTransport_INCLUDED
