#ifndef Tavik_Callweave_Skeleton_INCLUDED
#define Tavik_Callweave_Skeleton_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Callweave/RemoteObject.h"
#include "Tavik/RefCountedObject.h"

namespace Tavik {
namespace Callweave {

class ServerTransport;

/// The server side of an interface: reads one incoming message from a server
/// transport and carries it out.
class Skeleton : public RefCountedObject
{
public:
	Skeleton();

	/// Reads one message from transport and carries it out on pObject (which
	/// may be null when the message names no object), writing a reply through
	/// the transport if the message asks for one. Ends with
	/// transport.endRequest(), also when it fails. Throws what reading or
	/// carrying out the message throws.
	virtual void invoke(ServerTransport& transport, AutoPtr<RemoteObject> pObject) = 0;

protected:
	~Skeleton() override;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_Skeleton_INCLUDED
