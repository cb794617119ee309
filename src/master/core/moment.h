#pragma once

// The two clocks that each event of the Core carries.

#include <corekit/time.h>

#include <compare>

namespace farm {

using corekit::Time;

// A point on the clock that nobody sets and that only grows, from the start of the
// machine or any other. Only the distance of two of them says something, and only
// within one run of the program. A value type of its own, so that no deadline is ever
// compared with the time of day.
class Steady {
public:
    constexpr Steady() noexcept = default;
    explicit constexpr Steady(Time since) noexcept : m_since(since) {}
    // Later than every other.
    static constexpr Steady Never() noexcept { return Steady(Time(INT64_MAX)); }

    constexpr Time Since() const noexcept { return m_since; }

    friend constexpr auto operator<=>(Steady const&, Steady const&) noexcept = default;
    friend constexpr Steady operator+(Steady at, Time span) noexcept { return Steady(at.m_since + span); }
    friend constexpr Steady operator-(Steady at, Time span) noexcept { return Steady(at.m_since - span); }
    friend constexpr Time operator-(Steady to, Steady from) noexcept { return to.m_since - from.m_since; }

private:
    Time m_since;
};

// When something happens: by the time of day, for histories and people, and by the
// steady clock, for everything that is due. A plain value.
struct Moment {
    Time wall;
    Steady steady;

    // The steady point of something that the time of day is known of, as when it was
    // stored by a run of the program before: never later than this moment, and no more
    // than `most` before it.
    Steady SteadyOf(Time then, Time most) const {
        Time const age = wall - then;
        return steady - (age < Time() ? Time() : age > most ? most : age);
    }
    Moment& operator+=(Time span) {
        wall += span;
        steady = steady + span;
        return *this;
    }
};

} // namespace farm
