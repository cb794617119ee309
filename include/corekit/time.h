#pragma once

#include <corekit/string.h>

#include <compare>
#include <cstdint>

namespace corekit {

// Formats of Time::Format. They order as text the way they order as time.
inline constexpr char k_DefaultDateTime[] = "%Y-%m-%d %H:%M:%S.%L";
inline constexpr char k_DateTimeNoMS[] = "%Y-%m-%d %H:%M:%S";
inline constexpr char k_DateTimeNicer[] = "%Y-%m-%d %H:%M";
inline constexpr char k_DefaultTime[] = "%H:%M:%S";
inline constexpr char k_ShortDate[] = "%Y-%m-%d";
// Format of Time::FormatSpan: hours run on past a day.
inline constexpr char k_SpanHMS[] = "%H:%M:%S";

// The limit past which a duration is shown in days alone: a thousand days.
inline constexpr int64_t k_DurationLimitMs = 86400000000;

// A point in time or a span, as a signed count of milliseconds. A point counts
// from 0001-01-01T00:00:00Z; zero means unset. A value type without an owner.
class Time {
public:
    // 1970-01-01T00:00:00Z.
    static constexpr int64_t k_UnixZeroMs = 62135596800000;

    // The units of a duration. Adding k_ShortForm to one gives its short form.
    enum DisplayUnits : int {
        k_UnitMilliseconds = 0,
        k_UnitSeconds,
        k_UnitMinutes,
        k_UnitHours,
        k_UnitDays,
        k_ShortForm = 5
    };

    constexpr Time() noexcept = default;
    explicit constexpr Time(int64_t ms) noexcept : m_ms(ms) {}

    static Time CurrentTime() noexcept;
    static constexpr Time FromUnixMs(int64_t ms) noexcept { return Time(ms + k_UnixZeroMs); }
    constexpr int64_t ToUnixMs() const noexcept { return m_ms - k_UnixZeroMs; }
    static constexpr Time Seconds(int64_t n) noexcept { return Time(n * 1000); }
    static constexpr Time Minutes(int64_t n) noexcept { return Time(n * 60000); }
    static constexpr Time Hours(int64_t n) noexcept { return Time(n * 3600000); }
    static constexpr Time Days(int64_t n) noexcept { return Time(n * 86400000); }

    constexpr int64_t Milliseconds() const noexcept { return m_ms; }
    constexpr bool IsZero() const noexcept { return m_ms == 0; }

    // The point by a format of strftime, where %Y always has four digits and %L
    // is the milliseconds in three. `local` takes the machine's time zone, else
    // UTC. With `emptyIfUnset` a zero time gives empty text, else it is formatted
    // as the point that it is. A point outside the years that the C library knows
    // gives empty text.
    String Format(char const* format = k_DefaultDateTime, bool local = true, bool emptyIfUnset = false) const;

    // The span by a format: %D days, %H hours, %M minutes, %S seconds, %L
    // milliseconds, %% a percent sign. The largest unit of the format runs on
    // without limit ("26:05:09"); all but days have two digits, milliseconds
    // three. A negative span has a minus sign in front.
    String FormatSpan(char const* format = k_SpanHMS) const;

    // The span in words. Units: 0 milliseconds, 1 seconds, 2 minutes, 3 hours,
    // 4 days; plus 5 the short forms ("2m 05s"). The text begins with the largest
    // unit that is not zero, but none above `unit2`, and ends with `unit1`; it
    // goes on to `unit3` when the largest unit is `unit1` or finer. Parts after
    // the first are filled from the left to `width` with `fill`, and stand apart
    // by a blank when `blank` says so. Milliseconds of zero after another part
    // are left out. Above `limit` milliseconds only the days are given.
    //   (2, 4, 1): "45 seconds", "2 minutes 5 seconds", "1 hour 2 minutes"
    //   (7, 9, 6) with width 2 and '0': "2m 05s", "1h 02m"
    String FormatDuration(int unit1, int unit2, int unit3, bool blank = true, int width = 0, char fill = ' ',
                          int64_t limit = k_DurationLimitMs) const;

    friend constexpr auto operator<=>(Time const&, Time const&) noexcept = default;
    constexpr Time& operator+=(Time other) noexcept { return *this = Time(m_ms + other.m_ms); }
    constexpr Time& operator-=(Time other) noexcept { return *this = Time(m_ms - other.m_ms); }
    friend constexpr Time operator+(Time a, Time b) noexcept { return Time(a.m_ms + b.m_ms); }
    friend constexpr Time operator-(Time a, Time b) noexcept { return Time(a.m_ms - b.m_ms); }
    friend constexpr Time operator-(Time a) noexcept { return Time(-a.m_ms); }
    friend constexpr Time operator*(Time a, int64_t n) noexcept { return Time(a.m_ms * n); }
    friend constexpr Time operator*(int64_t n, Time a) noexcept { return Time(a.m_ms * n); }
    // The divisor must not be zero.
    friend constexpr Time operator/(Time a, int64_t n) noexcept { return Time(a.m_ms / n); }
    friend std::ostream& operator<<(std::ostream& out, Time time);

private:
    int64_t m_ms = 0;
};

} // namespace corekit

template <>
struct std::hash<corekit::Time> {
    size_t operator()(corekit::Time time) const noexcept { return std::hash<int64_t>()(time.Milliseconds()); }
};
