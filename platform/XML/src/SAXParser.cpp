#include "Tavik/XML/SAXParser.h"

#include "Tavik/Exception.h"
#include "Tavik/XML/Attributes.h"
#include "Tavik/XML/ContentHandler.h"
#include "Tavik/XML/InputSource.h"
#include "Tavik/XML/Locator.h"
#include "Tavik/XML/XMLException.h"

// The system expat is built with DTD support; expat.h declares the
// amplification limits only when told so.
#ifndef XML_DTD
#define XML_DTD 1
#endif
#include <expat.h>

#include <cstring>
#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace Tavik {
namespace XML {

namespace {

// Bytes read from the stream and handed to expat per call.
const int BLOCK_SIZE = 8192;

// Billion-laughs protection: once a parse has produced ACTIVATION_THRESHOLD
// bytes, its output may be at most MAX_AMPLIFICATION times its input.
// Property sets use no entities of their own; these leave room for modest
// internal entities and cap the text a 1 MiB document can expand to at 16 MiB.
const float MAX_AMPLIFICATION = 16.0f;
const unsigned long long ACTIVATION_THRESHOLD = 64 * 1024;

// Separates namespace URI, local name and prefix in the names expat reports.
// U+001F cannot appear in a well-formed document, not even as a reference.
const char NAMESPACE_SEPARATOR = '\x1F';

struct ParserDeleter
{
	void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

using ParserPtr = std::unique_ptr<XML_ParserStruct, ParserDeleter>;

} // namespace

const std::size_t SAXParser::DEFAULT_MAX_DOCUMENT_SIZE = 1024 * 1024;

/// The expat side of the parser: the callbacks and the state of one parse.
class SAXParser::Engine : public Locator
{
public:
	bool namespaces = true;
	bool namespacePrefixes = false;
	ContentHandler* pHandler = nullptr;
	std::size_t maxDocumentSize = DEFAULT_MAX_DOCUMENT_SIZE;

	void parse(std::istream& istr);

	int getLineNumber() const override;
	int getColumnNumber() const override;

private:
	ParserPtr createParser();
	void feed(std::istream& istr);
	[[noreturn]] void throwParseError() const;

	// Runs a callback body; an exception is kept and stops the parser, since
	// it must not unwind through expat's C frames.
	template <class F>
	void guard(F&& body);

	void splitName(const XML_Char* name, std::string& uri, std::string& localName, std::string& qname) const;

	static void XMLCALL onStartElement(void* pUserData, const XML_Char* name, const XML_Char** atts);
	static void XMLCALL onEndElement(void* pUserData, const XML_Char* name);
	static void XMLCALL onCharacters(void* pUserData, const XML_Char* s, int len);
	static void XMLCALL onProcessingInstruction(void* pUserData, const XML_Char* target,
	                                            const XML_Char* data);
	static void XMLCALL onStartNamespace(void* pUserData, const XML_Char* prefix, const XML_Char* uri);
	static void XMLCALL onEndNamespace(void* pUserData, const XML_Char* prefix);
	static void XMLCALL onSkippedEntity(void* pUserData, const XML_Char* name, int isParameterEntity);

	XML_Parser _parser = nullptr;
	std::exception_ptr _pError;
	// Reused from element to element so that names cost no allocation once
	// the buffers have grown.
	std::string _uri;
	std::string _localName;
	std::string _qname;
	std::string _attributeURI;
	std::string _attributeLocalName;
	std::string _attributeQName;
	std::string _attributeValue;
	Attributes _attributes;
	// Namespace declarations waiting for their element, reported as
	// attributes when namespacePrefixes is set.
	std::vector<std::pair<std::string, std::string>> _pendingDeclarations;
};

void SAXParser::Engine::parse(std::istream& istr)
{
	if (_parser) throw XMLException("XML parser is already parsing a document");
	ParserPtr parser = createParser();
	struct Forget
	{
		XML_Parser& parser;
		~Forget() { parser = nullptr; }
	} forget{_parser};
	_parser = parser.get();
	_pError = nullptr;
	_pendingDeclarations.clear();
	if (pHandler)
	{
		pHandler->setDocumentLocator(this);
		pHandler->startDocument();
	}
	feed(istr);
	if (pHandler) pHandler->endDocument();
}

ParserPtr SAXParser::Engine::createParser()
{
	ParserPtr parser(namespaces ? XML_ParserCreateNS(nullptr, NAMESPACE_SEPARATOR)
	                            : XML_ParserCreate(nullptr));
	if (!parser) throw std::bad_alloc();
	XML_Parser p = parser.get();
	XML_SetUserData(p, this);
	XML_SetParamEntityParsing(p, XML_PARAM_ENTITY_PARSING_NEVER);
	if (!XML_SetBillionLaughsAttackProtectionMaximumAmplification(p, MAX_AMPLIFICATION) ||
	    !XML_SetBillionLaughsAttackProtectionActivationThreshold(p, ACTIVATION_THRESHOLD))
		throw XMLException("Cannot limit XML entity expansion");
	if (namespaces)
	{
		XML_SetReturnNSTriplet(p, 1);
		XML_SetNamespaceDeclHandler(p, onStartNamespace, onEndNamespace);
	}
	XML_SetElementHandler(p, onStartElement, onEndElement);
	XML_SetCharacterDataHandler(p, onCharacters);
	XML_SetProcessingInstructionHandler(p, onProcessingInstruction);
	XML_SetSkippedEntityHandler(p, onSkippedEntity);
	return parser;
}

void SAXParser::Engine::feed(std::istream& istr)
{
	std::size_t total = 0;
	bool isFinal = false;
	while (!isFinal)
	{
		void* pBuffer = XML_GetBuffer(_parser, BLOCK_SIZE);
		if (!pBuffer) throw std::bad_alloc();
		istr.read(static_cast<char*>(pBuffer), BLOCK_SIZE);
		const std::streamsize count = istr.gcount();
		isFinal = count < BLOCK_SIZE;
		total += static_cast<std::size_t>(count);
		if (total > maxDocumentSize)
			throw XMLException("XML document too large",
			                   "more than " + std::to_string(maxDocumentSize) + " bytes");
		const XML_Status status = XML_ParseBuffer(_parser, static_cast<int>(count), isFinal);
		if (_pError) std::rethrow_exception(_pError);
		if (status != XML_STATUS_OK) throwParseError();
	}
}

void SAXParser::Engine::throwParseError() const
{
	const char* reason = XML_ErrorString(XML_GetErrorCode(_parser));
	throw SAXParseException(reason ? reason : "unknown error",
	                        "line " + std::to_string(getLineNumber()) + ", column " +
	                            std::to_string(getColumnNumber()));
}

int SAXParser::Engine::getLineNumber() const
{
	return _parser ? static_cast<int>(XML_GetCurrentLineNumber(_parser)) : 0;
}

int SAXParser::Engine::getColumnNumber() const
{
	return _parser ? static_cast<int>(XML_GetCurrentColumnNumber(_parser)) + 1 : 0;
}

template <class F>
void SAXParser::Engine::guard(F&& body)
{
	if (_pError || !pHandler) return;
	try
	{
		body();
	}
	catch (...)
	{
		_pError = std::current_exception();
		XML_StopParser(_parser, XML_FALSE);
	}
}

void SAXParser::Engine::splitName(const XML_Char* name, std::string& uri, std::string& localName,
                                  std::string& qname) const
{
	if (!namespaces)
	{
		uri.clear();
		localName.clear();
		qname.assign(name);
		return;
	}
	// expat reports "local", "uri<SEP>local" or "uri<SEP>local<SEP>prefix".
	const char* pLocal = std::strchr(name, NAMESPACE_SEPARATOR);
	if (!pLocal)
	{
		uri.clear();
		localName.assign(name);
		qname.assign(localName);
		return;
	}
	uri.assign(name, pLocal);
	++pLocal;
	const char* pPrefix = std::strchr(pLocal, NAMESPACE_SEPARATOR);
	if (!pPrefix)
	{
		localName.assign(pLocal);
		qname.assign(localName);
		return;
	}
	localName.assign(pLocal, pPrefix);
	qname.assign(pPrefix + 1);
	qname.push_back(':');
	qname.append(localName);
}

void XMLCALL SAXParser::Engine::onStartElement(void* pUserData, const XML_Char* name, const XML_Char** atts)
{
	Engine& self = *static_cast<Engine*>(pUserData);
	self.guard([&] {
		self._attributes.clear();
		if (self.namespacePrefixes)
		{
			for (const auto& declaration : self._pendingDeclarations)
			{
				self._attributeQName.assign("xmlns");
				if (!declaration.first.empty())
				{
					self._attributeQName.push_back(':');
					self._attributeQName.append(declaration.first);
				}
				self._attributes.addAttribute(std::string(), declaration.first, self._attributeQName,
				                              declaration.second);
			}
		}
		self._pendingDeclarations.clear();
		for (; *atts; atts += 2)
		{
			self.splitName(atts[0], self._attributeURI, self._attributeLocalName, self._attributeQName);
			self._attributeValue.assign(atts[1]);
			self._attributes.addAttribute(self._attributeURI, self._attributeLocalName, self._attributeQName,
			                              self._attributeValue);
		}
		self.splitName(name, self._uri, self._localName, self._qname);
		self.pHandler->startElement(self._uri, self._localName, self._qname, self._attributes);
	});
}

void XMLCALL SAXParser::Engine::onEndElement(void* pUserData, const XML_Char* name)
{
	Engine& self = *static_cast<Engine*>(pUserData);
	self.guard([&] {
		self.splitName(name, self._uri, self._localName, self._qname);
		self.pHandler->endElement(self._uri, self._localName, self._qname);
	});
}

void XMLCALL SAXParser::Engine::onCharacters(void* pUserData, const XML_Char* s, int len)
{
	Engine& self = *static_cast<Engine*>(pUserData);
	self.guard([&] { self.pHandler->characters(s, 0, len); });
}

void XMLCALL SAXParser::Engine::onProcessingInstruction(void* pUserData, const XML_Char* target,
                                                        const XML_Char* data)
{
	Engine& self = *static_cast<Engine*>(pUserData);
	self.guard([&] { self.pHandler->processingInstruction(target, data); });
}

void XMLCALL SAXParser::Engine::onStartNamespace(void* pUserData, const XML_Char* prefix, const XML_Char* uri)
{
	Engine& self = *static_cast<Engine*>(pUserData);
	self.guard([&] {
		const std::string prefixText(prefix ? prefix : "");
		const std::string uriText(uri ? uri : "");
		if (self.namespacePrefixes) self._pendingDeclarations.emplace_back(prefixText, uriText);
		self.pHandler->startPrefixMapping(prefixText, uriText);
	});
}

void XMLCALL SAXParser::Engine::onEndNamespace(void* pUserData, const XML_Char* prefix)
{
	Engine& self = *static_cast<Engine*>(pUserData);
	self.guard([&] { self.pHandler->endPrefixMapping(prefix ? prefix : ""); });
}

void XMLCALL SAXParser::Engine::onSkippedEntity(void* pUserData, const XML_Char* name, int isParameterEntity)
{
	Engine& self = *static_cast<Engine*>(pUserData);
	if (!isParameterEntity) self.guard([&] { self.pHandler->skippedEntity(name); });
}

SAXParser::SAXParser() : _pEngine(new Engine)
{
}

SAXParser::~SAXParser() = default;

void SAXParser::setFeature(const std::string& name, bool state)
{
	if (name == FEATURE_NAMESPACES)
		_pEngine->namespaces = state;
	else if (name == FEATURE_NAMESPACE_PREFIXES)
		_pEngine->namespacePrefixes = state;
	else
		throw XMLException("Unknown XML reader feature", name);
}

bool SAXParser::getFeature(const std::string& name) const
{
	if (name == FEATURE_NAMESPACES) return _pEngine->namespaces;
	if (name == FEATURE_NAMESPACE_PREFIXES) return _pEngine->namespacePrefixes;
	throw XMLException("Unknown XML reader feature", name);
}

void SAXParser::setContentHandler(ContentHandler* pContentHandler)
{
	_pEngine->pHandler = pContentHandler;
}

ContentHandler* SAXParser::getContentHandler() const
{
	return _pEngine->pHandler;
}

void SAXParser::parse(InputSource* pInputSource)
{
	if (!pInputSource) throw NullPointerException("No input source to parse");
	_pEngine->parse(pInputSource->getByteStream());
}

void SAXParser::setMaxDocumentSize(std::size_t bytes)
{
	_pEngine->maxDocumentSize = bytes;
}

std::size_t SAXParser::maxDocumentSize() const
{
	return _pEngine->maxDocumentSize;
}

} // namespace XML
} // namespace Tavik
