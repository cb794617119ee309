#include "theme/followcolors.h"

#include <corekit/optionsfile.h>
#include <utility>
#include <wx/display.h>
#include <wx/wxvcolors.h>
#include <wx/wxvorlanframe.h>

namespace {

corekit::OptionsFile* s_options = nullptr;

constexpr char k_Left[] = "Left";
constexpr char k_Top[] = "Top";
constexpr char k_Width[] = "Width";
constexpr char k_Height[] = "Height";
constexpr char k_Maximized[] = "Maximized";
constexpr int k_Smallest = 100;

// Some window managers show a window elsewhere than it was put while hidden. A move to
// where the toolkit believes that it stands is none, so it goes aside first; the size,
// which a move now would forget, is said again.
void PlaceAgainWhenShown(wxTopLevelWindow& window, wxRect const& place) {
    window.Bind(wxEVT_SHOW, [&window, place, done = false](wxShowEvent& event) mutable {
        event.Skip();
        if (!event.IsShown() || std::exchange(done, true))
            return;
        window.CallAfter([&window, place] {
            window.Move(place.GetTopLeft() + wxPoint(1, 0));
            window.SetSize(place);
        });
    });
}

// What window managers make of a window that was maximized before they knew its size is
// too small.
void PlaceWhenRestored(wxTopLevelWindow& window, wxRect const& place) {
    window.Bind(wxEVT_IDLE, [&window, place, wasMaximized = false, done = false](wxIdleEvent& event) mutable {
        event.Skip();
        if (done)
            return;
        bool const maximized = window.IsMaximized();
        if (std::exchange(wasMaximized, maximized) && !maximized) {
            done = true;
            window.SetSize(place);
        }
    });
}

} // namespace

void wxvSetOptions(corekit::OptionsFile* options) { s_options = options; }
corekit::OptionsFile* wxvOptions() { return s_options; }

void wxSaveWindowPos(wxTopLevelWindow& window, corekit::String const& section) {
    if (!s_options || window.IsIconized())
        return;
    corekit::OptionsFile::PauseAutoWrite const pause(*s_options);
    s_options->SetValue(section, k_Maximized, window.IsMaximized());
    // A maximized window keeps the place that it had before.
    if (window.IsMaximized())
        return;
    wxRect const place = window.GetRect();
    s_options->SetValue(section, k_Left, place.x);
    s_options->SetValue(section, k_Top, place.y);
    s_options->SetValue(section, k_Width, place.width);
    s_options->SetValue(section, k_Height, place.height);
}

bool wxLoadWindowPos(wxTopLevelWindow& window, corekit::String const& section) {
    if (!s_options)
        return false;
    wxRect const place(s_options->GetValue(section, k_Left, 0), s_options->GetValue(section, k_Top, 0),
                       s_options->GetValue(section, k_Width, 0), s_options->GetValue(section, k_Height, 0));
    bool const usable = place.width >= k_Smallest && place.height >= k_Smallest &&
                        wxDisplay::GetFromPoint(place.GetTopLeft() + wxPoint(k_Smallest / 2, 8)) != wxNOT_FOUND;
    if (usable)
        window.SetSize(place);
    bool const maximized = s_options->GetValue(section, k_Maximized, false);
    if (maximized)
        window.Maximize();
    if (usable)
        maximized ? PlaceWhenRestored(window, place) : PlaceAgainWhenShown(window, place);
    return usable;
}

constinit corekit::Signal0<corekit::ThreadPolicy::SingleThreaded> wxVorlanFrame::s_WinClosed;

wxVorlanFrame::wxVorlanFrame(wxWindow* parent, wxString const& title, wxPoint const& position, wxSize const& size,
                             corekit::String section, long style)
    : wxFrame(parent, wxID_ANY, title, position, size, style), m_section(std::move(section)) {
    FollowColors(*this, [this] {
        SetBackgroundColour(wxvGetColor(ColorName::WindowBG));
        SetForegroundColour(wxvGetColor(ColorName::Text));
    });
}

bool wxVorlanFrame::Destroy() {
    if (!m_toldClosed) {
        m_toldClosed = true;
        s_WinClosed.Emit();
    }
    return wxFrame::Destroy();
}
