#include "lineindex.h"

#include <algorithm>

namespace {

// So many bytes are compared at once; a counter of a byte holds no more than 255 rounds.
constexpr size_t k_Lanes = 64;
constexpr size_t k_Rounds = 255;

} // namespace

int64_t CountLineFeeds(std::string_view bytes) {
    int64_t count = 0;
    char const* at = bytes.data();
    size_t left = bytes.size();
    while (left >= k_Lanes) {
        size_t const rounds = std::min(left / k_Lanes, k_Rounds);
        unsigned char lanes[k_Lanes] = {};
        for (size_t round = 0; round < rounds; ++round, at += k_Lanes) {
            for (size_t i = 0; i < k_Lanes; ++i)
                lanes[i] = static_cast<unsigned char>(lanes[i] + (at[i] == '\n' ? 1 : 0));
        }
        for (unsigned char const lane : lanes)
            count += lane;
        left -= rounds * k_Lanes;
    }
    return count + std::count(at, at + left, '\n');
}

void LineIndex::Append(std::string_view bytes) {
    if (!bytes.empty())
        m_inLine = bytes.back() != '\n';
    while (!bytes.empty()) {
        int64_t const block = m_bytes - m_bytes % k_BlockBytes;
        auto const length = std::min(bytes.size(), static_cast<size_t>(block + k_BlockBytes - m_bytes));
        int64_t const ends = CountLineFeeds(bytes.substr(0, length));
        // An earlier part of the block had none: as many stand before it as before the block.
        if (ends > 0 && (m_blocks.empty() || m_blocks.back().offset != block))
            m_blocks.push_back({block, m_ends});
        m_ends += ends;
        m_bytes += static_cast<int64_t>(length);
        bytes.remove_prefix(length);
    }
}

LineIndex::Block LineIndex::BlockOfEnd(int64_t number) const {
    auto const next = std::upper_bound(m_blocks.begin(), m_blocks.end(), number,
                                       [](int64_t end, Block const& block) { return end < block.ends; });
    return next == m_blocks.begin() ? Block() : *std::prev(next);
}
