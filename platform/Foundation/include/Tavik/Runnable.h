#ifndef Tavik_Runnable_INCLUDED
#define Tavik_Runnable_INCLUDED

namespace Tavik {

/// Work that a thread runs.
class Runnable
{
public:
	Runnable() = default;
	virtual ~Runnable();

	/// The work; the thread that calls it decides what an exception does.
	virtual void run() = 0;
};

} // namespace Tavik

#endif // Tavik_Runnable_INCLUDED
