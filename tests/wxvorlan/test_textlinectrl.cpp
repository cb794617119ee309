#include "wxtools.h"

#include <vector>
#include <wx/clipbrd.h>
#include <wx/textctrl.h>
#include <wx/wxtextlinectrl.h>

using corekit::String;

namespace {

class TextLineTest : public WindowTest {
protected:
    TextLineTest() : WindowTest(wxSize(400, 300)) {}

    wxTextLineCtrl& Make(wxTextLineCtrl::Selecting selecting = wxTextLineCtrl::Selecting::Text) {
        text = new wxTextLineCtrl(&Frame(), wxID_ANY, selecting);
        text->Bind(wxEVT_LISTBOX, [this](wxCommandEvent& event) { rows.push_back(event.GetInt()); });
        text->Bind(wxEVT_LISTBOX_DCLICK, [this](wxCommandEvent& event) { activated.push_back(event.GetInt()); });
        return *text;
    }
    void Fill(int count) {
        for (int i = 0; i < count; ++i)
            text->Append("line " + String::From(i));
    }
    std::vector<String> Lines() {
        std::vector<String> lines;
        for (int row = 0; row < text->GetLineCount(); ++row)
            lines.push_back(text->GetText(row));
        return lines;
    }
    // The middle of a row that is in sight.
    wxPoint PointAt(int row, int x = 12) {
        wxSize const size = text->GetClientSize();
        for (int y = 0; y < size.y; ++y) {
            if (text->LineAt(wxPoint(x, y)) == row)
                return text->ClientToScreen(wxPoint(x, y + 6));
        }
        ADD_FAILURE() << "row " << row << " is out of sight";
        return wxPoint();
    }

    wxTextLineCtrl* text = nullptr;
    std::vector<int> rows;
    std::vector<int> activated;
};

} // namespace

TEST_F(TextLineTest, FollowsTheEndAsLongAsItIsInSight) {
    Make().SetFollowEnd(true);
    Show(text);
    Fill(500);
    EXPECT_TRUE(PumpUntil([&] { return text->GetTopLine() > 400; }));
    EXPECT_TRUE(text->IsAtEnd());
    Press(WXK_UP);
    EXPECT_TRUE(PumpUntil([&] { return !text->IsAtEnd(); }));
    int const top = text->GetTopLine();
    Fill(100);
    Pump();
    EXPECT_EQ(text->GetTopLine(), top);
    Press(WXK_END);
    EXPECT_TRUE(PumpUntil([&] { return text->IsAtEnd(); }));
    Fill(100);
    EXPECT_TRUE(PumpUntil([&] { return text->GetTopLine() > 600; }));
    // A list that was not asked to follow stays where it is; so does one that is cleared.
    text->Clear();
    Pump();
    EXPECT_EQ(text->GetTopLine(), 0);
    text->SetFollowEnd(false);
    Fill(500);
    Pump();
    EXPECT_EQ(text->GetTopLine(), 0);
}

TEST_F(TextLineTest, MouseSelectsCharactersForTheClipboard) {
    Make();
    Fill(5);
    Show(text);
    hand.MouseMove(PointAt(1, 1));
    hand.MouseDown();
    EXPECT_TRUE(PumpUntil([&] { return text->IsSelecting(); }));
    hand.MouseMove(PointAt(3, 300));
    EXPECT_TRUE(PumpUntil([&] { return text->GetSelectedText() == "line 1\nline 2\nline 3"; }));
    hand.MouseUp();
    EXPECT_TRUE(PumpUntil([&] { return !text->IsSelecting(); }));
    Press('C', wxMOD_CONTROL);
    wxTextDataObject data;
    EXPECT_TRUE(PumpUntil([&] {
        wxClipboardLocker const lock;
        return !!lock && wxTheClipboard->GetData(data) && data.GetText() == "line 1\nline 2\nline 3";
    }));
    // What comes behind it leaves the selection; what comes between ends it.
    text->Append("more");
    EXPECT_TRUE(text->HasSelection());
    text->Insert(0, "above");
    EXPECT_FALSE(text->HasSelection());
    EXPECT_FALSE(text->CopySelection());
    Press('A', wxMOD_CONTROL);
    EXPECT_TRUE(PumpUntil([&] { return text->GetSelectedText().StartsWith("above\nline 0"); }));
    EXPECT_TRUE(text->GetSelectedText().EndsWith("line 4\nmore"));
    hand.MouseMove(PointAt(2));
    hand.MouseDblClick();
    EXPECT_TRUE(PumpUntil([&] { return text->GetSelectedText() == "line"; }));
}

TEST_F(TextLineTest, LinesAreSelectedByMouseAndKey) {
    Make(wxTextLineCtrl::Selecting::Line);
    Fill(100);
    Show(text);
    hand.MouseMove(PointAt(2));
    hand.MouseClick();
    EXPECT_TRUE(PumpUntil([&] { return text->GetSelection() == 2; }));
    for (auto const& each : {std::pair(WXK_DOWN, 3), std::pair(WXK_UP, 2), std::pair(WXK_HOME, 0), std::pair(WXK_UP, 0),
                             std::pair(WXK_END, 99), std::pair(WXK_DOWN, 99)}) {
        Press(each.first);
        EXPECT_TRUE(PumpUntil([&] { return text->GetSelection() == each.second; })) << each.first;
    }
    EXPECT_TRUE(text->IsAtEnd());
    Pump();
    EXPECT_EQ(rows, (std::vector<int>{2, 3, 2, 0, 99})); // none where nothing changed
    hand.Text("line 4");
    EXPECT_TRUE(PumpUntil([&] { return text->GetSelection() == 4; }));
    text->Select(99);
    Press(WXK_RETURN);
    EXPECT_TRUE(PumpUntil([&] { return activated == std::vector<int>{99}; }));
    text->Select(-1);
    EXPECT_EQ(text->GetSelection(), -1);
    Pump();
    EXPECT_EQ(activated.size(), 1U);
}

TEST_F(TextLineTest, SelectionGoesWithItsLine) {
    Make(wxTextLineCtrl::Selecting::Line);
    for (char const* const name : {"night", "GPU", "farm", "Io", "gpu"})
        text->Append(name, true);
    EXPECT_EQ(Lines(), (std::vector<String>{"farm", "GPU", "gpu", "Io", "night"}));

    text->Select(3);
    struct Case {
        std::function<void()> change;
        int row;
    };
    Case const cases[] = {{[&] { text->Swap(3, 2); }, 2},        {[&] { text->Swap(3, 2); }, 3},
                          {[&] { text->Swap(0, 1); }, 3},        {[&] { text->Append("a", true); }, 4},
                          {[&] { text->Append("z", true); }, 4}, {[&] { text->Remove(0); }, 3},
                          {[&] { text->Remove(4); }, 3},         {[&] { text->Remove(17); }, 3},
                          {[&] { text->SetText(3, "IO"); }, 3},  {[&] { text->Remove(3); }, -1},
                          {[&] { text->Select(99); }, -1}};
    for (Case const& each : cases) {
        each.change();
        EXPECT_EQ(text->GetSelection(), each.row) << &each - cases;
    }
    EXPECT_EQ(text->GetText(99), "");
}

TEST_F(TextLineTest, AppendStringTakesLinesApart) {
    Make();
    text->AppendString("one\r\ntwo\n\nfour\n");
    text->AppendString("");
    EXPECT_EQ(Lines(), (std::vector<String>{"one", "two", "", "four", ""}));
}

TEST_F(TextLineTest, FindBarGoesFromHitToHit) {
    Make();
    Fill(60'000); // more than a search looks at in one go
    text->SetText(30'005, "needle one");
    text->SetText(50'000, "a NEEDLE two");
    Show(text);
    Press('F', wxMOD_CONTROL);
    EXPECT_TRUE(PumpUntil([&] { return dynamic_cast<wxTextCtrl*>(wxWindow::FindFocus()) != nullptr; }));
    hand.Text("needle");
    auto const isAt = [&](int row) {
        return PumpUntil([&, row] {
            return text->GetSelectedText().IsSameAs("needle", false) && text->GetTopLine() <= row &&
                   text->GetTopLine() > row - 30;
        });
    };
    EXPECT_TRUE(isAt(30'005));
    Press(WXK_RETURN);
    EXPECT_TRUE(isAt(50'000));
    Press(WXK_RETURN);
    EXPECT_TRUE(isAt(30'005)); // round
    Press(WXK_RETURN, wxMOD_SHIFT);
    EXPECT_TRUE(isAt(50'000));
    hand.Text("x");
    EXPECT_TRUE(PumpUntil([&] { return text->IsMissing(); }));
    Press(WXK_ESCAPE);
    EXPECT_TRUE(PumpUntil([&] { return text->HasFocus(); }));
    EXPECT_FALSE(text->IsSearching());
}

TEST_F(TextLineTest, GrowsToItsLimitAndDropsTheOldest) {
    Make();
    for (int i = 0; i < wxTextLineCtrl::k_MaxLines; ++i)
        text->Append("x");
    text->SelectAll();
    text->Append("last");
    EXPECT_EQ(text->GetLineCount(), wxTextLineCtrl::k_MaxLines - wxTextLineCtrl::k_DropLines + 1);
    EXPECT_EQ(text->GetText(text->GetLineCount() - 1), "last");
    EXPECT_FALSE(text->HasSelection());
    Show(text);
    EXPECT_EQ(text->GetTopLine(), 0);
}
