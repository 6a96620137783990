#include "Tavik/XML/XMLWriter.h"

#include "Tavik/XML/Attributes.h"
#include "Tavik/XML/XMLException.h"

#include <cstdio>

namespace Tavik {
namespace XML {

namespace {

const char XML_DECLARATION[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";

// Characters below U+0020 that an XML 1.0 document cannot contain in any form.
bool isForbiddenControl(unsigned char c)
{
	return c < 0x20 && c != '\t' && c != '\n' && c != '\r';
}

// The reference that replaces c, or null when c is written as it is.
// Attribute values also protect tab and line feed from value normalisation.
const char* replacementFor(char c, bool isAttribute)
{
	switch (c)
	{
	case '&':
		return "&amp;";
	case '<':
		return "&lt;";
	case '>':
		return "&gt;";
	case '"':
		return "&quot;";
	case '\r':
		return "&#13;";
	case '\t':
		return isAttribute ? "&#9;" : nullptr;
	case '\n':
		return isAttribute ? "&#10;" : nullptr;
	default:
		return nullptr;
	}
}

} // namespace

XMLWriter::XMLWriter(std::ostream& ostr, int options)
	: _ostr(ostr),
	  _options(options),
	  _newLine(NEWLINE_LF),
	  _indent("\t"),
	  _depth(0),
	  _pendingMappings(0),
	  _startTagOpen(false),
	  _rootWritten(false)
{
}

XMLWriter::~XMLWriter() = default;

void XMLWriter::startDocument()
{
	if (_rootWritten) throw XMLException("Document already started");
	if (_options & WRITE_XML_DECLARATION)
	{
		_ostr << XML_DECLARATION;
		if (isPretty()) writeNewLine();
	}
}

void XMLWriter::endDocument()
{
	if (_depth > 0) throw XMLException("Document ended with open element", _elements[_depth - 1].name);
	_ostr.flush();
}

void XMLWriter::startPrefixMapping(const std::string& prefix, const std::string& uri)
{
	_mappings.emplace_back(prefix, uri);
	++_pendingMappings;
}

void XMLWriter::endPrefixMapping(const std::string& prefix)
{
	for (std::size_t i = _mappings.size(); i-- > 0;)
	{
		if (_mappings[i].first == prefix)
		{
			if (i >= _mappings.size() - _pendingMappings) --_pendingMappings;
			_mappings.erase(_mappings.begin() + static_cast<std::ptrdiff_t>(i));
			return;
		}
	}
}

void XMLWriter::startElement(const std::string& namespaceURI, const std::string& localName,
                             const std::string& qname)
{
	writeStartTag(namespaceURI, localName, qname, nullptr);
}

void XMLWriter::startElement(const std::string& namespaceURI, const std::string& localName,
                             const std::string& qname, const Attributes& attributes)
{
	writeStartTag(namespaceURI, localName, qname, &attributes);
}

void XMLWriter::endElement(const std::string& namespaceURI, const std::string& localName,
                           const std::string& qname)
{
	resolveName(namespaceURI, localName, qname, _name);
	if (_depth == 0) throw XMLException("End tag without start tag", _name);
	const Element& element = _elements[_depth - 1];
	if (element.name != _name)
		throw XMLException("End tag does not match start tag",
		                   "expected " + element.name + ", found " + _name);
	--_depth;
	if (_startTagOpen)
	{
		_ostr << "/>";
		_startTagOpen = false;
	}
	else
	{
		if (element.hasChildElements && isPretty())
		{
			writeNewLine();
			writeIndent(_depth);
		}
		_ostr << "</" << element.name << '>';
	}
	if (_depth == 0 && isPretty()) writeNewLine();
}

void XMLWriter::characters(const std::string& text)
{
	if (text.empty()) return;
	if (_depth == 0) throw XMLException("Character data outside the root element");
	checkCharacters(text);
	closeStartTag();
	writeEscaped(text, false);
}

void XMLWriter::setNewLine(NewLine newLine)
{
	_newLine = newLine;
}

XMLWriter::NewLine XMLWriter::getNewLine() const
{
	return _newLine;
}

void XMLWriter::setIndent(const std::string& indent)
{
	_indent = indent;
}

const std::string& XMLWriter::getIndent() const
{
	return _indent;
}

void XMLWriter::checkCharacters(const std::string& text)
{
	for (char c : text)
	{
		if (isForbiddenControl(static_cast<unsigned char>(c)))
		{
			char code[8];
			std::snprintf(code, sizeof code, "U+%04X", static_cast<unsigned>(static_cast<unsigned char>(c)));
			throw XMLException("Character not allowed in XML", code);
		}
	}
}

void XMLWriter::resolveName(const std::string& namespaceURI, const std::string& localName,
                            const std::string& qname, std::string& name) const
{
	if (!qname.empty())
	{
		name.assign(qname);
		return;
	}
	name.clear();
	if (!namespaceURI.empty())
	{
		auto it = _mappings.rbegin();
		while (it != _mappings.rend() && it->second != namespaceURI) ++it;
		if (it == _mappings.rend()) throw XMLException("No prefix mapped to namespace", namespaceURI);
		if (!it->first.empty())
		{
			name.assign(it->first);
			name.push_back(':');
		}
	}
	name.append(localName);
	if (localName.empty()) throw XMLException("Empty element or attribute name");
}

void XMLWriter::writeStartTag(const std::string& namespaceURI, const std::string& localName,
                              const std::string& qname, const Attributes* pAttributes)
{
	// Everything that can be refused is checked before the first byte is written.
	resolveName(namespaceURI, localName, qname, _name);
	if (_depth == 0 && _rootWritten) throw XMLException("Second root element", _name);
	for (std::size_t i = _mappings.size() - _pendingMappings; i < _mappings.size(); ++i)
		checkCharacters(_mappings[i].second);
	std::string attributeName;
	for (int i = 0; pAttributes && i < pAttributes->getLength(); ++i)
	{
		resolveName(pAttributes->getURI(i), pAttributes->getLocalName(i), pAttributes->getQName(i),
		            attributeName);
		checkCharacters(pAttributes->getValue(i));
	}
	closeStartTag();
	if (_depth > 0)
	{
		_elements[_depth - 1].hasChildElements = true;
		if (isPretty())
		{
			writeNewLine();
			writeIndent(_depth);
		}
	}
	_ostr << '<' << _name;
	for (std::size_t i = _mappings.size() - _pendingMappings; i < _mappings.size(); ++i)
	{
		_ostr << (_mappings[i].first.empty() ? " xmlns" : " xmlns:") << _mappings[i].first << "=\"";
		writeEscaped(_mappings[i].second, true);
		_ostr << '"';
	}
	_pendingMappings = 0;
	for (int i = 0; pAttributes && i < pAttributes->getLength(); ++i)
	{
		resolveName(pAttributes->getURI(i), pAttributes->getLocalName(i), pAttributes->getQName(i),
		            attributeName);
		_ostr << ' ' << attributeName << "=\"";
		writeEscaped(pAttributes->getValue(i), true);
		_ostr << '"';
	}
	if (_depth == _elements.size()) _elements.emplace_back();
	Element& element = _elements[_depth++];
	element.name.assign(_name);
	element.hasChildElements = false;
	_startTagOpen = true;
	_rootWritten = true;
}

void XMLWriter::closeStartTag()
{
	if (_startTagOpen)
	{
		_ostr << '>';
		_startTagOpen = false;
	}
}

void XMLWriter::writeNewLine()
{
	_ostr << (_newLine == NEWLINE_CRLF ? "\r\n" : "\n");
}

void XMLWriter::writeIndent(std::size_t depth)
{
	for (std::size_t i = 0; i < depth; ++i) _ostr << _indent;
}

void XMLWriter::writeEscaped(const std::string& text, bool isAttribute)
{
	// Plain runs go out in one write; only the replaced characters are split off.
	const char* pRun = text.data();
	const char* const pEnd = pRun + text.size();
	for (const char* p = pRun; p != pEnd; ++p)
	{
		const char* pReplacement = replacementFor(*p, isAttribute);
		if (pReplacement)
		{
			_ostr.write(pRun, p - pRun);
			_ostr << pReplacement;
			pRun = p + 1;
		}
	}
	_ostr.write(pRun, pEnd - pRun);
}

bool XMLWriter::isPretty() const
{
	return (_options & PRETTY_PRINT) != 0;
}

} // namespace XML
} // namespace Tavik
