#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace vorlan {

// SortCode is what a number, a time or a rank sorts by: as a whole, `high` before `low`.
struct SortCode {
    uint64_t high = 0;
    uint64_t low = 0;
    bool operator==(SortCode const&) const = default;
};

// Numbers as unsigned ones of the same order.
uint64_t OrderedNumber(int64_t value);
uint64_t OrderedNumber(double value);
inline SortCode CodeOfNumber(int64_t value) { return {OrderedNumber(value), 0}; }

// KeyBytes gathers the keys of many rows in one piece of memory. A key is made of parts,
// and keys of the same parts compare as their bytes do: a part that sorts the other way
// has all its bits turned, and no key is the beginning of another.
// Owner: a RowSet. Thread: one.
class KeyBytes {
public:
    // Readable behind the last key, so that keys can be read by words.
    static constexpr size_t k_Slack = 8;

    void Clear() { m_size = 0; }
    size_t Size() const { return m_size; }
    unsigned char const* At(size_t offset) const { return m_bytes.data() + offset; }
    // Forgets what is behind `size`.
    void Shrink(size_t size) { m_size = size; }
    void Overwrite(size_t offset, size_t from, size_t size);

    // `mask`: 0, or 0xFF for a part that sorts the other way.
    void AddText(std::string_view text, unsigned char mask) { Add<false>(text, mask); }
    // A to Z count as a to z.
    void AddFolded(std::string_view text, unsigned char mask) { Add<true>(text, mask); }
    void AddNumber(uint64_t number, unsigned char mask);
    void AddBytes(uint8_t const* bytes, size_t size, unsigned char mask);

private:
    template <bool Folded>
    void Add(std::string_view text, unsigned char mask);
    unsigned char* Room(size_t size);

    std::vector<unsigned char> m_bytes;
    size_t m_size = 0;
};

// A row with its key, for SortKeys.
struct KeyedRow {
    uint64_t word = 0; // a piece of the key while sorting
    unsigned char const* key = nullptr;
    uint32_t size = 0;
    uint32_t row = 0;
};

// Sorts by keys that are all different. Many rows are sorted on two threads.
void SortKeys(std::span<KeyedRow> rows);

// Of two keys of the same parts.
bool IsKeyLess(unsigned char const* a, size_t sizeOfA, unsigned char const* b, size_t sizeOfB);

} // namespace vorlan
