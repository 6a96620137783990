#ifndef Tavik_UUIDGenerator_INCLUDED
#define Tavik_UUIDGenerator_INCLUDED

#include "Tavik/UUID.h"

namespace Tavik {

/// Makes random (version 4) UUIDs from the kernel's random source,
/// getrandom(2). A generator has no state: creating one costs nothing, and
/// create() may be called from any number of threads at once.
class UUIDGenerator
{
public:
	UUIDGenerator() = default;

	/// A new random UUID: 122 random bits, version 4, variant of RFC 4122.
	/// May block only while the kernel's random source is not yet initialised
	/// (early boot). Throws SystemException "Cannot obtain random bytes" with
	/// the system's error text when getrandom fails.
	UUID create();

	/// A generator shared by the whole process.
	static UUIDGenerator& defaultGenerator();
};

} // namespace Tavik

#endif // Tavik_UUIDGenerator_INCLUDED
