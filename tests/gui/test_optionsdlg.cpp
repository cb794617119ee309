// Dialogs of rows, by the page of the client's own options.
#include "guitest.h"

#include "config/optionsdlg.h"
#include "dialogs/rowpage.h"
#include "submit/repeatfile.h"

#include <wx/checkbox.h>
#include <wx/choice.h>
#include <wx/stattext.h>

namespace vorlan {

void ChooseEntry(wxChoice& choice, int entry) {
    choice.SetSelection(entry);
    wxCommandEvent event(wxEVT_CHOICE, choice.GetId());
    choice.HandleWindowEvent(event);
}

struct OptionsDlgTest : GuiTest {
    OptionsDlgTest() { StartConnected(); }
    ~OptionsDlgTest() override { Close(); }
    void Open() {
        Close();
        dialog = new OptionsDlg(&Window());
        dialog->TransferDataToWindow();
    }
    void Close() {
        if (dialog)
            dialog->Destroy();
        dialog = nullptr;
    }
    RowPage& Page() { return dialog->General(); }
    template <class T>
    T& Control(OptionInfo const& option) {
        return dynamic_cast<T&>(*Page().FindControl(option));
    }
    void Choose(OptionInfo const& option, int entry) { ChooseEntry(Control<wxChoice>(option), entry); }
    void Type(OptionInfo const& option, char const* text) { Control<wxTextCtrl>(option).SetValue(text); }
    // The labels of its rows, from the top.
    std::vector<String> Labels() {
        std::vector<String> labels;
        for (wxWindow* const child : Page().GetChildren()) {
            if (dynamic_cast<wxStaticText*>(child) || dynamic_cast<wxCheckBox*>(child))
                labels.push_back(wxvString(wxControl::GetLabelText(child->GetLabel())));
        }
        return labels;
    }
    bool Has(String const& label) { return testing::Matches(testing::Contains(label))(Labels()); }
    wxWindow& Minutes() { return *Control<wxChoice>(k_OptionIdleTimeout).GetNextSibling(); }
    OptionsDlg* dialog = nullptr;
};

TEST_F(OptionsDlgTest, ShowsTheRowsInTheirOrderWithWhatHolds) {
    Open();
    EXPECT_EQ(Labels(), (std::vector<String>{
                            "Number of Jobs to save for Repeating", "Creator string", "Default Overtime Kill Ratio",
                            "VNC Viewer Command", "New Job Windows", "Load Job Command", "Drop VJ Files",
                            "Requeue Work", "Stop all Work pauses the Job", "Stop and Requeue Status",
                            "Stop Permanently Status", "Start the Engine on startup", "Start the Master on startup",
                            "Start Brakka on startup", "Start Merrow on startup", "Start Panvale on startup",
                            "Enter Engine Mode", "minutes", "Enable Auto-Complete"}));
    EXPECT_EQ(Control<wxTextCtrl>(k_OptionRepeatCount).GetValue(), "20");
    EXPECT_EQ(Control<wxTextCtrl>(k_OptionCreator).GetValue(), wxvText(MainWindow::DefaultCreator()));
    EXPECT_EQ(Control<wxChoice>(k_OptionNewJobWindow).GetStringSelection(), "Start with last submitted Job");
    EXPECT_EQ(Control<wxChoice>(k_OptionDropImmediate).GetStringSelection(), "Open Submit Job windows");
    EXPECT_EQ(Control<wxChoice>(k_OptionStartBrakka).GetCount(), 4u);
    EXPECT_TRUE(Control<wxCheckBox>(k_OptionPauseOnStopAllWork).GetValue());
    int const left = Control<wxChoice>(k_OptionNewJobWindow).GetPosition().x;
    EXPECT_EQ(Control<wxTextCtrl>(k_OptionVNCCommand).GetPosition().x, left) << "fields stand below each other";
    EXPECT_EQ(Control<wxCheckBox>(k_OptionAutoComplete).GetPosition().x, left);
}

TEST_F(OptionsDlgTest, StoresWhatWasChosen) {
    k_OptionStartEngine.Set(k_StartAndLeave);
    k_OptionVNCCommand.Set("viewer $(Engine)");
    Open();
    EXPECT_EQ(Control<wxChoice>(k_OptionStartEngine).GetSelection(), 3);
    Type(k_OptionRepeatCount, "7");
    Type(k_OptionCreator, "Night shift");
    Type(k_OptionOvertimeKill, " ");
    Type(k_OptionVNCCommand, "  ");
    Choose(k_OptionDropImmediate, 1);
    Choose(k_OptionStopPermanentlyStatus, 2);
    Choose(k_OptionStartEngine, 0);
    Choose(k_OptionStartPanvale, 1);
    Control<wxCheckBox>(k_OptionAutoComplete).SetValue(false);
    EXPECT_FALSE(Options().HasKey("Configuration", "Creator")) << "nothing before OK";
    ASSERT_TRUE(dialog->TransferDataFromWindow());
    EXPECT_EQ(Gui().RepeatJobs().RepeatCount(), 7u);
    Rows<char const*, char const*, char const*> const stored = {{"Configuration", "RepeatCount", "7"},
                                                                {"Configuration", "Creator", "Night shift"},
                                                                {"Configuration", "OvertimeKill", ""},
                                                                {"Configuration", "VNCCommand", "viewer $(Engine)"},
                                                                {"Configuration", "NewJobWindow", "1"},
                                                                {"Configuration", "LoadImmediate", "No"},
                                                                {"Configuration", "DropImmediate", "Yes"},
                                                                {"Configuration", "PauseOnStopAllWork", "Yes"},
                                                                {"Configuration", "StopPermanentlyStatus", "2"},
                                                                {"Configuration", "StartEngine", "-1"},
                                                                {"Configuration", "StartPanvale", "0"},
                                                                {"Configuration", "IdleTimeout", "-1"},
                                                                {"Window", "AutoComplete", "No"}};
    for (auto const& [section, key, value] : stored)
        EXPECT_EQ(Options().GetValue(section, key, ""), value) << key;
    // The default of the Creator is not kept.
    Open();
    EXPECT_EQ(Control<wxTextCtrl>(k_OptionCreator).GetValue(), "Night shift");
    wxWindow* const button = Control<wxTextCtrl>(k_OptionCreator).GetNextSibling();
    wxCommandEvent press(wxEVT_BUTTON, button->GetId());
    button->HandleWindowEvent(press);
    ASSERT_TRUE(dialog->TransferDataFromWindow());
    EXPECT_FALSE(Options().HasKey("Configuration", "Creator"));
}

TEST_F(OptionsDlgTest, TheIdleTimeIsOneOfThreeEntries) {
    Rows<int, int, int, char const*, int> const cases = {{-1, 0, 0, nullptr, -1}, {-1, 0, 2, "45", 45},
                                                         {0, 1, 0, nullptr, -1},  {20, 2, 2, nullptr, 20},
                                                         {20, 2, 1, nullptr, 0},  {-7, 0, 0, nullptr, -1}};
    for (auto const& [stored, entry, chosen, typed, kept] : cases) {
        k_OptionIdleTimeout.Set(stored);
        Open();
        EXPECT_EQ(Control<wxChoice>(k_OptionIdleTimeout).GetSelection(), entry) << stored;
        EXPECT_EQ(Minutes().IsThisEnabled(), entry == 2);
        Choose(k_OptionIdleTimeout, chosen);
        EXPECT_EQ(Minutes().IsThisEnabled(), chosen == 2);
        if (typed)
            dynamic_cast<wxTextCtrl&>(Minutes()).SetValue(typed);
        ASSERT_TRUE(dialog->TransferDataFromWindow());
        EXPECT_EQ(k_OptionIdleTimeout.Get(), kept) << stored << " to " << chosen;
    }
}

TEST_F(OptionsDlgTest, WhatCannotBeKeptIsToldAndNothingIsStored) {
    ModalAnswers answers(wxID_OK);
    for (char const* const wrong : {"many", "", "-1", "1001", "2.5"}) {
        Open();
        Type(k_OptionRepeatCount, wrong);
        Choose(k_OptionStartMaster, 1);
        EXPECT_FALSE(dialog->TransferDataFromWindow()) << wrong;
        EXPECT_EQ(answers.Take(), std::vector<String>{"VorlanGui Options: \"Number of Jobs to save for Repeating\" "
                                                      "takes a whole number from 0 to 1000."});
        EXPECT_NE(k_OptionStartMaster.Get(), 0) << wrong;
    }
}

TEST_F(OptionsDlgTest, RestrictedRowsAreNeitherShownNorStored) {
    for (auto const& [restriction, label, option] : Rows<char const*, char const*, OptionInfo const&>{
             {"My Jobs Only", "Creator string", k_OptionCreator},
             {"Core Process Control", "Start the Master on startup", k_OptionStartMaster},
             {"Process Control", "Start Merrow on startup", k_OptionStartMerrow}}) {
        Open();
        EXPECT_TRUE(Has(label));
        Window().Master().SetRestrictions({{restriction, true}});
        option.Clear(Options());
        Open();
        EXPECT_FALSE(Has(label));
        ASSERT_TRUE(dialog->TransferDataFromWindow());
        EXPECT_FALSE(option.Has(Options())) << label;
        Window().Master().SetRestrictions({});
    }
}

// Two options in one row: the second is there for one entry of the choice.
TEST(DialogRows, APartThatCannotBeUsedIsWrittenAsItsRowSays) {
    IniFile file;
    Option<int> const count{"Distribution", "Count", 0, ""};
    Option<double> const delay{"Distribution", "Delay", 2.5, ""};
    RowPart number{.kind = PartKind::Number, .low = 1, .high = 99, .start = "1"};
    RowPart seconds = NumberPart(delay, 0, 60);
    seconds.enabledAt = 1;
    seconds.whenOff = "0";
    std::vector<DialogRow> const rows{
        {.label = "Stagger", .parts = {ChoicePart(count, {{"No", "0"}, {"At most", nullptr}}), number, seconds}}};
    wxFrame frame(nullptr, wxID_ANY, "Rows");
    FileValues values(file);
    RowPage page(&frame, rows, values);
    auto const store = [&](int entry, char const* typed) {
        auto& choice = dynamic_cast<wxChoice&>(*page.FindControl(count));
        ChooseEntry(choice, entry);
        dynamic_cast<wxTextCtrl&>(*choice.GetNextSibling()).SetValue(typed);
        page.Store();
        return file.GetValue("Distribution", "Count", "") + " " + file.GetValue("Distribution", "Delay", "");
    };
    page.Load();
    EXPECT_EQ(store(1, "4"), "4 2.5");
    EXPECT_EQ(store(0, "4"), "0 0");
    EXPECT_EQ(FaultOfPart(rows[0], rows[0].parts[2], "61"), "\"Stagger\" takes a number from 0 to 60.");
    EXPECT_EQ(FaultOfPart(rows[0], rows[0].parts[2], "0.5"), "");
}

} // namespace vorlan
