#pragma once

#include <cstdint>
#include <deque>
#include <string_view>

// Counts the line feeds of a text.
int64_t CountLineFeeds(std::string_view bytes);

// LineIndex knows in which block of a file each of its lines ends. An entry stands for a
// block of 16 KB that holds a line's end, so that a line costs 16 bytes at most, and one
// of 80 bytes a tenth of a byte.
// Owner: a file that is shown. Thread: one at a time.
class LineIndex {
public:
    static constexpr int64_t k_BlockBytes = 16 * 1024;

    struct Block {
        int64_t offset = 0; // of its first byte
        int64_t ends = 0;   // line feeds before it
    };

    // The bytes that follow in the file.
    void Append(std::string_view bytes);

    int64_t Bytes() const { return m_bytes; }
    // A last line without an end counts.
    int64_t Lines() const { return m_ends + (m_inLine ? 1 : 0); }
    // Line feeds so far.
    int64_t Ends() const { return m_ends; }
    // The block in which the line feed of this number stands; from 0, below Ends().
    Block BlockOfEnd(int64_t number) const;
    size_t MemoryBytes() const { return m_blocks.size() * sizeof(Block); }

private:
    std::deque<Block> m_blocks;
    int64_t m_bytes = 0;
    int64_t m_ends = 0;
    bool m_inLine = false;
};
