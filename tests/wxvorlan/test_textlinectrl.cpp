#include "wxtools.h"

#include <wx/clipbrd.h>
#include <wx/wxtextlinectrl.h>

namespace test_textlinectrl {

using corekit::String;

struct TextLineTest : WindowTest {
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
    for (auto const& [key, row] :
         Rows<int, int>{{WXK_DOWN, 3}, {WXK_UP, 2}, {WXK_HOME, 0}, {WXK_UP, 0}, {WXK_END, 99}, {WXK_DOWN, 99}}) {
        Press(key);
        EXPECT_TRUE(PumpUntil([&] { return text->GetSelection() == row; })) << key;
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
    Rows<std::function<void()>, int> const cases = {
        {[&] { text->Swap(3, 2); }, 2},        {[&] { text->Swap(3, 2); }, 3},
        {[&] { text->Swap(0, 1); }, 3},        {[&] { text->Append("a", true); }, 4},
        {[&] { text->Append("z", true); }, 4}, {[&] { text->Remove(0); }, 3},
        {[&] { text->Remove(4); }, 3},         {[&] { text->Remove(17); }, 3},
        {[&] { text->SetText(3, "IO"); }, 3},  {[&] { text->Remove(3); }, -1},
        {[&] { text->Select(99); }, -1}};
    int step = 0;
    for (auto const& [change, row] : cases) {
        change();
        EXPECT_EQ(text->GetSelection(), row) << step++;
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
    EXPECT_TRUE(PumpUntil([&] { return text->GetFindState().rank == 1 && text->GetFindState().hits == 2; }));
    text->SetText(10, "needle three"); // what is there now is counted
    EXPECT_TRUE(PumpUntil([&] { return text->GetFindState().hits == 3; }));
    hand.Text("x");
    EXPECT_TRUE(PumpUntil([&] { return text->IsMissing(); }));
    bool hasReachedFrame = false;
    Frame().Bind(wxEVT_CHAR_HOOK, [&](wxKeyEvent& event) {
        hasReachedFrame |= event.GetKeyCode() == WXK_ESCAPE;
        event.Skip();
    });
    Press(WXK_ESCAPE);
    EXPECT_TRUE(PumpUntil([&] { return text->HasFocus(); }));
    EXPECT_FALSE(hasReachedFrame); // a window that closes on Escape stays
    Press(WXK_ESCAPE);
    EXPECT_TRUE(PumpUntil([&] { return hasReachedFrame; }));
    EXPECT_FALSE(text->IsSearching());
}

TEST_F(TextLineTest, AFileIsFollowedWhileAProgramWrites) {
    constexpr int k_Lines = 1'000'000;
    corekit::TempFolder const folder;
    corekit::Path const path = folder / "out.log";
    std::ofstream(path.c_str()) << "line 0\n";
    Make().SetFollowEnd(true);
    Show(text);
    text->ShowFile(path);
    EXPECT_TRUE(PumpUntil([&] { return text->GetText(0) == "line 0"; }));
    String const command = "seq -f 'line %.0f' 1 " + String::From(k_Lines - 1) + " >> '" + path + "' &";
    ASSERT_EQ(std::system(command.c_str()), 0);
    bool isInOrder = true;
    int before = 0;
    EXPECT_TRUE(PumpUntil([&] {
        isInOrder &= text->GetLineCount() >= before && text->IsAtEnd();
        before = text->GetLineCount();
        for (int row = text->GetTopLine(); row < before - 1; ++row) // the last may be half a line
            isInOrder &= text->GetText(row) == "line " + String::From(row);
        return before == k_Lines;
    }));
    EXPECT_TRUE(isInOrder);
    // Any place, by key and by search; what is selected is copied though it is not at hand.
    Press(WXK_HOME);
    EXPECT_TRUE(PumpUntil([&] { return text->GetTopLine() == 0 && text->GetText(3) == "line 3"; }));
    text->EnsureVisible(500'000);
    EXPECT_TRUE(PumpUntil([&] { return text->GetText(500'000) == "line 500000"; }));
    text->Find("LINE 77777");
    EXPECT_TRUE(PumpUntil([&] { return text->GetFindState().hits == 11 && text->GetFindState().rank >= 0; }));
    EXPECT_EQ(text->GetSelectedText(), "line 77777");
    text->SelectAll();
    EXPECT_TRUE(text->CopySelection());
    EXPECT_TRUE(PumpUntil([&] { return text->GetStatus().text.StartsWith("Copied"); }));
    wxTextDataObject data;
    {
        wxClipboardLocker const lock;
        ASSERT_TRUE(wxTheClipboard->GetData(data));
    }
    EXPECT_EQ(data.GetText().length(), static_cast<size_t>(corekit::File::Size(path)) - 1);
    text->Save(folder / "saved.log");
    EXPECT_TRUE(PumpUntil([&] { return text->GetStatus().text.StartsWith("Saved"); }));
    EXPECT_EQ(corekit::File::Read(folder / "saved.log"), corekit::File::Read(path));
    corekit::File::Delete(path);
    EXPECT_TRUE(PumpUntil([&] { return text->GetStatus().text.StartsWith("The file is gone"); }));
    EXPECT_EQ(text->GetLineCount(), k_Lines);
    text->Append("a line"); // lines from now on
    EXPECT_EQ(Lines(), std::vector<String>{"a line"});
}

TEST_F(TextLineTest, AHugeLineIsShownCut) {
    corekit::TempFolder const folder;
    corekit::Path const path = folder / "out.log";
    {
        std::ofstream file(path.c_str());
        std::string const block(1 << 20, 'x');
        file << "first\n";
        for (int i = 0; i < 100; ++i)
            file << block;
        file << "needle\nlast";
    }
    Make().SetFollowEnd(true);
    Show(text);
    text->ShowFile(path);
    EXPECT_TRUE(PumpUntil([&] { return text->GetLineCount() == 3 && text->GetText(2) == "last"; }));
    EXPECT_EQ(text->GetText(0), "first");
    text->Find("needle"); // it stands in what is cut: the mark there is selected
    EXPECT_TRUE(PumpUntil([&] { return text->GetFindState().hits == 1 && text->HasSelection(); }));
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

} // namespace test_textlinectrl
