#ifndef Tavik_UPnP_GENA_ServerTransport_INCLUDED
#define Tavik_UPnP_GENA_ServerTransport_INCLUDED

#include "Tavik/Callweave/ServerTransport.h"
#include "Tavik/Net/HTTPServerRequest.h"
#include "Tavik/NullStream.h"
#include "Tavik/UPnP/GENA/Deserializer.h"
#include "Tavik/UPnP/GENA/Serializer.h"

namespace Tavik {
namespace UPnP {
namespace GENA {

/// Feeds the property set of one incoming NOTIFY to the framework, one
/// property per invocation, and discards whatever reply the framework writes.
/// Lives on the stack of one request; not thread safe.
class ServerTransport : public Callweave::ServerTransport
{
public:
	/// Reads the whole body of request into the property queue.
	/// Throws the deserializer's exception when the body is not an
	/// acceptable property set (malformed XML, an empty body included).
	explicit ServerTransport(Net::HTTPServerRequest& request);
	~ServerTransport() override;

	/// The deserializer holding the queue of undelivered properties.
	Callweave::Deserializer& beginRequest() override;
	/// A serializer writing to nowhere, whatever the message type.
	Callweave::Serializer& sendReply(Callweave::SerializerBase::MessageType messageType) override;
	/// Does nothing.
	void endRequest() override;

	/// The deserializer, for testing and popping its property queue.
	Deserializer& deserializer();

private:
	Net::HTTPServerRequest& _request;
	Serializer _serializer;
	Deserializer _deserializer;
	NullOutputStream _nullStream;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_ServerTransport_INCLUDED
