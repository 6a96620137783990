#include "Tavik/UPnP/GENA/Deserializer.h"

#include "Tavik/Base64Decoder.h"
#include "Tavik/Bugcheck.h"
#include "Tavik/Callweave/DeserializerException.h"
#include "Tavik/NumberParser.h"
#include "Tavik/UPnP/GENA/Serializer.h"
#include "Tavik/XML/DefaultHandler.h"
#include "Tavik/XML/InputSource.h"
#include "Tavik/XML/SAXParser.h"
#include "Tavik/XML/XMLReader.h"

#include <cstdint>
#include <sstream>

namespace Tavik {
namespace UPnP {
namespace GENA {

namespace {

const char NO_EVENT_PROPERTIES[] = "no more event properties available";
const char NO_PROPERTIES[] = "No more properties available";
const char EVENT_NAME_MISMATCH[] = "event name mismatch - expected: ";
const char EVENT_NAME_FOUND[] = "found: ";
const char ILLEGAL_BOOL[] = "Illegal bool value ";
const char ILLEGAL_CHAR[] = "Illegal char value ";

const char THOUSANDS_SEPARATOR = ',';
const char DECIMAL_POINT = '.';

/// Collects the variables of a property set into the deserializer's queue.
/// Works on local names only; see the state table below.
class XMLPropertiesHandler : public Tavik::XML::DefaultHandler
{
public:
	using PropertyQueue = std::vector<std::pair<std::string, std::string>>;

	explicit XMLPropertiesHandler(PropertyQueue& queue) : _pQueue(&queue), _state(ST_NONE) {}

	~XMLPropertiesHandler() override = default;

	void startDocument() override { _state = ST_DOCUMENT; }

	void startElement(const std::string&, const std::string& localName, const std::string&,
	                  const Tavik::XML::Attributes&) override
	{
		switch (_state)
		{
		case ST_DOCUMENT:
			if (localName == Serializer::UPNP_PROPERTYSET) _state = ST_PROPERTYSET;
			break;
		case ST_PROPERTYSET:
			if (localName == Serializer::UPNP_PROPERTY) _state = ST_PROPERTY;
			break;
		case ST_PROPERTY:
			_name = localName;
			_value.clear();
			_state = ST_VALUE;
			break;
		default:
			// Markup nested in a value is not a value of its own.
			break;
		}
	}

	// The name is not looked at: the first end tag inside a value finishes it,
	// and every further one moves one level up.
	void endElement(const std::string&, const std::string&, const std::string&) override
	{
		switch (_state)
		{
		case ST_VALUE:
			_pQueue->emplace_back(std::move(_name), std::move(_value));
			_state = ST_PROPERTY;
			break;
		case ST_PROPERTY:
			_state = ST_PROPERTYSET;
			break;
		case ST_PROPERTYSET:
			_state = ST_DOCUMENT;
			break;
		default:
			break;
		}
	}

	void characters(const Tavik::XML::XMLChar ch[], int start, int length) override
	{
		if (_state == ST_VALUE) _value.append(ch + start, static_cast<std::size_t>(length));
	}

private:
	enum State
	{
		ST_NONE = 0,       // no document started yet
		ST_DOCUMENT = 1,   // waiting for a propertyset element
		ST_PROPERTYSET = 2,
		ST_PROPERTY = 3,   // the next start tag is a variable
		ST_VALUE = 4       // collecting a variable's text
	};

	PropertyQueue* _pQueue;
	std::string _name;
	std::string _value;
	int _state;
};

} // namespace

Deserializer::Deserializer() : _pStream(nullptr)
{
}

Deserializer::~Deserializer() = default;

void Deserializer::resetImpl()
{
	_pStream = nullptr;
	_properties.clear();
}

Callweave::SerializerBase::MessageType Deserializer::findMessage(std::string& name)
{
	name = lastProperty().first;
	return SerializerBase::MESSAGE_EVENT;
}

void Deserializer::deserializeMessageBegin(const std::string& name, SerializerBase::MessageType type)
{
	checkMessage(name, type);
}

void Deserializer::deserializeMessageEnd(const std::string& name, SerializerBase::MessageType type)
{
	checkMessage(name, type);
}

bool Deserializer::deserializeStructBegin(const std::string&, bool)
{
	return false;
}

void Deserializer::deserializeStructEnd(const std::string&)
{
}

bool Deserializer::deserializeSequenceBegin(const std::string&, bool, unsigned int&)
{
	return false;
}

void Deserializer::deserializeSequenceEnd(const std::string&)
{
}

bool Deserializer::deserializeNullableBegin(const std::string&, bool, bool&)
{
	return false;
}

void Deserializer::deserializeNullableEnd(const std::string&)
{
}

bool Deserializer::deserialize(const std::string&, bool, signed char& value)
{
	value = static_cast<signed char>(NumberParser::parse(deserializeOne(), THOUSANDS_SEPARATOR));
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, unsigned char& value)
{
	value = static_cast<unsigned char>(NumberParser::parseUnsigned(deserializeOne(), THOUSANDS_SEPARATOR));
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, short& value)
{
	value = static_cast<short>(NumberParser::parse(deserializeOne(), THOUSANDS_SEPARATOR));
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, unsigned short& value)
{
	value = static_cast<unsigned short>(NumberParser::parseUnsigned(deserializeOne(), THOUSANDS_SEPARATOR));
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, int& value)
{
	value = NumberParser::parse(deserializeOne(), THOUSANDS_SEPARATOR);
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, unsigned int& value)
{
	value = NumberParser::parseUnsigned(deserializeOne(), THOUSANDS_SEPARATOR);
	return true;
}

// long is 64 bits here, and the serializer writes all of it: reading it with
// the 64-bit parsers keeps every written value readable.
static_assert(sizeof(long) == sizeof(std::int64_t), "long is read with the 64-bit parser");

bool Deserializer::deserialize(const std::string&, bool, long& value)
{
	value = NumberParser::parse64(deserializeOne(), THOUSANDS_SEPARATOR);
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, unsigned long& value)
{
	value = NumberParser::parseUnsigned64(deserializeOne(), THOUSANDS_SEPARATOR);
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, long long& value)
{
	value = NumberParser::parse64(deserializeOne(), THOUSANDS_SEPARATOR);
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, unsigned long long& value)
{
	value = NumberParser::parseUnsigned64(deserializeOne(), THOUSANDS_SEPARATOR);
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, float& value)
{
	value =
	    static_cast<float>(NumberParser::parseFloat(deserializeOne(), DECIMAL_POINT, THOUSANDS_SEPARATOR));
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, double& value)
{
	value = NumberParser::parseFloat(deserializeOne(), DECIMAL_POINT, THOUSANDS_SEPARATOR);
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, bool& value)
{
	const std::string& text = deserializeOne();
	int number = 0;
	if (!NumberParser::tryParse(text, number, THOUSANDS_SEPARATOR))
		throw Callweave::DeserializerException(ILLEGAL_BOOL, text);
	value = number != 0;
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, char& value)
{
	const std::string& text = deserializeOne();
	if (text.size() != 1) throw Callweave::DeserializerException(ILLEGAL_CHAR + text);
	value = text[0];
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, std::string& value)
{
	value = deserializeOne();
	return true;
}

bool Deserializer::deserialize(const std::string&, bool, std::vector<char>& value)
{
	const std::string& text = deserializeOne();
	value.clear();
	std::istringstream istr(text);
	Base64Decoder decoder(istr);
	char buffer[512];
	while (decoder.read(buffer, sizeof buffer) || decoder.gcount() > 0)
		value.insert(value.end(), buffer, buffer + decoder.gcount());
	return true;
}

void Deserializer::setupImpl(std::istream& istr)
{
	// A stream is read once, however often it is set up.
	if (&istr == _pStream) return;
	_pStream = &istr;
	_properties.clear();

	XMLPropertiesHandler handler(_properties);
	XML::SAXParser parser;
	parser.setFeature(XML::XMLReader::FEATURE_NAMESPACES, true);
	parser.setFeature(XML::XMLReader::FEATURE_NAMESPACE_PREFIXES, false);
	parser.setContentHandler(&handler);
	XML::InputSource source(istr);
	parser.parse(&source);
}

void Deserializer::popProperty()
{
	lastProperty();
	_properties.pop_back();
}

bool Deserializer::hasProperties() const
{
	return !_properties.empty();
}

const std::string& Deserializer::deserializeOne() const
{
	if (_properties.empty()) throw Callweave::DeserializerException(NO_PROPERTIES);
	return _properties.back().second;
}

const Deserializer::PropertyQueue::value_type& Deserializer::lastProperty() const
{
	if (_properties.empty()) throw Callweave::DeserializerException(NO_EVENT_PROPERTIES);
	return _properties.back();
}

void Deserializer::checkMessage(const std::string& name, SerializerBase::MessageType type) const
{
	if (type != SerializerBase::MESSAGE_EVENT) tavik_bugcheck();
	const std::string& lastName = lastProperty().first;
	if (name != lastName)
		throw Callweave::DeserializerException(EVENT_NAME_MISMATCH + name + EVENT_NAME_FOUND + lastName);
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
