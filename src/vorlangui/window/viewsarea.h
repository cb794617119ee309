#pragma once

#include <vector>
#include <wx/wxvnotebook.h>

class wxMenu;
class wxvPanel;

namespace vorlan {

class ListCtrlBase;

// ViewsArea is the book of the lists. The View menu names its tabs.
// Owner: the _MainSplitter. Works with: the MainWindow, whose View menu it keeps in step.
// Thread: the GUI thread.
// Always: lists on a tab behind are stale; they are brought up to date when it comes to
// the front.
class ViewsArea : public wxvNotebook {
public:
    static constexpr int k_Id = 2000;
    static constexpr int k_FirstMenuId = 14000;
    static constexpr int k_LastMenuId = 14099;

    explicit ViewsArea(wxWindow* parent);

    // Puts a check item for each tab at the top of the menu.
    void InsertMenuViews(wxMenu& menu) const;
    // To the tab of a menu item, the last one at most.
    void ShowViewOf(int menuId);
    // Of the page in front.
    void FocusFirstList();

private:
    void AddView(wxvPanel* page, wxString const& name, ListCtrlBase* first);
    void AddOverview();
    void OnChangeView(wxAuiNotebookEvent& event);

    std::vector<ListCtrlBase*> m_first; // the list of each page that takes the focus
};

} // namespace vorlan
