#pragma once

#include "infofacts.h"

#include <functional>
#include <vector>
#include <wx/arrstr.h>
#include <wx/scrolwin.h>
#include <wx/wxtimed.h>
#include <wx/wxvpanel.h>

namespace vorlan {

// InfoPane shows what is selected: its name, its state, a few facts that keep up with
// it. Where there is little room beside the names of the facts, the values stand below
// them; what is longer than the pane scrolls.
// Owner: the _MainSplitter. Works with: the MainWindow, which tells it what to show.
// Thread: the GUI thread.
// Always: a fact that has not changed is not drawn again.
class InfoPane : public wxvPanel, public wxScrollHelper, public wxTimed {
public:
    explicit InfoPane(wxWindow* parent);

    void SetToNone();
    // Null shows nothing.
    void SetToJob(boost::shared_ptr<JobInfo> const& info);
    void SetToEngine(boost::shared_ptr<EngineInfo> const& engine);
    void SetToWork(boost::shared_ptr<WorkInfo> const& work);

    // There is nothing in it for the keyboard.
    bool AcceptsFocus() const override { return false; }
    bool AcceptsFocusFromKeyboard() const override { return false; }

    // What it shows now.
    InfoFacts const& Facts() const { return m_facts; }
    // The lines in which it shows a fact's value.
    wxArrayString const& LinesOf(size_t fact) const { return m_places[fact].lines; }

    WX_FORWARD_TO_SCROLL_HELPER()

protected:
    void OnTimer() override;
    void OnInView() override { Collect(); }

private:
    using Source = std::function<InfoFacts()>;
    // Where a fact stands.
    struct Placed {
        int top;
        int valueTop;
        int bottom;
        wxArrayString lines; // of its value
        bool isCut;          // there are more
    };

    void SetTo(Source source);
    void Collect();
    void OnPaint(wxPaintEvent& event);
    void OnMotion(wxMouseEvent& event);
    int NameWidth(wxDC& dc) const;
    // Finds the lines of the heading and of every value for the pane's width, and how far
    // it scrolls.
    void Arrange();
    int PlaceFacts(wxDC& dc, int top, int width); // gives their end
    // Index of the fact at that height of all that there is; -1: none.
    int FactAt(int y) const;

    Source m_source; // empty: nothing is selected
    InfoFacts m_facts;
    wxArrayString m_heading;
    std::vector<Placed> m_places; // one per fact
    int m_arrangedWidth = -1;     // of the pane; -1: the places are not those of the facts
    int m_valueLeft = 0;
    int m_tipFact = -1;
};

} // namespace vorlan
