#pragma once

#include <memory>
#include <string_view>
#include <wx/colour.h>
#include <wx/font.h>
#include <wx/gdicmn.h>
#include <wx/wxdblistctrl.h>

class wxDC;
class wxWindow;

// How a text of a list is written.
struct CellStyle {
    bool bold = false;    // weight 500, as in headers
    bool tabular = false; // digits of equal width
    Align::Mode align = Align::Left;
};

// CellCanvas draws what lists consist of, fast: filled rectangles and lines of text.
// Owner: the painters of all lists share one.
// Thread: the GUI thread. Drawing happens between Begin and End, and other drawing on
// the same device context may happen in between.
// Always: a text that is too wide ends in an ellipsis; bytes that are no UTF-8 and
// control characters do no harm.
class CellCanvas {
public:
    // No more of a text is shown, in bytes.
    static constexpr size_t k_MaxText = 1000;

    virtual ~CellCanvas() = default;
    // The fastest one that the toolkit has.
    static std::shared_ptr<CellCanvas> Shared();
    // The one that works everywhere.
    static std::unique_ptr<CellCanvas> NewPlain();

    virtual void Begin(wxDC& dc, wxWindow& window) = 0;
    virtual void End() = 0;

    virtual void Fill(wxRect const& place, wxColour const& colour) = 0;
    // In the middle of the height of `place`.
    virtual void Text(std::string_view text, wxRect const& place, wxColour const& colour, CellStyle const& style) = 0;
    // Without End or Begin, too. Pixels.
    virtual int TextWidth(wxWindow& window, std::string_view text, CellStyle const& style) = 0;
    virtual int LineHeight(wxWindow& window) = 0;
    // Fonts or resolution have changed.
    virtual void Forget() = 0;
};

// The text as it may be drawn: valid, on one line, not endless.
std::string DrawableText(std::string_view text);
