#include <corekit/sformat.h>
#include <corekit/time.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>
#include <ostream>

namespace corekit {

namespace {

struct Unit {
    uint64_t ms;
    char const* longName;
    char const* shortName;
};

// By the unit's number.
constexpr std::array<Unit, 5> k_Units = {{{1, " millisecond", "ms"},
                                          {1000, " second", "s"},
                                          {60000, " minute", "m"},
                                          {3600000, " hour", "h"},
                                          {86400000, " day", "d"}}};

uint64_t Magnitude(int64_t value) {
    return value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
}

int LongUnit(int unit) { return std::clamp(unit, 0, 9) % Time::k_ShortForm; }

// The largest unit not above `highest` that is not zero; -1 when all are.
int LargestUnit(uint64_t ms, int highest) {
    while (highest >= 0 && ms < k_Units[static_cast<size_t>(highest)].ms)
        --highest;
    return highest;
}

String UnitText(Unit const& unit, uint64_t count, int width, char fill, bool shortForm) {
    String text = String::From(count);
    if (width > 0 && text.size() < static_cast<size_t>(width))
        text = String(static_cast<size_t>(width) - text.size(), fill) + text;
    text += shortForm ? unit.shortName : unit.longName;
    if (!shortForm && count != 1)
        text += 's';
    return text;
}

// The unit of a letter of a span format; -1 when it is none.
int SpanUnit(char letter) {
    constexpr std::string_view letters = "LSMHD";
    size_t const at = letters.find(letter);
    return at == std::string_view::npos ? -1 : static_cast<int>(at);
}

// Replaces what strftime does not write the way we want it.
String PointFormat(char const* format, int year, int ms) {
    String result;
    for (char const* at = format; *at; ++at) {
        if (at[0] != '%' || !at[1]) {
            result += *at;
            continue;
        }
        ++at;
        if (*at == 'L')
            result += SFormat("%03d", ms);
        else if (*at == 'Y')
            result += SFormat("%04d", year);
        else
            result.append({at - 1, 2});
    }
    return result;
}

} // namespace

Time Time::CurrentTime() noexcept {
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    return FromUnixMs(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

String Time::Format(char const* format, bool local, bool emptyIfUnset) const {
    if (emptyIfUnset && IsZero())
        return {};
    // Far outside any year that can be shown; also keeps the difference in range.
    constexpr int64_t k_FarMs = INT64_C(400000000000000);
    if (m_ms < -k_FarMs || m_ms > k_FarMs)
        return {};
    int64_t const unixMs = ToUnixMs();
    std::time_t seconds = unixMs / 1000;
    int ms = static_cast<int>(unixMs % 1000);
    if (ms < 0) {
        ms += 1000;
        --seconds;
    }
    std::tm parts{};
    if (!(local ? localtime_r(&seconds, &parts) : gmtime_r(&seconds, &parts)))
        return {};
    String const ready = PointFormat(format, parts.tm_year + 1900, ms);
    if (ready.Empty())
        return {};
    String text(ready.size() + 256, '\0');
    text.resize(std::strftime(text.data(), text.size(), ready.c_str(), &parts));
    return text;
}

String Time::FormatSpan(char const* format) const {
    int largest = -1;
    for (char const* at = format; *at; ++at) {
        if (at[0] == '%' && at[1])
            largest = std::max(largest, SpanUnit(*++at));
    }

    uint64_t const ms = Magnitude(m_ms);
    String text = m_ms < 0 ? "-" : "";
    for (char const* at = format; *at; ++at) {
        int const unit = at[0] == '%' ? SpanUnit(at[1]) : -1;
        if (unit >= 0) {
            ++at;
            uint64_t const whole =
                unit == largest ? ms : ms % k_Units[static_cast<size_t>(std::min(unit + 1, int{k_UnitDays}))].ms;
            auto const count = static_cast<unsigned long long>(whole / k_Units[static_cast<size_t>(unit)].ms);
            int const digits = unit == k_UnitMilliseconds ? 3 : unit == k_UnitDays ? 1 : 2;
            text += SFormat("%0*llu", digits, count);
        } else {
            at += at[0] == '%' && at[1] == '%';
            text += *at;
        }
    }
    return text;
}

String Time::FormatDuration(int unit1, int unit2, int unit3, bool blank, int width, char fill, int64_t limit) const {
    bool const shortForm = unit1 >= k_ShortForm;
    uint64_t const ms = Magnitude(m_ms);
    int const finest = LongUnit(unit1);
    int first = k_UnitDays;
    int last = k_UnitDays;
    if (limit < 0 || ms <= static_cast<uint64_t>(limit)) {
        int const largest = LargestUnit(ms, LongUnit(unit2));
        last = largest > finest ? finest : std::min(finest, LongUnit(unit3));
        first = std::max(largest, last);
    }

    String text = m_ms < 0 ? "-" : "";
    uint64_t rest = ms;
    for (int unit = first; unit >= last; --unit) {
        Unit const& name = k_Units[static_cast<size_t>(unit)];
        uint64_t const count = rest / name.ms;
        rest %= name.ms;
        if (unit == first) {
            text += UnitText(name, count, 0, fill, shortForm);
            continue;
        }
        if (unit == k_UnitMilliseconds && count == 0)
            break;
        if (blank)
            text += ' ';
        text += UnitText(name, count, width, fill, shortForm);
    }
    return text;
}

std::ostream& operator<<(std::ostream& out, Time time) { return out << time.Milliseconds() << " ms"; }

} // namespace corekit
