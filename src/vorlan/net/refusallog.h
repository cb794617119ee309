#pragma once

#include <corekit/commonmutex.h>
#include <corekit/string.h>

#include <chrono>
#include <map>

namespace vorlan::net {

// RefusalLog writes one warning per minute and cause, so that who tries again and
// again does not fill the log. Any thread.
class RefusalLog {
public:
    // `cause` is what counts as the same.
    void Note(corekit::String const& cause, corekit::String const& text);

private:
    static constexpr size_t k_MaxCauses = 256;
    static constexpr std::chrono::seconds k_Pause{60};

    corekit::CommonMutex m_guard;
    std::map<corekit::String, std::chrono::steady_clock::time_point> m_last CK_GUARDED_BY(m_guard);
};

} // namespace vorlan::net
