#ifndef Tavik_UPnP_GENA_StateProvider_INCLUDED
#define Tavik_UPnP_GENA_StateProvider_INCLUDED

#include <string>
#include <utility>
#include <vector>

namespace Tavik {
namespace UPnP {
namespace GENA {

/// Supplies the current state of one evented service for the initial event
/// notification of a new subscriber. Registered with the Listener by path.
class StateProvider
{
public:
	/// One (name, value) pair per evented state variable, in the order of the
	/// property set; may be empty. Called on a thread-pool thread.
	virtual std::vector<std::pair<std::string, std::string> > currentState() = 0;

	virtual ~StateProvider();
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_StateProvider_INCLUDED
