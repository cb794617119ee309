#include "textlines.h"

#include <algorithm>

// The blocks as they stood; none of them is changed any more.
class TextLines::Taken : public TextSnapshot {
public:
    explicit Taken(TextLines const& lines) : m_blocks(lines.m_blocks), m_count(lines.m_count) {}

    int Lines() const override { return m_count; }
    void Read(int first, int end, Visitor const& visitor) const override;

private:
    std::vector<Block> const m_blocks;
    int const m_count;
};

void TextLines::Taken::Read(int first, int end, Visitor const& visitor) const {
    std::string bytes;
    first = std::max(first, 0);
    end = std::min(end, m_count);
    for (Block const& block : m_blocks) {
        int const from = std::max(first, block.first);
        int const to = std::min(end, block.first + static_cast<int>(block.lines->size()));
        bytes.clear();
        for (int line = from; line < to; ++line) {
            size_t const begin = bytes.size();
            bytes += (*block.lines)[static_cast<size_t>(line - block.first)].text.Str();
            // A line feed within a line would count as its end.
            std::replace(bytes.begin() + static_cast<ptrdiff_t>(begin), bytes.end(), '\n', ' ');
            bytes += '\n';
        }
        if (from < to && !visitor({from, bytes, false}))
            return;
    }
}

std::shared_ptr<TextSnapshot const> TextLines::Snapshot() const {
    for (Block const& block : m_blocks)
        block.shared = true;
    return std::make_shared<Taken>(*this);
}

size_t TextLines::BlockOf(int line) const {
    auto const next = std::upper_bound(m_blocks.begin(), m_blocks.end(), line,
                                       [](int row, Block const& block) { return row < block.first; });
    return static_cast<size_t>(next - m_blocks.begin()) - 1;
}

TextLine const* TextLines::At(int line) const {
    if (!Has(line))
        return nullptr;
    Block const& block = m_blocks[BlockOf(line)];
    return &(*block.lines)[static_cast<size_t>(line - block.first)];
}

TextLines::Lines& TextLines::Own(size_t at) {
    Block& block = m_blocks[at];
    if (std::exchange(block.shared, false))
        block.lines = std::make_shared<Lines>(*block.lines);
    return *block.lines;
}

void TextLines::Renumber(size_t block) {
    std::erase_if(m_blocks, [](Block const& each) { return each.lines->empty(); });
    for (size_t i = block > 0 ? block - 1 : 0; i < m_blocks.size(); ++i)
        m_blocks[i].first = i == 0 ? 0 : m_blocks[i - 1].first + static_cast<int>(m_blocks[i - 1].lines->size());
}

void TextLines::Append(corekit::String text, ColorName color) {
    if (m_blocks.empty() || m_blocks.back().lines->size() >= k_BlockLines) {
        m_blocks.push_back({std::make_shared<Lines>(), m_count, false});
        m_blocks.back().lines->reserve(k_BlockLines);
    }
    Own(m_blocks.size() - 1).push_back({std::move(text), color});
    ++m_count;
}

void TextLines::Insert(int line, corekit::String text, ColorName color) {
    line = std::clamp(line, 0, m_count);
    if (line == m_count) {
        Append(std::move(text), color);
        return;
    }
    size_t const block = BlockOf(line);
    Lines& lines = Own(block);
    lines.insert(lines.begin() + (line - m_blocks[block].first), {std::move(text), color});
    ++m_count;
    Renumber(block);
}

void TextLines::Remove(int line) {
    size_t const block = BlockOf(line);
    Lines& lines = Own(block);
    lines.erase(lines.begin() + (line - m_blocks[block].first));
    --m_count;
    Renumber(block);
}

void TextLines::RemoveFront(int count) {
    m_count -= count;
    size_t whole = 0;
    for (; count > 0 && count >= static_cast<int>(m_blocks[whole].lines->size()); ++whole)
        count -= static_cast<int>(m_blocks[whole].lines->size());
    m_blocks.erase(m_blocks.begin(), m_blocks.begin() + static_cast<ptrdiff_t>(whole));
    if (count > 0) {
        Lines& lines = Own(0);
        lines.erase(lines.begin(), lines.begin() + count);
    }
    Renumber(0);
}

void TextLines::Clear() {
    m_blocks.clear();
    m_count = 0;
}

void TextLines::Set(int line, TextLine value) {
    size_t const block = BlockOf(line);
    Own(block)[static_cast<size_t>(line - m_blocks[block].first)] = std::move(value);
}

int TextLines::SortedPlace(corekit::String const& text) const {
    int from = 0;
    int to = m_count;
    while (from < to) {
        int const middle = from + (to - from) / 2;
        if (corekit::String::CompareNoCase(text, At(middle)->text) < 0)
            to = middle;
        else
            from = middle + 1;
    }
    return from;
}
