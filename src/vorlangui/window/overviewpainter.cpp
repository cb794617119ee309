#include "overviewpainter.h"

#include <corekit/sformat.h>
#include <wx/control.h>
#include <wx/dcclient.h>
#include <wx/intl.h>
#include <wx/wxvcolors.h>
#include <wx/wxvfont.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

constexpr int k_FigurePoints = 11;
constexpr double k_Readable = 4.5;
constexpr double k_ReadableOnTint = 3.7;
constexpr double k_FailureTint = 0.16;
constexpr double k_ProgressTint = 0.36;

constexpr char const* k_Titles[k_OverviewColumns] = {wxTRANSLATE("Name"), wxTRANSLATE("Product"),
                                                     wxTRANSLATE("Priority"), wxTRANSLATE("Progress"),
                                                     wxTRANSLATE("Status")};

ColorName StateColor(OverviewRow const& row) {
    switch (row.statusClass) {
    case 1:
        return ColorName::TextGrey;
    case 2:
        return row.paused ? ColorName::TextCyan : ColorName::TextGreen;
    case 3:
        return ColorName::TextBlue;
    default:
        return ColorName::Text;
    }
}

} // namespace

wxColour OverviewRowColor(OverviewRow const& row, bool odd) {
    wxColour const plain = odd ? wxvZebraColor() : wxvGetColor(ColorName::WindowBGDarker);
    return row.failed ? wxvMixColors(plain, wxvGetColor(ColorName::TextRed), k_FailureTint) : plain;
}

wxColour OverviewTextColor(OverviewRow const& row, wxColour const& background) {
    return wxvReadableColor(wxvGetColor(StateColor(row)), background, wxvGetColor(ColorName::Text),
                            row.failed ? k_ReadableOnTint : k_Readable);
}

wxColour ProgressColor() {
    return wxvMixColors(wxvGetColor(ColorName::Selected), wxvGetColor(ColorName::TextBlue), k_ProgressTint);
}

wxColour ProgressTextColor(wxColour const& surface) {
    return wxvContrast(*wxBLACK, surface) >= k_Readable ? *wxBLACK : wxvGetColor(ColorName::Text);
}

void OverviewPainter::PaintText(wxString const& text, wxRect const& cell) {
    int const width = cell.width - 2 * m_layout.metrics.padding;
    if (width <= 0)
        return;
    wxString const fitting = wxControl::Ellipsize(text, m_dc, wxELLIPSIZE_END, width);
    m_dc.DrawText(fitting, cell.x + m_layout.metrics.padding, cell.y + (cell.height - m_dc.GetCharHeight()) / 2);
}

void OverviewPainter::PaintFigure(int index, size_t figure, wxString const& caption, wxString const& detail) {
    wxRect const place = m_layout.Figure(index);
    int const gap = m_layout.metrics.padding;
    m_dc.SetFont(wxvFont(k_FigurePoints, FontWeight::Medium));
    wxString const number = wxString::Format("%zu", figure);
    int const numberHeight = m_dc.GetCharHeight();
    wxSize const numberSize = m_dc.GetTextExtent(number);
    m_dc.SetFont(wxvFont());
    int const detailHeight = m_dc.GetCharHeight();
    int const top = place.y + (place.height - numberHeight - detailHeight) / 2;

    m_dc.SetFont(wxvFont(k_FigurePoints, FontWeight::Medium));
    m_dc.SetTextForeground(wxvGetColor(figure == 0 ? ColorName::TextGrey : ColorName::Text));
    m_dc.DrawText(number, place.x, top);
    m_dc.SetFont(wxvFont(1, FontWeight::Medium));
    m_dc.SetTextForeground(wxvGetColor(ColorName::Text));
    // On the number's base line.
    wxCoord numberDescent = 0;
    wxCoord captionDescent = 0;
    wxCoord unused = 0;
    wxCoord captionHeight = 0;
    m_dc.GetTextExtent(caption, &unused, &captionHeight, &captionDescent);
    wxFont const numberFont = wxvFont(k_FigurePoints, FontWeight::Medium);
    m_dc.GetTextExtent(number, &unused, &unused, &numberDescent, nullptr, &numberFont);
    int const captionTop = top + (numberHeight - numberDescent) - (captionHeight - captionDescent);
    m_dc.DrawText(caption, place.x + numberSize.x + gap, captionTop);

    m_dc.SetFont(wxvFont());
    m_dc.SetTextForeground(wxvGetColor(ColorName::TextGrey));
    m_dc.DrawText(wxControl::Ellipsize(detail, m_dc, wxELLIPSIZE_END, place.width - gap), place.x, top + numberHeight);
}

void OverviewPainter::PaintFigures(OverviewCounts const& counts) {
    m_dc.SetPen(*wxTRANSPARENT_PEN);
    m_dc.SetBrush(wxvGetColor(ColorName::WindowBG));
    m_dc.DrawRectangle(0, 0, m_layout.size.x, m_layout.metrics.figures);
    PaintFigure(0, counts.engines, _("Engines"),
                wxString::Format(_("%zu available, %zu active"), counts.enginesAvailable, counts.enginesActive));
    PaintFigure(1, counts.jobs, _("Jobs"),
                wxString::Format(_("%zu active, %zu finished"), counts.jobsActive, counts.jobsFinished));
    PaintFigure(2, counts.work, _("Work"), _("units on Engines now"));
}

void OverviewPainter::PaintHeader() {
    wxRect const list = m_layout.List();
    m_dc.SetPen(*wxTRANSPARENT_PEN);
    m_dc.SetBrush(wxvGetColor(ColorName::Header));
    m_dc.DrawRectangle(0, m_layout.metrics.figures, m_layout.size.x, list.y - m_layout.metrics.figures);
    m_dc.SetFont(wxvFont(0, FontWeight::Medium));
    m_dc.SetTextForeground(wxvGetColor(ColorName::Text));
    for (int i = 0; i < k_OverviewColumns; ++i) {
        wxRect const cell = m_layout.HeaderCell(static_cast<OverviewColumn>(i));
        if (cell.width == 0)
            continue;
        PaintText(wxGetTranslation(k_Titles[i]), cell);
        if (cell.x > 0) {
            m_dc.SetPen(wxvGetColor(ColorName::Dark3D));
            m_dc.DrawLine(cell.x, cell.y, cell.x, cell.y + cell.height);
        }
    }
}

void OverviewPainter::PaintRows(std::span<OverviewRow const> rows, int first) {
    m_dc.SetFont(wxvFont());
    int const inSight = m_layout.RowsInSight() + 1;
    for (int i = 0; i < inSight && i < static_cast<int>(rows.size()); ++i)
        PaintRow(i, rows[static_cast<size_t>(i)], (first + i) % 2 != 0);
}

void OverviewPainter::PaintRow(int index, OverviewRow const& row, bool odd) {
    wxColour const background = OverviewRowColor(row, odd);
    m_dc.SetPen(*wxTRANSPARENT_PEN);
    m_dc.SetBrush(background);
    m_dc.DrawRectangle(m_layout.Row(index));
    m_dc.SetTextForeground(OverviewTextColor(row, background));
    PaintText(wxvText(row.name), m_layout.Cell(index, OverviewColumn::Name));
    PaintText(wxvText(row.product), m_layout.Cell(index, OverviewColumn::Product));
    PaintText(wxString::Format("%d", row.priority), m_layout.Cell(index, OverviewColumn::Priority));
    PaintText(wxvText(row.status), m_layout.Cell(index, OverviewColumn::Status));
    PaintProgress(m_layout.Cell(index, OverviewColumn::Progress), row.percent);
}

void OverviewPainter::PaintProgress(wxRect const& cell, float percent) {
    wxRect bar = cell;
    bar.Deflate(m_layout.metrics.padding / 2, m_layout.metrics.padding / 4);
    if (bar.width <= 2)
        return;
    wxColour const track = wxvGetColor(ColorName::WindowBGLighter);
    m_dc.SetPen(wxvGetColor(ColorName::Dark3D));
    m_dc.SetBrush(track);
    m_dc.DrawRectangle(bar);
    bar.Deflate(1);
    wxRect filled = bar;
    filled.width = static_cast<int>(bar.width * percent / 100);
    wxRect empty = bar;
    empty.x += filled.width;
    empty.width -= filled.width;
    if (filled.width > 0)
        m_dc.GradientFillLinear(filled, ProgressColor(), wxvGetColor(ColorName::Selected), wxNORTH);

    wxString const text = wxvText(SFormat("%.4g%%", static_cast<double>(static_cast<int>(percent * 10)) / 10));
    wxSize const size = m_dc.GetTextExtent(text);
    wxPoint const place(bar.x + (bar.width - size.x) / 2, bar.y + (bar.height - size.y) / 2);
    struct Part {
        wxRect where;
        wxColour surface;
    };
    for (Part const& part : {Part{filled, ProgressColor()}, Part{empty, track}}) {
        if (part.where.width <= 0)
            continue;
        wxDCClipper const clip(m_dc, part.where);
        m_dc.SetTextForeground(ProgressTextColor(part.surface));
        m_dc.DrawText(text, place);
    }
}

void OverviewPainter::PaintEmpty(wxString const& why) {
    m_dc.SetFont(wxvFont());
    m_dc.SetTextForeground(wxvGetColor(ColorName::TextGrey));
    wxRect const list = m_layout.List();
    wxString const fitting =
        wxControl::Ellipsize(why, m_dc, wxELLIPSIZE_END, list.width - 2 * m_layout.metrics.padding);
    wxSize const size = m_dc.GetTextExtent(fitting);
    m_dc.DrawText(fitting, list.x + (list.width - size.x) / 2, list.y + (list.height - size.y) * 2 / 5);
}

} // namespace vorlan
