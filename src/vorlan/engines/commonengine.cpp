#include <vorlan/commonengine.h>

#include "values/limits.h"

#include <boost/make_shared.hpp>
#include <boost/smart_ptr/atomic_shared_ptr.hpp>
#include <corekit/inifile.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/engineevents.h>
#include <vorlan/keys.h>

#include <algorithm>
#include <iterator>

namespace vorlan {

namespace {

constexpr int64_t k_DayMs = 86'400'000;
constexpr int64_t k_MinuteMs = 60'000;
constexpr char k_IniSection[] = "Engine";
constexpr char k_IniEvents[] = "Event Commands";

// All names that are settings, event commands included.
std::vector<char const*> const& SettingNames() {
    static auto const s_names = [] {
        std::vector<char const*> names;
        for (ValueInfo const& value : k_Values) {
            if (value.Has(v_Setting))
                names.push_back(value.name);
        }
        return names;
    }();
    return s_names;
}

boost::atomic_shared_ptr<CommonEngine const>& TheDefault() {
    static auto& s_default = *new boost::atomic_shared_ptr<CommonEngine const>(boost::make_shared<CommonEngine>());
    return s_default;
}

// What an Engine has that was never customised.
String DefaultText(String const& name) {
    auto const settings = TheDefault().load();
    auto const values = settings->Snapshot();
    std::string_view const own = values->Find(std::string_view(name));
    if (own.data())
        return own;
    ValueInfo const* const info = FindValue(name);
    return info && info->Has(v_Setting) ? info->fallback : "";
}

char const* SectionOf(ValueInfo const& info) { return info.Has(v_EventCommand) ? k_IniEvents : k_IniSection; }

int64_t Modulo(int64_t value, int64_t by) { return ((value % by) + by) % by; }

} // namespace

void CommonEngine::SetDefaultEngine(CommonEngine const& settings) {
    auto const copy = boost::make_shared<CommonEngine>();
    copy->CopyCommon(settings);
    TheDefault().store(copy);
    EngineDefaultChangedEvt().Trigger();
}

boost::shared_ptr<CommonEngine const> CommonEngine::GetDefaultEngine() { return TheDefault().load(); }

String CommonEngine::Get(String const& name, bool useDefault) const {
    if (useDefault && !Has(name) && name.CompareNoCase(p_ID) != 0)
        return DefaultText(name);
    return VorlanObject::Get(name, useDefault);
}

String CommonEngine::Effective(String const& name) const {
    auto const values = Snapshot();
    std::string_view const own = values->Find(std::string_view(name));
    return own.data() ? String(own) : DefaultText(name);
}

int64_t CommonEngine::EffectiveNumber(KnownValue value) const {
    ValueInfo const& info = value.Info();
    return std::clamp(Effective(info.name).Int(value.fallback), static_cast<int64_t>(info.low),
                      static_cast<int64_t>(info.high));
}

void CommonEngine::SetCommon(char const* name, String const& value) {
    if (value == DefaultText(name))
        Clear(name);
    else
        Set(name, value);
}

void CommonEngine::CopyCommon(CommonEngine const& other) {
    auto const theirs = other.Snapshot();
    Change([&](boost::shared_ptr<ValueBlock const> const& mine) {
        ValueBlockBuilder builder;
        builder.AddAll(*mine);
        for (char const* name : SettingNames()) {
            std::string_view const value = theirs->Find(std::string_view(name));
            if (value.data())
                builder.Add(std::string_view(name), value);
            else
                builder.Remove(NameTable::Number(name));
        }
        return builder.Build();
    });
}

void CommonEngine::FillFrom(CommonEngine const& defaults) {
    auto const theirs = defaults.Snapshot();
    Change([&](boost::shared_ptr<ValueBlock const> const& mine) {
        ValueBlockBuilder builder;
        builder.AddAll(*mine);
        for (char const* name : SettingNames()) {
            std::string_view const value = theirs->Find(std::string_view(name));
            if (value.data() && !mine->Find(std::string_view(name)).data())
                builder.Add(std::string_view(name), value);
        }
        return builder.Build();
    });
}

bool CommonEngine::IsDefault() const {
    auto const values = Snapshot();
    auto const& names = SettingNames();
    return std::all_of(names.begin(), names.end(), [&](char const* name) {
        std::string_view const own = values->Find(std::string_view(name));
        return !own.data() || DefaultText(name) == own;
    });
}

void CommonEngine::SetToDefault() { CopyCommon(CommonEngine()); }

// -------------------------------------------------------------- the settings

bool CommonEngine::Enabled() const { return Effective(p_EngineEnabled).Bool(true); }
void CommonEngine::SetEnabled(bool enabled) { SetCommon(p_EngineEnabled, String::From(enabled)); }

int CommonEngine::Priority() const { return ToInt(EffectiveNumber(Known(p_EnginePriority))); }
void CommonEngine::SetPriority(signed char priority) {
    SetCommon(p_EnginePriority, String::From(std::clamp<int>(priority, 0, 100)));
}

unsigned CommonEngine::UseCores() const {
    unsigned const cores = ToUnsigned(IntOf(Known(p_EngineCores)));
    String const text = Effective(p_EngineUseCores);
    if (text.Trim().Empty())
        return cores;
    unsigned const use = ToUnsigned(text.Int(cores));
    return cores > 0 ? std::min(use, cores) : use;
}

void CommonEngine::SetUseCores(unsigned cores) {
    unsigned const all = ToUnsigned(IntOf(Known(p_EngineCores)));
    // All cores is said without a number, so that it stays true on another machine.
    SetCommon(p_EngineUseCores, all > 0 && cores >= all ? String() : String::From(cores));
}

int CommonEngine::ForceCores() const { return ToInt(EffectiveNumber(Known(p_EngineForceCores))); }
void CommonEngine::SetForceCores(int cores) { SetCommon(p_EngineForceCores, String::From(std::max(-1, cores))); }

bool CommonEngine::Restricted() const { return Effective(p_EngineRestricted).Bool(false); }
void CommonEngine::Restrict(bool restricted) { SetCommon(p_EngineRestricted, String::From(restricted)); }

unsigned CommonEngine::RestrictedCores() const { return ToUnsigned(EffectiveNumber(Known(p_EngineRestrictedCores))); }
void CommonEngine::RestrictCores(unsigned cores) { SetCommon(p_EngineRestrictedCores, String::From(cores)); }

unsigned char CommonEngine::RestrictedDays() const {
    return static_cast<unsigned char>(EffectiveNumber(Known(p_EngineRestrictedDays)));
}
void CommonEngine::RestrictDays(unsigned char days) {
    SetCommon(p_EngineRestrictedDays, String::From(static_cast<unsigned>(days & 0x7F)));
}

bool CommonEngine::RestrictedTimes(Time& from, Time& to) const {
    from = Time(EffectiveNumber(Known(p_EngineRestrictedFrom)));
    to = Time(EffectiveNumber(Known(p_EngineRestrictedTo)));
    return Restricted();
}

void CommonEngine::RestrictTimes(Time const& from, Time const& to) {
    SetCommon(p_EngineRestrictedFrom, String::From(Modulo(from.Milliseconds(), k_DayMs)));
    SetCommon(p_EngineRestrictedTo, String::From(Modulo(to.Milliseconds(), k_DayMs)));
}

bool CommonEngine::IsRestricted(Time const& moment) const {
    Time from;
    Time to;
    if (!RestrictedTimes(from, to))
        return false;
    int64_t const local = moment.Milliseconds() + UTCOffset() * k_MinuteMs;
    int64_t const timeOfDay = Modulo(local, k_DayMs);
    // The first day of the calendar was a Monday; bit 0 is Sunday.
    int64_t const weekday = Modulo((local - timeOfDay) / k_DayMs + 1, 7);
    unsigned const days = RestrictedDays();
    bool const today = (days >> weekday & 1) != 0;
    bool const yesterday = (days >> Modulo(weekday - 1, 7) & 1) != 0;
    if (from < to)
        return today && timeOfDay >= from.Milliseconds() && timeOfDay < to.Milliseconds();
    return timeOfDay >= from.Milliseconds() ? today : timeOfDay < to.Milliseconds() && yesterday;
}

int CommonEngine::UTCOffset() const {
    constexpr auto k_Offset = Known(p_EngineUTCOffset);
    return ToInt(std::clamp(IntOf(k_Offset), static_cast<int64_t>(k_Offset.Info().low),
                            static_cast<int64_t>(k_Offset.Info().high)));
}

void CommonEngine::SetUTCOffset(int minutes) { Set(p_EngineUTCOffset, String::From(minutes)); }

unsigned CommonEngine::GetIdleSleepTime() const { return ToUnsigned(EffectiveNumber(Known(p_EngineIdleSleepTime))); }
void CommonEngine::SetIdleSleepTime(unsigned minutes) { SetCommon(p_EngineIdleSleepTime, String::From(minutes)); }

unsigned CommonEngine::GetMinSleepTime() const { return ToUnsigned(EffectiveNumber(Known(p_EngineMinSleepTime))); }
void CommonEngine::SetMinSleepTime(unsigned minutes) { SetCommon(p_EngineMinSleepTime, String::From(minutes)); }

std::vector<UID> CommonEngine::GetAllPools() const { return StringToUIDs(Effective(p_EnginePools)); }
void CommonEngine::SetPools(std::vector<UID> const& pools) { SetCommon(p_EnginePools, UIDsToString(pools)); }

bool CommonEngine::CanWorkOnType(UID const& product) const { return !DisabledProducts().contains(product); }
void CommonEngine::DisableProducts(std::set<UID> const& products) {
    SetCommon(p_EngineDisabledProducts, UIDsToString(products));
}
std::set<UID> CommonEngine::DisabledProducts() const {
    std::vector<UID> const ids = StringToUIDs(Effective(p_EngineDisabledProducts));
    return {ids.begin(), ids.end()};
}

String CommonEngine::UseGPUs() const { return Effective(p_EngineUseGPUs); }

String CommonEngine::GetEventCommand(String const& eventName) const { return Effective(eventName); }
void CommonEngine::SetEventCommand(String const& eventName, String const& command) {
    SetCommon(eventName.c_str(), command);
}

// ----------------------------------------------------------------- the files

void CommonEngine::FromEngineINI(IniFile& file, std::map<UID, OptionMap>& products) {
    for (char const* const name : SettingNames()) {
        ValueInfo const& info = *FindValue(name);
        char const* const section = SectionOf(info);
        if (!file.HasKey(section, name))
            continue;
        String const text = file.GetValue(section, name, String());
        String const wrong = CheckValue(name, text);
        if (!wrong.Empty() || (text.Trim().Empty() && *info.fallback))
            LogWarning(SFormat("The Engine file has %s = \"%s\", which is no value for it; it stays as it was. %s",
                               name, text.Mid(0, 60).c_str(), wrong.c_str()));
        else if (info.Has(v_EventCommand))
            SetEventCommand(name, text);
        else
            SetCommon(name, info.kind == ValueKind::Bool ? String::From(text.Bool()) : text.Trim());
    }
    for (String const& section : file.Sections()) {
        UID product;
        if (UID::FromString(section, product))
            products[product] = file.GetSection(section);
    }
}

void CommonEngine::ToEngineINI(IniFile& file, std::map<UID, OptionMap> const& products) const {
    for (char const* const name : SettingNames())
        file.SetValue(SectionOf(*FindValue(name)), name, Effective(name));
    for (auto const& [product, options] : products) {
        for (auto const& [name, value] : options)
            file.SetValue(product.ToString(), name, value);
    }
}

} // namespace vorlan
