#include <algorithm>
#include <wx/control.h>
#include <wx/dcbuffer.h>
#include <wx/wxvcolors.h>
#include <wx/wxvfont.h>
#include <wx/wxvstatusbar.h>

namespace {
constexpr int k_DividerInset = 5;
}

wxvStatusBar::wxvStatusBar(wxWindow* parent) : wxStatusBar(parent, wxID_ANY, wxFULL_REPAINT_ON_RESIZE) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    SetFont(wxvFont());
    SetMinHeight(FromDIP(k_Height));
    Bind(wxEVT_PAINT, &wxvStatusBar::OnPaint, this);
    Bind(wxEVT_SYS_COLOUR_CHANGED, [this](wxSysColourChangedEvent& event) {
        event.Skip();
        Refresh();
    });
}

void wxvStatusBar::DoUpdateStatusText(int) { Refresh(); }

// Fields without a text lend their room to the one before them.
int wxvStatusBar::RoomOf(int field) const {
    wxRect next;
    GetFieldRect(field, next);
    int const left = next.x;
    int right = next.GetRight();
    while (++field < GetFieldsCount() && GetStatusText(field).empty() && GetFieldRect(field, next))
        right = next.GetRight();
    return right - left + 1;
}

void wxvStatusBar::OnPaint(wxPaintEvent&) {
    wxAutoBufferedPaintDC dc(this);
    wxSize const size = GetClientSize();
    dc.SetPen(*wxTRANSPARENT_PEN);
    dc.SetBrush(wxvGetColor(ColorName::WindowBGLighter));
    dc.DrawRectangle(size);
    // Lines would lie half a pixel off on a screen with double resolution.
    dc.SetBrush(wxvGetColor(ColorName::Dark3D));
    dc.DrawRectangle(0, 0, size.x, 1);

    dc.SetFont(GetFont());
    dc.SetTextForeground(wxvGetColor(ColorName::Text));
    int const padding = FromDIP(k_Padding);
    int const textHeight = dc.GetCharHeight();
    for (int field = 0; field < GetFieldsCount(); ++field) {
        wxRect place;
        if (!GetFieldRect(field, place))
            continue;
        if (GetStatusText(field).empty())
            continue;
        place.width = RoomOf(field);
        wxString const text = wxvWithFewerBrackets(GetStatusText(field), [&](wxString const& shorter) {
            return dc.GetTextExtent(shorter).x <= place.width - padding / 2;
        });
        if (field > 0) {
            int const inset = FromDIP(k_DividerInset);
            dc.DrawRectangle(place.x, inset, 1, size.y - 2 * inset + 1);
        }
        // A text that would just not fit comes nearer to its edge first. The next field
        // begins with a distance of its own.
        int const indent = std::clamp(place.width - dc.GetTextExtent(text).x, padding / 2, padding);
        wxString const fitting = wxControl::Ellipsize(text, dc, wxELLIPSIZE_END, place.width - indent);
        dc.DrawText(fitting, place.x + indent, (size.y - textHeight) / 2 + 1);
    }
}

wxString wxvWithFewerBrackets(wxString text, std::function<bool(wxString const&)> const& fits) {
    while (!fits(text)) {
        size_t const open = text.find(" (");
        size_t const close = open == wxString::npos ? open : text.find(')', open);
        if (close == wxString::npos)
            break;
        text.erase(open, close - open + 1);
    }
    return text;
}
