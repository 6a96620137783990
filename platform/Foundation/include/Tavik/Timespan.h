#ifndef Tavik_Timespan_INCLUDED
#define Tavik_Timespan_INCLUDED

#include <cstdint>

namespace Tavik {

/// A span of time in microseconds.
class Timespan
{
public:
	/// A number of microseconds.
	using TimeDiff = std::int64_t;

	/// Microseconds in a millisecond, second, minute, hour and day, for spans
	/// such as 30 * Timespan::SECONDS.
	///@{
	static constexpr TimeDiff MILLISECONDS = 1000;
	static constexpr TimeDiff SECONDS = 1000 * MILLISECONDS;
	static constexpr TimeDiff MINUTES = 60 * SECONDS;
	static constexpr TimeDiff HOURS = 60 * MINUTES;
	static constexpr TimeDiff DAYS = 24 * HOURS;
	///@}

	constexpr Timespan() noexcept : _span(0) {}
	/// A span of the given microseconds.
	constexpr explicit Timespan(TimeDiff microseconds) noexcept : _span(microseconds) {}
	/// A span of seconds plus microseconds.
	constexpr Timespan(long seconds, long microseconds) noexcept
		: _span(TimeDiff(seconds) * SECONDS + microseconds) {}

	/// The whole span in microseconds, milliseconds or seconds (rounded
	/// towards zero).
	///@{
	constexpr TimeDiff totalMicroseconds() const noexcept { return _span; }
	constexpr TimeDiff totalMilliseconds() const noexcept { return _span / MILLISECONDS; }
	constexpr TimeDiff totalSeconds() const noexcept { return _span / SECONDS; }
	///@}
	/// The microseconds left over after the whole seconds.
	constexpr int useconds() const noexcept { return int(_span % SECONDS); }

	/// Sum and difference of the spans.
	///@{
	constexpr Timespan operator+(const Timespan& d) const noexcept { return Timespan(_span + d._span); }
	constexpr Timespan operator-(const Timespan& d) const noexcept { return Timespan(_span - d._span); }
	Timespan& operator+=(const Timespan& d) noexcept { _span += d._span; return *this; }
	Timespan& operator-=(const Timespan& d) noexcept { _span -= d._span; return *this; }
	///@}

	/// Compares the spans.
	///@{
	constexpr bool operator==(const Timespan& ts) const noexcept { return _span == ts._span; }
	constexpr bool operator!=(const Timespan& ts) const noexcept { return _span != ts._span; }
	constexpr bool operator<(const Timespan& ts) const noexcept { return _span < ts._span; }
	constexpr bool operator<=(const Timespan& ts) const noexcept { return _span <= ts._span; }
	constexpr bool operator>(const Timespan& ts) const noexcept { return _span > ts._span; }
	constexpr bool operator>=(const Timespan& ts) const noexcept { return _span >= ts._span; }
	///@}

private:
	TimeDiff _span;
};

} // namespace Tavik

#endif // Tavik_Timespan_INCLUDED
