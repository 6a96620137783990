#ifndef Tavik_Callweave_Serializer_INCLUDED
#define Tavik_Callweave_Serializer_INCLUDED

#include "Tavik/Callweave/SerializerBase.h"

#include <ostream>
#include <string>
#include <vector>

namespace Tavik {

class Exception;

namespace Callweave {

/// Writes one message at a time into a stream, in the wire format of a
/// protocol. The framework sets a serializer up on a stream, then calls
/// serializeMessageBegin(), the value operations (bracketed by the struct,
/// sequence, nullable and optional operations) and serializeMessageEnd().
///
/// Exceptions of the format and of the stream pass out of every operation;
/// setup() makes the serializer usable again. Not thread-safe: one thread at
/// a time.
class Serializer : public SerializerBase
{
public:
	Serializer();
	~Serializer() override;

	/// Forgets the stream and any partly written message.
	virtual void resetImpl() = 0;

	/// Write the start and the end of a message of this name and type.
	///@{
	virtual void serializeMessageBegin(const std::string& name, SerializerBase::MessageType type) = 0;
	virtual void serializeMessageEnd(const std::string& name, SerializerBase::MessageType type) = 0;
	///@}
	/// Writes a fault message of this name that reports exc.
	virtual void serializeFaultMessage(const std::string& name, Tavik::Exception& exc) = 0;

	/// Bracket the values of a struct, a sequence of length elements, or a
	/// nullable value (isNull: whether it is null), named name.
	///@{
	virtual void serializeStructBegin(const std::string& name) = 0;
	virtual void serializeStructEnd(const std::string& name) = 0;
	virtual void serializeSequenceBegin(const std::string& name, unsigned int length) = 0;
	virtual void serializeSequenceEnd(const std::string& name) = 0;
	virtual void serializeNullableBegin(const std::string& name, bool isNull) = 0;
	virtual void serializeNullableEnd(const std::string& name) = 0;
	///@}
	/// Brackets a value that may be left out. The default writes nothing, for
	/// formats without optional values.
	///@{
	virtual void serializeOptionalBegin(const std::string& name, bool isSpecified);
	virtual void serializeOptionalEnd(const std::string& name);
	///@}

	/// Writes value under name, in the format's form for its type.
	///@{
	virtual void serialize(const std::string& name, signed char value) = 0;
	virtual void serialize(const std::string& name, unsigned char value) = 0;
	virtual void serialize(const std::string& name, short value) = 0;
	virtual void serialize(const std::string& name, unsigned short value) = 0;
	virtual void serialize(const std::string& name, int value) = 0;
	virtual void serialize(const std::string& name, unsigned int value) = 0;
	virtual void serialize(const std::string& name, long value) = 0;
	virtual void serialize(const std::string& name, unsigned long value) = 0;
	virtual void serialize(const std::string& name, long long value) = 0;
	virtual void serialize(const std::string& name, unsigned long long value) = 0;
	virtual void serialize(const std::string& name, bool value) = 0;
	virtual void serialize(const std::string& name, float value) = 0;
	virtual void serialize(const std::string& name, double value) = 0;
	virtual void serialize(const std::string& name, char value) = 0;
	virtual void serialize(const std::string& name, const std::string& value) = 0;
	virtual void serialize(const std::string& name, const std::vector<char>& value) = 0;
	///@}

	/// An attribute for the next value. The default ignores it, for formats
	/// without attributes.
	virtual void pushAttribute(const std::string& attrName, const std::string& attrValue);
	/// A namespace the message uses. The default ignores it, for formats
	/// without namespaces.
	virtual void registerNamespace(const std::string& namespaceURI);

	/// Starts writing into ostr, which must outlive the message.
	virtual void setupImpl(std::ostream& ostr) = 0;

	/// Prepares for a new message on ostr: clearProperties(), resetImpl(),
	/// setupImpl(ostr), in that order.
	void setup(std::ostream& ostr);
	/// Ends the current message: clearProperties(), then resetImpl().
	void reset();
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_Serializer_INCLUDED
