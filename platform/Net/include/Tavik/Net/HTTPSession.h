#ifndef Tavik_Net_HTTPSession_INCLUDED
#define Tavik_Net_HTTPSession_INCLUDED

#include "Tavik/Timespan.h"

namespace Tavik {
namespace Net {

/// Settings shared by the kinds of HTTP session: the network timeout and
/// whether the connection persists between exchanges.
///
/// Not thread-safe; change settings between exchanges.
class HTTPSession
{
public:
	/// 60 seconds: the default timeout of every connect, send and receive.
	static constexpr Timespan DEFAULT_TIMEOUT = Timespan(60 * Timespan::SECONDS);

	virtual ~HTTPSession();

	/// The longest a single connect, send or receive may wait for the peer
	/// (default DEFAULT_TIMEOUT). When it runs out the operation throws
	/// TimeoutException and the connection is dropped.
	///@{
	void setTimeout(const Timespan& timeout);
	const Timespan& getTimeout() const { return _timeout; }
	///@}

	/// Whether the connection persists between exchanges (default false).
	///@{
	void setKeepAlive(bool keepAlive);
	bool getKeepAlive() const { return _keepAlive; }
	///@}

protected:
	HTTPSession();

private:
	Timespan _timeout;
	bool _keepAlive;
};

} // namespace Net
} // namespace Tavik

#endif // Tavik_Net_HTTPSession_INCLUDED
