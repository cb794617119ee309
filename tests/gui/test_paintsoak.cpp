// What is on the screen is what a full paint would show, whatever happens to a list. Some
// hundreds of steps; thousands with VORLAN_SOAK=full.
#include "guitest.h"
#include "screenpixels.h"

#include <wx/tooltip.h>
#include <wx/wxdbtreelistctrl.h>

namespace vorlan::test_paintsoak {

// A tree whose texts and colours change.
struct ChangingTree : wxDBTreeListCtrl {
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

struct PaintSoak : GuiTest {
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
        std::function<void()> const acts[] = {
            [&] { list.SetScrollPos(wxVERTICAL, Pick(list.GetItemCount())); },
            [&] { list.EnsureVisible(Pick(list.GetItemCount())); },
            [&] { list.RedrawColumn(Pick(list.GetColumnCount())); },
            [&] { list.SetColumnWidth(Pick(list.GetColumnCount()), 40 + Pick(200)); },
            [&] { list.SetScrollPos(wxHORIZONTAL, Pick(300)); },
            [&] { (Pick(2) ? m_frame->GetChildren().back() : &list)->SetFocus(); },
            [&] {
                Press(list, std::array{WXK_UP, WXK_DOWN, WXK_PAGEDOWN, WXK_PAGEUP, WXK_HOME}.at(
                                static_cast<size_t>(Pick(5))));
            },
            [&] {
                list.DeselectAll();
                list.Select(list.GetScrollPos(wxVERTICAL) + Pick(list.GetRowsPerPage()));
            },
        };
        if (auto const act = static_cast<size_t>(Pick(12)); act < std::size(acts))
            acts[act]();
        else
            Move(list, wxPoint(Pick(list.GetClientSize().x), Pick(list.GetClientSize().y)));
    }
    static void Move(wxDBListCtrl& list, wxPoint const& point) {
        wxMouseEvent event(wxEVT_MOTION);
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
    // Some things at a time, drawn between them or not, and then a look.
    void Run(wxDBListCtrl& list, std::function<void()> const& act) {
        for (int step = 0; step < (IsFullSoak() ? 6000 : 300); ++step) {
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
        auto const sort = [&] {
            wxListEvent event(wxEVT_LIST_COL_CLICK, list->GetId());
            event.m_col = Pick(5);
            list->ProcessWindowEvent(event);
        };
        auto const rename = [&] {
            JobList::Get().UpdateJob(id, p_Name, SFormat("job %03d", Pick(1000)));
            wxTimed::s_Timer0250.Emit();
        };
        std::function<void()> const acts[] = {
            sort,
            sort,
            [&] { JobList::Get().UpdateJob(id, p_PercentDone, String::From(Pick(100))); },
            [&] { JobList::Get().UpdateJob(id, p_Status, String::From(Pick(3) - 1)); },
            insert,
            [&] { Pick(40) ? JobList::Get().RemoveJob(id) : JobList::Get().Clear(); },
            rename,
            rename,
        };
        if (auto const act = static_cast<size_t>(Pick(14)); act < std::size(acts))
            acts[act]();
        else
            ActOn(*list);
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
        auto const toggle = [&] { tree->Toggle(item); };
        std::function<void()> const acts[] = {
            toggle,
            toggle,
            [&] {
                if (tree->GetTreeSize() > 20)
                    tree->RemoveItem(item);
            },
            [&] { tree->AppendItem(item, wxDBTreeListItem::Make(SFormat("%d", Pick(5000)), ChangingTree::Text)); },
            [&] { tree->Sort([this](auto const&, auto const&) { return Pick(2) == 0; }); },
            [&] {
                ++tree->turn;
                tree->Redraw();
            },
        };
        if (auto const act = static_cast<size_t>(Pick(12)); act < std::size(acts))
            acts[act]();
        else
            ActOn(*tree);
    });
}

} // namespace vorlan::test_paintsoak
