#pragma once

#include <wx/stattext.h>
#include <wx/wxvpanel.h>

#include <vector>

namespace vorlan {

// MessagePane fills the window with a heading and a few lines in its middle.
// Owner: the MainWindow. Thread: the GUI thread.
class MessagePane : public wxvPanel {
public:
    MessagePane(wxWindow* parent, wxString const& heading, std::vector<wxString> const& lines);

    // A quiet line below the others; empty takes it away.
    void SetRemark(wxString const& remark);
    wxString const& Remark() const { return m_remarkText; }
    // The heading and all lines, as they are shown.
    std::vector<wxString> Texts() const;

    void ApplyColors() override;

private:
    wxStaticText* NewLine(wxString const& text, wxFont const& font);
    // Breaks the remark where the pane is too narrow for it.
    void WrapRemark();

    std::vector<wxStaticText*> m_texts;
    wxStaticText* m_remark;
    wxString m_remarkText;
    int m_wrappedAt = 0;
};

} // namespace vorlan
