#ifndef Tavik_UPnP_GENA_Transport_INCLUDED
#define Tavik_UPnP_GENA_Transport_INCLUDED

#include "Tavik/Callweave/Transport.h"
#include "Tavik/SharedPtr.h"
#include "Tavik/Timespan.h"
#include "Tavik/URI.h"
#include "Tavik/UPnP/GENA/Deserializer.h"
#include "Tavik/UPnP/GENA/Serializer.h"

#include <cstdint>
#include <string>

namespace Tavik {
namespace Net {
class HTTPClientSession;
class HTTPRequest;
} // namespace Net

namespace UPnP {
namespace GENA {

/// Sends the events of one subscriber to its callback URL as NOTIFY requests.
///
/// The event dispatcher keeps one transport per subscriber, made by the
/// TransportFactory and connected to the subscriber's callback URL. Each event
/// becomes one NOTIFY with NT, NTS, the subscriber's "SID" attribute and the
/// transport's own SEQ counter, its property-set body streamed from the
/// serializer with chunked transfer encoding.
///
/// The counter starts at 1 (0 belongs to the initial event, which is sent by
/// InitialEventNotificationThread), advances for every message begun, even
/// one that fails later, wraps from 4294967295 to 1 and survives
/// disconnect() and connect().
///
/// Thread safety: driven by one thread at a time; the "SID" attribute may be
/// written from another thread.
class Transport : public Tavik::Callweave::Transport
{
public:
	/// A transport whose HTTP sessions get these settings: the time-out of each
	/// network operation, whether the connection is kept between events, and
	/// how long a kept connection may be idle and still be reused.
	Transport(const Timespan& timeout, bool keepAlive, const Timespan& keepAliveTimeout);

	/// The text given to the last connect(); empty after disconnect().
	const std::string& endPoint() const override;
	/// Parses the callback URL and prepares a new HTTP session for its host and
	/// port, releasing the previous one. No network I/O. Throws
	/// SyntaxException for a URL that does not parse; the end point text has
	/// then already been replaced and the previous session is kept.
	void connect(const std::string& endPoint) override;
	/// Releases the session, if any, and clears the end point and URI.
	void disconnect() override;
	/// True exactly when a session exists.
	bool connected() const override;

	/// The same as beginRequest().
	Callweave::Serializer& beginMessage(const std::string& objectName, const std::string& interfaceName,
	                                    const std::string& messageName,
	                                    Callweave::SerializerBase::MessageType messageType) override;
	/// Reads the reply and discards its body, whatever the status.
	void sendMessage(const std::string& objectName, const std::string& interfaceName,
	                 const std::string& messageName,
	                 Callweave::SerializerBase::MessageType messageType) override;
	/// Sends the head of a NOTIFY and returns the serializer set up on its body.
	/// Throws BugcheckException for a message type other than the event type
	/// (before the counter advances), NullPointerException when not connected
	/// (after it advanced), and the HTTP session's exceptions.
	Callweave::Serializer& beginRequest(const std::string& objectName, const std::string& interfaceName,
	                                    const std::string& messageName,
	                                    Callweave::SerializerBase::MessageType messageType) override;
	/// Reads the reply; on status 200 returns the deserializer set up on its
	/// body (which must be a property set), otherwise drains the body and
	/// throws TransportException "HTTP Error" with the reason phrase.
	Callweave::Deserializer& sendRequest(const std::string& objectName, const std::string& interfaceName,
	                                     const std::string& messageName,
	                                     Callweave::SerializerBase::MessageType messageType) override;
	/// Clears and resets the serializer, then the deserializer.
	void endRequest() override;

	/// The SEQ value of the next NOTIFY.
	std::uint32_t nextSequenceNumber() const { return _sequence; }

	/// The current session (empty when not connected), for diagnostics.
	SharedPtr<Net::HTTPClientSession> session() const { return _pSession; }

	/// Sets the request line and GENA headers of a NOTIFY to target (path,
	/// query and fragment of the callback URL) with the given SEQ and SID:
	/// chunked body, content type, NT, NTS, SEQ, SID, in that order. Shared by
	/// regular and initial events so that both look alike on the wire.
	static void prepareNotify(Net::HTTPRequest& request, const std::string& target,
	                          const std::string& sequence, const std::string& sid);

	/// "upnp-eventing": the transport protocol's name and the path segment
	/// of callback URLs.
	static const std::string PROTOCOL;
	/// "NOTIFY": the method of an event notification.
	static const std::string NOTIFY;
	/// "NT": notification type header.
	static const std::string HDR_NT;
	/// "NTS": notification sub-type header.
	static const std::string HDR_NTS;
	/// "SID": subscription identifier header.
	static const std::string HDR_SID;
	/// "SEQ": event key header.
	static const std::string HDR_SEQ;
	/// text/xml; charset="utf-8" (the quotes are part of it).
	static const std::string CONTENT_TYPE;
	/// "upnp:event": the only notification type.
	static const std::string UPNP_EVENT;
	/// "upnp:propchange": the only notification sub-type.
	static const std::string UPNP_PROPCHANGE;

protected:
	~Transport() override;

	/// Lets a subclass continue a numbering, e.g. to reach the wrap from
	/// 4294967295 to 1 without sending four billion messages.
	void setNextSequenceNumber(std::uint32_t sequence) { _sequence = sequence; }

private:
	Net::HTTPClientSession& requireSession() const;

	std::uint32_t _sequence;
	SharedPtr<Net::HTTPClientSession> _pSession;
	Serializer _serializer;
	Deserializer _deserializer;
	std::string _endPoint;
	URI _uri;
	Timespan _timeout;
	bool _keepAlive;
	Timespan _keepAliveTimeout;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_Transport_INCLUDED
