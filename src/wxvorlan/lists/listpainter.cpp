#include "listpainter.h"

#include <algorithm>
#include <wx/bitmap.h>
#include <wx/dc.h>
#include <wx/imaglist.h>
#include <wx/region.h>
#include <wx/wxvcolors.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>

namespace {

constexpr double k_CellContrast = 3.7;
constexpr double k_HoverPart = 0.05;
constexpr double k_HighlightPart = 0.7;
constexpr double k_DisabledPart = 0.45;
constexpr uint64_t k_NoRow = 0;
constexpr uint64_t k_Unknown = 1; // no row looks like that

uint64_t Mixed(uint64_t look, uint64_t value) {
    look ^= value + 0x9E3779B97F4A7C15ULL + (look << 6) + (look >> 2);
    return look * 0xFF51AFD7ED558CCDULL;
}

// Prepares a row for as long as it lives.
class PreparedRow {
public:
    PreparedRow(wxDBListCtrl& list, int row) : m_list(list), m_row(row) { m_list.PrepareToDraw(row); }
    ~PreparedRow() { m_list.CleanupAfterDraw(m_row); }
    PreparedRow(PreparedRow const&) = delete;
    PreparedRow& operator=(PreparedRow const&) = delete;

private:
    wxDBListCtrl& m_list;
    int const m_row;
};

bool Touches(wxRegion const* region, wxRect const& place) { return !region || region->Contains(place) != wxOutRegion; }

wxRect PlaceOfMark(wxRect const& cell, int x, int size) {
    return wxRect(x, cell.y + (cell.height - size) / 2, size, size);
}

} // namespace

wxDBListPainter::wxDBListPainter(wxDBListCtrl& list, wxDBListState& state)
    : m_list(list), m_state(state), m_canvas(CellCanvas::Shared()) {}

void wxDBListPainter::Paint(wxDC& dc, wxRegion const* region) {
    DrawAll(dc, region);
    if (!region)
        Forget();
}

void wxDBListPainter::DrawAll(wxDC& dc, wxRegion const* region) {
    m_dc = &dc;
    dc.SetFont(wxvFont());
    m_canvas->Begin(dc, m_list);
    DrawRows(dc, region);
    wxRect const header = m_state.layout.Header();
    if (header.height > 0 && Touches(region, header))
        DrawHeader(dc);
    m_canvas->End();
    m_dc = nullptr;
}

void wxDBListPainter::PaintCopy(wxDC& dc) {
    m_copying = true;
    DrawAll(dc, nullptr);
    m_copying = false;
}

void wxDBListPainter::PaintHeld(wxDC& dc, wxBitmap const& picture) {
    m_canvas->Begin(dc, m_list);
    m_canvas->Fill(m_state.layout.Body(), wxvGetColor(ColorName::WindowBGDarker));
    if (picture.IsOk())
        dc.DrawBitmap(picture, 0, 0);
    if (m_state.layout.Header().height > 0)
        DrawHeader(dc);
    m_canvas->End();
    Forget();
}

int wxDBListPainter::RowPlaces() const {
    wxDBListLayout const& layout = m_state.layout;
    int const inFirst = layout.Origin().y - layout.FirstRow() * layout.Metrics().rowHeight;
    return (layout.Body().height + inFirst + layout.Metrics().rowHeight - 1) / layout.Metrics().rowHeight;
}

void wxDBListPainter::PrepareLooks() {
    int const first = m_state.layout.FirstRow();
    int const places = RowPlaces();
    size_t const size = static_cast<size_t>(places) * LooksPerRow();
    wxPoint const origin = m_state.layout.Origin();
    if (m_drawnOrigin == origin && m_drawnFirst == first && m_drawnPlaces == places && m_drawn.size() == size)
        return;
    m_drawnOrigin = origin;
    m_drawnFirst = first;
    m_drawnPlaces = places;
    m_drawn.assign(size, k_Unknown);
}

uint64_t* wxDBListPainter::DrawnLooks(int row) {
    if (row < m_drawnFirst || row >= m_drawnFirst + m_drawnPlaces || m_drawn.empty())
        return nullptr;
    return &m_drawn[static_cast<size_t>(row - m_drawnFirst) * LooksPerRow()];
}

void wxDBListPainter::KeepLooks(int row, wxRegion const* region) {
    uint64_t* const drawn = m_copying ? nullptr : DrawnLooks(row);
    if (!drawn)
        return;
    wxRect const body = m_state.layout.Body();
    auto const whole = [&](wxRect const& place) {
        return !region || region->Contains(place.Intersect(body)) == wxInRegion;
    };
    // The ground of a row that is drawn in part counts if it is what it was.
    if (m_looks[0] != drawn[0])
        drawn[0] = whole(m_state.layout.Row(row)) ? m_looks[0] : k_Unknown;
    for (size_t i = 1; i < m_looks.size(); ++i) {
        if (m_looks[i] != 0 && m_looks[i] != drawn[i])
            drawn[i] = whole(m_state.layout.Cell(row, static_cast<int>(i) - 1)) ? m_looks[i] : k_Unknown;
    }
}

void wxDBListPainter::KeepPlacesWithoutRow(wxRegion const* region) {
    wxDBListLayout const& layout = m_state.layout;
    for (int row = layout.EndRow(); row < m_drawnFirst + m_drawnPlaces; ++row) {
        wxRect const place = layout.PlaceOfRow(row).Intersect(layout.Body());
        uint64_t* const drawn = DrawnLooks(row);
        if (!region || region->Contains(place) == wxInRegion)
            std::fill_n(drawn, LooksPerRow(), k_NoRow);
        else if (drawn[0] != k_NoRow && region->Contains(place) != wxOutRegion)
            drawn[0] = k_Unknown;
    }
}

void wxDBListPainter::DrawRows(wxDC& dc, wxRegion const* region) {
    wxDBListLayout const& layout = m_state.layout;
    int const first = layout.FirstRow();
    int const end = layout.EndRow();
    if (!m_copying)
        PrepareLooks();
    for (int row = first; row < end; ++row) {
        if (!Touches(region, layout.Row(row)))
            continue;
        m_looks.assign(LooksPerRow(), 0);
        VisitRow(row, &dc, region);
        KeepLooks(row, region);
        ++m_drawnRows;
    }
    wxRect below = layout.Body();
    if (end > first)
        below.SetTop(layout.Row(end - 1).GetBottom() + 1);
    below.height = layout.Client().y - below.y;
    if (below.height > 0 && Touches(region, below)) {
        m_canvas->Fill(below, wxvGetColor(ColorName::WindowBGDarker));
        if (!m_copying)
            KeepPlacesWithoutRow(region);
    }
    if (layout.RowCount() == 0 && !m_state.emptyText.empty())
        DrawEmptyText(dc);
    bool const framed = m_state.ShowsFrame();
    if (framed)
        DrawFrame(layout.Body());
    // In part, they may lack something or leave it behind.
    if (m_copying || (region && region->Contains(layout.Body()) != wxInRegion))
        return;
    m_drewEmptyText = layout.RowCount() == 0;
    m_drewFrame = framed;
}

wxDBListPainter::RowColors wxDBListPainter::ColorsOf(int row) {
    RowColors colors;
    colors.selected = m_list.IsRowSelected(row);
    colors.focused = row == m_state.current && m_state.focused;
    colors.text = m_list.GetRowColor(row);
    colors.background = m_list.GetRowBGColor(row);
    if (!colors.text.IsOk())
        colors.text = wxvGetColor(ColorName::Text);
    if (!colors.background.IsOk())
        colors.background = wxvGetColor(ColorName::WindowBGDarker);
    if (!m_list.IsThisEnabled())
        colors.background = wxvMixColors(colors.background, wxvGetColor(ColorName::WindowBGDarker), k_DisabledPart);
    else if (row == m_state.hoverRow && !colors.selected)
        colors.background = wxvMixColors(colors.background, wxvGetColor(ColorName::Text), k_HoverPart);
    return colors;
}

void wxDBListPainter::VisitRow(int row, wxDC* dc, wxRegion const* region) {
    PreparedRow const prepared(m_list, row);
    RowColors const colors = ColorsOf(row);
    wxDBListLayout const& layout = m_state.layout;
    wxRect const place = layout.Row(row);
    m_looks[0] = Mixed(Mixed(colors.selected ? 1 : 2, colors.background.GetRGB()), colors.focused ? 1 : 2) | 2;
    if (dc)
        m_canvas->Fill(place, colors.background);
    for (int column = 0; column < layout.ColumnCount(); ++column) {
        wxRect const cell = layout.Cell(row, column);
        if (cell.x <= place.GetRight() && cell.GetRight() >= 0 && Touches(region, cell))
            m_looks[static_cast<size_t>(column) + 1] = VisitCell(row, column, dc, colors);
    }
    if (dc && colors.focused)
        DrawFrame(place);
}

// A pen would lie half a pixel off on a screen with double resolution.
void wxDBListPainter::DrawFrame(wxRect const& place) {
    wxColour const colour = wxvGetColor(ColorName::TextBlue);
    m_canvas->Fill(wxRect(place.x, place.y, place.width, 1), colour);
    m_canvas->Fill(wxRect(place.x, place.GetBottom(), place.width, 1), colour);
    m_canvas->Fill(wxRect(place.x, place.y + 1, 1, place.height - 2), colour);
    m_canvas->Fill(wxRect(place.GetRight(), place.y + 1, 1, place.height - 2), colour);
}

uint64_t wxDBListPainter::VisitCell(int row, int column, wxDC* dc, RowColors const& colors) {
    wxColour text = colors.text;
    wxColour background = colors.background;
    m_list.PrepareColors(row, column, colors.selected ? 1 : 0, text, background);
    m_cell.row = row;
    m_cell.column = column;
    m_cell.text = m_list.GetDisplayText(row, column);
    m_cell.bold = m_list.IsCellBold(row, column);
    // Before it is drawn: what has changed meanwhile is drawn once more, not lost.
    uint64_t look = Mixed(std::hash<corekit::String>()(m_cell.text), text.GetRGB());
    look = Mixed(look, background.GetRGB());
    look = Mixed(look, static_cast<uint64_t>(m_list.GetCellIndent(row, column)));
    look = Mixed(look, static_cast<uint64_t>(m_list.GetCellImage(row, column)));
    look = Mixed(look, static_cast<uint64_t>(m_list.GetCellExpander(row, column)));
    look = Mixed(Mixed(look, m_cell.bold ? 1 : 2), m_list.GetCellSignature(row, column));
    if (dc) {
        wxRect const place = m_state.layout.Cell(row, column);
        if (background != colors.background)
            m_canvas->Fill(place, background);
        m_cell.colour = ReadableText(text, background);
        if (dc->GetTextForeground() != m_cell.colour)
            dc->SetTextForeground(m_cell.colour);
        m_list.DrawCell(*dc, row, column, place, colors.selected);
    }
    m_cell.row = -1;
    return look | 2; // neither of the looks that mean something else
}

wxColour wxDBListPainter::ReadableText(wxColour const& text, wxColour const& background) {
    if (!m_list.IsThisEnabled())
        return wxvMixColors(text, background, k_DisabledPart);
    wxUint32 const from = text.GetRGB();
    wxUint32 const on = background.GetRGB();
    Readable& known = m_readable[((from * 31) ^ on ^ (on >> 11) ^ (from >> 7)) % m_readable.size()];
    if (!known.colour.IsOk() || known.text != from || known.background != on)
        known = {from, on, wxvReadableColor(text, background, wxvGetColor(ColorName::Text), k_CellContrast)};
    return known.colour;
}

bool wxDBListPainter::IsTabular(int column) const {
    wxDBListColumn const& about = m_state.columns[static_cast<size_t>(column)];
    return about.tabular || about.align == Align::Right;
}

wxRect wxDBListPainter::TextRect(int row, int column, wxRect const& cell) {
    wxDBListMetrics const& metrics = m_state.layout.Metrics();
    int left = metrics.padding + m_list.GetCellIndent(row, column);
    if (m_list.GetCellExpander(row, column) != wxDBListCtrl::Expander::None)
        left += metrics.markSize + metrics.markGap;
    if (m_state.images && m_list.GetCellImage(row, column) >= 0)
        left += metrics.markSize + metrics.markGap;
    return wxRect(cell.x + left, cell.y, std::max(0, cell.width - left - metrics.padding), cell.height);
}

wxRect wxDBListPainter::ExpanderRect(int row, int column) {
    if (m_list.GetCellExpander(row, column) == wxDBListCtrl::Expander::None)
        return wxRect();
    wxDBListMetrics const& metrics = m_state.layout.Metrics();
    wxRect const cell = m_state.layout.Cell(row, column);
    return PlaceOfMark(cell, cell.x + metrics.padding + m_list.GetCellIndent(row, column), metrics.markSize);
}

void wxDBListPainter::DrawCell(wxDC& dc, int row, int column, wxRect const& cell, bool) {
    bool const known = m_cell.row == row && m_cell.column == column;
    wxColour const colour = known ? m_cell.colour : m_list.GetRowColor(row);
    wxDBListMetrics const& metrics = m_state.layout.Metrics();
    wxRect const text = TextRect(row, column, cell);
    if (auto const expander = m_list.GetCellExpander(row, column); expander != wxDBListCtrl::Expander::None)
        DrawExpander(dc, ExpanderRect(row, column), cell, expander == wxDBListCtrl::Expander::Open, colour);
    int const image = m_list.GetCellImage(row, column);
    if (m_state.images && image >= 0 && image < m_state.images->GetImageCount()) {
        wxRect const mark = PlaceOfMark(cell, text.x - metrics.markGap - metrics.markSize, metrics.markSize);
        if (mark.GetRight() <= cell.GetRight())
            m_state.images->Draw(image, dc, mark.x, mark.y, wxIMAGELIST_DRAW_TRANSPARENT);
    }
    CellStyle const style{known ? m_cell.bold : m_list.IsCellBold(row, column), IsTabular(column),
                          m_state.columns[static_cast<size_t>(column)].align};
    if (known)
        DrawText(dc, m_cell.text, text, colour, style);
    else
        DrawText(dc, m_list.GetDisplayText(row, column), text, colour, style);
}

void wxDBListPainter::DrawText(wxDC& dc, std::string_view text, wxRect const& cell, wxColour const& colour,
                               CellStyle const& style) {
    bool const own = m_dc == &dc;
    if (!own)
        m_canvas->Begin(dc, m_list);
    m_canvas->Text(text, cell, colour, style);
    if (!own) {
        m_canvas->End();
        if (m_dc)
            m_canvas->Begin(*m_dc, m_list);
    }
}

void wxDBListPainter::DrawExpander(wxDC& dc, wxRect const& place, wxRect const& cell, bool open,
                                   wxColour const& colour) {
    if (place.GetRight() > cell.GetRight())
        return;
    int const middleX = place.x + place.width / 2;
    int const middleY = place.y + place.height / 2;
    int const half = place.width / 3;
    int const depth = place.width / 4;
    wxPoint const closed[] = {
        {middleX - depth + 1, middleY - half}, {middleX - depth + 1, middleY + half}, {middleX + depth + 1, middleY}};
    wxPoint const opened[] = {
        {middleX - half, middleY - depth + 1}, {middleX + half, middleY - depth + 1}, {middleX, middleY + depth + 1}};
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(wxvMixColors(colour, wxvGetColor(ColorName::TextGrey), 0.6));
    dc.DrawPolygon(3, open ? opened : closed);
}

void wxDBListPainter::DrawEmptyText(wxDC& dc) {
    wxDBListMetrics const& metrics = m_state.layout.Metrics();
    wxRect const body = m_state.layout.Body().Deflate(metrics.padding, 0);
    wxScopedCharBuffer const text = m_state.emptyText.utf8_str();
    DrawText(dc, std::string_view(text.data(), text.length()), body, wxvGetColor(ColorName::TextGrey),
             {false, false, Align::Center});
}

void wxDBListPainter::DrawHeader(wxDC& dc) {
    wxRect const header = m_state.layout.Header();
    m_canvas->Fill(header, wxvGetColor(ColorName::Header));
    for (int column = 0; column < m_state.layout.ColumnCount(); ++column) {
        wxRect const place = m_state.layout.HeaderCell(column);
        if (place.x < header.width && place.GetRight() >= 0)
            DrawHeaderCell(dc, column);
    }
    m_canvas->Fill(wxRect(0, header.height - 1, header.width, 1), wxvGetColor(ColorName::Dark3D));
    if (m_state.dragColumn >= 0 && m_state.dropPosition != m_state.dragColumn) {
        int const x = m_state.layout.DropEdge(m_state.dragColumn, m_state.dropPosition);
        m_canvas->Fill(wxRect(std::max(0, x - 1), 0, 2, header.height), wxvGetColor(ColorName::TextBlue));
    }
}

void wxDBListPainter::DrawHeaderCell(wxDC& dc, int column) {
    wxDBListColumn const& about = m_state.columns[static_cast<size_t>(column)];
    wxDBListMetrics const& metrics = m_state.layout.Metrics();
    wxRect const place = m_state.layout.HeaderCell(column);
    wxColour background = wxvGetColor(ColorName::Header);
    if (column == m_state.highlight)
        background = wxvMixColors(background, wxvGetColor(ColorName::Light3D), k_HighlightPart);
    if (column == m_state.dragColumn)
        background = wxvGetColor(ColorName::Selected);
    else if (column == m_state.pressedHeader)
        background = wxvMixColors(background, wxvGetColor(ColorName::Dark3D), 0.3);
    else if (column == m_state.hoverHeader && m_list.IsThisEnabled())
        background = wxvMixColors(background, wxvGetColor(ColorName::Text), k_HoverPart);
    m_canvas->Fill(place, background);
    m_canvas->Fill(wxRect(place.GetRight(), 0, 1, place.height), wxvGetColor(ColorName::Dark3D));

    wxRect text = place.Deflate(metrics.padding, 0);
    if (m_state.images && about.image >= 0 && about.image < m_state.images->GetImageCount()) {
        int const x = place.GetRight() - metrics.markGap - metrics.markSize;
        wxRect const mark = PlaceOfMark(place, x, metrics.markSize);
        if (x > place.x)
            m_state.images->Draw(about.image, dc, mark.x, mark.y, wxIMAGELIST_DRAW_TRANSPARENT);
        text.width = std::max(0, x - metrics.markGap - text.x);
    }
    CellStyle const style{true, false, about.align};
    m_canvas->Text(about.header.label, text, ReadableText(wxvGetColor(ColorName::Text), background), style);
}

bool wxDBListPainter::IsClipped(int row, int column, corekit::String& text) {
    PreparedRow const prepared(m_list, row);
    text = m_list.GetDisplayText(row, column);
    CellStyle const style{m_list.IsCellBold(row, column), IsTabular(column), Align::Left};
    return m_canvas->TextWidth(m_list, text, style) > TextRect(row, column, m_state.layout.Cell(row, column)).width;
}

int wxDBListPainter::LabelWidth(int column) {
    wxDBListColumn const& about = m_state.columns[static_cast<size_t>(column)];
    wxDBListMetrics const& metrics = m_state.layout.Metrics();
    // With room for a sort mark, so that a click on the header hides nothing.
    return m_canvas->TextWidth(m_list, about.header.label, {true, false, Align::Left}) + metrics.padding +
           metrics.markSize + 2 * metrics.markGap + 1;
}

int wxDBListPainter::FittingWidth(int column) {
    wxDBListLayout const& layout = m_state.layout;
    int width = LabelWidth(column);
    for (int row = layout.FirstRow(); row < layout.EndRow(); ++row) {
        PreparedRow const prepared(m_list, row);
        CellStyle const style{m_list.IsCellBold(row, column), IsTabular(column), Align::Left};
        int const beside = 10'000 - TextRect(row, column, wxRect(0, 0, 10'000, 1)).width;
        width = std::max(width, beside + m_canvas->TextWidth(m_list, m_list.GetDisplayText(row, column), style));
    }
    return width;
}
