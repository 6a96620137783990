#ifndef Tavik_UPnP_GENA_Serializer_INCLUDED
#define Tavik_UPnP_GENA_Serializer_INCLUDED

#include "Tavik/Callweave/Serializer.h"

#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace Tavik {

namespace XML {
class XMLWriter;
}

namespace UPnP {
namespace GENA {

/// Writes the body of an event notification: a UPnP property set.
///
///     <?xml version="1.0" encoding="UTF-8"?>
///     <e:propertyset xmlns:e="urn:schemas-upnp-org:event-1-0">
///     	<e:property>
///     		<Status>1</Status>
///     	</e:property>
///     </e:propertyset>
///
/// Each value becomes one e:property holding one element named after the
/// value; a value named "data" takes the name of the message, or of the
/// value written before it. Only event messages (MESSAGE_EVENT) are accepted.
/// Structures, sequences and nullables are flattened: their members become
/// consecutive properties.
///
/// Usage per message: setup(ostr) (or clearProperties(), resetImpl(),
/// setupImpl(ostr)), serializeMessageBegin(), values, serializeMessageEnd().
/// Exceptions of the XML writer (for example a value holding a control
/// character that XML cannot carry) and of the stream pass out unchanged.
/// Not thread-safe: one thread at a time.
class Serializer : public Tavik::Callweave::Serializer
{
public:
	/// "urn:schemas-upnp-org:event-1-0", bound to the prefix "e".
	static const std::string UPNP_EVENT_NAMESPACE;
	/// "propertyset", the root element.
	static const std::string UPNP_PROPERTYSET;
	/// "property", the element around each value.
	static const std::string UPNP_PROPERTY;
	/// The empty namespace URI and qualified name.
	static const std::string EMPTY_STRING;

	Serializer();
	~Serializer() override;

	/// Deletes the writer and forgets the stream.
	void resetImpl() override;
	/// Starts the property set. Throws Tavik::BugcheckException for a type
	/// other than MESSAGE_EVENT.
	void serializeMessageBegin(const std::string& name, SerializerBase::MessageType type) override;
	/// Ends the property set. Throws Tavik::BugcheckException for a type
	/// other than MESSAGE_EVENT.
	void serializeMessageEnd(const std::string& name, SerializerBase::MessageType type) override;
	/// Writes nothing: events carry no faults.
	void serializeFaultMessage(const std::string& name, Tavik::Exception& exc) override;
	/// The brackets write nothing.
	///@{
	void serializeStructBegin(const std::string& name) override;
	void serializeStructEnd(const std::string& name) override;
	void serializeSequenceBegin(const std::string& name, unsigned int length) override;
	void serializeSequenceEnd(const std::string& name) override;
	void serializeNullableBegin(const std::string& name, bool isNull) override;
	void serializeNullableEnd(const std::string& name) override;
	///@}
	/// Integers in decimal, bool as 1 or 0, float and double as the shortest
	/// text that reads back the same value, char as itself, byte vectors in
	/// Base64.
	///@{
	void serialize(const std::string& name, signed char value) override;
	void serialize(const std::string& name, unsigned char value) override;
	void serialize(const std::string& name, short value) override;
	void serialize(const std::string& name, unsigned short value) override;
	void serialize(const std::string& name, int value) override;
	void serialize(const std::string& name, unsigned int value) override;
	void serialize(const std::string& name, long value) override;
	void serialize(const std::string& name, unsigned long value) override;
	void serialize(const std::string& name, long long value) override;
	void serialize(const std::string& name, unsigned long long value) override;
	void serialize(const std::string& name, bool value) override;
	void serialize(const std::string& name, float value) override;
	void serialize(const std::string& name, double value) override;
	void serialize(const std::string& name, char value) override;
	void serialize(const std::string& name, const std::string& value) override;
	void serialize(const std::string& name, const std::vector<char>& value) override;
	///@}
	/// Starts a new document on ostr, replacing any previous writer.
	void setupImpl(std::ostream& ostr) override;

	/// Writes one e:property element holding value as the text of an
	/// element named name, or named as the previous value when name is "data".
	/// Throws Tavik::InvalidArgumentException, writing nothing, when that
	/// leaves the element without a name.
	void serializeData(const std::string& name, const std::string& value);

private:
	/// The current writer; a bugcheck when there is none (setupImpl not called).
	Tavik::XML::XMLWriter& writer();

	std::unique_ptr<Tavik::XML::XMLWriter> _pWriter;
	std::ostream* _pStream;
	std::string _currentElementName;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_Serializer_INCLUDED
