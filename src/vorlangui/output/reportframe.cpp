#include "reportframe.h"

#include "window/windowicon.h"

#include <wx/sizer.h>
#include <wx/wxvtextctrl.h>

namespace vorlan {

namespace {
wxSize const k_ReportSize(720, 520);
}

ReportFrame::ReportFrame(wxWindow* parent, wxString const& title, wxString const& body)
    : wxVorlanFrame(parent, title, wxDefaultPosition, wxDefaultSize, "Reports",
                    wxDEFAULT_FRAME_STYLE | wxFRAME_FLOAT_ON_PARENT) {
    SetIcons(WindowIcons());
    auto* text = new wxvTextCtrl(this, wxID_ANY, body, wxTE_MULTILINE | wxTE_READONLY | wxTE_DONTWRAP | wxNO_BORDER);
    text->SetFont(wxFont(wxFontInfo(9).Family(wxFONTFAMILY_TELETYPE)));
    auto* content = new wxBoxSizer(wxVERTICAL);
    content->Add(text, wxSizerFlags(1).Expand());
    SetSizer(content);
    SetSize(FromDIP(k_ReportSize));
    LoadWindowPosition();
    Bind(wxEVT_CHAR_HOOK, [this](wxKeyEvent& event) {
        if (event.GetKeyCode() == WXK_ESCAPE)
            Close();
        else
            event.Skip();
    });
    Bind(wxEVT_CLOSE_WINDOW, [this](wxCloseEvent&) {
        SaveWindowPosition();
        Destroy();
    });
}

} // namespace vorlan
