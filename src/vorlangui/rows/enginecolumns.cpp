#include "enginecolumns.h"

#include "columntable.h"

#include <corekit/exception.h>
#include <corekit/sformat.h>
#include <vorlan/failures.h>
#include <vorlan/jobtemplate.h>
#include <vorlan/version.h>

#include <array>

namespace vorlan {

namespace {

using EngineColumn = RowColumn<EngineInfo>;

constexpr int k_Asleep = -1;
constexpr int64_t k_ShortestUptimeMs = 60'000;

struct FailureCounts {
    size_t products = 0;
    size_t jobs = 0;
    size_t failures = 0;
    explicit FailureCounts(UID const& engine) { Failures::EngineFailureCounts(engine, products, jobs, failures); }
};

char const* PluralEnd(size_t count) { return count == 1 ? "" : "s"; }

bool IsAsleep(EngineInfo const& info) { return info.Engine::Status() == k_Asleep; }

String UptimeText(EngineInfo const& info, Time now) {
    if (!info.Online() && !IsAsleep(info))
        return String();
    Time span = now - info.StartTime();
    if (span.Milliseconds() < k_ShortestUptimeMs)
        span = Time();
    return span.FormatDuration(Time::k_UnitMinutes + Time::k_ShortForm, Time::k_UnitDays + Time::k_ShortForm,
                               Time::k_UnitMinutes + Time::k_ShortForm, true, 2, '0');
}

// The number alone where the rest says nothing new.
String ErrorsText(EngineInfo const& info) {
    FailureCounts const counts(info.id);
    String text = SFormat("%d Failure%s", static_cast<int>(counts.failures), PluralEnd(counts.failures));
    if (counts.failures > 1)
        text += SFormat(" (%d Job%s %d Product%s)", static_cast<int>(counts.jobs), PluralEnd(counts.jobs),
                        static_cast<int>(counts.products), PluralEnd(counts.products));
    return text;
}

String CustomText(EngineInfo const& info, String const& custom) {
    try {
        return ExpandTemplate(custom, [&info](std::string_view name, String& value) {
            value = info.Get(String(name), true);
            return !value.Empty();
        });
    } catch (ArgumentException const&) {
        return custom; // past the limits of a text: shown as it was written
    }
}

// Those online, then those asleep, each by their start, then the others.
SortCode UptimeCode(EngineInfo const& info, Time) {
    if (info.Online())
        return {0, OrderedNumber(info.StartTime().Milliseconds())};
    if (IsAsleep(info))
        return {1, OrderedNumber(info.StartTime().Milliseconds())};
    return {2, 0};
}

SortCode EngineStatusCode(EngineInfo const& info, Time now) {
    int const workers = info.Status();
    bool const enabled = info.Enabled();
    bool const restricted = enabled && info.IsRestricted(now);
    uint64_t const rank = (IsAsleep(info) ? 0U : 16U) | (info.Online() ? 8U : 0U) | (enabled ? 4U : 0U) |
                          (workers != 0 ? 2U : 0U) | (restricted ? 1U : 0U);
    uint64_t const number = OrderedNumber(int64_t{workers}) << 32 >> 32;
    uint64_t const sign = workers < 0 ? 0U : 1U;
    return {rank << 33 | sign << 32 | number, restricted ? info.RestrictedCores() : 0};
}

SortCode ErrorsCode(EngineInfo const& info, Time) {
    FailureCounts const counts(info.id);
    return {uint64_t{counts.products} << 32 | static_cast<uint32_t>(counts.jobs), counts.failures};
}

constexpr std::array k_EngineColumns{
    EngineColumn{.type = EngineColumns::Name,
                 .title = "Name",
                 .text = [](EngineInfo const& info, String const&, Time) { return info.Name(); },
                 .keyOf = KeyOf::TextNoCase,
                 .width = ColumnWidth::Name},
    EngineColumn{.type = EngineColumns::Uptime,
                 .title = "Uptime",
                 .text = [](EngineInfo const& info, String const&, Time now) { return UptimeText(info, now); },
                 .keyOf = KeyOf::Number,
                 .code = UptimeCode},
    EngineColumn{.type = EngineColumns::Status,
                 .title = "Status",
                 .text = [](EngineInfo const& info, String const&, Time) { return info.StatusString(); },
                 .keyOf = KeyOf::Number,
                 .code = EngineStatusCode,
                 .width = ColumnWidth::Time},
    EngineColumn{.type = EngineColumns::Errors,
                 .title = "Errors",
                 .text = [](EngineInfo const& info, String const&, Time) { return ErrorsText(info); },
                 .keyOf = KeyOf::Number,
                 .code = ErrorsCode,
                 .width = ColumnWidth::Time},
    EngineColumn{.type = EngineColumns::Platform,
                 .title = "Platform",
                 .text = [](EngineInfo const& info, String const&, Time) { return info.PlatformName(); },
                 .keyOf = KeyOf::TextNoCase},
    EngineColumn{.type = EngineColumns::Note,
                 .title = "Note",
                 .text = [](EngineInfo const& info, String const&, Time) { return info.Note(); },
                 .width = ColumnWidth::Text},
    EngineColumn{.type = EngineColumns::ID,
                 .title = "ID",
                 .text = [](EngineInfo const& info, String const&, Time) { return info.id.ToString(); },
                 .width = ColumnWidth::Text},
    EngineColumn{.type = EngineColumns::Enabled,
                 .title = "Enabled",
                 .text = [](EngineInfo const& info, String const&,
                            Time) { return String(info.Enabled() ? "Enabled" : "Disabled"); }},
    // As text, which is not the order of the times in every time zone.
    EngineColumn{
        .type = EngineColumns::StartTime,
        .title = "Start Time",
        .text = [](EngineInfo const& info, String const&, Time) { return info.StartTime().Format(k_DefaultDateTime); },
        .width = ColumnWidth::Time},
    EngineColumn{.type = EngineColumns::MaxCores,
                 .title = "Max Cores",
                 .text = [](EngineInfo const& info, String const&, Time) { return String::From(info.MaxCores()); },
                 .keyOf = KeyOf::Number,
                 .code = [](EngineInfo const& info, Time) { return CodeOfNumber(info.MaxCores()); },
                 .width = ColumnWidth::Number},
    EngineColumn{
        .type = EngineColumns::UseCores,
        .title = "Use Cores",
        .text = [](EngineInfo const& info, String const&, Time now) { return String::From(info.UseCPUsAtTime(now)); },
        .keyOf = KeyOf::Number,
        .code = [](EngineInfo const& info, Time now) { return CodeOfNumber(info.UseCPUsAtTime(now)); },
        .width = ColumnWidth::Number},
    EngineColumn{.type = EngineColumns::OperatingSystem,
                 .title = "Operating System",
                 .text = [](EngineInfo const& info, String const&, Time) { return info.OperatingSystem(); },
                 .keyOf = KeyOf::TextNoCase,
                 .width = ColumnWidth::Time},
    EngineColumn{.type = EngineColumns::Hardware,
                 .title = "Hardware",
                 .text = [](EngineInfo const& info, String const&, Time) { return info.Hardware(); },
                 .keyOf = KeyOf::TextNoCase,
                 .width = ColumnWidth::Text},
    EngineColumn{.type = EngineColumns::Memory,
                 .title = "Memory",
                 .text = [](EngineInfo const& info, String const&, Time) { return info.Memory(); },
                 .keyOf = KeyOf::TextNoCase,
                 .width = ColumnWidth::Number},
    // As text: "10" goes before "9".
    EngineColumn{.type = EngineColumns::Version,
                 .title = "Version",
                 .text = [](EngineInfo const& info, String const&, Time) { return VersionText(info.Version()); },
                 .keyOf = KeyOf::TextNoCase,
                 .width = ColumnWidth::Number},
    EngineColumn{.type = EngineColumns::Priority,
                 .title = "Priority",
                 .text = [](EngineInfo const& info, String const&, Time) { return String::From(info.Priority()); },
                 .keyOf = KeyOf::Number,
                 .code = [](EngineInfo const& info, Time) { return CodeOfNumber(info.Priority()); },
                 .width = ColumnWidth::Number},
    EngineColumn{.type = EngineColumns::Restrictions,
                 .title = "Restrictions",
                 .text = [](EngineInfo const& info, String const&, Time) { return info.Restrictions(); },
                 .keyOf = KeyOf::TextNoCase,
                 .width = ColumnWidth::Text},
    EngineColumn{.type = EngineColumns::Custom,
                 .title = "",
                 .text = [](EngineInfo const& info, String const& custom, Time) { return CustomText(info, custom); }},
};

constexpr int k_EngineDefaults[] = {EngineColumns::Name,   EngineColumns::Uptime,   EngineColumns::Status,
                                    EngineColumns::Errors, EngineColumns::Platform, EngineColumns::Note};

} // namespace

namespace EngineColumns {

std::span<EngineColumn const> All() { return k_EngineColumns; }

std::span<int const> Defaults() { return k_EngineDefaults; }

EngineColumn const* Find(int type) { return FindColumn<EngineInfo>(k_EngineColumns, type); }

String Text(EngineInfo const& info, int type, String const& custom, Time now) {
    EngineColumn const* const column = Find(type);
    return column ? column->text(info, custom, now) : String();
}

RowColor Color(EngineInfo const& info, Time now) {
    int const workers = info.Status();
    if (workers > 0)
        return info.IsRestricted(now) ? RowColor::DarkViolet : RowColor::Green;
    if (workers < 0)
        return RowColor::Yellow;
    if (IsAsleep(info))
        return RowColor::DarkCyan;
    if (!info.Online())
        return RowColor::Grey;
    if (!info.Enabled())
        return RowColor::Blue;
    return info.IsRestricted(now) ? RowColor::Indigo : RowColor::Base;
}

bool IsTinted(EngineInfo const& info) { return FailureCounts(info.id).failures != 0; }

} // namespace EngineColumns

} // namespace vorlan
