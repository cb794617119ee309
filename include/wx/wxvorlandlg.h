#pragma once

#include <corekit/signal.h>

#include <corekit/string.h>
#include <wx/dialog.h>
#include <wx/wxvrhythm.h>
#include <wx/wxvstatictext.h>

class wxBoxSizer;
class wxSizer;

// Which button of a dialog Return presses. Cancel where accepting ends other people's work.
enum class DefaultButton { Accept, Cancel };

// wxVorlanDlg is the base of the system's dialogs: colours, margins, a remembered
// place, and word to those who watch whether somebody is at work.
// Owner: the toolkit; a modal one stands on its caller's stack. One that is shown without
// waiting destroys itself when it is closed or hidden.
// Thread: the GUI thread.
// Always: CloseAll reaches every one that is open.
class wxVorlanDlg : public wxDialog {
public:
    using Told = corekit::Signal0<corekit::ThreadPolicy::SingleThreaded>;
    static Told s_ModalStarted;
    static Told s_ModalFinished;
    // A modeless one has been closed.
    static Told s_DlgClosed;

    // Distances at plain resolution; use them through FromDIP.
    static constexpr int k_Margin = k_wxvMargin;
    static constexpr int k_LabelGap = k_wxvLabelGap;
    static constexpr int k_GroupGap = k_wxvGroupGap;
    static constexpr int k_ButtonWidth = k_wxvButtonWidth;
    // How much larger than others the first line of a question is.
    static constexpr double k_HeadingScale = 1.15;

    // `section` names its memory in the options; empty: it keeps none. A place is kept for
    // those that can be resized, the others stand before their parents.
    wxVorlanDlg(wxWindow* parent, wxString const& title, corekit::String section, long style = wxDEFAULT_DIALOG_STYLE);
    ~wxVorlanDlg() override;

    bool Show(bool show = true) override;
    int ShowModal() override;
    bool Destroy() override;

    // Ends every open dialog as Cancel does.
    static void CloseAll();

protected:
    corekit::String const& Section() const { return m_section; }

    // Puts the content above a row of buttons, at the bottom right, and fits the
    // window around them. `cancel` empty: one button only.
    void Finish(wxSizer* content, wxString const& accept, wxString const& cancel,
                DefaultButton preset = DefaultButton::Accept);

    // A text in the place of a label, in a colour of the scheme.
    wxvStaticText* NewLabel(wxString const& text, double scale = 1.0, ColorName color = ColorName::Text);
    // A text of any length and content on lines no wider than `width` pixels.
    wxvStaticText* NewParagraph(wxString const& text, int width, double scale = 1.0);

private:
    bool KeepsPlace() const { return !m_section.Empty() && HasFlag(wxRESIZE_BORDER); }
    void KeepPlace();

    corekit::String const m_section;
    bool m_isPlaced = false;
    bool m_isWaitedFor = false; // ShowModal runs
    bool m_toldClosed = false;
};
