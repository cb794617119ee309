#include "sortkey.h"

#include <corekit/string.h>
#include <corekit/threadpool.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace vorlan {

namespace {

// Fewer rows than that are sorted by insertion.
constexpr std::ptrdiff_t k_FewRows = 12;
// From so many rows on, a second thread is worth its while.
constexpr size_t k_ManyRows = 20'000;

constexpr auto k_Folded = [] {
    std::array<unsigned char, 256> table{};
    for (size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<unsigned char>(corekit::String::FoldCase(static_cast<char>(i)));
    return table;
}();

uint64_t BigEndian(uint64_t value) {
    if constexpr (std::endian::native == std::endian::little)
        return __builtin_bswap64(value);
    else
        return value;
}

uint64_t WordAt(unsigned char const* bytes) {
    uint64_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return BigEndian(word);
}

// How many bytes all keys have in common, `from` of them known. What is read behind the
// end of a key never counts: two keys differ before the shorter one ends.
size_t CommonBytes(std::span<KeyedRow> rows, size_t from) {
    unsigned char const* const first = rows.front().key;
    size_t common = rows.front().size;
    for (KeyedRow const& row : rows.subspan(1)) {
        size_t const limit = std::min<size_t>(common, row.size);
        size_t at = from;
        while (at < limit && first[at] == row.key[at])
            ++at;
        common = at;
        if (common == from)
            break;
    }
    return common;
}

void SortFew(std::span<KeyedRow> rows, size_t depth) {
    auto const isLess = [depth](KeyedRow const& a, KeyedRow const& b) {
        return IsKeyLess(a.key + depth, a.size - depth, b.key + depth, b.size - depth);
    };
    for (size_t i = 1; i < rows.size(); ++i) {
        KeyedRow const row = rows[i];
        size_t hole = i;
        for (; hole > 0 && isLess(row, rows[hole - 1]); --hole)
            rows[hole] = rows[hole - 1];
        rows[hole] = row;
    }
}

// Rows whose keys agree in their first `depth` bytes.
void SortFrom(std::span<KeyedRow> rows, size_t depth) {
    if (static_cast<std::ptrdiff_t>(rows.size()) <= k_FewRows) {
        SortFew(rows, depth);
        return;
    }
    depth = CommonBytes(rows, depth);
    for (KeyedRow& row : rows)
        row.word = WordAt(row.key + depth);
    std::sort(rows.begin(), rows.end(), [](KeyedRow const& a, KeyedRow const& b) { return a.word < b.word; });
    for (size_t first = 0; first < rows.size();) {
        size_t last = first + 1;
        while (last < rows.size() && rows[last].word == rows[first].word)
            ++last;
        if (last - first > 1)
            SortFrom(rows.subspan(first, last - first), depth + sizeof(uint64_t));
        first = last;
    }
}

} // namespace

uint64_t OrderedNumber(int64_t value) { return static_cast<uint64_t>(value) ^ (uint64_t{1} << 63); }

uint64_t OrderedNumber(double value) {
    auto const bits = std::bit_cast<uint64_t>(value == 0 ? 0.0 : value);
    return bits >> 63 != 0 ? ~bits : bits | uint64_t{1} << 63;
}

unsigned char* KeyBytes::Room(size_t size) {
    if (m_size + size + k_Slack > m_bytes.size())
        m_bytes.resize(std::max(m_size + size + k_Slack, m_bytes.size() * 2));
    return m_bytes.data() + m_size;
}

// A zero byte is written as 00 FF, the end of a text as 00 00.
template <bool Folded>
void KeyBytes::Add(std::string_view text, unsigned char mask) {
    unsigned char* out = Room(2 * text.size() + 2);
    for (char const c : text) {
        auto byte = static_cast<unsigned char>(c);
        if constexpr (Folded)
            byte = k_Folded[byte];
        *out++ = byte ^ mask;
        if (byte == 0) [[unlikely]]
            *out++ = 0xFF ^ mask;
    }
    *out++ = mask;
    *out++ = mask;
    m_size = static_cast<size_t>(out - m_bytes.data());
}

void KeyBytes::AddNumber(uint64_t number, unsigned char mask) {
    uint64_t const bytes = BigEndian(mask ? ~number : number);
    std::memcpy(Room(sizeof bytes), &bytes, sizeof bytes);
    m_size += sizeof bytes;
}

void KeyBytes::AddBytes(uint8_t const* bytes, size_t size, unsigned char mask) {
    unsigned char* const out = Room(size);
    for (size_t i = 0; i < size; ++i)
        out[i] = bytes[i] ^ mask;
    m_size += size;
}

void KeyBytes::Overwrite(size_t offset, size_t from, size_t size) {
    std::memcpy(m_bytes.data() + offset, m_bytes.data() + from, size);
}

void SortKeys(std::span<KeyedRow> rows) {
    if (rows.size() < k_ManyRows) {
        SortFrom(rows, 0);
        return;
    }
    size_t const depth = CommonBytes(rows, 0);
    for (KeyedRow& row : rows)
        row.word = WordAt(row.key + depth);
    auto const byWord = [](KeyedRow const& a, KeyedRow const& b) { return a.word < b.word; };
    auto const middle = rows.begin() + static_cast<std::ptrdiff_t>(rows.size() / 2);
    std::nth_element(rows.begin(), middle, rows.end(), byWord);
    // Rows of one word stay together, in the second half.
    auto const half =
        std::partition(rows.begin(), middle, [word = middle->word](KeyedRow const& row) { return row.word < word; });
    auto const count = static_cast<size_t>(half - rows.begin());
    corekit::ThreadPool::RunBoth([&] { SortFrom(rows.first(count), depth); },
                                 [&] { SortFrom(rows.subspan(count), depth); });
}

bool IsKeyLess(unsigned char const* a, size_t sizeOfA, unsigned char const* b, size_t sizeOfB) {
    return std::memcmp(a, b, std::min(sizeOfA, sizeOfB)) < 0;
}

template void KeyBytes::Add<false>(std::string_view, unsigned char);
template void KeyBytes::Add<true>(std::string_view, unsigned char);

} // namespace vorlan
