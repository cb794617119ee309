#include "master/core/policy.h"

#include <corekit/stringtokenizer.h>
#include <re2/re2.h>
#include <vorlan/keys.h>
#include <vorlan/optionstext.h>

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace farm {

namespace {

String const* Find(OptionMap const& options, char const* key) {
    auto const at = options.find(std::string_view(key));
    return at == options.end() || at->second.Empty() ? nullptr : &at->second;
}

bool ReadBool(OptionMap const& options, char const* key, bool otherwise) {
    String const* const text = Find(options, key);
    return text ? text->Bool(otherwise) : otherwise;
}

int ReadInt(OptionMap const& options, char const* key, int otherwise) {
    String const* const text = Find(options, key);
    return text ? static_cast<int>(std::clamp<int64_t>(text->Int(otherwise), INT32_MIN, INT32_MAX)) : otherwise;
}

unsigned ReadCount(OptionMap const& options, char const* key, unsigned otherwise) {
    return static_cast<unsigned>(std::max(ReadInt(options, key, static_cast<int>(otherwise)), 0));
}

constexpr double k_LongestSpanSeconds = 366.0 * 86400;

Time ReadSpan(OptionMap const& options, char const* key, double otherwise, double unitSeconds = 1) {
    String const* const text = Find(options, key);
    double seconds = (text ? text->Float(otherwise) : otherwise) * unitSeconds;
    if (!std::isfinite(seconds))
        seconds = otherwise * unitSeconds;
    return Time(static_cast<int64_t>(std::clamp(seconds, 0.0, k_LongestSpanSeconds) * 1000));
}

StaggerRule ReadStagger(OptionMap const& options) {
    StaggerRule rule;
    int const mode = ReadInt(options, e_StaggerMode, 0);
    rule.mode = mode == 1 || mode == 2 ? static_cast<StaggerMode>(mode) : StaggerMode::Units;
    rule.count = ReadCount(options, e_StaggerCount, 0);
    rule.span = ReadSpan(options, e_StaggerStart, 0);
    return rule;
}

std::vector<CreatorLimit> ReadCreatorLimits(String const& text) {
    std::vector<CreatorLimit> limits;
    StringTokenizer tokens(text, ";", '"', '\\');
    String token;
    while (tokens.Next(token)) {
        String const pattern = token.LeftLast("=");
        if (pattern.Empty() || pattern.size() == token.size())
            continue;
        if (int const limit = static_cast<int>(token.RightLast("=").Int()))
            limits.push_back({pattern, limit});
    }
    return limits;
}

// The presets of a list such as `{...},{...}`, by name in their order.
std::vector<std::pair<String, OptionMap>> SplitPresets(String const& text) {
    std::vector<std::pair<String, OptionMap>> presets;
    std::string_view rest = text;
    while (!rest.empty()) {
        OptionMap preset;
        size_t const taken = ParseOptions(rest, preset);
        if (taken == 0) {
            rest.remove_prefix(1);
            continue;
        }
        rest.remove_prefix(taken);
        auto const name = preset.find(std::string_view("name"));
        if (name != preset.end())
            presets.emplace_back(name->second, std::move(preset));
    }
    return presets;
}

} // namespace

Policy Policy::Read(OptionMap const& d) {
    Policy p;
    p.fifo = ReadBool(d, o_FIFO, o_FIFODefault);
    p.ignorePools = ReadBool(d, o_IgnorePoolPriority, o_IgnorePoolPriorityDefault);
    p.zeroIsPaused = ReadBool(d, o_PriorityZeroIsPaused, o_PriorityZeroIsPausedDefault);
    p.packEngine = ReadBool(d, o_PackEngine, o_PackEngineDefault);
    p.overload = ReadBool(d, o_OverloadEngine, o_OverloadEngineDefault);
    p.fewerCPUs = ReadBool(d, o_AllowFewerCPUs, o_AllowFewerCPUsDefault);
    p.dynamicPackets = ReadBool(d, o_AllowDynamicPackSize, o_AllowDynamicPackSizeDefault);
    p.wholeSystem = ReadBool(d, o_UseWholeSystem, o_UseWholeSystemDefault);
    p.resetCreation = ReadBool(d, o_ResetCreationTime, o_ResetCreationTimeDefault);
    p.logDispatch = ReadBool(d, o_LogDispatch, o_LogDispatchDefault);
    p.resetFailuresOnDelete = ReadBool(d, o_AllowJobFailureDeleteReset, o_AllowJobFailureDeleteResetDefault);
    p.globalBoost = ReadInt(d, o_GlobalPriorityBoost, o_GlobalPriorityBoostDefault);
    p.startTimeout = ReadSpan(d, o_StartWorkTimeout, o_StartWorkTimeoutDefault);
    p.lostTimeout = ReadSpan(d, o_LostWorkTimeout, o_LostWorkTimeoutDefault);
    p.frequency = ReadSpan(d, o_DistributeFrequency, o_DistributeFrequencyDefault);
    p.maxJobFailures = ReadCount(d, o_MaxJobFailures, o_MaxJobFailuresDefault);
    p.maxTypeFailures = ReadCount(d, o_MaxTypeFailures, o_MaxTypeFailuresDefault);
    p.maxTotalFailures = ReadCount(d, o_MaxTotalJobFailures, o_MaxTotalJobFailuresDefault);
    p.autoDelete = ReadInt(d, o_AutoDelete, o_AutoDeleteDefault);
    p.deleteAfter = ReadSpan(d, o_DeleteAfter, o_DeleteAfterDefault, 3600);
    p.globalStagger.count = ReadCount(d, o_GlobalStaggerCount, o_GlobalStaggerCountDefault);
    p.globalStagger.span = ReadSpan(d, o_GlobalStaggerDelay, o_GlobalStaggerDelayDefault);
    p.maxEngineHistory = ReadCount(d, o_MaxEngineHistoryItems, o_MaxEngineHistoryItemsDefault);
    if (String const* const limits = Find(d, o_UserLimits))
        p.creatorLimits = ReadCreatorLimits(*limits);
    return p;
}

std::map<UID, PoolRule> Policy::ReadPools(OptionMap const& section) {
    std::map<UID, OptionMap> byPool;
    for (auto const& [key, value] : section) {
        UID pool;
        if (UID::FromString(key.LeftFirst(" "), pool))
            byPool[pool][key.RightFirst(" ")] = value;
    }
    std::map<UID, PoolRule> rules;
    for (auto const& [pool, options] : byPool)
        rules[pool] = {ReadInt(options, e_Limit, 0), ReadStagger(options)};
    return rules;
}

ProductRule ProductRule::Read(OptionMap const& options) { return {ReadInt(options, e_Limit, 0), ReadStagger(options)}; }

void MergeViewPresets(OptionMap& section, OptionMap const& change) {
    auto const list = change.find(std::string_view(o_ViewPresets));
    if (list != change.end()) {
        auto presets = SplitPresets(section[o_ViewPresets]);
        for (auto& [name, preset] : SplitPresets(list->second)) {
            auto const same = std::find_if(presets.begin(), presets.end(), [&wanted = name](auto const& known) {
                return known.first.CompareNoCase(wanted) == 0;
            });
            if (same == presets.end())
                presets.emplace_back(name, preset);
            else
                *same = {name, preset};
        }
        String text;
        for (auto const& [name, preset] : presets)
            text += (text.Empty() ? "" : ",") + OptionsToString(preset);
        section[o_ViewPresets] = text;
    }
    for (auto const& [key, value] : change) {
        if (key.CompareNoCase(o_ViewPresets) != 0)
            section[key] = value;
    }
}

struct CreatorMatcher::Compiled {
    std::vector<std::unique_ptr<re2::RE2>> patterns;
    std::unordered_map<String, std::vector<size_t>> known;
};

CreatorMatcher::CreatorMatcher() : m_compiled(std::make_unique<Compiled>()) {}
CreatorMatcher::~CreatorMatcher() = default;
CreatorMatcher::CreatorMatcher(CreatorMatcher&&) noexcept = default;
CreatorMatcher& CreatorMatcher::operator=(CreatorMatcher&&) noexcept = default;

CreatorMatcher::CreatorMatcher(std::vector<CreatorLimit> const& limits) : CreatorMatcher() {
    re2::RE2::Options options;
    options.set_case_sensitive(false);
    options.set_log_errors(false);
    for (CreatorLimit const& limit : limits) {
        auto pattern = std::make_unique<re2::RE2>(limit.pattern.Str(), options);
        if (!pattern->ok())
            pattern = std::make_unique<re2::RE2>(re2::RE2::QuoteMeta(limit.pattern.Str()), options);
        m_compiled->patterns.push_back(std::move(pattern));
    }
}

std::vector<size_t> const& CreatorMatcher::Match(String const& creator) const {
    constexpr size_t k_MaxKnown = 100'000;
    if (m_compiled->known.size() > k_MaxKnown)
        m_compiled->known.clear();
    auto [at, isNew] = m_compiled->known.try_emplace(creator);
    if (isNew) {
        for (size_t i = 0; i < m_compiled->patterns.size(); ++i) {
            if (re2::RE2::FullMatch(creator.Str(), *m_compiled->patterns[i]))
                at->second.push_back(i);
        }
    }
    return at->second;
}

} // namespace farm
