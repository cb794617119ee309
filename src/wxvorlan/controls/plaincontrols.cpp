// The controls that are the toolkit's own: the style of the theme gives them their
// colours, here are their few own ways.
#include "theme/followcolors.h"
#include "theme/nativechoice.h"

#include <wx/dcbuffer.h>
#include <wx/wxvbutton.h>
#include <wx/wxvcheckbox.h>
#include <wx/wxvchecklistbox.h>
#include <wx/wxvchoice.h>
#include <wx/wxvcombobox.h>
#include <wx/wxvlistbox.h>
#include <wx/wxvradiobutton.h>
#include <wx/wxvrhythm.h>
#include <wx/wxvscrolledwindow.h>
#include <wx/wxvstaticbox.h>
#include <wx/wxvstaticline.h>
#include <wx/wxvstatictext.h>
#include <wx/wxvtextctrl.h>

wxvButton::wxvButton(wxWindow* parent, wxWindowID id, wxString const& label, ButtonWidth width)
    : wxButton(parent, id, label, wxDefaultPosition, wxDefaultSize, width == ButtonWidth::Exact ? wxBU_EXACTFIT : 0) {
    int const least = width == ButtonWidth::Dialog ? FromDIP(k_wxvButtonWidth) : 0;
    int const beside = width == ButtonWidth::Exact ? 2 * FromDIP(k_wxvLabelGap) : 0;
    SetMinSize(wxSize(std::max(least, GetBestSize().x + beside), -1));
}

wxvCheckBox::wxvCheckBox(wxWindow* parent, wxWindowID id, wxString const& label, long style) {
    // In the body: the base's constructor would not ask this class for its colours.
    Create(parent, id, label, wxDefaultPosition, wxDefaultSize, style);
}

wxvRadioButton::wxvRadioButton(wxWindow* parent, wxWindowID id, wxString const& label, RadioPlace place) {
    Create(parent, id, label, wxDefaultPosition, wxDefaultSize, place == RadioPlace::First ? wxRB_GROUP : 0);
}

wxvChoice::wxvChoice(wxWindow* parent, wxWindowID id, wxArrayString const& choices, long style)
    : wxChoice(parent, id, wxDefaultPosition, wxDefaultSize, choices, style) {
    LeaveWheelToParent(*this);
}

void wxvChoice::Popup() { PopUpNativeList(*this); }
bool wxvChoice::IsPopupShown() const { return IsNativeListUp(*this); }

wxvComboBox::wxvComboBox(wxWindow* parent, wxWindowID id, wxString const& value, wxArrayString const& choices,
                         long style)
    : wxComboBox(parent, id, value, wxDefaultPosition, wxDefaultSize, choices, style) {
    LeaveWheelToParent(*this);
}

wxvTextCtrl::wxvTextCtrl(wxWindow* parent, wxWindowID id, wxString const& value, long style, wxString const& hint)
    : wxTextCtrl(parent, id, value, wxDefaultPosition, wxDefaultSize, style) {
    if (!hint.empty() && !IsMultiLine())
        SetHint(hint);
}

wxvStaticText::wxvStaticText(wxWindow* parent, wxString const& label, ColorName color, wxWindowID id, long style)
    : wxStaticText(parent, id, label, wxDefaultPosition, wxDefaultSize, style), m_color(color) {
    FollowColors(*this, [this] { ApplyColor(); });
}

void wxvStaticText::ApplyColor() {
    SetForegroundColour(IsThisEnabled() ? wxvGetColor(m_color) : wxvFaintColor());
    Refresh();
}

void wxvStaticText::SetColor(ColorName color) {
    m_color = color;
    ApplyColor();
}

void wxvStaticText::DoEnable(bool enable) {
    wxStaticText::DoEnable(enable);
    ApplyColor();
}

wxvStaticLine::wxvStaticLine(wxWindow* parent, wxOrientation orientation)
    : wxWindow(parent, wxID_ANY, wxDefaultPosition, wxDefaultSize, wxBORDER_NONE) {
    SetBackgroundStyle(wxBG_STYLE_PAINT);
    int const thickness = FromDIP(1);
    SetMinSize(orientation == wxHORIZONTAL ? wxSize(-1, thickness) : wxSize(thickness, -1));
    Bind(wxEVT_PAINT, [this, orientation, thickness](wxPaintEvent&) {
        wxAutoBufferedPaintDC dc(this);
        dc.SetBackground(GetParent()->GetBackgroundColour());
        dc.Clear();
        wxSize const size = GetClientSize();
        dc.SetPen(*wxTRANSPARENT_PEN);
        dc.SetBrush(wxvEdgeColor());
        if (orientation == wxHORIZONTAL)
            dc.DrawRectangle(0, (size.y - thickness) / 2, size.x, thickness);
        else
            dc.DrawRectangle((size.x - thickness) / 2, 0, thickness, size.y);
    });
    FollowColors(*this, [this] { Refresh(); });
}

wxSize wxvStaticLine::DoGetBestClientSize() const { return FromDIP(wxSize(1, 1)); }

wxvStaticBox::wxvStaticBox(wxWindow* parent, wxString const& label, wxWindowID id) { Create(parent, id, label); }

wxvListBox::wxvListBox(wxWindow* parent, wxWindowID id, wxArrayString const& items, long style)
    : wxListBox(parent, id, wxDefaultPosition, wxDefaultSize, items, style) {}

wxArrayInt wxvListBox::Selected() const {
    wxArrayInt selected;
    for (unsigned i = 0; i < GetCount(); ++i) {
        if (IsSelected(static_cast<int>(i)))
            selected.Add(static_cast<int>(i));
    }
    return selected;
}

wxvCheckListBox::wxvCheckListBox(wxWindow* parent, wxWindowID id, wxArrayString const& items, long style)
    : wxCheckListBox(parent, id, wxDefaultPosition, wxDefaultSize, items, style) {}

wxArrayInt wxvCheckListBox::Checked() const {
    wxArrayInt checked;
    for (unsigned i = 0; i < GetCount(); ++i) {
        if (IsChecked(i))
            checked.Add(static_cast<int>(i));
    }
    return checked;
}

void wxvCheckListBox::CheckAll(bool check) {
    for (unsigned i = 0; i < GetCount(); ++i)
        Check(i, check);
}

wxvScrolledWindow::wxvScrolledWindow(wxWindow* parent, ColorName background, wxWindowID id)
    : wxScrolledWindow(parent, id, wxDefaultPosition, wxDefaultSize, wxTAB_TRAVERSAL | wxVSCROLL | wxBORDER_NONE) {
    SetScrollRate(0, 1);
    FollowColors(*this, [this, background] {
        SetBackgroundColour(wxvGetColor(background));
        SetForegroundColour(wxvGetColor(ColorName::Text));
        Refresh();
    });
}
