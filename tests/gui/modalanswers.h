#pragma once

#include "test.h"

#include <wx/dialog.h>
#include <wx/modalhook.h>
#include <wx/wxvmessagedlg.h>
#include <wx/wxvtext.h>
#include <wx/wxvtextentry.h>

namespace vorlan {

// Answers every modal dialog at once, without showing it, and notes what it said.
class ModalAnswers : public wxModalDialogHook {
public:
    explicit ModalAnswers(int answer) : m_answer(answer) { Register(); }
    ~ModalAnswers() override { Unregister(); }

    // "title: text" of message boxes, the title alone of others, since the last call.
    std::vector<String> Take() { return std::exchange(m_seen, {}); }
    bool Any() const { return !m_seen.empty(); }

    wxString typed;                      // into dialogs with a field
    std::function<void(wxDialog&)> look; // at each, before it is answered

protected:
    int Enter(wxDialog* dialog) override {
        String seen = wxvString(dialog->GetTitle());
        if (auto* const box = dynamic_cast<wxvMessageDlg*>(dialog))
            seen += ": " + wxvString(box->GetMessage());
        if (auto* const field = dynamic_cast<wxvTextEntryDlg*>(dialog)) {
            seen += ": " + wxvString(field->GetMessage());
            field->SetValue(typed);
        }
        m_seen.push_back(seen);
        if (look)
            look(*dialog);
        return m_answer;
    }

private:
    int const m_answer;
    std::vector<String> m_seen;
};

} // namespace vorlan
