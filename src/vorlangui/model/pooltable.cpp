#include "pooltable.h"

#include "enginelist.h"

#include <utility>

namespace vorlan {

PoolTable& PoolTable::Get() {
    static PoolTable s_table;
    return s_table;
}

String PoolTable::Name(UID const& pool) const {
    {
        CommonMutex::Lock const lock(m_mutex);
        if (pool.IsNull())
            return m_usesWholeSystem ? "Whole System" : "None";
        if (auto const found = m_names.find(pool); found != m_names.end())
            return found->second;
    }
    boost::shared_ptr<EngineInfo> const engine = EngineList::Get().FindEngine(pool);
    return engine ? engine->Name() : pool.ToString();
}

std::map<UID, String> PoolTable::All() const {
    CommonMutex::Lock const lock(m_mutex);
    return m_names;
}

void PoolTable::Set(UID const& pool, String const& name) {
    {
        CommonMutex::Lock const lock(m_mutex);
        m_names[pool] = name;
    }
    m_namesChanged.Emit();
}

void PoolTable::Remove(UID const& pool) {
    {
        CommonMutex::Lock const lock(m_mutex);
        m_names.erase(pool);
    }
    m_namesChanged.Emit();
}

void PoolTable::SetUsesWholeSystem(bool usesWholeSystem) {
    {
        CommonMutex::Lock const lock(m_mutex);
        if (std::exchange(m_usesWholeSystem, usesWholeSystem) == usesWholeSystem)
            return;
    }
    m_namesChanged.Emit();
}

void PoolTable::Clear() {
    {
        CommonMutex::Lock const lock(m_mutex);
        m_names.clear();
        m_usesWholeSystem = o_UseWholeSystemDefault;
    }
    m_namesChanged.Emit();
}

} // namespace vorlan
