#include "master/core/stagger.h"

namespace farm {

void Stagger::Trim(Starts& starts, StaggerRule const& rule, Steady now) {
    auto keep = starts.begin();
    while (keep != starts.end() && (static_cast<size_t>(starts.end() - keep) > rule.count || *keep + rule.span <= now))
        ++keep;
    starts.erase(starts.begin(), keep);
}

bool Stagger::Full(Starts const& starts, StaggerRule const& rule, Steady now) {
    // Only the last `count` starts are kept, so the oldest of them decides.
    return starts.size() >= rule.count && starts[starts.size() - rule.count] + rule.span > now;
}

bool Stagger::Allows(StaggerRule const& rule, UID const& engine, bool newEngine, Steady now) const {
    if (!rule.Active())
        return true;
    switch (rule.mode) {
    case StaggerMode::Engines:
        return !newEngine || !Full(m_starts, rule, now);
    case StaggerMode::UnitsOnAnEngine: {
        auto const at = m_byEngine.find(engine);
        return at == m_byEngine.end() || !Full(at->second, rule, now);
    }
    case StaggerMode::Units:
        break;
    }
    return !Full(m_starts, rule, now);
}

std::vector<std::pair<UID, Steady>> Stagger::All() const {
    std::vector<std::pair<UID, Steady>> all;
    for (Steady const at : m_starts)
        all.emplace_back(UID::Null, at);
    for (auto const& [engine, starts] : m_byEngine) {
        for (Steady const at : starts)
            all.emplace_back(engine, at);
    }
    return all;
}

Steady Stagger::Note(StaggerRule const& rule, UID const& engine, bool newEngine, Steady now) {
    if (!rule.Active() || (rule.mode == StaggerMode::Engines && !newEngine))
        return Steady::Never();
    Starts& starts = rule.mode == StaggerMode::UnitsOnAnEngine ? m_byEngine[engine] : m_starts;
    starts.push_back(now);
    Trim(starts, rule, now);
    return Full(starts, rule, now) ? starts[starts.size() - rule.count] + rule.span : Steady::Never();
}

} // namespace farm
