#ifndef Tavik_UPnP_GENA_Deserializer_INCLUDED
#define Tavik_UPnP_GENA_Deserializer_INCLUDED

#include "Tavik/Callweave/Deserializer.h"

#include <istream>
#include <string>
#include <utility>
#include <vector>

namespace Tavik {
namespace UPnP {
namespace GENA {

/// Reads the property set in the body of an event notification.
///
/// setupImpl() parses the whole document into a queue of (variable name,
/// value text) pairs in document order. The queue is read from its end: each
/// event message is the last queued property, its name the variable's name,
/// and every deserialize() converts that property's text, whatever argument
/// name it is asked for. popProperty() then drops the property.
///
/// Properties are collected inside any element named "propertyset" (any
/// namespace), one per element inside a "property" element. Text is taken as
/// it is, white space and CDATA included; markup nested in a value ends it.
///
/// Not thread-safe: one thread at a time.
class Deserializer : public Tavik::Callweave::Deserializer
{
public:
	Deserializer();
	~Deserializer() override;

	/// Forgets the stream and empties the queue.
	void resetImpl() override;
	/// Returns MESSAGE_EVENT; name receives the last property's name.
	/// Throws Tavik::Callweave::DeserializerException
	/// "no more event properties available" when the queue is empty.
	SerializerBase::MessageType findMessage(std::string& name) override;
	/// Checks that name is the last property's name: throws
	/// Tavik::Callweave::DeserializerException "event name mismatch -
	/// expected: <name>found: <last name>" otherwise, or "no more event
	/// properties available" when the queue is empty, and
	/// Tavik::BugcheckException for a type other than MESSAGE_EVENT.
	/// The property stays queued.
	void deserializeMessageBegin(const std::string& name, SerializerBase::MessageType type) override;
	/// As deserializeMessageBegin().
	void deserializeMessageEnd(const std::string& name, SerializerBase::MessageType type) override;
	/// The brackets read nothing: the Begin operations return false and leave
	/// their out-parameters unchanged.
	///@{
	bool deserializeStructBegin(const std::string& name, bool isMandatory) override;
	void deserializeStructEnd(const std::string& name) override;
	bool deserializeSequenceBegin(const std::string& name, bool isMandatory,
	                              unsigned int& lengthHint) override;
	void deserializeSequenceEnd(const std::string& name) override;
	bool deserializeNullableBegin(const std::string& name, bool isMandatory, bool& isNull) override;
	void deserializeNullableEnd(const std::string& name) override;
	///@}
	/// Each reads the last property's text into value and returns true.
	/// Integers are decimal with "," allowed as thousands separator; numbers
	/// too large for a char or short type keep their low bits; the platform
	/// parser's Tavik::SyntaxException reports other text. bool takes any
	/// integer (0 is false) and throws DeserializerException
	/// "Illegal bool value : <text>" otherwise; char takes exactly one
	/// character and throws "Illegal char value <text>" otherwise; a byte
	/// vector is decoded from Base64 (Tavik::DataFormatException for bad text).
	/// All throw "No more properties available" when the queue is empty.
	///@{
	bool deserialize(const std::string& name, bool isMandatory, signed char& value) override;
	bool deserialize(const std::string& name, bool isMandatory, unsigned char& value) override;
	bool deserialize(const std::string& name, bool isMandatory, short& value) override;
	bool deserialize(const std::string& name, bool isMandatory, unsigned short& value) override;
	bool deserialize(const std::string& name, bool isMandatory, int& value) override;
	bool deserialize(const std::string& name, bool isMandatory, unsigned int& value) override;
	bool deserialize(const std::string& name, bool isMandatory, long& value) override;
	bool deserialize(const std::string& name, bool isMandatory, unsigned long& value) override;
	bool deserialize(const std::string& name, bool isMandatory, long long& value) override;
	bool deserialize(const std::string& name, bool isMandatory, unsigned long long& value) override;
	bool deserialize(const std::string& name, bool isMandatory, float& value) override;
	bool deserialize(const std::string& name, bool isMandatory, double& value) override;
	bool deserialize(const std::string& name, bool isMandatory, bool& value) override;
	bool deserialize(const std::string& name, bool isMandatory, char& value) override;
	bool deserialize(const std::string& name, bool isMandatory, std::string& value) override;
	bool deserialize(const std::string& name, bool isMandatory, std::vector<char>& value) override;
	///@}
	/// Parses the document on istr into the queue, unless istr is the stream
	/// already read (then it returns at once). Throws the parser's
	/// Tavik::XML::SAXParseException for a document that is not well-formed
	/// (an empty one included) and Tavik::XML::XMLException for one over 1 MiB;
	/// the properties read before the error stay queued.
	void setupImpl(std::istream& istr) override;

	/// Removes the last property. Throws DeserializerException
	/// "no more event properties available" when the queue is empty.
	void popProperty();
	/// Whether a property is left to read.
	bool hasProperties() const;

private:
	using PropertyQueue = std::vector<std::pair<std::string, std::string>>;

	/// The last property's value text; throws "No more properties available"
	/// when the queue is empty.
	const std::string& deserializeOne() const;
	/// The last property; throws "no more event properties available" when
	/// the queue is empty.
	const PropertyQueue::value_type& lastProperty() const;
	/// The check of deserializeMessageBegin() and deserializeMessageEnd().
	void checkMessage(const std::string& name, SerializerBase::MessageType type) const;

	std::istream* _pStream;
	PropertyQueue _properties;
};

} // namespace GENA
} // namespace UPnP
} // namespace Tavik

#endif // Tavik_UPnP_GENA_Deserializer_INCLUDED
