#ifndef Tavik_Clock_INCLUDED
#define Tavik_Clock_INCLUDED

#include <cstdint>

namespace Tavik {

/// A point on the system's monotonic clock, in microseconds. A Clock may hold
/// 0, which callers use as "never" (an expiry that does not expire).
class Clock
{
public:
	/// A point in microseconds.
	using ClockVal = std::int64_t;
	/// A distance between two points in microseconds.
	using ClockDiff = std::int64_t;

	/// The current time.
	Clock();
	/// The given point in microseconds (0 allowed).
	explicit Clock(ClockVal microseconds) noexcept : _clock(microseconds) {}

	/// Sets the clock to the current time.
	void update();

	/// The point in microseconds.
	ClockVal raw() const noexcept { return _clock; }
	/// Microseconds from this point to now.
	ClockDiff elapsed() const;
	/// True when at least `interval` microseconds have passed since this point.
	bool isElapsed(ClockDiff interval) const { return elapsed() >= interval; }

	/// The point d microseconds later or earlier.
	///@{
	Clock operator+(ClockDiff d) const noexcept { return Clock(_clock + d); }
	Clock operator-(ClockDiff d) const noexcept { return Clock(_clock - d); }
	///@}
	/// Microseconds from other to this point.
	ClockDiff operator-(const Clock& other) const noexcept { return _clock - other._clock; }
	/// Moves the point d microseconds later or earlier.
	///@{
	Clock& operator+=(ClockDiff d) noexcept { _clock += d; return *this; }
	Clock& operator-=(ClockDiff d) noexcept { _clock -= d; return *this; }
	///@}

	/// Compares the points.
	///@{
	bool operator==(const Clock& c) const noexcept { return _clock == c._clock; }
	bool operator!=(const Clock& c) const noexcept { return _clock != c._clock; }
	bool operator<(const Clock& c) const noexcept { return _clock < c._clock; }
	bool operator<=(const Clock& c) const noexcept { return _clock <= c._clock; }
	bool operator>(const Clock& c) const noexcept { return _clock > c._clock; }
	bool operator>=(const Clock& c) const noexcept { return _clock >= c._clock; }
	///@}

private:
	ClockVal _clock;
};

} // namespace Tavik

#endif // Tavik_Clock_INCLUDED
