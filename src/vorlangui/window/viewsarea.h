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

    explicit ViewsArea(wxWindow* parent);

    // A check item for each tab.
    void AppendMenuViews(wxMenu& menu) const;
    // The last one at most.
    void ShowTab(int view);
    // Of the page in front.
    void FocusFirstList();

private:
    void AddView(wxvPanel* page, wxString const& name, ListCtrlBase* first);
    void AddOverview();
    void OnChangeView(wxAuiNotebookEvent& event);

    std::vector<ListCtrlBase*> m_first; // the list of each page that takes the focus
};

} // namespace vorlan
