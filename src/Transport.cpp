#include "Tavik/UPnP/GENA/Transport.h"

#include "GENATexts.h"
#include "Tavik/Bugcheck.h"
#include "Tavik/Callweave/TransportException.h"
#include "Tavik/Exception.h"
#include "Tavik/Net/HTTPClientSession.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/NullStream.h"
#include "Tavik/NumberFormatter.h"
#include "Tavik/StreamCopier.h"

#include <limits>

namespace Tavik {
namespace UPnP {
namespace GENA {

const std::string Transport::PROTOCOL = "upnp-eventing";
const std::string Transport::NOTIFY = "NOTIFY";
const std::string Transport::HDR_NT = "NT";
const std::string Transport::HDR_NTS = "NTS";
const std::string Transport::HDR_SID = "SID";
const std::string Transport::HDR_SEQ = "SEQ";
const std::string Transport::CONTENT_TYPE = "text/xml; charset=\"utf-8\"";
const std::string Transport::UPNP_EVENT = "upnp:event";
const std::string Transport::UPNP_PROPCHANGE = "upnp:propchange";

namespace {

const std::size_t DRAIN_BUFFER_SIZE = 8192;

void drain(std::istream& body)
{
	NullOutputStream discard;
	StreamCopier::copyStream(body, discard, DRAIN_BUFFER_SIZE);
}

} // namespace

Transport::Transport(const Timespan& timeout, bool keepAlive, const Timespan& keepAliveTimeout)
	: _sequence(1), _timeout(timeout), _keepAlive(keepAlive), _keepAliveTimeout(keepAliveTimeout)
{
}

Transport::~Transport() = default;

const std::string& Transport::endPoint() const
{
	return _endPoint;
}

void Transport::connect(const std::string& endPoint)
{
	_endPoint = endPoint;
	_uri = endPoint;
	auto pSession = std::make_shared<Net::HTTPClientSession>(_uri.getHost(), _uri.getPort());
	pSession->setTimeout(_timeout);
	pSession->setKeepAlive(_keepAlive);
	pSession->setKeepAliveTimeout(_keepAliveTimeout);
	_pSession = std::move(pSession);
}

void Transport::disconnect()
{
	_pSession.reset();
	_endPoint.clear();
	_uri.clear();
}

bool Transport::connected() const
{
	return _pSession != nullptr;
}

Callweave::Serializer& Transport::beginMessage(const std::string& objectName, const std::string& interfaceName,
                                               const std::string& messageName,
                                               Callweave::SerializerBase::MessageType messageType)
{
	return beginRequest(objectName, interfaceName, messageName, messageType);
}

Callweave::Serializer& Transport::beginRequest(const std::string&, const std::string&, const std::string&,
                                               Callweave::SerializerBase::MessageType messageType)
{
	if (messageType != Callweave::SerializerBase::MESSAGE_EVENT) tavik_bugcheck();

	Net::HTTPRequest request;
	prepareNotify(request, _uri.getPathEtc(), NumberFormatter::format(_sequence), getAttribute(HDR_SID));
	// The number is used up even when the message fails from here on.
	_sequence = _sequence == std::numeric_limits<std::uint32_t>::max() ? 1 : _sequence + 1;

	std::ostream& body = requireSession().sendRequest(request);
	_serializer.setup(body);
	return _serializer;
}

void Transport::sendMessage(const std::string&, const std::string&, const std::string&,
                            Callweave::SerializerBase::MessageType)
{
	Net::HTTPClientSession& session = requireSession();
	Net::HTTPResponse response;
	drain(session.receiveResponse(response));
}

Callweave::Deserializer& Transport::sendRequest(const std::string&, const std::string&, const std::string&,
                                                Callweave::SerializerBase::MessageType)
{
	Net::HTTPClientSession& session = requireSession();
	Net::HTTPResponse response;
	std::istream& body = session.receiveResponse(response);
	if (response.getStatus() != Net::HTTPResponse::HTTP_OK)
	{
		drain(body);
		throw Callweave::TransportException(Texts::HTTP_ERROR, response.getReason(), 0);
	}
	_deserializer.setup(body);
	return _deserializer;
}

void Transport::endRequest()
{
	_serializer.reset();
	_deserializer.reset();
}

void Transport::prepareNotify(Net::HTTPRequest& request, const std::string& target, const std::string& sequence,
                              const std::string& sid)
{
	request.setMethod(NOTIFY);
	request.setURI(target);
	request.setVersion(Net::HTTPMessage::HTTP_1_1);
	request.setChunkedTransferEncoding(true);
	request.setContentType(CONTENT_TYPE);
	request.set(HDR_NT, UPNP_EVENT);
	request.set(HDR_NTS, UPNP_PROPCHANGE);
	request.set(HDR_SEQ, sequence);
	request.set(HDR_SID, sid);
}

Net::HTTPClientSession& Transport::requireSession() const
{
	if (!_pSession) throw NullPointerException();
	return *_pSession;
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
