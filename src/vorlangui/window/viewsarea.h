#pragma once

#include <wx/wxvnotebook.h>

namespace vorlan {

// ViewsArea is the book of the lists.
// Owner: the _MainSplitter. Thread: the GUI thread.
class ViewsArea : public wxvNotebook {
public:
    static constexpr int k_Id = 2000;

    explicit ViewsArea(wxWindow* parent);
};

} // namespace vorlan
