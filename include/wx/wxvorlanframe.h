#pragma once

#include <corekit/signal.h>

#include <corekit/string.h>
#include <wx/frame.h>

// Keeps a window's place in the options under a section.
void wxSaveWindowPos(wxTopLevelWindow& window, corekit::String const& section);
// Brings it back there, within the screens that there are now. Without a place that was
// kept a window at `start` stands there, and none is larger than its screen.
void wxLoadWindowPos(wxTopLevelWindow& window, corekit::String const& section, wxPoint const& start);

// Escape is for the control that has the focus first. True when that has used it.
bool wxvEscapeIsUsed(wxKeyEvent const& event);

// wxVorlanFrame is a window that opens where it was when it was last closed, and that
// Escape closes. Those that derive from it do nothing for either.
// Owner: the toolkit, until Destroy. Thread: the GUI thread.
class wxVorlanFrame : public wxFrame {
public:
    // A window of this kind has been closed.
    static corekit::Signal0<corekit::ThreadPolicy::SingleThreaded> s_WinClosed;

    // `position` and `size` are those of the first time; `section` names its memory.
    wxVorlanFrame(wxWindow* parent, wxString const& title, wxPoint const& position, wxSize const& size,
                  corekit::String section, long style = wxDEFAULT_FRAME_STYLE);

    // The first Show does it, unless the size is to be right before.
    void LoadWindowPosition();
    // Hiding and closing do it.
    void SaveWindowPosition() { wxSaveWindowPos(*this, m_section); }

    bool Show(bool show = true) override;
    bool Destroy() override;

protected:
    virtual bool ClosesOnEscape() const { return true; }
    // A command without a help text leaves the status bar as it is.
    void DoGiveHelp(wxString const& help, bool show) override { wxFrame::DoGiveHelp(help, show && !help.empty()); }

private:
    void OnKey(wxKeyEvent& event);

    corekit::String const m_section;
    wxPoint const m_start;
    bool m_isPlaced = false;
    bool m_toldClosed = false;
};
