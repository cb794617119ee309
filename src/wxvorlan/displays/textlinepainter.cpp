#include "textlinepainter.h"

#include <cmath>
#include <wx/control.h>
#include <wx/wxvtext.h>

namespace {

constexpr double k_Readable = 4.5;
constexpr double k_ReadableSelected = 3.7;
constexpr double k_HitTint = 0.22;
constexpr double k_CurrentHitTint = 0.45;

wxColour HitColor(double part) {
    return wxvMixColors(wxvGetColor(ColorName::WindowBGDarker), wxvGetColor(ColorName::TextYellow), part);
}

// Where the words and the blank behind them end; 0 in a line that has not so many.
size_t WordsEnd(wxString const& text, int words) {
    size_t end = 0;
    for (int i = 0; i < words; ++i) {
        size_t const blank = text.find(' ', end);
        if (blank == wxString::npos)
            return 0;
        end = blank + 1;
    }
    return end;
}

} // namespace

bool TextLinePainter::IsEven(wxString const& text) const {
    return m_state.evenWidth > 0 && text.IsAscii() && text.find('\t') == wxString::npos;
}

int TextLinePainter::EvenX(int character) const { return static_cast<int>(std::lround(character * m_state.evenWidth)); }

int TextLinePainter::WidthOf(wxDC& dc, wxString const& text) const {
    return IsEven(text) ? EvenX(static_cast<int>(text.length())) : dc.GetTextExtent(text).x;
}

int TextLinePainter::XOf(wxDC& dc, wxString const& text, int character) const {
    if (character <= 0 || text.empty())
        return 0;
    if (IsEven(text))
        return EvenX(std::min(character, static_cast<int>(text.length())));
    wxArrayInt widths;
    dc.GetPartialTextExtents(text, widths);
    size_t const index = std::min(static_cast<size_t>(character), widths.size());
    return index == 0 ? 0 : widths[index - 1];
}

int TextLinePainter::CharacterAt(wxDC& dc, wxString const& text, int x) const {
    if (x <= 0 || text.empty())
        return 0;
    if (IsEven(text))
        return std::min(static_cast<int>(std::lround(x / m_state.evenWidth)), static_cast<int>(text.length()));
    wxArrayInt widths;
    dc.GetPartialTextExtents(text, widths);
    int before = 0;
    for (size_t i = 0; i < widths.size(); ++i) {
        if (x < (before + widths[i]) / 2)
            return static_cast<int>(i);
        before = widths[i];
    }
    return static_cast<int>(widths.size());
}

void TextLinePainter::Paint(wxDC& dc) {
    dc.SetBackground(wxvGetColor(ColorName::WindowBGDarker));
    dc.Clear();
    dc.SetFont(m_state.font);
    dc.SetPen(*wxTRANSPARENT_PEN);
    TextLineLayout const& layout = m_state.layout;
    int const end = std::min(m_state.Text().Count(), layout.LineAt(std::max(layout.size.y - 1, 0)) + 1);
    for (int line = layout.top; line < end; ++line)
        PaintLine(dc, line);
    if (m_state.Text().Count() == 0)
        PaintEmpty(dc);
}

void TextLinePainter::PaintEmpty(wxDC& dc) {
    TextLineLayout const& layout = m_state.layout;
    int const width = layout.size.x - 2 * layout.padding;
    bool const isFailed = m_state.file && !m_state.file->News().file;
    wxString const full = isFailed ? wxvText(m_state.file->News().failure) : m_state.emptyText;
    if (full.empty() || width <= 0)
        return;
    wxString const text = wxControl::Ellipsize(full, dc, wxELLIPSIZE_END, width);
    wxSize const size = dc.GetTextExtent(text);
    dc.SetTextForeground(wxvGetColor(isFailed ? ColorName::TextRed : ColorName::TextGrey));
    dc.DrawText(text, (layout.size.x - size.x) / 2, (layout.size.y - size.y) / 2);
}

void TextLinePainter::FillPart(wxDC& dc, wxString const& text, int y, std::pair<int, int> part, bool toEdge,
                               wxColour const& color) {
    TextLineLayout const& layout = m_state.layout;
    int const left = layout.XOfText() + XOf(dc, text, part.first);
    int const right = toEdge ? layout.size.x : layout.XOfText() + XOf(dc, text, part.second);
    if (right <= left)
        return;
    dc.SetBrush(color);
    dc.DrawRectangle(left, y, right - left, layout.lineHeight);
}

void TextLinePainter::PaintMarks(wxDC& dc, ShownLine const& shown, int line, int y) {
    TextPosition const from = m_state.From();
    TextPosition const to = m_state.To();
    if (!m_state.selectsLines && from < to && line >= from.line && line <= to.line) {
        int const begin = line == from.line ? from.character : 0;
        FillPart(dc, shown.text, y, {begin, to.character}, line < to.line, wxvGetColor(ColorName::Selected));
    }
    if (m_state.term.Empty())
        return;
    for (auto const& hit : FindInLine(shown, m_state.term)) {
        bool const current = line == m_state.hitLine && hit == m_state.hit;
        FillPart(dc, shown.text, y, hit, false, HitColor(current ? k_CurrentHitTint : k_HitTint));
    }
}

void TextLinePainter::PaintText(wxDC& dc, ShownLine const& shown, TextLine const& line, int y, bool selected) {
    wxColour const background = wxvGetColor(selected ? ColorName::Selected : ColorName::WindowBGDarker);
    ColorName const own = line.color == ColorName::Text && m_state.colorOf ? m_state.colorOf(line.text) : line.color;
    auto const draw = [&](size_t from, size_t to, ColorName name) {
        if (from >= to)
            return;
        dc.SetTextForeground(wxvReadableColor(wxvGetColor(m_state.enabled ? name : ColorName::TextGrey), background,
                                              wxvGetColor(ColorName::Text),
                                              selected ? k_ReadableSelected : k_Readable));
        int const x = XOf(dc, shown.text, static_cast<int>(from));
        dc.DrawText(shown.text.Mid(from, to - from), m_state.layout.XOfText() + x, y + m_state.layout.textTop);
    };
    size_t const quiet = WordsEnd(shown.text, m_state.quietWords);
    draw(0, quiet, ColorName::TextGrey);
    size_t from = quiet;
    ColorName color = own;
    for (ShownLine::Run const& run : shown.runs) {
        draw(from, run.from, color);
        from = std::max(from, run.from);
        color = run.color == line.color ? own : run.color;
    }
    draw(from, shown.text.length(), color);
}

void TextLinePainter::PaintLine(wxDC& dc, int line) {
    TextLine const* const at = m_state.Text().At(line);
    if (!at)
        return; // it comes later
    TextLineLayout const& layout = m_state.layout;
    int const y = layout.YOf(line);
    ShownLine const shown = ShowLine(*at);
    bool const selected = m_state.selectsLines && line == m_state.row;
    if (selected) {
        dc.SetBrush(wxvGetColor(ColorName::Selected));
        if (m_state.focused)
            dc.SetPen(wxvGetColor(ColorName::TextBlue));
        dc.DrawRectangle(0, y, layout.size.x, layout.lineHeight);
        dc.SetPen(*wxTRANSPARENT_PEN);
    }
    PaintMarks(dc, shown, line, y);
    PaintText(dc, shown, *at, y, selected);
    m_state.widest = std::max(m_state.widest, WidthOf(dc, shown.text));
}
