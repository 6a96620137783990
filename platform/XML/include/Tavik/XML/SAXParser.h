#ifndef Tavik_XML_SAXParser_INCLUDED
#define Tavik_XML_SAXParser_INCLUDED

#include "Tavik/XML/XMLReader.h"

#include <cstddef>
#include <memory>
#include <string>

namespace Tavik {
namespace XML {

/// A non-validating XML reader for documents that come from the network.
///
/// The stream is read in blocks of 8 KiB and handed to the parser without an
/// intermediate copy of the document. Documents may be UTF-8 (with or without
/// a byte order mark) or UTF-16 with a byte order mark; the handler always
/// receives UTF-8.
///
/// Limits:
/// - No external entity and no external DTD subset is ever loaded; references
///   to external entities are dropped.
/// - Entity expansion is bounded: once a parse has produced 64 KiB of output,
///   output may be at most 16 times the input read so far, otherwise the parse
///   fails with SAXParseException ("limit on input amplification factor ...").
/// - The document may be at most maxDocumentSize() bytes; see
///   setMaxDocumentSize().
///
/// A parser is used by one thread at a time and parses one document at a
/// time; it can be reused for further documents.
class SAXParser : public XMLReader
{
public:
	/// Default for setMaxDocumentSize(): 1 MiB.
	static const std::size_t DEFAULT_MAX_DOCUMENT_SIZE;

	SAXParser();
	SAXParser(const SAXParser&) = delete;
	SAXParser& operator=(const SAXParser&) = delete;
	~SAXParser() override;

	void setFeature(const std::string& name, bool state) override;
	bool getFeature(const std::string& name) const override;
	void setContentHandler(ContentHandler* pContentHandler) override;
	ContentHandler* getContentHandler() const override;
	/// Throws Tavik::NullPointerException for a null source, XMLException
	/// when called from a handler during a parse or when the document is
	/// longer than maxDocumentSize() (after the handler has seen its first
	/// part), SAXParseException when it is not well-formed.
	void parse(InputSource* pInputSource) override;

	/// The largest document, in bytes as read from the stream, that parse()
	/// accepts. A longer document fails with XMLException
	/// "XML document too large". Default DEFAULT_MAX_DOCUMENT_SIZE.
	///@{
	void setMaxDocumentSize(std::size_t bytes);
	std::size_t maxDocumentSize() const;
	///@}

private:
	class Engine;

	std::unique_ptr<Engine> _pEngine;
};

} // namespace XML
} // namespace Tavik

#endif // Tavik_XML_SAXParser_INCLUDED
