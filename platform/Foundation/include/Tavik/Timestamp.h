#ifndef Tavik_Timestamp_INCLUDED
#define Tavik_Timestamp_INCLUDED

#include <cstdint>

namespace Tavik {

/// A point in wall-clock time: microseconds since the Unix epoch (UTC).
/// Use Clock for intervals and deadlines; wall-clock time can jump.
class Timestamp
{
public:
	/// Microseconds since the Unix epoch.
	using TimeVal = std::int64_t;

	/// The current time.
	Timestamp();
	/// The given microseconds since the Unix epoch.
	explicit Timestamp(TimeVal epochMicroseconds) noexcept : _ts(epochMicroseconds) {}

	/// Sets the timestamp to the current time.
	void update();
	/// Microseconds since the Unix epoch.
	TimeVal epochMicroseconds() const noexcept { return _ts; }

	/// Compares the points in time.
	///@{
	bool operator==(const Timestamp& t) const noexcept { return _ts == t._ts; }
	bool operator!=(const Timestamp& t) const noexcept { return _ts != t._ts; }
	bool operator<(const Timestamp& t) const noexcept { return _ts < t._ts; }
	///@}

private:
	TimeVal _ts;
};

} // namespace Tavik

#endif // Tavik_Timestamp_INCLUDED
