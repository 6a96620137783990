#ifndef Tavik_Callweave_RemoteObject_INCLUDED
#define Tavik_Callweave_RemoteObject_INCLUDED

#include "Tavik/RefCountedObject.h"

namespace Tavik {
namespace Callweave {

/// Base of the objects that a listener serves to remote callers. Skeletons
/// receive the object a request is addressed to, or null when a request (such
/// as an incoming event) names no object.
class RemoteObject : public RefCountedObject
{
public:
	RemoteObject();

protected:
	~RemoteObject() override;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_RemoteObject_INCLUDED
