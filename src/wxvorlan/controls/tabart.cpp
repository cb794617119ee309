#include "controls/tabart.h"

#include <algorithm>
#include <wx/aui/auibook.h>
#include <wx/control.h>
#include <wx/dc.h>
#include <wx/menu.h>
#include <wx/wxvcolors.h>
#include <wx/wxvfont.h>
#include <wx/wxvnotebook.h>

namespace {

constexpr int k_FirstMenuId = 1;
constexpr int k_BitmapGap = 6;
constexpr int k_FocusInset = 4;
constexpr int k_FocusRadius = 3;

void Fill(wxDC& dc, wxRect const& rect, wxColour const& colour) {
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(colour);
    dc.DrawRectangle(rect);
}

// An arrow head within a square around `middle`; the list's has its point below.
void DrawArrow(wxDC& dc, wxPoint const& middle, int button, int reach) {
    int const half = reach / 2;
    switch (button) {
    case wxAUI_BUTTON_LEFT: {
        wxPoint points[] = {{half, -reach}, {-half, 0}, {half, reach}};
        dc.DrawLines(3, points, middle.x, middle.y);
        break;
    }
    case wxAUI_BUTTON_RIGHT: {
        wxPoint points[] = {{-half, -reach}, {half, 0}, {-half, reach}};
        dc.DrawLines(3, points, middle.x, middle.y);
        break;
    }
    default: {
        wxPoint points[] = {{-reach, -half}, {0, half}, {reach, -half}};
        dc.DrawLines(3, points, middle.x, middle.y);
    }
    }
}

} // namespace

TabArt::TabArt() : m_font(wxvFont(0, FontWeight::Medium)) {}

void TabArt::DrawBackground(wxDC& dc, wxWindow*, wxRect const& rect) {
    Fill(dc, rect, wxvGetColor(ColorName::WindowBGDarker));
}

wxSize TabArt::GetTabSize(wxDC& dc, wxWindow* window, wxString const& caption, wxBitmapBundle const& bitmap, bool, int,
                          int* xExtent) {
    dc.SetFont(m_font);
    wxSize size = dc.GetTextExtent(caption);
    size.x += 2 * window->FromDIP(k_Padding);
    if (bitmap.IsOk())
        size.x += bitmap.GetPreferredLogicalSizeFor(window).x + window->FromDIP(k_BitmapGap);
    size.y = window->FromDIP(wxvNotebook::k_TabHeight);
    if (xExtent)
        *xExtent = size.x;
    return size;
}

void TabArt::DrawTab(wxDC& dc, wxWindow* window, wxAuiNotebookPage const& page, wxRect const& rect, int closeState,
                     wxRect* outTab, wxRect* outButton, int* xExtent) {
    wxSize const size = GetTabSize(dc, window, page.caption, page.bitmap, page.active, closeState, xExtent);
    wxRect const tab(rect.x, rect.y, size.x, rect.height);
    *outTab = tab;
    *outButton = wxRect();

    wxRect const visible = tab.Intersect(rect);
    wxDCClipper const clip(dc, visible);
    if (page.active) {
        Fill(dc, tab, wxvGetColor(ColorName::WindowBG));
        Fill(dc, wxRect(tab.x, tab.y, tab.width, window->FromDIP(k_AccentHeight)), wxvGetColor(ColorName::TextBlue));
    } else if (page.hover) {
        Fill(dc, tab, wxvZebraColor());
    }

    bool const strong = page.active || page.hover;
    dc.SetFont(m_font);
    dc.SetTextForeground(wxvGetColor(strong ? ColorName::Text : ColorName::TextGrey));
    int x = tab.x + window->FromDIP(k_Padding);
    if (page.bitmap.IsOk()) {
        wxBitmap const bitmap = page.bitmap.GetBitmapFor(window);
        dc.DrawBitmap(bitmap, x, tab.y + (tab.height - bitmap.GetLogicalHeight()) / 2, true);
        x += bitmap.GetLogicalWidth() + window->FromDIP(k_BitmapGap);
    }
    int const room = visible.GetRight() - window->FromDIP(k_FocusInset) - x;
    wxString const text = visible.width < tab.width
                              ? wxControl::Ellipsize(page.caption, dc, wxELLIPSIZE_END, std::max(room, 0))
                              : page.caption;
    dc.DrawText(text, x, tab.y + (tab.height - dc.GetCharHeight() + 1) / 2);

    if (page.active && window->HasFocus()) {
        dc.SetBrush(*wxTRANSPARENT_BRUSH);
        dc.SetPen(wxvGetColor(ColorName::TextBlue));
        int const inset = window->FromDIP(k_FocusInset);
        dc.DrawRoundedRectangle(wxRect(visible).Deflate(inset), window->FromDIP(k_FocusRadius));
    }
}

void TabArt::DrawButton(wxDC& dc, wxWindow* window, wxRect const& rect, int button, int state, int orientation,
                        wxRect* outRect) {
    wxRect place(rect.x, rect.y, window->FromDIP(k_ButtonWidth), rect.height);
    if (orientation != wxLEFT)
        place.x = rect.GetRight() + 1 - place.width;
    *outRect = place;
    if (state & wxAUI_BUTTON_STATE_HIDDEN)
        return;

    bool const disabled = (state & wxAUI_BUTTON_STATE_DISABLED) != 0;
    bool const hot = !disabled && (state & (wxAUI_BUTTON_STATE_HOVER | wxAUI_BUTTON_STATE_PRESSED)) != 0;
    wxColour const surface = hot ? wxvGetColor(ColorName::ButtonFace) : wxvGetColor(ColorName::WindowBGDarker);
    Fill(dc, place, surface);
    wxColour const ink = disabled ? wxvMixColors(surface, wxvGetColor(ColorName::Text), 1.0 / 3)
                                  : wxvGetColor(hot ? ColorName::Text : ColorName::TextGrey);
    dc.SetPen(wxPen(ink, window->FromDIP(2)));
    DrawArrow(dc, wxPoint(place.x + place.width / 2, place.y + place.height / 2), button, window->FromDIP(4));
}

int TabArt::ShowDropDown(wxWindow* window, wxAuiNotebookPageArray const& pages, int active) {
    wxMenu menu;
    for (size_t i = 0; i < pages.GetCount(); ++i) {
        int const id = k_FirstMenuId + static_cast<int>(i);
        menu.AppendRadioItem(id, wxControl::EscapeMnemonics(pages.Item(i).caption))
            ->Check(static_cast<int>(i) == active);
    }
    int const chosen = window->GetPopupMenuSelectionFromUser(menu);
    return chosen == wxID_NONE ? -1 : chosen - k_FirstMenuId;
}

int TabArt::GetBestTabCtrlSize(wxWindow* window, wxAuiNotebookPageArray const&, wxSize const&) {
    return window->FromDIP(wxvNotebook::k_TabHeight);
}
