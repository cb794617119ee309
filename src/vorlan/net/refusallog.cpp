#include "refusallog.h"

#include <corekit/log.h>

namespace vorlan::net {

void RefusalLog::Note(corekit::String const& cause, corekit::String const& text) {
    auto const now = std::chrono::steady_clock::now();
    bool fresh = false;
    {
        corekit::CommonMutex::Lock const lock(m_guard);
        if (m_last.size() >= k_MaxCauses)
            std::erase_if(m_last, [&](auto const& entry) { return now - entry.second > k_Pause; });
        auto const found = m_last.find(cause);
        fresh = (found == m_last.end() && m_last.size() < k_MaxCauses) ||
                (found != m_last.end() && now - found->second > k_Pause);
        if (fresh)
            m_last[cause] = now;
    }
    fresh ? corekit::LogWarning(text) : corekit::LogDebug(text);
}

} // namespace vorlan::net
