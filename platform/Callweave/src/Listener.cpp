#include "Tavik/Callweave/Listener.h"

namespace Tavik {
namespace Callweave {

Listener::Listener(const std::string& endPoint) : _endPoint(endPoint) {}

Listener::~Listener() = default;

void Listener::setAuthenticator(AutoPtr<Authenticator> pAuthenticator)
{
	ScopedLock<FastMutex> lock(_mutex);
	_pAuthenticator.swap(pAuthenticator); // the old one is released after the lock
}

AutoPtr<Authenticator> Listener::authenticator() const
{
	ScopedLock<FastMutex> lock(_mutex);
	return _pAuthenticator;
}

void Listener::setAuthorizer(AutoPtr<Authorizer> pAuthorizer)
{
	ScopedLock<FastMutex> lock(_mutex);
	_pAuthorizer.swap(pAuthorizer);
}

AutoPtr<Authorizer> Listener::authorizer() const
{
	ScopedLock<FastMutex> lock(_mutex);
	return _pAuthorizer;
}

const std::string& Listener::endPoint() const
{
	return _endPoint;
}

} // namespace Callweave
} // namespace Tavik
