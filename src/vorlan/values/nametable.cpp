#include <corekit/commonmutex.h>
#include <corekit/exception.h>
#include <corekit/sformat.h>
#include <vorlan/valueblock.h>
#include <vorlan/values.h>

#include <array>
#include <atomic>
#include <memory>

namespace vorlan {

namespace {

struct Entry {
    std::string text;
    size_t hash;
    uint32_t number;
};

size_t HashName(std::string_view name) {
    uint64_t hash = 0xCBF29CE484222325U;
    for (char const c : name)
        hash = (hash ^ static_cast<unsigned char>(String::FoldCase(c))) * 0x100000001B3U;
    return static_cast<size_t>(hash ^ (hash >> 32));
}

bool SameName(std::string_view a, std::string_view b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i] && String::FoldCase(a[i]) != String::FoldCase(b[i]))
            return false;
    }
    return true;
}

// An insert-only hash table with open addressing. Readers follow atomic pointers
// and take no lock; when it grows, the old slots stay for those still in them.
class Names {
public:
    Names() {
        Grow(1024);
        for (ValueInfo const& value : k_Values)
            Number(value.name);
    }

    uint32_t Lookup(std::string_view name) const {
        Entry const* const entry = Find(*m_slots.load(std::memory_order_acquire), name, HashName(name));
        return entry ? entry->number : NameTable::k_None;
    }

    uint32_t Number(std::string_view name) {
        size_t const hash = HashName(name);
        if (Entry const* entry = Find(*m_slots.load(std::memory_order_acquire), name, hash))
            return entry->number;
        CommonMutex::Lock const guard(m_mutex);
        if (Entry const* entry = Find(*m_slots.load(std::memory_order_relaxed), name, hash))
            return entry->number;
        return Insert(name, hash);
    }

    std::string_view Name(uint32_t number) const {
        Chunk const* const chunk = m_chunks[number / k_ChunkSize].load(std::memory_order_acquire);
        return (*chunk)[number % k_ChunkSize].load(std::memory_order_acquire)->text;
    }

    size_t Count() const { return m_count.load(std::memory_order_acquire); }

private:
    struct Slots {
        explicit Slots(size_t size) : mask(size - 1), entries(new std::atomic<Entry const*>[size]()) {}
        size_t const mask;
        std::unique_ptr<std::atomic<Entry const*>[]> const entries;
    };
    static constexpr size_t k_ChunkSize = 1024;
    using Chunk = std::array<std::atomic<Entry const*>, k_ChunkSize>;

    static Entry const* Find(Slots const& slots, std::string_view name, size_t hash) {
        for (size_t i = hash & slots.mask;; i = (i + 1) & slots.mask) {
            Entry const* const entry = slots.entries[i].load(std::memory_order_acquire);
            if (!entry || (entry->hash == hash && SameName(entry->text, name)))
                return entry;
        }
    }

    static void Place(Slots& slots, Entry const* entry) {
        size_t i = entry->hash & slots.mask;
        while (slots.entries[i].load(std::memory_order_relaxed))
            i = (i + 1) & slots.mask;
        slots.entries[i].store(entry, std::memory_order_release);
    }

    uint32_t Insert(std::string_view name, size_t hash) CK_REQUIRES(m_mutex) {
        if (name.empty() || name.size() > NameTable::k_MaxNameLength)
            throw ArgumentException(SFormat("The name of a value must have 1 to %zu characters, and this one has %zu.",
                                            NameTable::k_MaxNameLength, name.size()));
        size_t const count = m_entries.size();
        if (count >= NameTable::k_MaxNames)
            throw ArgumentException(SFormat("There are %zu names of values already. Use values that exist "
                                            "instead of ever new names, then restart this program.",
                                            count));
        if (count * 2 >= m_all.back()->mask)
            Grow((m_all.back()->mask + 1) * 2);
        auto const number = static_cast<uint32_t>(count);
        Entry const& entry = m_entries.emplace_back(Entry{std::string(name), hash, number});
        std::atomic<Chunk*>& chunk = m_chunks[number / k_ChunkSize];
        if (!chunk.load(std::memory_order_relaxed))
            chunk.store(new Chunk(), std::memory_order_release);
        (*chunk.load(std::memory_order_relaxed))[number % k_ChunkSize].store(&entry, std::memory_order_release);
        Place(*m_all.back(), &entry);
        m_count.store(count + 1, std::memory_order_release);
        return number;
    }

    void Grow(size_t size) CK_REQUIRES(m_mutex) {
        auto slots = std::make_unique<Slots>(size);
        for (Entry const& entry : m_entries)
            Place(*slots, &entry);
        m_slots.store(slots.get(), std::memory_order_release);
        m_all.push_back(std::move(slots));
    }

    std::atomic<Slots const*> m_slots{nullptr};
    std::array<std::atomic<Chunk*>, NameTable::k_MaxNames / k_ChunkSize + 1> m_chunks{};
    std::atomic<size_t> m_count{0};

    CommonMutex m_mutex;
    std::deque<Entry> m_entries CK_GUARDED_BY(m_mutex);
    std::vector<std::unique_ptr<Slots>> m_all CK_GUARDED_BY(m_mutex); // the last is m_slots
};

// Never destroyed: other statics read names to the very end.
Names& TheNames() {
    static Names& s_names = *new Names;
    return s_names;
}

} // namespace

uint32_t NameTable::Number(std::string_view name) { return TheNames().Number(name); }
uint32_t NameTable::Lookup(std::string_view name) { return TheNames().Lookup(name); }
std::string_view NameTable::Name(uint32_t number) { return TheNames().Name(number); }
size_t NameTable::Count() { return TheNames().Count(); }

} // namespace vorlan
