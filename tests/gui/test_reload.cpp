// A reload of everything: what is seen goes from the old rows to the new ones.
#include "guitest.h"
#include "screenpixels.h"

namespace vorlan {

struct ReloadWindowTest : GuiTest {
    static constexpr int k_Jobs = 56;
    ReloadWindowTest() {
        HasRunBefore();
        StartConnected().SetSize(1100, 800);
        TellJobs();
        TellEnd();
        EXPECT_TRUE(PumpUntil([this] { return Jobs().GetItemCount() == k_Jobs && Jobs().IsShownOnScreen(); }));
        Jobs().SetFocus();
        Jobs().SetScrollPos(wxVERTICAL, 20);
        Jobs().SetCurrentRow(30);
        Tick();
    }
    ListCtrlBase& Jobs() { return List(JobListCtrl::k_BaseID); }
    ListCtrlBase& Work() { return List(WorkListCtrl::k_BaseID); }
    static void TellJobs() {
        for (int i = 0; i < k_Jobs; ++i)
            Say<JobMsg>(NewJob(SFormat("job %02d", i).c_str()));
    }
    static void TellEnd() {
        Say<EndEngineInfoMsg>();
        Say<EndJobInfoMsg>();
    }
    void Refresh() { Command(k_IdRefresh); }
    void Tick() {
        wxTimed::s_Timer0250.Emit();
        PumpAndDraw(Jobs());
        PumpAndDraw(Work());
    }
    bool Looks(wxImage const& before, ListCtrlBase& list) { return IsSame(before, ScreenPixels(list)); }
};

TEST_F(ReloadWindowTest, WhatIsSeenGoesFromTheOldRowsToTheNew) {
    wxImage const jobs = ScreenPixels(Jobs());
    wxImage const work = ScreenPixels(Work());
    String const counts = Gui().StatusText();
    Refresh();
    ASSERT_EQ(Jobs().GetItemCount(), 0);
    for (int i = 0; i < 3; ++i) {
        Tick();
        EXPECT_TRUE(Looks(jobs, Jobs())) << "no rows, and no word of it";
        EXPECT_TRUE(Looks(work, Work()));
        EXPECT_EQ(Gui().StatusText(), counts);
        // Something covered it for a while.
        Jobs().Refresh(false);
    }
    // What answers another question ends nothing.
    JobList::Get().Lists().NoteRequest(false);
    TellJobs();
    Tick();
    EXPECT_EQ(Jobs().GetItemCount(), k_Jobs);
    EXPECT_TRUE(Looks(jobs, Jobs())) << "place and row of the keyboard as before";
    TellEnd();
    Tick();
    EXPECT_TRUE(Looks(jobs, Jobs()));
    EXPECT_TRUE(Looks(work, Work()));
}

TEST_F(ReloadWindowTest, AMasterThatDoesNotAnswerIsToldOf) {
    wxImage const before = ScreenPixels(Jobs());
    Refresh();
    for (int i = 0; i < 24; ++i)
        Tick();
    EXPECT_FALSE(Looks(before, Jobs()));
    EXPECT_EQ(FirstStalePixel(Jobs()), "");
    TellJobs();
    Tick();
    EXPECT_TRUE(Looks(before, Jobs())) << "place and row of the keyboard as before";
}

TEST_F(ReloadWindowTest, AListThatStaysEmptySaysSoAtTheEnd) {
    wxImage const before = ScreenPixels(Jobs());
    Refresh();
    Refresh();
    TellEnd();
    Tick();
    EXPECT_TRUE(Looks(before, Jobs())) << "that was the answer to the first of two";
    TellEnd();
    Tick();
    EXPECT_FALSE(Looks(before, Jobs()));
    EXPECT_EQ(FirstStalePixel(Jobs()), "");
    EXPECT_TRUE(Gui().StatusText().Contains("0 Jobs"));
    // Without a Master nothing is on its way.
    Refresh();
    Disconnected();
    EXPECT_FALSE(JobList::Get().Lists().IsLoading());
}

} // namespace vorlan
