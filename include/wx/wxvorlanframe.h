#pragma once

#include <corekit/signal.h>

#include <corekit/string.h>
#include <wx/frame.h>

namespace corekit {
class OptionsFile;
}

// The options in which windows keep their places and dialogs their memory. Set once
// by the application, before the first window; null: nothing is kept.
void wxvSetOptions(corekit::OptionsFile* options);
corekit::OptionsFile* wxvOptions();

// Keeps a window's place in the options under a section, and brings it back. A place
// that no screen shows any more is not used.
void wxSaveWindowPos(wxTopLevelWindow& window, corekit::String const& section);
// False when there is none; the window is as it was then.
bool wxLoadWindowPos(wxTopLevelWindow& window, corekit::String const& section);

// wxVorlanFrame is a window with a place that is remembered.
// Owner: the toolkit, until Destroy. Thread: the GUI thread.
class wxVorlanFrame : public wxFrame {
public:
    // A window of this kind has been closed.
    static corekit::Signal0<corekit::ThreadPolicy::SingleThreaded> s_WinClosed;

    wxVorlanFrame(wxWindow* parent, wxString const& title, wxPoint const& position, wxSize const& size,
                  corekit::String section, long style = wxDEFAULT_FRAME_STYLE);

    void LoadWindowPosition() { wxLoadWindowPos(*this, m_section); }
    void SaveWindowPosition() { wxSaveWindowPos(*this, m_section); }

    bool Destroy() override;

protected:
    // A command without a help text leaves the status bar as it is.
    void DoGiveHelp(wxString const& help, bool show) override { wxFrame::DoGiveHelp(help, show && !help.empty()); }

private:
    corekit::String const m_section;
    bool m_toldClosed = false;
};
