#pragma once

#include <corekit/string.h>
#include <corekit/uid.h>
#include <vorlan/fwd.h>

#include <functional>
#include <memory>
#include <vector>
#include <wx/wxvpanel.h>

class wxButton;
class wxvTextCtrl;

namespace vorlan {

// A Job that can be chosen.
struct JobOffer {
    UID id;
    String name;
    String detail; // tells Jobs of one name apart; may be empty
};

// The indices of the offers that a typed text finds, best first, at most `limit`: each
// word of it occurs in the name or the detail, in any case. A name that begins with the
// text comes before others; else the order of the offers stays.
std::vector<size_t> FindJobs(std::vector<JobOffer> const& offers, String const& typed, size_t limit);

// JobSelector is a field to choose one Job by typing a part of its name.
// Owner: its parent window.
// Works with: a source of Jobs, which the program gives it.
// Thread: the GUI thread.
// Always: while something is being typed the Job chosen before stays; leaving the field
// without a choice brings its name back. A choice by the user sends wxEVT_CHOICE with
// the control's own id.
class JobSelector : public wxvPanel {
public:
    // All Jobs, in the order in which they are to be offered.
    using Source = std::function<std::vector<JobOffer>()>;

    JobSelector(wxWindow* parent, Source source, wxWindowID id = wxID_ANY);
    ~JobSelector() override;

    // No Jobs, none chosen.
    void Clear();
    // Asks the source; `except`, the Job for which one is chosen, is left out.
    void Fill(UID const& except = UID());
    // A Job that is not offered is kept as chosen, and shown as its UID. Null: none.
    void SelectJob(UID const& id);
    UID GetJob() const { return m_selected; }

    bool Enable(bool enable = true) override;
    void SetFocus() override;

    wxvTextCtrl* Text() { return m_text; }
    // What the list offers now; empty while it is closed.
    std::vector<UID> Shown() const;

private:
    class List;

    void OnText();
    void OnKey(wxKeyEvent& event);
    void OpenList(String const& typed);
    void CloseList();
    void ChooseRow(size_t row);
    void ShowSelected();
    void Tell();

    Source const m_source;
    wxvTextCtrl* m_text;
    wxButton* m_open;
    List* m_list = nullptr; // while it is open; the toolkit owns it
    std::vector<JobOffer> m_offers;
    std::vector<size_t> m_found; // the rows of the list, as indices of m_offers
    UID m_selected;
};

} // namespace vorlan
