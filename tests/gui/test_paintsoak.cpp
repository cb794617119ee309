// What is on the screen is what a full paint would show, whatever happens to a list. Some
// hundreds of steps; thousands with VORLAN_SOAK=full.
#include "guitest.h"
#include "screenpixels.h"

#include "lists/joblistctrl.h"

#include <wx/listctrl.h>
#include <wx/textctrl.h>
#include <wx/tooltip.h>
#include <wx/wxdbtreelistctrl.h>
#include <wx/wxtimed.h>

namespace vorlan::test_paintsoak {

int StepsOfPaintSoak() {
    char const* const wish = std::getenv("VORLAN_SOAK");
    return wish && std::string_view(wish) == "full" ? 6000 : 300;
}

// A tree whose texts and colours change.
class ChangingTree : public wxDBTreeListCtrl {
public:
    explicit ChangingTree(wxWindow* parent) : wxDBTreeListCtrl(parent) {
        AddColumn(0, "Work", 240);
        AddColumn(1, "State", 150);
        AddColumn(2, "Number", 90, Align::Right);
    }
    static String Text(wxDBTreeListCtrl& list, Item const& item, int column) {
        auto const& tree = static_cast<ChangingTree&>(list);
        size_t const number = std::hash<String>()(item.GetId()) % 13;
        return column == 0 ? item.GetId() : SFormat("state %zu", (number + tree.turn / 7 * number) % 9);
    }
    size_t turn = 0;
};

class PaintSoak : public GuiTest {
protected:
    PaintSoak() : m_frame(new wxFrame(nullptr, wxID_ANY, "Paint", wxPoint(20, 20), wxSize(760, 420))) {
        wxToolTip::Enable(false);
    }
    ~PaintSoak() override {
        wxToolTip::Enable(true);
        delete m_frame;
        Pump();
    }

    int Pick(int below) { return below > 0 ? static_cast<int>(m_random() % static_cast<unsigned>(below)) : 0; }

    void Show(wxDBListCtrl& list) {
        m_frame->SetSizer(new wxBoxSizer(wxVERTICAL));
        m_frame->GetSizer()->Add(&list, wxSizerFlags(1).Expand());
        m_frame->GetSizer()->Add(new wxTextCtrl(m_frame, wxID_ANY), wxSizerFlags().Expand());
        m_frame->Show();
        m_frame->Layout();
        ASSERT_TRUE(PumpUntil([&list] { return list.IsShownOnScreen() && list.CountDrawnRows() > 0; }));
    }

    // What people do to any list.
    void ActOn(wxDBListCtrl& list) {
        int const row = Pick(list.GetItemCount());
        int const rowInSight = list.GetScrollPos(wxVERTICAL) + Pick(list.GetRowsPerPage());
        switch (Pick(12)) {
        case 0:
            list.SetScrollPos(wxVERTICAL, Pick(list.GetItemCount()));
            break;
        case 1:
            list.EnsureVisible(row);
            break;
        case 2:
            list.RedrawColumn(Pick(list.GetColumnCount()));
            break;
        case 3:
            list.SetColumnWidth(Pick(list.GetColumnCount()), 40 + Pick(200));
            break;
        case 4:
            list.SetScrollPos(wxHORIZONTAL, Pick(300));
            break;
        case 5:
            Focus(list, Pick(2) == 0);
            break;
        case 6:
            Press(list, std::array{WXK_UP, WXK_DOWN, WXK_PAGEDOWN, WXK_PAGEUP, WXK_HOME}[static_cast<size_t>(Pick(5))]);
            break;
        case 7:
            list.DeselectAll();
            list.Select(rowInSight);
            break;
        default:
            Mouse(list, wxEVT_MOTION, wxPoint(Pick(list.GetClientSize().x), Pick(list.GetClientSize().y)));
        }
    }
    static void Mouse(wxDBListCtrl& list, wxEventType type, wxPoint const& point) {
        wxMouseEvent event(type);
        event.SetPosition(point);
        list.ProcessWindowEvent(event);
    }
    void Press(wxDBListCtrl& list, int key) {
        wxKeyEvent event(wxEVT_KEY_DOWN);
        event.m_keyCode = key;
        event.SetControlDown(Pick(3) == 0);
        event.SetShiftDown(Pick(3) == 0);
        list.ProcessWindowEvent(event);
    }
    void Focus(wxDBListCtrl& list, bool on) {
        if (on)
            list.SetFocus();
        else
            m_frame->GetChildren().back()->SetFocus();
    }

    // Some things at a time, drawn between them or not, and then a look.
    void Run(wxDBListCtrl& list, std::function<void()> const& act) {
        for (int step = 0; step < StepsOfPaintSoak(); ++step) {
            for (int count = 1 + Pick(4); count > 0; --count) {
                act();
                int const drawn = Pick(4);
                if (drawn == 0)
                    Pump();
                else if (drawn < 3)
                    list.wxWindow::Update();
            }
            wxTimed::s_Timer0250.Emit();
            // The window system gives room that a scroll bar leaves in its own time.
            PumpAndDraw(list);
            if (wxSize const size = list.GetClientSize(); size != std::exchange(m_size, size)) {
                wxMilliSleep(30);
                PumpAndDraw(list);
            }
            ASSERT_EQ(FirstStalePixel(list), "") << "step " << step;
        }
    }

    wxFrame* const m_frame;
    wxSize m_size;
    std::mt19937 m_random{7};
};

TEST_F(PaintSoak, JobsOnTheScreenAreTheJobsThereAre) {
    auto const insert = [this] {
        auto const job = NewJob(SFormat("job %03d", Pick(1000)).c_str());
        job->SetParameter(p_Priority, String::From(Pick(5)));
        JobList::Get().InsertJob(job);
    };
    for (int i = 0; i < 60; ++i)
        insert();
    auto* const list = new _JobListCtrl(m_frame, 0);
    Show(*list);
    Run(*list, [&] {
        std::vector<UID> const ids = Jobs::GetAllJobs();
        UID const id = ids.empty() ? UID::Null : ids[static_cast<size_t>(Pick(static_cast<int>(ids.size())))];
        switch (Pick(14)) {
        case 0:
        case 1: {
            wxListEvent event(wxEVT_LIST_COL_CLICK, list->GetId());
            event.m_col = Pick(5);
            list->ProcessWindowEvent(event);
            break;
        }
        case 2:
            JobList::Get().UpdateJob(id, p_PercentDone, String::From(Pick(100)));
            break;
        case 3:
            JobList::Get().UpdateJob(id, p_Status, String::From(Pick(3) - 1));
            break;
        case 4:
            insert();
            break;
        case 5:
            if (Pick(40) == 0)
                JobList::Get().Clear();
            else
                JobList::Get().RemoveJob(id);
            break;
        case 6:
        case 7:
            JobList::Get().UpdateJob(id, p_Name, SFormat("job %03d", Pick(1000)));
            wxTimed::s_Timer0250.Emit();
            break;
        default:
            ActOn(*list);
        }
    });
}

TEST_F(PaintSoak, TheTreeOnTheScreenIsTheTreeThereIs) {
    auto* const tree = new ChangingTree(m_frame);
    for (int i = 0; i < 12; ++i) {
        auto* const item =
            tree->AppendItem(nullptr, wxDBTreeListItem::Make(SFormat("%d", 1000 + i), ChangingTree::Text));
        for (int child = 0; child < 5; ++child)
            tree->AppendItem(item, wxDBTreeListItem::Make(SFormat("Run %d", child), ChangingTree::Text));
    }
    Show(*tree);
    Run(*tree, [&] {
        auto* const item = tree->GetItem(Pick(tree->GetItemCount()));
        switch (Pick(12)) {
        case 0:
        case 1:
            tree->Toggle(item);
            break;
        case 2:
            if (tree->GetTreeSize() > 20)
                tree->RemoveItem(item);
            break;
        case 3:
            tree->AppendItem(item, wxDBTreeListItem::Make(SFormat("%d", Pick(5000)), ChangingTree::Text));
            break;
        case 4:
            tree->Sort([this](auto const&, auto const&) { return Pick(2) == 0; });
            break;
        case 5:
            ++tree->turn;
            tree->Redraw();
            break;
        default:
            ActOn(*tree);
        }
    });
}

} // namespace vorlan::test_paintsoak
