#include "Tavik/UPnP/GENA/Serializer.h"

#include "Tavik/Base64Encoder.h"
#include "Tavik/Bugcheck.h"
#include "Tavik/Exception.h"
#include "Tavik/NumberFormatter.h"
#include "Tavik/NumericString.h"
#include "Tavik/XML/XMLWriter.h"

#include <sstream>

namespace Tavik {
namespace UPnP {
namespace GENA {

namespace {

// An argument of this name is written under the current element name.
const std::string DATA_NAME = "data";
const std::string EVENT_PREFIX = "e";
// Large enough for any float or double in either notation.
const int NUMBER_BUFFER_SIZE = 780;

} // namespace

const std::string Serializer::UPNP_EVENT_NAMESPACE = "urn:schemas-upnp-org:event-1-0";
const std::string Serializer::UPNP_PROPERTYSET = "propertyset";
const std::string Serializer::UPNP_PROPERTY = "property";
const std::string Serializer::EMPTY_STRING;

Serializer::Serializer() : _pStream(nullptr)
{
}

Serializer::~Serializer() = default;

void Serializer::resetImpl()
{
	_pWriter.reset();
	_pStream = nullptr;
}

void Serializer::serializeMessageBegin(const std::string& name, SerializerBase::MessageType type)
{
	if (type != SerializerBase::MESSAGE_EVENT) tavik_bugcheck();
	XML::XMLWriter& xml = writer();
	xml.startDocument();
	xml.startPrefixMapping(EVENT_PREFIX, UPNP_EVENT_NAMESPACE);
	xml.startElement(UPNP_EVENT_NAMESPACE, UPNP_PROPERTYSET, EMPTY_STRING);
	_currentElementName = name;
}

void Serializer::serializeMessageEnd(const std::string&, SerializerBase::MessageType type)
{
	if (type != SerializerBase::MESSAGE_EVENT) tavik_bugcheck();
	XML::XMLWriter& xml = writer();
	xml.endElement(UPNP_EVENT_NAMESPACE, UPNP_PROPERTYSET, EMPTY_STRING);
	xml.endPrefixMapping(EVENT_PREFIX);
	xml.endDocument();
}

void Serializer::serializeFaultMessage(const std::string&, Tavik::Exception&)
{
}

void Serializer::serializeStructBegin(const std::string&)
{
}

void Serializer::serializeStructEnd(const std::string&)
{
}

void Serializer::serializeSequenceBegin(const std::string&, unsigned int)
{
}

void Serializer::serializeSequenceEnd(const std::string&)
{
}

void Serializer::serializeNullableBegin(const std::string&, bool)
{
}

void Serializer::serializeNullableEnd(const std::string&)
{
}

void Serializer::serialize(const std::string& name, signed char value)
{
	serializeData(name, NumberFormatter::format(static_cast<int>(value)));
}

void Serializer::serialize(const std::string& name, unsigned char value)
{
	serializeData(name, NumberFormatter::format(static_cast<unsigned>(value)));
}

void Serializer::serialize(const std::string& name, short value)
{
	serializeData(name, NumberFormatter::format(static_cast<int>(value)));
}

void Serializer::serialize(const std::string& name, unsigned short value)
{
	serializeData(name, NumberFormatter::format(static_cast<unsigned>(value)));
}

void Serializer::serialize(const std::string& name, int value)
{
	serializeData(name, NumberFormatter::format(value));
}

void Serializer::serialize(const std::string& name, unsigned int value)
{
	serializeData(name, NumberFormatter::format(value));
}

void Serializer::serialize(const std::string& name, long value)
{
	serializeData(name, NumberFormatter::format(value));
}

void Serializer::serialize(const std::string& name, unsigned long value)
{
	serializeData(name, NumberFormatter::format(value));
}

void Serializer::serialize(const std::string& name, long long value)
{
	serializeData(name, NumberFormatter::format(value));
}

void Serializer::serialize(const std::string& name, unsigned long long value)
{
	serializeData(name, NumberFormatter::format(value));
}

void Serializer::serialize(const std::string& name, bool value)
{
	serialize(name, value ? 1 : 0);
}

void Serializer::serialize(const std::string& name, float value)
{
	char buffer[NUMBER_BUFFER_SIZE];
	floatToStr(buffer, NUMBER_BUFFER_SIZE, value, -6, 6);
	serializeData(name, buffer);
}

void Serializer::serialize(const std::string& name, double value)
{
	char buffer[NUMBER_BUFFER_SIZE];
	doubleToStr(buffer, NUMBER_BUFFER_SIZE, value, -15, 15);
	serializeData(name, buffer);
}

void Serializer::serialize(const std::string& name, char value)
{
	serializeData(name, std::string(1, value));
}

void Serializer::serialize(const std::string& name, const std::string& value)
{
	serializeData(name, value);
}

void Serializer::serialize(const std::string& name, const std::vector<char>& value)
{
	std::ostringstream text;
	Base64Encoder encoder(text);
	encoder.write(value.data(), static_cast<std::streamsize>(value.size()));
	encoder.close();
	serializeData(name, text.str());
}

void Serializer::setupImpl(std::ostream& ostr)
{
	_pWriter.reset(
	    new XML::XMLWriter(ostr, XML::XMLWriter::WRITE_XML_DECLARATION | XML::XMLWriter::PRETTY_PRINT));
	_pWriter->setNewLine(XML::XMLWriter::NEWLINE_LF);
	_pStream = &ostr;
}

void Serializer::serializeData(const std::string& name, const std::string& value)
{
	if (name != DATA_NAME) _currentElementName = name;
	// A "data" value before any named one (the first variable of an initial
	// event may be called so) has no name to go by; refused before anything
	// is written, so the document stays well-formed up to here.
	if (_currentElementName.empty()) throw InvalidArgumentException("Event property without a name");
	XML::XMLWriter& xml = writer();
	xml.startElement(UPNP_EVENT_NAMESPACE, UPNP_PROPERTY, EMPTY_STRING);
	xml.startElement(EMPTY_STRING, _currentElementName, EMPTY_STRING);
	xml.characters(value);
	xml.endElement(EMPTY_STRING, _currentElementName, EMPTY_STRING);
	xml.endElement(UPNP_EVENT_NAMESPACE, UPNP_PROPERTY, EMPTY_STRING);
}

XML::XMLWriter& Serializer::writer()
{
	if (!_pWriter) tavik_bugcheck_msg("Serializer used before setupImpl");
	return *_pWriter;
}

} // namespace GENA
} // namespace UPnP
} // namespace Tavik
