#pragma once

#include <corekit/commonmutex.h>
#include <corekit/signal.h>
#include <corekit/string.h>
#include <corekit/uid.h>

#include <map>
#include <vorlan/keys.h>

namespace vorlan {

using namespace corekit;

// PoolTable knows what the Pools are called.
// Owner: none, one for the process. Works with: FarmClient, which fills it.
// Thread: any.
class PoolTable {
public:
    static PoolTable& Get();

    // For people; a Pool, else an Engine, else the id as text. The null id stands for the
    // whole system or for no Pool, by the Master's option.
    String Name(UID const& pool) const;
    std::map<UID, String> All() const;

    void Set(UID const& pool, String const& name);
    void Remove(UID const& pool);
    void SetUsesWholeSystem(bool usesWholeSystem);
    // There are no Pools, and the Master has said nothing.
    void Clear();

    // Some name is another one; on the thread that has changed it.
    Signal0<>& NamesChanged() { return m_namesChanged; }

private:
    mutable CommonMutex m_mutex{LockRank::PoolTable};
    std::map<UID, String> m_names CK_GUARDED_BY(m_mutex);
    bool m_usesWholeSystem CK_GUARDED_BY(m_mutex) = o_UseWholeSystemDefault;
    Signal0<> m_namesChanged;
};

inline String PoolName(UID const& pool) { return PoolTable::Get().Name(pool); }

} // namespace vorlan
