#pragma once

#include <corekit/string.h>
#include <wx/wxvpanel.h>

// wxExpandablePanel is a panel whose content can be folded away under one line, the
// expander. It keeps in the options whether it is open.
// Owner: its parent window. Works with: the windows around it, which it lays out anew.
// Thread: the GUI thread.
// Always: the content is shown exactly while IsExpanded.
class wxExpandablePanel : public wxvPanel {
public:
    // The expander's own id; the panel hears its wxEVT_BUTTON.
    static constexpr int k_ExpanderID = 8313;

    enum class Content { Below, Beside };

    struct Setup {
        wxString collapsedLabel;
        wxString expandedLabel;
        wxString toolTip;
        // Where the state is kept. An empty section keeps none.
        corekit::String section;
        corekit::String key;
        bool startExpanded = false; // where nothing was kept
        Content content = Content::Below;
    };

    wxExpandablePanel(wxWindow* parent, Setup setup, wxWindowID id = wxID_ANY);

    // The parent of the content; give it a sizer.
    wxvPanel* ContentPanel() { return m_content; }

    bool IsExpanded() const { return m_expanded; }
    // Keeps the state, as a click on the expander does, but sends no event.
    void SetExpanded(bool expanded);
    // Takes the expander away and opens the panel for good; what is kept stays as it is.
    void HideExpander();

protected:
    // After a click on the expander. One that overrides it calls the base first.
    virtual void OnExpanded(wxCommandEvent& event);

private:
    class Expander;

    void ShowState();
    void LayOutAround();

    Setup const m_setup;
    Expander* m_expander; // none after HideExpander
    wxvPanel* m_content;
    bool m_expanded;
};
