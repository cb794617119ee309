// The styled controls under mouse and keyboard, on the screen.
#include "wxtools.h"

#include <wx/modalhook.h>
#include <wx/panel.h>
#include <wx/slider.h>
#include <wx/weakref.h>
#include <wx/wxvbutton.h>
#include <wx/wxvchoice.h>
#include <wx/wxvdatetimectrl.h>
#include <wx/wxvnotebook.h>
#include <wx/wxvnumberselector.h>
#include <wx/wxvorlandlg.h>
#include <wx/wxvorlanframe.h>
#include <wx/wxvrhythm.h>
#include <wx/wxvslider.h>
#include <wx/wxvsplitterwindow.h>
#include <wx/wxvstatictext.h>
#include <wx/wxvtextctrl.h>
#include <wx/wxvtextentry.h>

namespace test_controls {

using corekit::String;
using corekit::Time;

// Counts the events of a kind that reach a window's parent.
class Heard {
public:
    Heard(wxWindow& window, wxEventTypeTag<wxCommandEvent> const& type, int id) {
        window.GetParent()->Bind(
            type, [this](wxCommandEvent&) { ++m_count; }, id);
    }
    int Take() { return std::exchange(m_count, 0); }

private:
    int m_count = 0;
};

struct ControlTest : WindowTest {
    ControlTest() : page(new wxPanel(&Frame())) {}
    // Puts the control on the page and gives it the focus; composites have it inside.
    void Put(wxWindow* control, wxWindow* focused) {
        control->SetSize(10, 10, 400, control->GetBestSize().y);
        control->Layout();
        Show();
        Focus(focused);
    }
    wxPanel* const page;
};

// Answers a question: a text into its field, then one of its buttons.
class Answer : public wxModalDialogHook {
public:
    Answer(wxString const& text, int button) : m_text(text), m_button(button) { Register(); }
    ~Answer() override { Unregister(); }
    wxString start;

protected:
    int Enter(wxDialog* dialog) override {
        auto& question = dynamic_cast<wxvTextEntryDlg&>(*dialog);
        start = question.GetValue();
        question.SetValue(m_text);
        return m_button;
    }

private:
    wxString const m_text;
    int const m_button;
};

struct NotebookTest : WindowTest {
    NotebookTest() : WindowTest(wxSize(400, 300)), book(new wxvNotebook(&Frame(), 2000, "Views")) {}
    void Add(std::initializer_list<char const*> names) {
        for (char const* name : names)
            book->AddPage(new wxPanel(book), name);
        Show();
    }
    std::vector<size_t> Order() const { return book->TabOrder(); }
    wxvNotebook* const book;
};

using Indices = std::vector<size_t>;

TEST_F(NotebookTest, AnOrderOfTabsIsKeptAndAnyTextIsRead) {
    Add({"A", "B", "C", "D"});
    book->SetSelection(2);
    for (auto const& [text, order] : Rows<char const*, Indices>{
             {"tabs=2,0,3,1", {2, 0, 3, 1}},
             {"tabs=0,1,2,3", {0, 1, 2, 3}},
             {"tabs=3", {3, 0, 1, 2}},
             {"tabs=0,1,2,3", {0, 1, 2, 3}},
             {"tabs=9,3,3,x,-1,1", {3, 1, 0, 2}},
             {"tabs=", {3, 1, 0, 2}},
             {"layout2|name", {3, 1, 0, 2}},
             {"", {3, 1, 0, 2}},
             {"tabs=99999999999999999999999,2", {2, 3, 1, 0}},
         }) {
        book->LoadPerspective(text);
        EXPECT_EQ(Order(), order) << text;
        EXPECT_EQ(book->GetSelection(), 2) << "the page keeps its index";
    }
    EXPECT_EQ(book->SavePerspective(), "tabs=2,3,1,0");
    book->RemovePage(1);
    EXPECT_EQ(book->SavePerspective(), "tabs=1,2,0");
    while (book->GetPageCount() > 0)
        book->DeletePage(0);
    book->LoadPerspective("tabs=1,0");
    EXPECT_EQ(book->SavePerspective(), "tabs=");
}

TEST_F(NotebookTest, TheLayoutStandsInTheOptionsUnderTheNameOfTheBook) {
    ControlOptions options;
    Add({"A", "B", "C"});
    book->LoadPerspective("tabs=2,1,0");
    book->SaveLayout();
    book->LoadPerspective("tabs=0,1,2");
    book->LoadLayout();
    EXPECT_EQ(Order(), (Indices{2, 1, 0}));
    EXPECT_EQ(options.GetValue("Window", "Views Layout", ""), "tabs=2,1,0");
    auto* const nameless = new wxvNotebook(&Frame());
    nameless->AddPage(new wxPanel(nameless), "X");
    nameless->SaveLayout();
    EXPECT_EQ(options.GetValue("Window", " Layout", "none"), "none");
}

TEST_F(NotebookTest, TheKeyboardGoesRoundInTheOrderOfTheTabs) {
    Add({"A", "B", "C"});
    auto* const field = new wxvTextCtrl(book->GetPage(0), wxID_ANY);
    book->LoadPerspective("tabs=0,2,1");
    Focus(field);
    Rows<int, int, int> const cases = {{WXK_TAB, wxMOD_CONTROL, 2},    {WXK_TAB, wxMOD_CONTROL, 1},
                                       {WXK_TAB, wxMOD_CONTROL, 0},    {WXK_TAB, wxMOD_CONTROL | wxMOD_SHIFT, 1},
                                       {WXK_PAGEUP, wxMOD_CONTROL, 2}, {WXK_PAGEDOWN, wxMOD_CONTROL, 1}};
    for (auto const& [key, modifiers, selected] : cases) {
        Press(key, modifiers);
        EXPECT_TRUE(PumpUntil([&] { return book->GetSelection() == selected; })) << selected;
    }
}

TEST_F(NotebookTest, AListOfTheTabsIsOfferedWhenTheyDoNotFit) {
    Add({"Details", "History"});
    auto const offers = [this] { return book->HasFlag(wxAUI_NB_WINDOWLIST_BUTTON); };
    EXPECT_FALSE(offers());
    Add({"A tab with a long name", "And another with a long name", "A third"});
    EXPECT_TRUE(offers());
    Frame().SetClientSize(900, 300);
    EXPECT_TRUE(PumpUntil([&] { return !offers(); }));
    Frame().SetClientSize(300, 300);
    EXPECT_TRUE(PumpUntil([&] { return offers(); }));
    while (book->GetPageCount() > 2)
        book->RemovePage(2);
    EXPECT_FALSE(offers());
}

TEST_F(WindowTest, ADoubleClickOnTheSashTakesAPaneAwayWhereItMay) {
    for (SashDoubleClick const mode : {SashDoubleClick::Nothing, SashDoubleClick::Unsplit}) {
        auto* const splitter = new wxvSplitterWindow(&Frame(), mode);
        splitter->SetSize(Frame().GetClientSize());
        splitter->SplitVertically(new wxPanel(splitter), new wxPanel(splitter), 200);
        int told = 0;
        splitter->Bind(wxEVT_SPLITTER_UNSPLIT, [&told](wxSplitterEvent&) { ++told; });
        Show();
        EXPECT_EQ(splitter->GetSashSize(), splitter->FromDIP(wxvSplitterWindow::k_SashWidth));
        splitter->OnDoubleClickSash(201, 50);
        EXPECT_EQ(splitter->IsSplit(), mode == SashDoubleClick::Nothing);
        EXPECT_EQ(told, splitter->IsSplit() ? 0 : 1);
        splitter->Destroy();
    }
}

TEST_F(ControlTest, ANarrowButtonKeepsItsTextFromItsEdges) {
    auto* const button = new wxvButton(page, wxID_ANY, "Next", ButtonWidth::Exact);
    EXPECT_GE(button->GetMinSize().x, button->GetTextExtent("Next").x + 2 * button->FromDIP(k_wxvLabelGap));
}

TEST_F(WindowTest, ASashLightsUpUnderThePointerOnly) {
    struct Splitter : wxvSplitterWindow {
        using wxvSplitterWindow::wxvSplitterWindow;
        bool IsLit() const { return m_isHot; }
    };
    auto* const splitter = new Splitter(&Frame());
    splitter->SetSize(Frame().GetClientSize());
    splitter->SplitVertically(new wxPanel(splitter), new wxPanel(splitter), 200);
    splitter->SetMinimumPaneSize(150);
    Show();
    auto const mouse = [splitter](wxEventType type, int x, bool isDown) {
        wxMouseEvent event(type);
        event.SetPosition({x, 50});
        event.SetLeftDown(isDown);
        splitter->HandleWindowEvent(event);
        Pump();
        return splitter->IsLit();
    };
    EXPECT_TRUE(mouse(wxEVT_MOTION, 201, false));
    mouse(wxEVT_LEFT_DOWN, 201, true);
    mouse(wxEVT_MOTION, 20, true);
    EXPECT_FALSE(mouse(wxEVT_LEFT_UP, 20, false));
    EXPECT_EQ(splitter->GetSashPosition(), 150);
}

TEST_F(ControlTest, TheSliderTakesKeysAndTypedNumbers) {
    auto* const slider = new wxvSlider(page, 0, 100, 40, 77);
    Heard heard(*slider, wxEVT_SLIDER, 77);
    Put(slider, slider->Text());
    EXPECT_EQ(slider->GetValue(), "40");
    slider->Text()->SelectAll();
    Type("250");
    EXPECT_EQ(slider->GetValue(), "100") << "what is being typed counts";
    EXPECT_EQ(heard.Take(), 0);
    Press(WXK_RETURN);
    EXPECT_TRUE(PumpUntil([&] { return slider->Text()->GetValue() == "100"; }));
    EXPECT_EQ(heard.Take(), 1);
    auto* const bar = dynamic_cast<wxSlider*>(slider->GetChildren().front());
    ASSERT_TRUE(bar);
    Focus(bar);
    Press(WXK_LEFT);
    EXPECT_TRUE(PumpUntil([&] { return slider->GetValue() == "99"; }));
    EXPECT_GE(heard.Take(), 1);
    slider->SetValue("7");
    EXPECT_EQ(slider->GetValue(), "7");
    Pump();
    EXPECT_EQ(heard.Take(), 0) << "the program's own change is not told";
}

TEST_F(ControlTest, ANumberFieldStepsByKeysAndStopsAtItsLimits) {
    auto* const number = new wxvNumberSelector(page, NumberKind::Integer, 0, 20, 78);
    Heard heard(*number, wxEVT_TEXT, 78);
    Put(number, number->Text());
    number->SetValue("5");
    EXPECT_EQ(heard.Take(), 0);
    for (auto const& [key, value] : Rows<int, char const*>{
             {WXK_UP, "6"}, {WXK_DOWN, "5"}, {WXK_PAGEUP, "15"}, {WXK_PAGEUP, "20"}, {WXK_PAGEDOWN, "10"}}) {
        Press(key);
        EXPECT_TRUE(PumpUntil([&] { return number->GetValue() == value; })) << value;
        EXPECT_EQ(heard.Take(), 1);
    }
    number->Text()->SelectAll();
    Type("99");
    EXPECT_EQ(number->GetValue(), "20");
}

TEST_F(ControlTest, ASelectorShowsNamesAndItsFieldForOtherNumbers) {
    auto* const number = new wxvNumberSelector(page, {{"0", "No limit"}}, {"Units", "Engines", "2", "-1"});
    Put(number, number->Choice());
    number->SetValue("-3");
    EXPECT_EQ(number->GetValue(), "-3");
    EXPECT_EQ(number->Choice()->GetStringSelection(), "Engines");
    EXPECT_TRUE(number->Text()->IsEnabled());
    number->SetValue("0");
    EXPECT_FALSE(number->Text()->IsEnabled()) << "a name has no number to type";
    number->Choice()->SetFocus();
    Press(WXK_DOWN);
    EXPECT_TRUE(PumpUntil([&] { return number->GetValue() == "2"; })) << "a choice begins at its own number";
    EXPECT_TRUE(number->Text()->IsEnabled());
    number->Disable();
    number->Enable();
    EXPECT_TRUE(number->Text()->IsEnabled());
    number->SetValue("0");
    number->Disable();
    number->Enable();
    EXPECT_FALSE(number->Text()->IsEnabled()) << "still none";
}

TEST_F(ControlTest, ATimeKeepsItsMillisecondsUntilItIsChanged) {
    auto* const control = new wxvDateTimeCtrl(page, 79);
    Heard heard(*control, wxEVT_TEXT, 79);
    Put(control, control->Text());
    Time const exact = Time::FromUnixMs(1'795'000'000'123);
    control->SetValue(exact);
    EXPECT_EQ(control->GetValue(), exact);
    control->Text()->SetInsertionPoint(0);
    Press(WXK_UP);
    EXPECT_TRUE(PumpUntil([&] { return heard.Take() == 1; }));
    EXPECT_NE(control->GetValue(), exact);
    EXPECT_EQ(control->GetValue().Format("%m-%d %H:%M:%S"), exact.Format("%m-%d %H:%M:%S"));
    Time const good = control->GetValue();
    control->Text()->SetValue("2026-99-99");
    EXPECT_EQ(control->GetValue(), good) << "what is no time changes nothing";
    EXPECT_EQ(control->Text()->GetForegroundColour(), wxvGetColor(ColorName::TextRed));
    control->Text()->Clear();
    EXPECT_TRUE(control->GetValue().IsZero());
}

TEST_F(ControlTest, TheWheelOverAChoiceChangesNothing) {
    auto* const choice = new wxvChoice(page);
    for (char const* name : {"A", "B", "C", "D"})
        choice->Append(name);
    choice->SetSelection(1);
    Put(choice, choice);
    hand.MouseMove(choice->GetScreenPosition() + choice->GetSize() / 2);
    Pump();
    wxExecute("xdotool click 5 click 5 click 4", wxEXEC_SYNC | wxEXEC_NODISABLE);
    Pump();
    EXPECT_EQ(choice->GetSelection(), 1);
    Press(WXK_DOWN);
    EXPECT_TRUE(PumpUntil([&] { return choice->GetSelection() == 2; })) << "the keys do";
    choice->Popup();
    EXPECT_TRUE(PumpUntil([&] { return choice->IsPopupShown(); }));
    Press(WXK_ESCAPE);
    EXPECT_TRUE(PumpUntil([&] { return !choice->IsPopupShown(); }));
}

TEST_F(WindowTest, AQuestionIsAnsweredByATextOrNotAtAll) {
    for (auto const& [typed, button, result] : Rows<char const*, int, char const*>{
             {"  Night ", wxID_OK, "Night"}, {"   ", wxID_OK, ""}, {"Night", wxID_CANCEL, ""}}) {
        Answer answer(typed, button);
        EXPECT_EQ(wxvGetTextFromUser("Please supply a name for this preset", "Save Preset", "Day", &Frame()), result);
        EXPECT_EQ(answer.start, "Day");
    }
}

TEST_F(WindowTest, AClosedDialogIsGoneAndComesBackAsLargeAsItWas) {
    ControlOptions options;
    Show();
    wxSize const size(321, 234);
    for (bool const first : {true, false}) {
        wxWeakRef<wxVorlanDlg> const dialog(
            new wxVorlanDlg(&Frame(), "Jobs", "JobDlg", wxDEFAULT_DIALOG_STYLE | wxRESIZE_BORDER));
        dialog->Show();
        EXPECT_TRUE(PumpUntil([&] { return dialog->IsShownOnScreen(); }));
        if (first)
            dialog->SetSize(size);
        EXPECT_TRUE(PumpUntil([&] { return dialog->GetSize() == size; })) << first;
        dialog->Close();
        EXPECT_TRUE(PumpUntil([&] { return !dialog; })) << first;
    }
}

TEST_F(WindowTest, AnOpenDialogFollowsTheScheme) {
    wxvSetColorScheme(static_cast<int>(ColorScheme::Dark));
    wxVorlanDlg dialog(&Frame(), "Colors", String());
    auto* const label = new wxvStaticText(&dialog, "A failure", ColorName::TextRed);
    auto* const line = new wxvStaticText(&dialog, "A line");
    for (ColorScheme const scheme : {ColorScheme::Lighter, ColorScheme::Darker}) {
        wxvSetColorScheme(static_cast<int>(scheme));
        EXPECT_EQ(dialog.GetBackgroundColour(), wxvGetColor(scheme, ColorName::WindowBG));
        EXPECT_EQ(label->GetForegroundColour(), wxvGetColor(scheme, ColorName::TextRed));
        EXPECT_EQ(line->GetForegroundColour(), wxvGetColor(scheme, ColorName::Text));
    }
    wxvSetColorScheme(static_cast<int>(k_DefaultScheme));
}

} // namespace test_controls
