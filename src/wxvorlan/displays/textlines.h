#pragma once

#include "textsource.h"

#include <vector>

// TextLines are lines in memory.
// Owner: a text display. Thread: the GUI thread.
// Always: a line that a snapshot shares is not changed any more, but replaced.
class TextLines : public TextSource {
public:
    int Count() const override { return m_count; }
    TextLine const* At(int line) const override;
    bool Want(int, int, bool) override { return true; }
    // Costs a pointer for k_BlockLines.
    std::shared_ptr<TextSnapshot const> Snapshot() const override;

    void Append(corekit::String text, ColorName color);
    void Insert(int line, corekit::String text, ColorName color);
    void Remove(int line);
    void RemoveFront(int count);
    void Clear();
    void Set(int line, TextLine value);
    // Where the text goes among lines that are in order, any case; behind its equals.
    int SortedPlace(corekit::String const& text) const;

private:
    static constexpr int k_BlockLines = 2048;

    using Lines = std::vector<TextLine>;
    struct Block {
        std::shared_ptr<Lines> lines;
        int first = 0;               // the row of its first line
        mutable bool shared = false; // with a snapshot
    };

    class Taken;

    size_t BlockOf(int line) const;
    // The block's lines, to be changed.
    Lines& Own(size_t block);
    void Renumber(size_t block);

    std::vector<Block> m_blocks;
    int m_count = 0;
};
