// The end of the client: with a question for people, without one for others.
#include "guitest.h"

#include "window/confirmclose.h"

#include <vorlan/messages.h>
#include <wx/checkbox.h>
#include <wx/menu.h>
#include <wx/modalhook.h>
#include <wx/msgdlg.h>
#include <wx/textdlg.h>
#include <wx/wxconfirmdlg.h>

namespace vorlan {

namespace {

// Answers every modal dialog at once, and looks at it before.
class ModalAnswer : public wxModalDialogHook {
public:
    explicit ModalAnswer(int answer) : m_answer(answer) { Register(); }
    ~ModalAnswer() override { Unregister(); }

    std::map<std::string, bool> check; // boxes to set, by the beginning of their labels
    int dialogs = 0;
    wxString title;
    std::map<std::string, bool> boxes; // as they were shown

protected:
    int Enter(wxDialog* dialog) override {
        ++dialogs;
        title = dialog->GetTitle();
        for (wxWindow* child : dialog->GetChildren()) {
            auto* const box = dynamic_cast<wxCheckBox*>(child);
            if (!box)
                continue;
            std::string const label(box->GetLabel().utf8_str());
            boxes[label] = box->GetValue();
            if (auto const found = check.find(label); found != check.end())
                box->SetValue(found->second);
        }
        return m_answer;
    }

private:
    int const m_answer;
};

constexpr char k_Engine[] = "Leave the Engine running";
constexpr char k_Master[] = "Leave the Master running";
constexpr char k_DontAsk[] = "Don't ask this again";

} // namespace

class CloseTest : public GuiTest {
protected:
    CloseTest() { HasRunBefore(); }
};

TEST_F(CloseTest, CancelKeepsTheWindow) {
    StartClient();
    ModalAnswer answer(wxID_CANCEL);
    answer.check = {{k_Engine, true}, {k_DontAsk, true}};
    Window().Close();
    Pump();
    ASSERT_NE(MainWindow::Get(), nullptr);
    EXPECT_EQ(answer.dialogs, 1);
    EXPECT_EQ(answer.title, "Confirm Close");
    EXPECT_EQ(Option("StartEngine"), -99) << "a choice that was taken back is not stored";
    EXPECT_FALSE(wxConfirmDlg::IsAnswered("ConfirmClose"));
}

TEST_F(CloseTest, ChoicesAreStored) {
    Options().SetValue("Configuration", "StartMaster", 2);
    StartClient();
    {
        ModalAnswer answer(wxID_OK);
        answer.check = {{k_Engine, true}, {k_Master, false}, {k_DontAsk, true}};
        CloseWindow();
        EXPECT_EQ(answer.boxes, (std::map<std::string, bool>{{k_Engine, false}, {k_Master, true}, {k_DontAsk, false}}));
    }
    EXPECT_EQ(Option("StartEngine"), 2);
    EXPECT_EQ(Option("StartMaster"), 1);
    EXPECT_TRUE(Options().GetValue("Confirm", "ConfirmClose", false));

    // Told not to ask again.
    StartClient();
    ModalAnswer second(wxID_CANCEL);
    CloseWindow();
    EXPECT_EQ(second.dialogs, 0);
}

TEST_F(CloseTest, AnUncheckedBoxLeavesOtherValuesAlone) {
    Options().SetValue("Configuration", "StartEngine", 0);
    StartClient();
    ModalAnswer answer(wxID_OK);
    CloseWindow();
    EXPECT_EQ(Option("StartEngine"), 0);
    EXPECT_EQ(Option("StartMaster"), -99);
}

TEST_F(CloseTest, NobodyIsAskedOnAShutdown) {
    StartClient();
    ModalAnswer answer(wxID_CANCEL);
    ShutdownMsg::s_Signal.Emit(ShutdownMsg::New());
    EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    EXPECT_EQ(answer.dialogs, 0);
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
        GuiTester::GoOn();
        bool told = false;
        // It waits for a loop, and the next one is that of what is open.
        StartClient().CallAfter([&told] {
            told = true;
            ShutdownMsg::s_Signal.Emit(ShutdownMsg::New());
        });
        show(Window());
        EXPECT_TRUE(told);
        EXPECT_TRUE(PumpUntil([] { return MainWindow::Get() == nullptr; }));
    }
}

TEST_F(CloseTest, TheWindowsPlaceIsKept) {
    StartClient().SetSize(wxRect(60, 50, 900, 600));
    ASSERT_TRUE(PumpUntil([this] { return Window().GetRect() == wxRect(60, 50, 900, 600); }));
    {
        ModalAnswer answer(wxID_OK);
        CloseWindow();
    }
    EXPECT_EQ(StartClient().GetSize(), wxSize(900, 600));
    EXPECT_TRUE(PumpUntil([this] { return Window().IsShown() && Window().GetPosition() == wxPoint(60, 50); }));
}

TEST(LeaveRunning, StoresWhatTheUserChose) {
    struct Case {
        bool checked;
        int option;
        std::optional<int> stored;
    };
    constexpr Case k_Cases[] = {{true, -1, 2},
                                {true, 0, 2},
                                {true, 1, 2},
                                {true, 2, 2},
                                {false, 2, 1},
                                {false, 1, std::nullopt},
                                {false, 0, std::nullopt},
                                {false, -1, std::nullopt}};
    for (Case const& c : k_Cases)
        EXPECT_EQ(LeaveRunningOption(c.checked, c.option), c.stored) << c.checked << " " << c.option;
}

} // namespace vorlan
