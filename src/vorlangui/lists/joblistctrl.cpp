#include "joblistctrl.h"

#include "commands/ids.h"
#include "model/joblist.h"

#include <bit>
#include <wx/control.h>
#include <wx/dc.h>
#include <wx/dcclient.h>
#include <wx/intl.h>
#include <wx/wxvcolors.h>
#include <wx/wxvgradient.h>
#include <wx/wxvtext.h>

#include <algorithm>

namespace vorlan {

namespace {

// The bar within its cell, in pixels.
constexpr int k_BarMargin = 2;
constexpr int k_Highlight = 10;
constexpr int k_Shade = 50;
constexpr double k_GradientFactor = 2.0;
constexpr double k_ReadableOnBar = 4.5;
constexpr double k_LineReadable = 3.0;

wxColour Shifted(wxColour const& colour, int by) {
    auto const shift = [by](unsigned char channel) {
        return static_cast<unsigned char>(std::clamp(channel + by, 0, 255));
    };
    return wxColour(shift(colour.Red()), shift(colour.Green()), shift(colour.Blue()));
}

// Black where that reads on the bar and beside it.
wxColour BarTextColour(wxColour const& bar) {
    wxColour const ground = wxvGetColor(ColorName::WindowBGLighter);
    bool const isBlackReadable =
        wxvContrast(*wxBLACK, bar) >= k_ReadableOnBar && wxvContrast(*wxBLACK, ground) >= k_ReadableOnBar;
    return isBlackReadable ? *wxBLACK : wxvGetColor(ColorName::Text);
}

} // namespace

ProgressColors ProgressColorsOf(bool selected) {
    ProgressColors colors;
    colors.top = wxvGetColor(ColorName::Selected);
    if (selected)
        colors.top = Shifted(colors.top, k_Highlight);
    colors.bottom = Shifted(colors.top, -k_Shade);
    colors.edge = wxvGetColor(ColorName::TextBlue);
    for (wxColour const& beside : {colors.top, colors.bottom, wxvGetColor(ColorName::WindowBGLighter)})
        colors.edge = wxvReadableColor(colors.edge, beside, wxvGetColor(ColorName::Text), k_LineReadable);
    return colors;
}

JobListCtrl::JobListCtrl(wxWindow* parent, int id, String section)
    : RowListCtrl(parent, id, std::move(section)), FilterJob(TheFilter()) {
    LoadColumnInfo();
    JobList::Get().Lists().Add(this);
}

JobListCtrl::~JobListCtrl() { JobList::Get().Lists().Remove(this); }

wxString JobListCtrl::NothingText() const { return _("No Jobs yet."); }

int JobListCtrl::ActivateCommand() const { return k_IdViewJobHistory; }

bool JobListCtrl::IsProgress(int column) const {
    return GetColumnType(static_cast<size_t>(column)) == JobColumns::Progress;
}

uint64_t JobListCtrl::GetCellSignature(int row, int column) {
    if (!IsProgress(column) || !Row() || !Row()->job)
        return RowListCtrl::GetCellSignature(row, column);
    return std::bit_cast<uint32_t>(Row()->job->PercentDone());
}

void JobListCtrl::DrawCell(wxDC& dc, int row, int column, wxRect cell, bool selected) {
    if (!IsProgress(column)) {
        RowListCtrl::DrawCell(dc, row, column, cell, selected);
        return;
    }
    if (!Row() || !Row()->job)
        return;
    float const percent = Row()->job->PercentDone();
    ProgressColors const colors = ProgressColorsOf(selected);
    // A frame drawn by a pen would lie half a pixel off on a screen with double resolution.
    wxDCPenChanger const pen(dc, *wxTRANSPARENT_PEN);
    wxDCBrushChanger const frame(dc, *wxBLACK_BRUSH);
    cell.Deflate(FromDIP(k_BarMargin));
    dc.DrawRectangle(cell);
    cell.Deflate(1);
    wxDCBrushChanger const ground(dc, wxBrush(wxvGetColor(ColorName::WindowBGLighter)));
    dc.DrawRectangle(cell);
    cell.width -= 1;
    if (percent > 0) {
        wxRect filled = cell;
        filled.width = static_cast<int>(static_cast<float>(cell.width) * percent / 100 + 1);
        DrawGradedRectangle(dc, filled, colors.top, colors.bottom, k_GradientFactor, true, true);
        wxDCBrushChanger const edge(dc, wxBrush(colors.edge));
        dc.DrawRectangle(filled.GetRight(), filled.y, 1, filled.height);
    }
    wxFont small = dc.GetFont();
    small.SetPointSize(std::max(1, small.GetPointSize() - 1));
    wxDCFontChanger const font(dc, small);
    wxDCTextColourChanger const colour(dc, BarTextColour(colors.top));
    wxString text = wxvText(ProgressBarText(percent));
    if (dc.GetTextExtent(text).x > cell.width)
        text = wxControl::Ellipsize(text, dc, wxELLIPSIZE_END, cell.width);
    wxDCClipper const within(dc, cell);
    dc.DrawText(text, cell.x + (cell.width - dc.GetTextExtent(text).x) / 2, cell.y + 1);
}

_JobListCtrl::_JobListCtrl(wxWindow* parent, int position) : JobListCtrl(parent, k_BaseID + position, String()) {
    Update();
}

} // namespace vorlan
