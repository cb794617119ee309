#pragma once

#include "textlinestate.h"

#include <wx/dc.h>

// TextLinePainter draws the lines that are in sight, and measures characters.
// Owner: a text display. Thread: the GUI thread.
class TextLinePainter {
public:
    explicit TextLinePainter(TextLineState& state) : m_state(state) {}

    // Notes the widest line in the state.
    void Paint(wxDC& dc);

    int WidthOf(wxDC& dc, wxString const& text) const;
    // Pixels from the beginning of the text to a character.
    int XOf(wxDC& dc, wxString const& text, int character) const;
    // The gap between characters that is nearest.
    int CharacterAt(wxDC& dc, wxString const& text, int x) const;

private:
    // Every character of the text is as wide as the font says.
    bool IsEven(wxString const& text) const;
    int EvenX(int character) const;
    void PaintLine(wxDC& dc, int line);
    void PaintEmpty(wxDC& dc);
    // A part of a line, from and to in characters, past the end: to the right edge.
    void FillPart(wxDC& dc, wxString const& text, int y, std::pair<int, int> part, bool toEdge, wxColour const& color);
    void PaintMarks(wxDC& dc, ShownLine const& shown, int line, int y);
    void PaintText(wxDC& dc, ShownLine const& shown, TextLine const& line, int y, bool selected);

    TextLineState& m_state;
};
