#include "Discovery.h"

#include "Messages.h"
#include "Options.h"
#include "Tavik/Exception.h"
#include "Tavik/Format.h"
#include "Tavik/Net/HTTPClientSession.h"
#include "Tavik/Net/HTTPRequest.h"
#include "Tavik/Net/HTTPResponse.h"
#include "Tavik/URI.h"
#include "Tavik/XML/Attributes.h"
#include "Tavik/XML/DefaultHandler.h"
#include "Tavik/XML/InputSource.h"
#include "Tavik/XML/SAXParser.h"
#include "Tavik/XML/XMLReader.h"

#include <cerrno>
#include <cstring>
#include <iterator>
#include <netdb.h>
#include <sstream>
#include <sys/socket.h>
#include <unistd.h>

namespace Gena {

namespace {

/// Collects URLBase and the serviceType and eventSubURL of every service,
/// at any depth, by local name (descriptions differ in their prefixes).
class DescriptionReader : public Tavik::XML::DefaultHandler
{
public:
	struct Service
	{
		std::string serviceType;
		std::string eventSubURL;
	};

	void startElement(const std::string&, const std::string& localName, const std::string&,
	                  const Tavik::XML::Attributes&) override
	{
		if (_depth++ == 0) isDescription = localName == "root";
		if (localName == "service") _inService = true, services.emplace_back();
		_text.clear();
	}

	void endElement(const std::string&, const std::string& localName, const std::string&) override
	{
		--_depth;
		if (localName == "service")
			_inService = false;
		else if (localName == "URLBase" && _depth == 1)
			urlBase = trimmed();
		else if (_inService && localName == "serviceType")
			services.back().serviceType = trimmed();
		else if (_inService && localName == "eventSubURL")
			services.back().eventSubURL = trimmed();
	}

	void characters(const Tavik::XML::XMLChar ch[], int start, int length) override
	{
		_text.append(ch + start, length);
	}

	bool isDescription = false;
	std::string urlBase;
	std::vector<Service> services;

private:
	std::string trimmed() const
	{
		const std::string space = " \t\r\n";
		const std::string::size_type first = _text.find_first_not_of(space);
		if (first == std::string::npos) return std::string();
		return _text.substr(first, _text.find_last_not_of(space) - first + 1);
	}

	int _depth = 0;
	bool _inService = false;
	std::string _text;
};

/// reference resolved against base (RFC 3986, the cases descriptions use:
/// absolute, absolute path, and relative to the base's directory).
std::string resolve(const std::string& base, const std::string& reference)
{
	if (reference.find("://") != std::string::npos) return reference;
	const Tavik::URI baseURI(base);
	const std::string origin = baseURI.getScheme() + "://" + baseURI.getAuthority();
	if (!reference.empty() && reference[0] == '/') return origin + reference;
	const std::string& path = baseURI.getPath();
	return origin + path.substr(0, path.rfind('/') + 1) + reference;
}

} // namespace

std::vector<Target> parseDescription(const std::string& description, const std::string& url)
{
	DescriptionReader reader;
	try
	{
		std::istringstream stream(description);
		Tavik::XML::InputSource source(stream);
		Tavik::XML::SAXParser parser;
		parser.setFeature(Tavik::XML::XMLReader::FEATURE_NAMESPACES, true);
		parser.setContentHandler(&reader);
		parser.parse(&source);
	}
	catch (const Tavik::Exception& exc)
	{
		throw Failure(Tavik::format(Messages::NOT_A_DESCRIPTION, url, exc.displayText()));
	}
	if (!reader.isDescription)
		throw Failure(
		    Tavik::format(Messages::NOT_A_DESCRIPTION, url, std::string("the root element is not 'root'")));
	std::vector<Target> targets;
	const std::string base = reader.urlBase.empty() ? url : reader.urlBase;
	for (const auto& service : reader.services)
	{
		if (service.eventSubURL.empty()) continue;
		try
		{
			targets.push_back(Target{resolve(base, service.eventSubURL), service.serviceType});
		}
		catch (const Tavik::Exception& exc)
		{
			throw Failure(Tavik::format(Messages::NOT_A_DESCRIPTION, url, exc.displayText()));
		}
	}
	if (targets.empty()) throw Failure(Tavik::format(Messages::NO_EVENTED_SERVICES, url));
	return targets;
}

std::vector<Target> findTargets(const std::string& url)
{
	const Tavik::URI uri(url);
	std::string body;
	Tavik::Net::HTTPResponse response;
	try
	{
		Tavik::Net::HTTPClientSession session(uri.getHost(), uri.getPort());
		session.setTimeout(Tavik::Timespan(FETCH_TIMEOUT_SECONDS * Tavik::Timespan::SECONDS));
		session.setMaxResponseBodySize(MAX_DESCRIPTION_BYTES);
		Tavik::Net::HTTPRequest request(Tavik::Net::HTTPRequest::HTTP_GET,
		                                uri.getPathAndQuery().empty() ? "/" : uri.getPathAndQuery());
		session.sendRequest(request);
		std::istream& stream = session.receiveResponse(response);
		body.assign(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
		if (stream.bad()) throw Tavik::IOException("the response body could not be read");
	}
	catch (const Tavik::Exception& exc)
	{
		throw Failure(Tavik::format(Messages::CANNOT_REACH, url, exc.displayText()));
	}
	if (response.getStatus() != Tavik::Net::HTTPResponse::HTTP_OK) return {Target{url, std::string()}};
	return parseDescription(body, url);
}

std::string localAddressFor(const std::string& url)
{
	const Tavik::URI uri(url);
	addrinfo hints;
	std::memset(&hints, 0, sizeof hints);
	hints.ai_family = AF_UNSPEC;
	hints.ai_socktype = SOCK_DGRAM;
	addrinfo* pResult = nullptr;
	const int rc =
	    ::getaddrinfo(uri.getHost().c_str(), std::to_string(uri.getPort()).c_str(), &hints, &pResult);
	if (rc != 0) throw Failure(Tavik::format(Messages::NO_ROUTE, url, std::string(::gai_strerror(rc))));
	std::string error = "no address";
	for (addrinfo* pInfo = pResult; pInfo; pInfo = pInfo->ai_next)
	{
		const int fd = ::socket(pInfo->ai_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
		if (fd < 0)
		{
			error = std::strerror(errno);
			continue;
		}
		sockaddr_storage local;
		socklen_t length = sizeof local;
		char host[NI_MAXHOST];
		if (::connect(fd, pInfo->ai_addr, pInfo->ai_addrlen) == 0 &&
		    ::getsockname(fd, reinterpret_cast<sockaddr*>(&local), &length) == 0 &&
		    ::getnameinfo(reinterpret_cast<sockaddr*>(&local), length, host, sizeof host, nullptr, 0,
		                  NI_NUMERICHOST) == 0)
		{
			::close(fd);
			::freeaddrinfo(pResult);
			return host;
		}
		error = std::strerror(errno);
		::close(fd);
	}
	::freeaddrinfo(pResult);
	throw Failure(Tavik::format(Messages::NO_ROUTE, url, error));
}

} // namespace Gena
