#pragma once

#include <corekit/commonmutex.h>
#include <corekit/optionmap.h>
#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/message.h>

#include <map>
#include <set>
#include <vector>

namespace vorlan {

// What the library itself keeps of the Master's messages: Products, the default
// Engine and its options, failures, path translations.
// Owner: the Messenger. Thread: the message thread, but for what is asked of it.
class LibraryMessages {
public:
    // A new connection begins to load.
    void BeginLoad();
    // All has arrived: Products and default options that the Master did not name are gone.
    void EndLoad();
    // True when it was one of these messages.
    bool TakeMessage(Message const& message);

    std::vector<std::map<String, String>> PathTranslations() const;
    // Empty when the Master named none.
    OptionMap DefaultEngineOptions(UID const& product) const;

private:
    // What this load has named.
    std::set<UID> m_loaded;
    std::set<UID> m_loadedOptions;
    bool m_loading = false;
    mutable CommonMutex m_guard;
    std::vector<std::map<String, String>> m_translations CK_GUARDED_BY(m_guard);
    std::map<UID, OptionMap> m_engineOptions CK_GUARDED_BY(m_guard);
};

} // namespace vorlan
