#ifndef Tavik_Callweave_TransportFactory_INCLUDED
#define Tavik_Callweave_TransportFactory_INCLUDED

#include "Tavik/RefCountedObject.h"

namespace Tavik {
namespace Callweave {

class Transport;

/// Makes the transports of one protocol. Registered with the
/// TransportFactoryManager under the protocol's name.
class TransportFactory : public RefCountedObject
{
public:
	TransportFactory();

	/// A new, unconnected transport. The caller owns it (its one reference).
	/// May be called from several threads at once.
	virtual Transport* createTransport() = 0;

protected:
	~TransportFactory() override;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_TransportFactory_INCLUDED
