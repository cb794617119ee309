#pragma once

#include <corekit/string.h>
#include <vector>
#include <vorlan/fwd.h>
#include <wx/wxvpanel.h>

namespace vorlan {

class wxToolbarButton;

// ButtonSection is a group of the toolbar: a narrow bar, and the buttons behind it. A
// click on the bar hides them or shows them again, and the options remember it.
// Owner: its wxVorlanToolbar. Thread: the GUI thread.
class ButtonSection : public wxvPanel {
public:
    // `number` counts the groups of the toolbar from 0.
    ButtonSection(wxWindow* parent, unsigned number);

    wxToolbarButton* AddButton(int id, wxString const& icon, wxString const& label, bool toggles);
    std::vector<wxToolbarButton*> const& Buttons() const { return m_buttons; }

    bool IsExpanded() const { return m_expanded; }
    void Toggle();

    void ApplyColors() override;

private:
    wxRect Bar() const;
    void ShowButtons();
    void OnPaint(wxPaintEvent& event);
    void OnLeftDown(wxMouseEvent& event);
    void OnLeftUp(wxMouseEvent& event);
    void OnMouse(wxMouseEvent& event);

    String const m_number; // names its state in the options
    bool m_expanded;
    bool m_hovered = false;
    wxPoint m_pressedAt = wxDefaultPosition;
    std::vector<wxToolbarButton*> m_buttons;
};

} // namespace vorlan
