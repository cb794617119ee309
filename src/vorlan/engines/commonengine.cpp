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

enum class SettingKind { Bool, Number, Text };

// A setting, what it is without any other, and what a file may say.
struct Setting {
    char const* name;
    char const* builtIn;
    SettingKind kind;
    int64_t low;
    int64_t high;
};

constexpr int64_t k_MaxCores = 65'536;
constexpr int64_t k_MaxMinutes = 1'000'000;

constexpr Setting k_Settings[] = {
    {p_EngineEnabled, k_Yes, SettingKind::Bool, 0, 0},
    {p_EnginePriority, "50", SettingKind::Number, 0, 100},
    {p_EngineUseCores, "", SettingKind::Number, 0, k_MaxCores},
    {p_EngineForceCores, "-1", SettingKind::Number, -1, k_MaxCores},
    {p_EngineRestricted, k_No, SettingKind::Bool, 0, 0},
    {p_EngineRestrictedCores, "0", SettingKind::Number, 0, k_MaxCores},
    {p_EngineRestrictedDays, "62", SettingKind::Number, 0, 127}, // Monday to Friday
    {p_EngineRestrictedFrom, "32400000", SettingKind::Number, 0, k_DayMs - 1},
    {p_EngineRestrictedTo, "64800000", SettingKind::Number, 0, k_DayMs - 1},
    {p_EngineIdleSleepTime, "0", SettingKind::Number, 0, k_MaxMinutes},
    {p_EngineMinSleepTime, "0", SettingKind::Number, 0, k_MaxMinutes},
    {p_EnginePools, "", SettingKind::Text, 0, 0},
    {p_EngineDisabledProducts, "", SettingKind::Text, 0, 0},
    {p_EngineUseGPUs, "", SettingKind::Text, 0, 0},
    {p_EngineGPUDistribution, "", SettingKind::Text, 0, 0},
};

constexpr char const* k_EventNames[] = {
    p_WorkAssignedEvt,
    p_FirstWorkEvt,
    p_WorkStartedEvt,
    p_WorkParameterChangedEvt,
    p_WorkPostExecuteEvt,
    p_WorkPostExecuteSuccessfulEvt,
    p_WorkPostExecuteUnsuccessfulEvt,
    p_WorkFinishedEvt,
    p_WorkFinishedSuccessfulEvt,
    p_WorkFinishedUnsuccessfulEvt,
    p_FinishedJobEvt,
};

// All names that are settings, event commands included.
std::vector<char const*> const& SettingNames() {
    static auto const s_names = [] {
        std::vector<char const*> names;
        for (Setting const& setting : k_Settings)
            names.push_back(setting.name);
        for (char const* const name : k_EventNames)
            names.push_back(name);
        return names;
    }();
    return s_names;
}

Setting const* FindSetting(String const& name) {
    auto const* const at = std::find_if(std::begin(k_Settings), std::end(k_Settings),
                                        [&](Setting const& setting) { return name.CompareNoCase(setting.name) == 0; });
    return at == std::end(k_Settings) ? nullptr : at;
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
    Setting const* const setting = FindSetting(name);
    return setting ? setting->builtIn : "";
}

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

int64_t CommonEngine::EffectiveNumber(char const* name) const {
    Setting const* const setting = FindSetting(name);
    int64_t const builtIn = String(setting->builtIn).Int();
    return std::clamp(Effective(name).Int(builtIn), setting->low, setting->high);
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

int CommonEngine::Priority() const { return ToInt(EffectiveNumber(p_EnginePriority)); }
void CommonEngine::SetPriority(signed char priority) {
    SetCommon(p_EnginePriority, String::From(std::clamp<int>(priority, 0, 100)));
}

unsigned CommonEngine::UseCores() const {
    static uint32_t const s_cores = NameTable::Number(p_EngineCores);
    unsigned const cores = ToUnsigned(IntOf(s_cores, 0));
    String const text = Effective(p_EngineUseCores);
    if (text.Trim().Empty())
        return cores;
    unsigned const use = ToUnsigned(text.Int(cores));
    return cores > 0 ? std::min(use, cores) : use;
}

void CommonEngine::SetUseCores(unsigned cores) {
    static uint32_t const s_cores = NameTable::Number(p_EngineCores);
    unsigned const all = ToUnsigned(IntOf(s_cores, 0));
    // All cores is said without a number, so that it stays true on another machine.
    SetCommon(p_EngineUseCores, all > 0 && cores >= all ? String() : String::From(cores));
}

int CommonEngine::ForceCores() const { return ToInt(EffectiveNumber(p_EngineForceCores)); }
void CommonEngine::SetForceCores(int cores) { SetCommon(p_EngineForceCores, String::From(std::max(-1, cores))); }

bool CommonEngine::Restricted() const { return Effective(p_EngineRestricted).Bool(false); }
void CommonEngine::Restrict(bool restricted) { SetCommon(p_EngineRestricted, String::From(restricted)); }

unsigned CommonEngine::RestrictedCores() const { return ToUnsigned(EffectiveNumber(p_EngineRestrictedCores)); }
void CommonEngine::RestrictCores(unsigned cores) { SetCommon(p_EngineRestrictedCores, String::From(cores)); }

unsigned char CommonEngine::RestrictedDays() const {
    return static_cast<unsigned char>(EffectiveNumber(p_EngineRestrictedDays));
}
void CommonEngine::RestrictDays(unsigned char days) {
    SetCommon(p_EngineRestrictedDays, String::From(static_cast<unsigned>(days & 0x7F)));
}

bool CommonEngine::RestrictedTimes(Time& from, Time& to) const {
    from = Time(EffectiveNumber(p_EngineRestrictedFrom));
    to = Time(EffectiveNumber(p_EngineRestrictedTo));
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
    static uint32_t const s_number = NameTable::Number(p_EngineUTCOffset);
    constexpr int64_t k_MaxOffset = 24 * 60;
    return ToInt(std::clamp(IntOf(s_number, 0), -k_MaxOffset, k_MaxOffset));
}

void CommonEngine::SetUTCOffset(int minutes) { Set(p_EngineUTCOffset, String::From(minutes)); }

unsigned CommonEngine::GetIdleSleepTime() const { return ToUnsigned(EffectiveNumber(p_EngineIdleSleepTime)); }
void CommonEngine::SetIdleSleepTime(unsigned minutes) { SetCommon(p_EngineIdleSleepTime, String::From(minutes)); }

unsigned CommonEngine::GetMinSleepTime() const { return ToUnsigned(EffectiveNumber(p_EngineMinSleepTime)); }
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
    for (Setting const& setting : k_Settings) {
        if (!file.HasKey(k_IniSection, setting.name))
            continue;
        String const text = file.GetValue(k_IniSection, setting.name, String()).Trim();
        constexpr int64_t k_None = INT64_MIN;
        int64_t const number = text.Int(k_None);
        bool const isNumber = text == setting.builtIn || (number >= setting.low && number <= setting.high);
        bool const isBool = text.Bool(false) == text.Bool(true);
        if (setting.kind == SettingKind::Number ? isNumber : setting.kind == SettingKind::Text || isBool)
            SetCommon(setting.name, setting.kind == SettingKind::Bool ? String::From(text.Bool()) : text);
        else
            LogWarning(SFormat("The Engine file has %s = \"%s\", which is no value for it; it stays as it was.",
                               setting.name, text.Mid(0, 60).c_str()));
    }
    for (char const* const name : k_EventNames) {
        if (file.HasKey(k_IniEvents, name))
            SetEventCommand(name, file.GetValue(k_IniEvents, name, String()));
    }
    for (String const& section : file.Sections()) {
        UID product;
        if (UID::FromString(section, product))
            products[product] = file.GetSection(section);
    }
}

void CommonEngine::ToEngineINI(IniFile& file, std::map<UID, OptionMap> const& products) const {
    for (Setting const& setting : k_Settings)
        file.SetValue(k_IniSection, setting.name, Effective(setting.name));
    for (char const* const name : k_EventNames)
        file.SetValue(k_IniEvents, name, Effective(name));
    for (auto const& [product, options] : products) {
        for (auto const& [name, value] : options)
            file.SetValue(product.ToString(), name, value);
    }
}

} // namespace vorlan
