#ifndef Tavik_Timestamp_INCLUDED
#define Tavik_Timestamp_INCLUDED

#include <cstdint>

namespace Tavik {

/// A point in wall-clock time: microseconds since the Unix epoch (UTC).
/// Use Clock for intervals and deadlines; wall-clock time can jump.
class Timestamp
{
public:
	using TimeVal = std::int64_t;

	/// The current time.
	Timestamp();
	explicit Timestamp(TimeVal epochMicroseconds) noexcept : _ts(epochMicroseconds) {}

	void update();
	TimeVal epochMicroseconds() const noexcept { return _ts; }

	bool operator==(const Timestamp& t) const noexcept { return _ts == t._ts; }
	bool operator!=(const Timestamp& t) const noexcept { return _ts != t._ts; }
	bool operator<(const Timestamp& t) const noexcept { return _ts < t._ts; }

private:
	TimeVal _ts;
};

} // namespace Tavik

#endif // Tavik_Timestamp_INCLUDED
