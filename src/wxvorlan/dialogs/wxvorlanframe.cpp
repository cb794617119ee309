#include "theme/followcolors.h"
#include "windowplace.h"

#include <corekit/optionsfile.h>
#include <utility>
#include <wx/wxvcolors.h>
#include <wx/wxvoptions.h>
#include <wx/wxvorlanframe.h>

#ifdef __WXGTK__
#include "theme/gtkheaders.h"
#endif

namespace {

constexpr int k_SmallestPlace = 100; // a smaller one was never a window's

// Some window managers show a window elsewhere than it was put while hidden. A move to
// where the toolkit believes that it stands is none, so it goes aside first; the size,
// which a move now would forget, is said again.
void PlaceAgainWhenShown(wxTopLevelWindow& window, wxRect const& place) {
    auto const again = [&window, place] {
        window.CallAfter([&window, place] {
            if (window.GetSize() != place.GetSize())
                return; // somebody has said another one meanwhile
            window.Move(place.GetTopLeft() + wxPoint(1, 0));
            window.SetSize(place);
        });
    };
    window.Bind(wxEVT_SHOW, [again, done = false](wxShowEvent& event) mutable {
        event.Skip();
        if (event.IsShown() && !std::exchange(done, true))
            again();
    });
    // A window that is shown in an event loop of its own may be on its way to the screen
    // at that time, and be put elsewhere when it arrives. By its first paint it is there.
    window.Bind(wxEVT_PAINT, [&window, place, again, done = false](wxPaintEvent& event) mutable {
        event.Skip();
        if (!std::exchange(done, true) && window.GetPosition() != place.GetPosition())
            again();
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

// A frame waits for the width of its borders before it is seen, and is laid out a pixel
// wide meanwhile, which a menu bar complains about. It gets its size beforehand.
void LayOutBeforeShown([[maybe_unused]] wxFrame& window) {
#ifdef __WXGTK__
    if (!window.GetMenuBar() || gtk_widget_get_realized(window.m_widget))
        return;
    wxSize const size = window.GetSize();
    GtkAllocation allocation = {0, 0, size.x, size.y};
    gtk_widget_size_allocate(window.m_widget, &allocation);
#endif
}

} // namespace

void wxSaveWindowPos(wxTopLevelWindow& window, corekit::String const& section) {
    corekit::OptionsFile* const options = wxvOptions();
    if (!options || section.Empty() || window.IsIconized())
        return;
    corekit::OptionsFile::PauseAutoWrite const pause(*options);
    k_OptionMaximized.Set(*options, section, window.IsMaximized());
    // A maximized window keeps the place that it had before.
    if (window.IsMaximized())
        return;
    wxRect const place = window.GetRect();
    k_OptionLeft.Set(*options, section, place.x);
    k_OptionTop.Set(*options, section, place.y);
    k_OptionWidth.Set(*options, section, place.width);
    k_OptionHeight.Set(*options, section, place.height);
}

void wxLoadWindowPos(wxTopLevelWindow& window, corekit::String const& section, wxPoint const& start) {
    corekit::OptionsFile* const options = section.Empty() ? nullptr : wxvOptions();
    wxRect wanted;
    bool maximized = false;
    if (options) {
        wanted = wxRect(k_OptionLeft.Get(*options, section), k_OptionTop.Get(*options, section),
                        k_OptionWidth.Get(*options, section), k_OptionHeight.Get(*options, section));
        maximized = k_OptionMaximized.Get(*options, section);
    }
    bool const isKept = wanted.width >= k_SmallestPlace && wanted.height >= k_SmallestPlace;
    if (!isKept)
        wanted = wxRect(start, window.GetSize());
    wxRect const place = wxvPlaceWithin(wanted, window.GetMinSize(), wxvScreens());
    if (!isKept && start == wxDefaultPosition) {
        // The desktop finds a place for it.
        window.SetSize(place.GetSize());
        if (maximized)
            window.Maximize();
        return;
    }
    window.SetSize(place);
    if (maximized)
        window.Maximize();
    maximized ? PlaceWhenRestored(window, place) : PlaceAgainWhenShown(window, place);
}

bool wxvEscapeIsUsed(wxKeyEvent const& event) {
    wxWindow* const focused = wxWindow::FindFocus();
    if (!focused)
        return false;
    wxKeyEvent pressed(wxEVT_KEY_DOWN, event);
    return focused->HandleWindowEvent(pressed);
}

constinit corekit::Signal0<corekit::ThreadPolicy::SingleThreaded> wxVorlanFrame::s_WinClosed;

wxVorlanFrame::wxVorlanFrame(wxWindow* parent, wxString const& title, wxPoint const& position, wxSize const& size,
                             corekit::String section, long style)
    : wxFrame(parent, wxID_ANY, title, position, size, style), m_section(std::move(section)), m_start(position) {
    FollowColors(*this, [this] {
        SetBackgroundColour(wxvGetColor(ColorName::WindowBG));
        SetForegroundColour(wxvGetColor(ColorName::Text));
    });
    Bind(wxEVT_CHAR_HOOK, &wxVorlanFrame::OnKey, this);
}

void wxVorlanFrame::OnKey(wxKeyEvent& event) {
    if (event.GetKeyCode() != WXK_ESCAPE || event.HasAnyModifiers() || !ClosesOnEscape())
        event.Skip();
    else if (!wxvEscapeIsUsed(event))
        Close();
}

void wxVorlanFrame::LoadWindowPosition() {
    if (!std::exchange(m_isPlaced, true))
        wxLoadWindowPos(*this, m_section, m_start);
}

bool wxVorlanFrame::Show(bool show) {
    if (show) {
        LoadWindowPosition();
        LayOutBeforeShown(*this);
    } else if (IsShown()) {
        SaveWindowPosition();
    }
    return wxFrame::Show(show);
}

bool wxVorlanFrame::Destroy() {
    if (!m_toldClosed) {
        m_toldClosed = true;
        if (IsShown())
            SaveWindowPosition();
        s_WinClosed.Emit();
    }
    return wxFrame::Destroy();
}
