#ifndef Tavik_Callweave_Authorizer_INCLUDED
#define Tavik_Callweave_Authorizer_INCLUDED

#include "Tavik/RefCountedObject.h"

#include <string>

namespace Tavik {
namespace Callweave {

/// Decides what an authenticated caller may do. A placeholder: listeners store
/// the authorizer they are given, and no protocol of this library consults one.
class Authorizer : public RefCountedObject
{
public:
	Authorizer();

	/// Whether userName holds permission.
	virtual bool authorize(const std::string& userName, const std::string& permission) = 0;

protected:
	~Authorizer() override;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_Authorizer_INCLUDED
