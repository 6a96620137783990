#ifndef Tavik_Bugcheck_INCLUDED
#define Tavik_Bugcheck_INCLUDED

namespace Tavik {

/// Reports violated internal assumptions (programming errors).
class Bugcheck
{
public:
	/// Throws BugcheckException naming the source file (without its extension,
	/// relative to the repository root, e.g. "src/Serializer") and the line.
	[[noreturn]] static void bugcheck(const char* file, int line);
	/// The same, with an explanation placed before the location.
	[[noreturn]] static void bugcheck(const char* msg, const char* file, int line);
};

} // namespace Tavik

/// Throws Tavik::BugcheckException for the current source file and line.
#define tavik_bugcheck() Tavik::Bugcheck::bugcheck(__FILE__, __LINE__)
/// As tavik_bugcheck(), with an explanation.
#define tavik_bugcheck_msg(msg) Tavik::Bugcheck::bugcheck(msg, __FILE__, __LINE__)

#endif // Tavik_Bugcheck_INCLUDED
