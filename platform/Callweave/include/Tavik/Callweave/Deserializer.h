#ifndef Tavik_Callweave_Deserializer_INCLUDED
#define Tavik_Callweave_Deserializer_INCLUDED

#include "Tavik/Callweave/SerializerBase.h"

#include <istream>
#include <string>
#include <vector>

namespace Tavik {
namespace Callweave {

/// Reads messages from a stream in the wire format of a protocol. The
/// framework sets a deserializer up on a stream, asks findMessage() for the
/// next message, then calls deserializeMessageBegin(), the value operations
/// and deserializeMessageEnd().
///
/// The bracket operations return whether the bracketed value is present; each
/// deserialize() returns whether it read a value. Errors throw
/// DeserializerException or the exception of the format. Not thread-safe: one
/// thread at a time.
class Deserializer : public SerializerBase
{
public:
	Deserializer();
	~Deserializer() override;

	/// Forgets the stream and everything read from it.
	virtual void resetImpl() = 0;

	/// The type of the next message; name receives its name.
	virtual SerializerBase::MessageType findMessage(std::string& name) = 0;
	/// Read the start and the end of the message findMessage() found, with
	/// the name and type it reported.
	///@{
	virtual void deserializeMessageBegin(const std::string& name, SerializerBase::MessageType type) = 0;
	virtual void deserializeMessageEnd(const std::string& name, SerializerBase::MessageType type) = 0;
	///@}

	/// Bracket a struct, a sequence (lengthHint receives its number of
	/// elements when the format knows it) or a nullable value (isNull receives
	/// whether it is null), named name. Begin returns whether the value is
	/// present; isMandatory tells whether the caller requires it.
	///@{
	virtual bool deserializeStructBegin(const std::string& name, bool isMandatory) = 0;
	virtual void deserializeStructEnd(const std::string& name) = 0;
	virtual bool deserializeSequenceBegin(const std::string& name, bool isMandatory,
	                                      unsigned int& lengthHint) = 0;
	virtual void deserializeSequenceEnd(const std::string& name) = 0;
	virtual bool deserializeNullableBegin(const std::string& name, bool isMandatory, bool& isNull) = 0;
	virtual void deserializeNullableEnd(const std::string& name) = 0;
	///@}
	/// Brackets a value that may be left out. The default, for formats
	/// without optional values, reads nothing, returns false and leaves
	/// isSpecified unchanged.
	///@{
	virtual bool deserializeOptionalBegin(const std::string& name, bool isMandatory, bool& isSpecified);
	virtual void deserializeOptionalEnd(const std::string& name);
	///@}

	/// Reads the value named name into value and returns whether there was
	/// one; isMandatory tells whether the caller requires it.
	///@{
	virtual bool deserialize(const std::string& name, bool isMandatory, signed char& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, unsigned char& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, short& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, unsigned short& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, int& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, unsigned int& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, long& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, unsigned long& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, long long& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, unsigned long long& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, float& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, double& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, bool& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, char& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, std::string& value) = 0;
	virtual bool deserialize(const std::string& name, bool isMandatory, std::vector<char>& value) = 0;
	///@}

	/// An attribute expected on the next value. The default ignores it, for
	/// formats without attributes.
	virtual void pushAttribute(const std::string& attrName, const std::string& attrValue, bool isMandatory);

	/// Starts reading from istr, which must outlive the reading.
	virtual void setupImpl(std::istream& istr) = 0;

	/// Prepares for reading istr: clearProperties(), resetImpl(),
	/// setupImpl(istr), in that order.
	void setup(std::istream& istr);
	/// Ends reading: clearProperties(), then resetImpl().
	void reset();
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_Deserializer_INCLUDED
