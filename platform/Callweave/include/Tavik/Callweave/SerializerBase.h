#ifndef Tavik_Callweave_SerializerBase_INCLUDED
#define Tavik_Callweave_SerializerBase_INCLUDED

#include <map>
#include <string>

namespace Tavik {
namespace Callweave {

/// What serializers and deserializers have in common: the kinds of message
/// and a set of per-message properties (name/value strings) that a transport
/// may attach to the message being written or read.
///
/// Not thread-safe: a serializer is used by one thread at a time.
class SerializerBase
{
public:
	/// The kinds of message: a request, its reply, an event, a fault.
	enum MessageType
	{
		MESSAGE_REQUEST = 0,
		MESSAGE_REPLY = 1,
		MESSAGE_EVENT = 2,
		MESSAGE_FAULT = 3
	};

	SerializerBase();
	SerializerBase(const SerializerBase&) = delete;
	SerializerBase& operator=(const SerializerBase&) = delete;
	virtual ~SerializerBase();

	/// Drops all properties; the first step of setting up for a new message.
	void clearProperties();

	/// Sets or replaces a property.
	void setProperty(const std::string& name, const std::string& value);
	/// Throws Tavik::NotFoundException when no property has this name.
	const std::string& getProperty(const std::string& name) const;

private:
	std::map<std::string, std::string> _properties;
};

} // namespace Callweave
} // namespace Tavik

#endif // Tavik_Callweave_SerializerBase_INCLUDED
