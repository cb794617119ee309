#pragma once

// A list of names for the tests of lists, which writes down what it hears.

#include "wxtools.h"

#include <wx/wxdblistctrl.h>

class SampleList : public wxDBListCtrl {
public:
    explicit SampleList(wxWindow* parent, long style = 0) : wxDBListCtrl(parent, 77, style) {
        AddColumn(10, "Name", 120);
        AddColumn(11, "Number", 80, Align::Right);
        AddColumn(12, "Note", 150);
        for (auto const& [type, name] :
             {std::pair(wxEVT_LIST_ITEM_SELECTED, "+"), std::pair(wxEVT_LIST_ITEM_DESELECTED, "-"),
              std::pair(wxEVT_LIST_ITEM_ACTIVATED, "!"), std::pair(wxEVT_LIST_ITEM_RIGHT_CLICK, "menu"),
              std::pair(wxEVT_LIST_COL_CLICK, "click "), std::pair(wxEVT_LIST_COL_RIGHT_CLICK, "head menu "),
              std::pair(wxEVT_LIST_COL_END_DRAG, "drag ")})
            parent->Bind(type, [this, name = std::string(name)](wxListEvent& event) {
                Hear(event, name + std::to_string(name.ends_with(' ') ? event.GetColumn() : event.GetIndex()));
            });
        auto const count = [this](wxEvent& event) {
            ++counts[event.GetEventType()];
            event.Skip();
        };
        for (auto const& type : {wxEVT_MOTION, wxEVT_LEFT_DOWN, wxEVT_LEFT_UP, wxEVT_LEFT_DCLICK, wxEVT_RIGHT_UP})
            Bind(type, count);
        for (auto const& type : {wxEVT_KEY_DOWN, wxEVT_KEY_UP})
            Bind(type, count);
    }

    // The rows' names are their numbers in words, of no account here.
    void Fill(int rows) {
        names.clear();
        for (int i = 0; i < rows; ++i)
            names.push_back(corekit::SFormat("row %03d", i));
        Clear();
        Insert(0, names.size(), true);
    }

    corekit::String GetDisplayText(int row, int column) override {
        EXPECT_EQ(row, m_prepared) << "a row is prepared before it is asked for";
        if (column == 0)
            return names.at(static_cast<size_t>(row));
        return column == 1 ? corekit::String::From(row) : corekit::String("A note that is longer than its column is");
    }
    void PrepareToDraw(int row) override {
        EXPECT_LT(row, static_cast<int>(names.size()));
        m_prepared = row;
    }
    void CleanupAfterDraw(int) override { m_prepared = -1; }

    // What was heard since the last call, in order.
    std::string Take() { return std::exchange(m_heard, {}); }
    std::string Selected() {
        std::string text;
        for (int const row : GetSelection())
            text += (text.empty() ? "" : " ") + std::to_string(row);
        return text;
    }

    std::vector<corekit::String> names;
    std::function<void()> onEvent;
    // How many of each the window system has sent.
    std::map<wxEventType, int> counts;

private:
    void Hear(wxListEvent& event, std::string const& what) {
        EXPECT_EQ(event.GetId(), 77);
        EXPECT_EQ(event.GetEventObject(), this);
        m_heard += (m_heard.empty() ? "" : " ") + what;
        if (onEvent)
            onEvent();
    }

    std::string m_heard;
    int m_prepared = -1;
};

struct SampleListTest : WindowTest {
    explicit SampleListTest(long style = 0) : list(new SampleList(&Frame(), style)) {
        list->Fill(300);
        Show(list);
        Settle();
    }

    // Until everything that waits is done and drawn.
    void Settle() {
        Pump();
        list->Update();
        Pump();
    }
    wxPoint OnScreen(wxPoint const& point) { return list->ClientToScreen(point); }
    wxPoint InCell(int row, int column = 0) {
        wxRect const cell = list->GetCellRect(row, column);
        return OnScreen(wxPoint(cell.x + 12, cell.y + cell.height / 2));
    }
    // Does what makes the window system send that event, and waits for it.
    template <class Act>
    void Await(wxEventType type, Act&& act) {
        int& count = list->counts[type];
        int const before = count;
        act();
        EXPECT_TRUE(PumpUntil([&] { return count > before; }, 3000)) << "an event of the window system";
        Settle();
    }
    void MoveTo(wxPoint const& screen) {
        if (wxGetMousePosition() == screen)
            return;
        if (list->GetScreenRect().Contains(screen) || list->HasCapture())
            Await(wxEVT_MOTION, [&] { hand.MouseMove(screen); });
        else
            hand.MouseMove(screen);
        EXPECT_TRUE(PumpUntil([&] { return wxGetMousePosition() == screen; }));
        Settle();
    }
    void Click(wxPoint const& screen, int button = wxMOUSE_BTN_LEFT) {
        MoveTo(screen);
        Await(button == wxMOUSE_BTN_LEFT ? wxEVT_LEFT_UP : wxEVT_RIGHT_UP, [&] { hand.MouseClick(button); });
    }
    void DoubleClick(wxPoint const& screen) {
        MoveTo(screen);
        Await(wxEVT_LEFT_DCLICK, [&] { hand.MouseDblClick(); });
    }
    void ClickWith(wxKeyCode key, wxPoint const& screen) {
        MoveTo(screen);
        Await(wxEVT_KEY_DOWN, [&] { hand.KeyDown(key); });
        Click(screen);
        Await(wxEVT_KEY_UP, [&] { hand.KeyUp(key); });
    }
    void Drag(wxPoint const& from, wxPoint const& to) {
        MoveTo(from);
        Await(wxEVT_LEFT_DOWN, [&] { hand.MouseDown(); });
        MoveTo((from + to) / 2);
        MoveTo(to);
        Await(wxEVT_LEFT_UP, [&] { hand.MouseUp(); });
    }
    void Key(int key, int modifiers = wxMOD_NONE) {
        Await(wxEVT_KEY_UP, [&] { hand.Char(key, modifiers); });
    }

    SampleList* const list;
};
