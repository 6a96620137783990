#ifndef Tavik_gena_Output_INCLUDED
#define Tavik_gena_Output_INCLUDED

#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace Gena {

/// Prints the tool's events, one line each, from any thread.
///
/// Human form: the event name, then "key=value" for every field.
/// JSON form (--json): one object per line, {"event":NAME,"key":"value",...}.
class Output
{
public:
	using Fields = std::vector<std::pair<std::string, std::string>>;

	Output(std::ostream& stream, bool json);

	/// Writes one line and flushes it, so that a reader sees it at once.
	void print(const std::string& event, const Fields& fields);

	/// text as the contents of a JSON string: quote, backslash and control
	/// characters escaped; bytes that are not UTF-8 replaced by U+FFFD.
	static std::string escapeJSON(const std::string& text);

private:
	std::mutex _mutex;
	std::ostream& _stream;
	const bool _json;
};

} // namespace Gena

#endif // Tavik_gena_Output_INCLUDED
