// The end of the client: with a question for people, without one for others.
#include "guitest.h"

#include "window/confirmclose.h"
#include "window/refusals.h"

#include <wx/checkbox.h>
#include <wx/msgdlg.h>
#include <wx/textdlg.h>
#include <wx/wxconfirmdlg.h>

namespace vorlan {

struct CloseTest : GuiTest {
    CloseTest() { HasRunBefore(); }
    // Sets the boxes of the question, by their labels, and keeps how they were shown.
    void Choose(ModalAnswers& answers, std::map<String, bool> const& choice) {
        answers.look = [this, choice](wxDialog& dialog) {
            for (wxWindow* const child : dialog.GetChildren()) {
                auto* const box = dynamic_cast<wxCheckBox*>(child);
                if (!box)
                    continue;
                String const label = wxvString(box->GetLabel());
                boxes[label] = box->GetValue();
                if (auto const found = choice.find(label); found != choice.end())
                    box->SetValue(found->second);
            }
        };
    }
    std::map<String, bool> boxes;
    static constexpr char k_Engine[] = "Leave the Engine running";
    static constexpr char k_Master[] = "Leave the Master running";
    static constexpr char k_DontAsk[] = "Don't ask this again";
};

TEST_F(CloseTest, CancelKeepsTheWindow) {
    StartClient();
    ModalAnswers answers(wxID_CANCEL);
    Choose(answers, {{k_Engine, true}, {k_DontAsk, true}});
    Window().Close();
    Pump();
    ASSERT_NE(MainWindow::Get(), nullptr);
    EXPECT_EQ(answers.Take(), std::vector<String>{"Confirm Close"});
    EXPECT_EQ(Option("StartEngine"), -99) << "a choice that was taken back is not stored";
    EXPECT_FALSE(wxConfirmDlg::IsAnswered("ConfirmClose"));
    // In Engine Mode likewise; but nothing is asked where no answer counts.
    wxCommandEvent nothing;
    Window().OnEngineMode(nothing);
    Window().Close();
    EXPECT_EQ(answers.Take().size(), 1u);
    Window().Close(true);
    EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    EXPECT_FALSE(answers.Any());
}

TEST_F(CloseTest, ChoicesAreStored) {
    Options().SetValue("Configuration", "StartMaster", 2);
    StartClient();
    {
        ModalAnswers answers(wxID_OK);
        Choose(answers, {{k_Engine, true}, {k_Master, false}, {k_DontAsk, true}});
        CloseWindow();
    }
    EXPECT_EQ(boxes, (std::map<String, bool>{{k_Engine, false}, {k_Master, true}, {k_DontAsk, false}}));
    EXPECT_EQ(Option("StartEngine"), 2);
    EXPECT_EQ(Option("StartMaster"), 1);
    EXPECT_TRUE(Options().GetValue("Confirm", "ConfirmClose", false));
    // Told not to ask again.
    StartClient();
    ModalAnswers second(wxID_CANCEL);
    CloseWindow();
    EXPECT_FALSE(second.Any());
}

TEST_F(CloseTest, NobodyIsAskedOnAShutdown) {
    StartClient();
    ModalAnswers answers(wxID_CANCEL);
    Say(ShutdownMsg::New());
    EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    EXPECT_FALSE(answers.Any());
}

TEST_F(CloseTest, AShutdownEndsWhatIsOpen) {
    std::function<void(MainWindow&)> const open[] = {
        [](MainWindow& window) { window.Close(); },
        [](MainWindow& window) { EXPECT_EQ(wxMessageBox("Of the desktop", "Box", wxOK, &window), wxCANCEL); },
        [](MainWindow& window) { wxGetPasswordFromUser("Of the toolkit", "Box", wxString(), &window); },
        [](MainWindow& window) {
            wxMenu menu;
            menu.Append(wxID_COPY);
            window.PopupMenu(&menu);
        },
    };
    for (auto const& show : open) {
        Executable::SetRunning(true);
        bool told = false;
        // It waits for a loop, and the next one is that of what is open.
        StartClient().CallAfter([&told] {
            told = true;
            Say(ShutdownMsg::New());
        });
        show(Window());
        EXPECT_TRUE(told);
        EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    }
}

TEST_F(CloseTest, AConnectionThatComesTooLateChangesNothing) {
    StartClient();
    outside.connected = true;
    Window().Close(true);
    outside.TakeSteps();
    Connected();
    EXPECT_TRUE(outside.TakeSteps().empty());
    Window().ShowView(MainWindow::k_ViewMain);
    Disconnected();
    EXPECT_TRUE(outside.TakeSteps().empty());
    EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    EXPECT_EQ(Gui().Window(), nullptr);
}

TEST_F(CloseTest, TheWindowsPlaceIsKept) {
    StartClient().SetSize(wxRect(60, 50, 900, 600));
    wxRect const place(60, 50, 900, 600);
    ASSERT_TRUE(PumpUntil([&] { return Window().GetRect() == place; }));
    ModalAnswers const answers(wxID_OK);
    CloseWindow();
    EXPECT_EQ(StartClient().GetSize(), wxSize(900, 600));
    EXPECT_TRUE(PumpUntil([&] { return Window().IsShown() && Window().GetRect() == place; }));
    // Also behind a window that fills the screen.
    Window().Maximize();
    ASSERT_TRUE(PumpUntil([&] { return Window().IsMaximized() && Window().GetSize().x > place.width; }));
    CloseWindow();
    StartClient();
    EXPECT_TRUE(PumpUntil([&] { return Window().IsMaximized() && Window().GetSize().x > place.width; }));
    Window().Maximize(false);
    EXPECT_TRUE(PumpUntil([&] { return Window().GetRect() == place; })) << Window().GetSize().x;
}

TEST(LeaveRunning, StoresWhatTheUserChose) {
    constexpr int k_Nothing = -99;
    Rows<bool, int, int> const cases = {{true, -1, 2},         {true, 0, 2},          {true, 1, 2},
                                        {true, 2, 2},          {false, 2, 1},         {false, 1, k_Nothing},
                                        {false, 0, k_Nothing}, {false, -1, k_Nothing}};
    for (auto const& [checked, option, stored] : cases)
        EXPECT_EQ(LeaveRunningOption(checked, option).value_or(k_Nothing), stored) << checked << " " << option;
}

TEST_F(CloseTest, ARefusalOpensNoBoxOverAWindowThatCloses) {
    StartClient();
    ModalAnswers answers(wxID_OK);
    TellRefusal("late");
    ShowRefusals();
    Window().Close(true);
    EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    EXPECT_FALSE(answers.Any());
}

} // namespace vorlan
