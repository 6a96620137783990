#ifndef Tavik_gena_Interrupts_INCLUDED
#define Tavik_gena_Interrupts_INCLUDED

#include <functional>
#include <string>

namespace Gena {

/// Turns SIGINT and SIGTERM into a byte on a pipe (the handler does nothing
/// else), so that the main thread notices them in its poll() loop and shuts
/// down in order. Also ignores SIGPIPE: a vanished peer or reader must not
/// kill the process. One instance at a time; the destructor restores the
/// previous handlers.
class Interrupts
{
public:
	Interrupts();
	~Interrupts();

	Interrupts(const Interrupts&) = delete;
	Interrupts& operator=(const Interrupts&) = delete;

	/// Waits for SIGINT or SIGTERM. With onLine, also reads standard input and
	/// calls onLine for each line (without its end) until end of input, after
	/// which it only waits for a signal.
	void wait(const std::function<void(const std::string&)>& onLine = nullptr);
};

} // namespace Gena

#endif // Tavik_gena_Interrupts_INCLUDED
