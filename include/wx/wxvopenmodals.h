#pragma once

#include <vector>
#include <wx/modalhook.h>

// wxvOpenModals knows the modal dialogs that are open, those of the toolkit and of the
// desktop too, and can end them.
// Owner: the application object. Thread: the GUI thread.
// Always: the last one opened stands last.
class wxvOpenModals : public wxModalDialogHook {
public:
    wxvOpenModals() { Register(); }
    ~wxvOpenModals() override { Unregister(); }

    bool Any() const { return !m_open.empty(); }
    // Ends the uppermost one as Cancel does. It is still open on return: its caller
    // stands on it.
    void EndLast();

protected:
    int Enter(wxDialog* dialog) override;
    void Exit(wxDialog* dialog) override;

private:
    std::vector<wxDialog*> m_open;
};
