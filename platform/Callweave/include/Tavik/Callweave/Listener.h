#ifndef Tavik_Callweave_Listener_INCLUDED
#define Tavik_Callweave_Listener_INCLUDED

#include "Tavik/AutoPtr.h"
#include "Tavik/Callweave/Authenticator.h"
#include "Tavik/Callweave/Authorizer.h"
#include "Tavik/Callweave/RemoteObject.h"
#include "Tavik/Callweave/Skeleton.h"
#include "Tavik/Mutex.h"
#include "Tavik/RefCountedObject.h"

#include <string>

namespace Tavik {
namespace Callweave {

/// The server side of a protocol at one end point: receives requests for the
/// remote objects registered with it and hands each to the object's skeleton.
///
/// Thread safety: endPoint() and the authenticator and authorizer operations
/// may be called from any thread; subclasses state the rules of theirs.
class Listener : public RefCountedObject
{
public:
	/// A listener for endPoint, whose form the protocol defines (for HTTP
	/// protocols host:port).
	explicit Listener(const std::string& endPoint);

	/// Starts serving requests.
	virtual void start() = 0;
	/// Stops serving requests.
	virtual void stop() = 0;
	/// The name of the listener's protocol.
	virtual const std::string& protocol() const = 0;
	/// The URI under which the object objectName, implementing interfaceName,
	/// is reached through this listener.
	virtual std::string createURI(const std::string& interfaceName, const std::string& objectName) = 0;
	/// Whether requests for uri are served by this listener.
	virtual bool handlesURI(const std::string& uri) = 0;
	/// Serves pObject through pSkeleton.
	virtual void registerObject(AutoPtr<RemoteObject> pObject, AutoPtr<Skeleton> pSkeleton) = 0;
	/// Stops serving pObject.
	virtual void unregisterObject(AutoPtr<RemoteObject> pObject) = 0;

	/// Stores the authenticator (null for none), replacing the one before.
	///@{
	virtual void setAuthenticator(AutoPtr<Authenticator> pAuthenticator);
	AutoPtr<Authenticator> authenticator() const;
	///@}
	/// Stores the authorizer (null for none), replacing the one before.
	///@{
	virtual void setAuthorizer(AutoPtr<Authorizer> pAuthorizer);
	AutoPtr<Authorizer> authorizer() const;
	///@}

	/// The end point given to the constructor.
	const std::string& endPoint() const;

protected:
	~Listener() override;

private:
	const std::string _endPoint;
	mutable FastMutex _mutex; // guards the authenticator and the authorizer
	AutoPtr<Authenticator> _pAuthenticator;
	AutoPtr<Authorizer> _pAuthorizer;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_Listener_INCLUDED
