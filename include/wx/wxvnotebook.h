#pragma once

#include <corekit/string.h>

#include <vector>
#include <wx/aui/auibook.h>

// wxvNotebook is a book of pages with flat tabs in the scheme's colours. The tabs can
// be dragged into another order, and that order can be kept.
// Owner: its parent window; it owns its pages.
// Works with: the options, for SaveLayout and LoadLayout.
// Thread: the GUI thread.
// Always: dragging moves the tab alone, a page keeps its index.
class wxvNotebook : public wxAuiNotebook {
public:
    static constexpr int k_TabHeight = 32;
    // `name` names the layout; empty: SaveLayout and LoadLayout do nothing.
    explicit wxvNotebook(wxWindow* parent, wxWindowID id = wxID_ANY, wxString const& name = wxString());

    // The order of the tabs as text, and back. A text that is none, or of other pages,
    // is used as far as it goes: unknown pages are left out, the rest keep their order.
    corekit::String SavePerspective() const;
    void LoadPerspective(corekit::String const& perspective);

    void SaveLayout() const;
    void LoadLayout();

    // The indices of the pages in the order of their tabs.
    std::vector<size_t> TabOrder() const;

    // Selects the tab beside the current one, round the ends.
    enum class Direction { Back, On };
    void SelectBeside(Direction direction);

    bool RemovePage(size_t page) override;

protected:
    bool UpdateTabCtrlHeight() override;

private:
    void OnKey(wxKeyEvent& event);
    // Offers the list of the tabs when not all of them fit.
    void CheckOverflow();
    wxAuiTabCtrl* Tabs() const;

    bool const m_keepsLayout;
};
