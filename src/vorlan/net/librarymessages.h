#pragma once

#include <corekit/commonmutex.h>
#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/message.h>

#include <map>
#include <set>
#include <vector>

namespace vorlan {

// What the library itself keeps of the Master's messages: Products, the default
// Engine, failures, path translations.
// Owner: the Messenger. Thread: the message thread, but for PathTranslations.
class LibraryMessages {
public:
    // A new connection begins to load.
    void BeginLoad();
    // All has arrived: Products that the Master did not name are gone.
    void EndLoad();
    // True when it was one of these messages.
    bool Take(Message const& message);

    std::vector<std::map<String, String>> PathTranslations() const;

private:
    std::set<UID> m_loaded; // the Products of this load
    bool m_loading = false;
    mutable CommonMutex m_guard;
    std::vector<std::map<String, String>> m_translations CK_GUARDED_BY(m_guard);
};

} // namespace vorlan
