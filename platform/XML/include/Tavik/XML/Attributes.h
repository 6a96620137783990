#ifndef Tavik_XML_Attributes_INCLUDED
#define Tavik_XML_Attributes_INCLUDED

#include <string>
#include <vector>

namespace Tavik {
namespace XML {

/// The attributes of one start tag, in document order.
///
/// The parser hands a const list to ContentHandler::startElement; callers of
/// XMLWriter::startElement fill one with addAttribute(). Indexed accessors
/// throw Tavik::InvalidArgumentException for an index outside [0, getLength()).
class Attributes
{
public:
	Attributes();
	~Attributes();

	/// Appends an attribute. An empty qname means "prefix for namespaceURI,
	/// then localName" to the writer.
	void addAttribute(const std::string& namespaceURI, const std::string& localName, const std::string& qname,
	                  const std::string& value);
	/// Removes all attributes; the list keeps its storage for reuse.
	void clear();

	/// The number of attributes.
	int getLength() const;
	/// The namespace URI, local name, qualified name and value of the
	/// attribute at index (see ContentHandler::startElement for which names
	/// are filled).
	///@{
	const std::string& getURI(int index) const;
	const std::string& getLocalName(int index) const;
	const std::string& getQName(int index) const;
	const std::string& getValue(int index) const;
	///@}

	/// The value of the attribute with this qualified name, or an empty string.
	const std::string& getValue(const std::string& qname) const;
	/// The value of the attribute with this namespace URI and local name, or an empty string.
	const std::string& getValue(const std::string& namespaceURI, const std::string& localName) const;

private:
	struct Attribute
	{
		std::string uri;
		std::string localName;
		std::string qname;
		std::string value;
	};

	const Attribute& at(int index) const;

	// Entries past _length are kept so their strings' storage is reused.
	std::vector<Attribute> _attributes;
	int _length;
};

} // namespace XML
} // namespace Tavik

#endif // Tavik_XML_Attributes_INCLUDED
