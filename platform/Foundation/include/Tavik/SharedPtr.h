#ifndef Tavik_SharedPtr_INCLUDED
#define Tavik_SharedPtr_INCLUDED

#include <memory>

namespace Tavik {

/// Shared ownership of objects that are not reference-counted themselves
/// (thread-safe counts). The standard library's shared pointer does the work.
template <class C>
using SharedPtr = std::shared_ptr<C>;

} // namespace Tavik

#endif // Tavik_SharedPtr_INCLUDED
