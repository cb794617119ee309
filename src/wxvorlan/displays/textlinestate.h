#pragma once

// The state of a text display and the places of its parts; both pure.

#include "filetext.h"
#include "textexport.h"
#include "textlines.h"

#include <algorithm>
#include <wx/font.h>
#include <wx/gdicmn.h>

// Where lines stand in the client area.
struct TextLineLayout {
    wxSize size;
    int lineHeight = 1;
    int textTop = 0; // of the text within its line
    int padding = 0;
    int top = 0;  // the first line in sight
    int left = 0; // pixels that are scrolled out

    // Lines that are in sight as a whole, one at least.
    int WholeLines() const { return std::max(size.y / std::max(lineHeight, 1), 1); }
    int LastTop(int count) const { return std::max(count - WholeLines(), 0); }
    int LineAt(int y) const { return top + (y >= 0 ? y / lineHeight : -1 - (-1 - y) / lineHeight); }
    int YOf(int line) const { return (line - top) * lineHeight; }
    int XOfText() const { return padding - left; }
};

// TextLineState is what a text display shows.
// Owner: the control. Thread: the GUI thread.
struct TextLineState {
    TextLines lines;
    std::unique_ptr<FileText> file; // is shown instead of the lines
    TextLineLayout layout;
    wxFont font;
    double evenWidth = 0; // of a character, in pixels; 0: the font has several widths
    wxString emptyText;
    std::function<ColorName(std::string_view)> colorOf; // of lines that have none of their own
    int quietWords = 0;                                 // at the begin of each line
    int widest = 0;                                     // pixels, of the lines that have been seen

    // Selected characters, from where the mouse went down to where it is.
    TextPosition anchor;
    TextPosition caret;
    int row = -1; // the selected line

    TextTerm term; // its hits are marked
    int hitLine = -1;
    int hitNumber = 0; // in its line
    std::pair<int, int> hit;

    bool selectsLines = false;
    bool follow = false;
    int batch = 0;
    int unshown = 0; // lines appended since the last settling
    bool unsettled = true;
    bool enabled = true;
    bool focused = false;

    TextSource const& Text() const { return file ? static_cast<TextSource const&>(*file) : lines; }
    TextSource& Text() { return file ? static_cast<TextSource&>(*file) : lines; }
    // Nothing for a line that is not at hand.
    ShownLine Shown(int line) const;
    TextPosition End() const;
    TextPosition From() const { return std::min(anchor, caret); }
    TextPosition To() const { return std::max(anchor, caret); }
    // The selected text; false when a part of it is not at hand: the text ends there.
    bool CopySelected(std::string& text) const;
    bool AtEnd(int count) const { return layout.top >= layout.LastTop(count); }
    void ForgetPlaces() {
        anchor = caret = {};
        hitLine = -1;
    }
    // All lines have other numbers.
    void MoveRows(int by);
};
