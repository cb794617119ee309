#include "sharednames.h"

#include <boost/container_hash/hash.hpp>
#include <corekit/rwlock.h>

#include <algorithm>
#include <array>
#include <memory>
#include <unordered_set>
#include <vector>

namespace vorlan {

namespace {

using List = std::span<uint32_t const>;

struct Hash {
    size_t operator()(List list) const { return boost::hash_range(list.begin(), list.end()); }
};

struct SameList {
    bool operator()(List a, List b) const { return std::equal(a.begin(), a.end(), b.begin(), b.end()); }
};

class Lists {
public:
    uint32_t const* Find(List numbers) {
        {
            corekit::RWLock::Reader const reader(m_guard);
            if (auto const at = m_lists.find(numbers); at != m_lists.end())
                return at->data();
        }
        corekit::RWLock::Writer const writer(m_guard);
        if (auto const at = m_lists.find(numbers); at != m_lists.end())
            return at->data();
        if (m_lists.size() >= SharedNames::k_MaxLists || numbers.size() > SharedNames::k_MaxNumbers - m_numberCount)
            return nullptr;
        auto& kept = m_memory.emplace_back(std::make_unique<uint32_t[]>(numbers.size()));
        std::copy(numbers.begin(), numbers.end(), kept.get());
        m_lists.insert(List(kept.get(), numbers.size()));
        m_numberCount += numbers.size();
        return kept.get();
    }

private:
    corekit::RWLock m_guard;
    std::unordered_set<List, Hash, SameList> m_lists CK_GUARDED_BY(m_guard);
    std::vector<std::unique_ptr<uint32_t[]>> m_memory CK_GUARDED_BY(m_guard);
    size_t m_numberCount CK_GUARDED_BY(m_guard) = 0;
};

// Never destroyed: objects live to the very end of the process.
Lists& TheLists() {
    static Lists& s_lists = *new Lists;
    return s_lists;
}

} // namespace

uint32_t const* SharedNames::Find(List numbers) {
    // A thread that reads or changes objects has few kinds of them in hand.
    struct Latest {
        std::array<List, 4> lists;
        size_t next = 0;
    };
    static thread_local Latest t_latest;
    for (List const list : t_latest.lists) {
        if (list.data() && SameList()(list, numbers))
            return list.data();
    }
    uint32_t const* const found = TheLists().Find(numbers);
    if (found) {
        t_latest.lists[t_latest.next] = List(found, numbers.size());
        t_latest.next = (t_latest.next + 1) % t_latest.lists.size();
    }
    return found;
}

} // namespace vorlan
