#pragma once

// Where the lines of a text display come from: from memory, or from a file through an
// index of its lines.

#include "textline.h"

#include <functional>
#include <memory>

// TextSnapshot is a text as it stood at one moment, for what takes long: searching,
// copying and saving.
// Owner: whoever works with it. Thread: any; reading may wait for a disk.
// Always: it never changes, but for a file that somebody else writes over.
class TextSnapshot {
public:
    // Whole lines, each with its line feed; the last line of all may lack one. A line
    // that is too long comes in several pieces, and `goesOn` in all but the last.
    struct Piece {
        int line = 0; // the first one's row
        std::string_view bytes;
        bool goesOn = false;
    };
    // False: that is enough.
    using Visitor = std::function<bool(Piece const&)>;

    static constexpr size_t k_PieceBytes = 1024 * 1024;

    virtual ~TextSnapshot() = default;
    virtual int Lines() const = 0;
    // The lines from `first` up to and without `end`. Throws FileException.
    virtual void Read(int first, int end, Visitor const& visitor) const = 0;
};

// TextSource is what a display draws from.
// Owner: the display. Thread: the GUI thread; nothing here waits.
class TextSource {
public:
    virtual ~TextSource() = default;

    virtual int Count() const = 0;
    // Null: there is no such line, or it is not at hand yet.
    virtual TextLine const* At(int line) const = 0;
    // These lines will be drawn; `atEnd`: they are the last ones, and later ones will be.
    // True when all of them are at hand; else they come with a later change.
    virtual bool Want(int first, int count, bool atEnd) = 0;
    virtual std::shared_ptr<TextSnapshot const> Snapshot() const = 0;

    bool Has(int line) const { return line >= 0 && line < Count(); }
};
