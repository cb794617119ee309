#pragma once

#include "infofacts.h"

#include <functional>
#include <wx/wxtimed.h>
#include <wx/wxvpanel.h>

namespace vorlan {

// InfoPane shows what is selected: its name, its state, a few facts that keep up with
// it.
// Owner: the _MainSplitter. Works with: the MainWindow, which tells it what to show.
// Thread: the GUI thread.
// Always: a fact that has not changed is not drawn again.
class InfoPane : public wxvPanel, public wxTimed {
public:
    explicit InfoPane(wxWindow* parent);

    void SetToNone();
    // Null shows nothing.
    void SetToJob(boost::shared_ptr<JobInfo> const& info);
    void SetToEngine(boost::shared_ptr<EngineInfo> const& engine);
    void SetToWork(boost::shared_ptr<WorkInfo> const& work);

    // What it shows now.
    InfoFacts const& Facts() const { return m_facts; }

protected:
    void OnTimer() override;
    void DoShow() override { Collect(); }

private:
    using Source = std::function<InfoFacts()>;

    void SetTo(Source source);
    void Collect();
    void OnPaint(wxPaintEvent& event);
    void OnMotion(wxMouseEvent& event);
    int NameWidth(wxDC& dc) const;
    // Index of the fact at that height; -1: none.
    int FactAt(int y) const;
    int FactTop(size_t index) const;

    Source m_source; // empty: nothing is selected
    InfoFacts m_facts;
    int m_tipFact = -1;
};

} // namespace vorlan
