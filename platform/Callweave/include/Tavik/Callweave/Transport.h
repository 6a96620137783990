#ifndef Tavik_Callweave_Transport_INCLUDED
#define Tavik_Callweave_Transport_INCLUDED

#include "Tavik/Callweave/AttributedObject.h"
#include "Tavik/Callweave/SerializerBase.h"
#include "Tavik/RefCountedObject.h"

#include <string>

namespace Tavik {
namespace Callweave {

class Deserializer;
class Serializer;

/// The client side of a protocol: carries messages from a local caller to one
/// remote end point. Transports are made by a TransportFactory, held through
/// AutoPtr, and carry named attributes (for instance the subscription id that
/// a protocol puts into every message).
///
/// A one-way message is beginMessage(), the body written through the returned
/// serializer, sendMessage(), endRequest(). A two-way request is
/// beginRequest(), the body, sendRequest(), the reply read through the
/// returned deserializer, endRequest(). The three strings name the object, its
/// interface and the message; a transport uses what its protocol needs of them.
///
/// Thread safety: the attribute operations may be called from any thread; all
/// other operations must be used by one thread at a time.
class Transport : public AttributedObject, public RefCountedObject
{
public:
	Transport();

	/// The end point given to the last connect(), or empty when not connected.
	virtual const std::string& endPoint() const = 0;
	/// Prepares the transport for messages to endPoint, replacing any earlier
	/// end point. Throws the exception of the protocol for an unusable end point.
	virtual void connect(const std::string& endPoint) = 0;
	/// Releases the connection, if any, and forgets the end point.
	virtual void disconnect() = 0;
	/// True between connect() and disconnect(): messages have somewhere to go.
	virtual bool connected() const = 0;

	/// Starts a one-way message and returns the serializer for its body.
	virtual Serializer& beginMessage(const std::string& objectName, const std::string& interfaceName,
	                                 const std::string& messageName,
	                                 SerializerBase::MessageType messageType) = 0;
	/// Sends the message started by beginMessage() and waits until the peer has
	/// taken it. Throws TransportException or the protocol's exception on failure.
	virtual void sendMessage(const std::string& objectName, const std::string& interfaceName,
	                         const std::string& messageName, SerializerBase::MessageType messageType) = 0;
	/// Starts a request and returns the serializer for its body.
	virtual Serializer& beginRequest(const std::string& objectName, const std::string& interfaceName,
	                                 const std::string& messageName,
	                                 SerializerBase::MessageType messageType) = 0;
	/// Sends the request started by beginRequest() and returns the deserializer
	/// set up on the reply. Throws TransportException or the protocol's
	/// exception on failure.
	virtual Deserializer& sendRequest(const std::string& objectName, const std::string& interfaceName,
	                                  const std::string& messageName,
	                                  SerializerBase::MessageType messageType) = 0;
	/// Ends the message or request, successful or not, making the transport
	/// ready for the next one.
	virtual void endRequest() = 0;

protected:
	~Transport() override;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_Transport_INCLUDED
