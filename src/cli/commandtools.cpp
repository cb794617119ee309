#include "cli/commandtools.h"

#include <corekit/sformat.h>
#include <vorlan/status.h>

#include <charconv>

namespace vorlan::cli {

namespace {

constexpr size_t k_ShortId = 8;

} // namespace

Colour StatusColour(int status) {
    if (IsFailedStatus(status))
        return Colour::Red;
    if (IsCanceledStatus(status) || IsHeldStatus(status))
        return Colour::Yellow;
    if (IsFinishedStatus(status))
        return Colour::Green;
    return IsActiveStatus(status) ? Colour::Blue : Colour::Plain;
}

Cell FailureCell(unsigned count) { return {String::From(count), count > 0 ? Colour::Red : Colour::Plain}; }

String ShortId(UID const& id) { return id.ToString().Mid(0, k_ShortId); }

String DurationText(Time const& span) {
    if (span.IsZero())
        return "-";
    if (span < Time::Seconds(10))
        return SFormat("%.1fs", static_cast<double>(span.Milliseconds()) / 1000);
    constexpr int k_Seconds = Time::k_UnitSeconds + Time::k_ShortForm;
    constexpr int k_Minutes = Time::k_UnitMinutes + Time::k_ShortForm;
    constexpr int k_Days = Time::k_UnitDays + Time::k_ShortForm;
    return span.FormatDuration(k_Minutes, k_Days, k_Seconds, true, 2, '0');
}

String MomentText(Time const& time) { return time.Format(k_DateTimeNoMS, true, true); }

String PercentText(double percent) { return SFormat("%.0f %%", percent); }

bool ParseSpan(String const& text, int64_t& ms) {
    std::string_view const view = text;
    double number = 0;
    auto const [end, error] = std::from_chars(view.data(), view.data() + view.size(), number);
    if (error != std::errc() || !(number > 0))
        return false;
    String const unit(std::string_view(end, static_cast<size_t>(view.data() + view.size() - end)));
    double const factor = unit.Empty() || unit == "s" ? 1
                          : unit == "m"               ? 60
                          : unit == "h"               ? 3600
                          : unit == "d"               ? 86400
                                                      : 0;
    constexpr double k_Longest = 1e12; // milliseconds, some thirty years
    if (factor == 0 || number * factor * 1000 > k_Longest)
        return false;
    ms = std::max<int64_t>(1, static_cast<int64_t>(number * factor * 1000));
    return true;
}

} // namespace vorlan::cli
