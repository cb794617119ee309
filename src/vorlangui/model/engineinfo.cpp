#include "engineinfo.h"

#include "worklist.h"

#include <corekit/sformat.h>
#include <vorlan/failures.h>

namespace vorlan {

namespace {

constexpr int64_t k_DayMs = 86'400'000;
constexpr int64_t k_HourMs = 3'600'000;
constexpr int64_t k_MinuteMs = 60'000;

char const* Plural(size_t count) { return count == 1 ? "" : "s"; }

unsigned HourOf(Time time) { return static_cast<unsigned>(time.Milliseconds() % k_DayMs / k_HourMs); }
unsigned MinuteOf(Time time) { return static_cast<unsigned>(time.Milliseconds() % k_HourMs / k_MinuteMs); }

} // namespace

int EngineInfo::Status() const {
    int const count = static_cast<int>(WorkList::Get().GetEngineCurrentCount(id));
    return Enabled() ? count : -count;
}

String EngineInfo::StatusString() const {
    ReadingScope const scope(*this);
    return EngineStatusTextOf(*this, Status(), Time::CurrentTime());
}

String EngineStatusTextOf(Engine const& engine, int status, Time now) {
    bool const restricted = engine.IsRestricted(now);
    if (status > 0) {
        String const prefix = restricted ? SFormat("Restricted to %u: ", engine.RestrictedCores()) : String();
        return prefix + SFormat("%d Worker%s", status, Plural(static_cast<size_t>(status)));
    }
    if (status < 0)
        return SFormat("Disabled: %d Worker%s", -status, Plural(static_cast<size_t>(-status)));
    if (engine.Status() == -1)
        return "Asleep";
    if (!engine.Online())
        return "Offline";
    if (!engine.Enabled())
        return "Disabled";
    if (!restricted)
        return "Enabled";
    unsigned const cores = engine.RestrictedCores();
    return cores == 0 ? String("Restricted") : SFormat("Restricted to %u", cores);
}

String EngineInfo::Restrictions() const {
    ReadingScope const scope(*this);
    if (!Restricted())
        return String();
    unsigned const cores = RestrictedCores();
    String text = SFormat("%u core%s", cores, Plural(cores)) + ":  ";
    unsigned char const days = RestrictedDays();
    constexpr std::string_view k_Letters = "SMTWTFS";
    for (size_t day = 0; day < k_Letters.size(); ++day)
        text += (days >> day & 1) != 0 ? k_Letters[day] : '-';
    Time from;
    Time to;
    RestrictedTimes(from, to);
    return text + SFormat("  %02u:%02u - %02u:%02u", HourOf(from), MinuteOf(from), HourOf(to), MinuteOf(to));
}

String EngineInfo::DisplayFailures() const {
    size_t products = 0;
    size_t jobs = 0;
    size_t failures = 0;
    Failures::EngineFailureCounts(id, products, jobs, failures);
    return EngineFailuresText(products, jobs, failures);
}

String EngineFailuresText(size_t products, size_t jobs, size_t failures) {
    String text = SFormat("%d Failure%s", static_cast<int>(failures), Plural(failures));
    if (failures != 0)
        text += SFormat(" (%d Job%s %d Product%s)", static_cast<int>(jobs), Plural(jobs), static_cast<int>(products),
                        Plural(products));
    return text;
}

} // namespace vorlan
