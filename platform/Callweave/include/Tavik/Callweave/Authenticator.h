#ifndef Tavik_Callweave_Authenticator_INCLUDED
#define Tavik_Callweave_Authenticator_INCLUDED

#include "Tavik/RefCountedObject.h"

#include <string>

namespace Tavik {
namespace Callweave {

/// Checks the credentials of a caller. A placeholder: listeners store the
/// authenticator they are given, and no protocol of this library consults one.
class Authenticator : public RefCountedObject
{
public:
	Authenticator();

	/// Whether the credentials prove that the caller is userName.
	virtual bool authenticate(const std::string& userName, const std::string& credentials) = 0;

protected:
	~Authenticator() override;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_Authenticator_INCLUDED
