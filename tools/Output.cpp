#include "Output.h"

#include <cstdio>

namespace Gena {

namespace {

const char* const REPLACEMENT_CHARACTER = "\xEF\xBF\xBD";

/// The length of the valid UTF-8 sequence starting at text[i], or 0.
std::size_t utf8Length(const std::string& text, std::size_t i)
{
	const unsigned char lead = static_cast<unsigned char>(text[i]);
	std::size_t length = 0;
	unsigned long codePoint = 0;
	if (lead >= 0xC2 && lead <= 0xDF)
		length = 2, codePoint = lead & 0x1F;
	else if (lead >= 0xE0 && lead <= 0xEF)
		length = 3, codePoint = lead & 0x0F;
	else if (lead >= 0xF0 && lead <= 0xF4)
		length = 4, codePoint = lead & 0x07;
	else
		return 0;
	if (i + length > text.size()) return 0;
	for (std::size_t k = 1; k < length; ++k)
	{
		const unsigned char next = static_cast<unsigned char>(text[i + k]);
		if ((next & 0xC0) != 0x80) return 0;
		codePoint = (codePoint << 6) | (next & 0x3F);
	}
	// Overlong forms, UTF-16 surrogates and values beyond U+10FFFF are not UTF-8.
	const unsigned long smallest[] = {0, 0, 0x80, 0x800, 0x10000};
	if (codePoint < smallest[length] || (codePoint >= 0xD800 && codePoint <= 0xDFFF) || codePoint > 0x10FFFF)
		return 0;
	return length;
}

} // namespace

Output::Output(std::ostream& stream, bool json) : _stream(stream), _json(json) {}

void Output::print(const std::string& event, const Fields& fields)
{
	std::string line;
	if (_json)
	{
		line = "{\"event\":\"" + escapeJSON(event) + "\"";
		for (const auto& field : fields)
			line += ",\"" + escapeJSON(field.first) + "\":\"" + escapeJSON(field.second) + "\"";
		line += "}";
	}
	else
	{
		line = event;
		for (const auto& field : fields)
			line += " " + field.first + "=" + field.second;
	}
	std::lock_guard<std::mutex> lock(_mutex);
	_stream << line << std::endl;
}

std::string Output::escapeJSON(const std::string& text)
{
	std::string escaped;
	escaped.reserve(text.size());
	for (std::size_t i = 0; i < text.size();)
	{
		const unsigned char c = static_cast<unsigned char>(text[i]);
		if (c >= 0x80)
		{
			const std::size_t length = utf8Length(text, i);
			if (length == 0)
			{
				escaped += REPLACEMENT_CHARACTER;
				++i;
			}
			else
			{
				escaped.append(text, i, length);
				i += length;
			}
			continue;
		}
		switch (c)
		{
		case '"':
			escaped += "\\\"";
			break;
		case '\\':
			escaped += "\\\\";
			break;
		case '\n':
			escaped += "\\n";
			break;
		case '\r':
			escaped += "\\r";
			break;
		case '\t':
			escaped += "\\t";
			break;
		case '\b':
			escaped += "\\b";
			break;
		case '\f':
			escaped += "\\f";
			break;
		default:
			if (c < 0x20)
			{
				char code[8];
				std::snprintf(code, sizeof code, "\\u%04x", c);
				escaped += code;
			}
			else
				escaped += static_cast<char>(c);
		}
		++i;
	}
	return escaped;
}

} // namespace Gena
