#pragma once

#include <vector>
#include <wx/modalhook.h>

// wxvOpenModals knows what holds its caller until the user has answered: modal dialogs,
// those of the toolkit and of the desktop too, and menus that have popped up. It can end
// them.
// Owner: the application object. Thread: the GUI thread.
// Always: the dialog opened last stands last.
class wxvOpenModals : public wxModalDialogHook {
public:
    wxvOpenModals() { Register(); }
    ~wxvOpenModals() override { Unregister(); }

    // Ends the uppermost one as Cancel does; its caller goes on later, in its own loop.
    // False: there was none.
    bool EndUppermost();

protected:
    int Enter(wxDialog* dialog) override;
    void Exit(wxDialog* dialog) override;

private:
    std::vector<wxDialog*> m_open;
};
