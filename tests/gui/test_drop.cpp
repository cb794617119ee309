// Job files that are dropped on the window.
#include "guitest.h"

#include "window/droptarget.h"

#include <vorlan/jobfile.h>
#include <wx/arrstr.h>

namespace vorlan {

struct DropTest : GuiTest {
    DropTest() {
        HasRunBefore();
        StartClient();
        outside.connected = true;
    }
    wxString Write(char const* file, std::vector<char const*> const& jobs) {
        Path const path = m_folder / file;
        JobFile out(path, false, false);
        for (char const* name : jobs)
            out.AddJob(NewJob(name));
        out.SaveJobs();
        return wxvText(path.Text());
    }
    wxString WriteText(char const* file, char const* text) {
        corekit::File::WriteWhole(m_folder / file, text);
        return wxvText((m_folder / file).Text());
    }
    void Drop(std::vector<wxString> const& files) {
        wxArrayString names;
        for (wxString const& file : files)
            names.Add(file);
        static_cast<wxFileDropTarget*>(Window().GetDropTarget())->OnDropFiles(0, 0, names);
    }
    std::vector<std::string> SentNames() {
        std::vector<std::string> names;
        for (auto const& message : outside.Sent()) {
            if (auto const job = boost::dynamic_pointer_cast<JobMsg>(message))
                names.push_back(job->job->Name().Str());
        }
        return names;
    }
    corekit::TempFolder m_folder;
};

TEST_F(DropTest, SendsEveryJobAtOnceAndIgnoresOtherFiles) {
    Drop({Write("one.vj", {"a"}), WriteText("note.txt", "no Job"), Write("two.VJ", {"b", "c"}), Write("x.Vj", {"d"})});
    ASSERT_TRUE(PumpUntil([this] { return SentNames().size() == 4; }));
    EXPECT_EQ(SentNames(), (std::vector<std::string>{"a", "b", "c", "d"}));
    // Their ids are new: the same file can be dropped again.
    Drop({Write("one.vj", {"a"})});
    ASSERT_TRUE(PumpUntil([this] { return SentNames().size() == 5; }));
}

TEST_F(DropTest, NothingIsLostUnseenWithoutAMaster) {
    outside.connected = false;
    ModalAnswers answer(wxID_OK);
    Drop({WriteText("note.txt", "no Job")});
    Pump();
    EXPECT_FALSE(answer.Any());
    Drop({Write("one.vj", {"a"}), Write("two.vj", {"b"})});
    EXPECT_FALSE(answer.Any()) << "in the middle of the drop";
    ASSERT_TRUE(PumpUntil([&] { return answer.Any(); }));
    Pump();
    EXPECT_EQ(answer.Take().size(), 1u);
    EXPECT_TRUE(SentNames().empty());
}

TEST_F(DropTest, AsksFirstWhereThatIsWanted) {
    Options().SetValue("Configuration", "DropImmediate", false);
    {
        ModalAnswers no(wxID_CANCEL);
        Drop({Write("one.vj", {"a", "b"})});
        ASSERT_TRUE(PumpUntil([&] { return no.Any(); }));
        EXPECT_EQ(no.Take(), std::vector<String>{"Submit: Submit these Jobs?"});
        Pump();
        EXPECT_TRUE(SentNames().empty());
    }
    ModalAnswers yes(wxID_OK);
    Drop({Write("one.vj", {"a", "b"}), Write("two.vj", {"c"})});
    ASSERT_TRUE(PumpUntil([this] { return SentNames().size() == 3; }));
    EXPECT_EQ(yes.Take(), (std::vector<String>{"Submit: Submit these Jobs?", "Submit: Submit this Job?"}));
}

TEST_F(DropTest, WhatTheMasterRefusesIsToldAtOnce) {
    ModalAnswers answers(wxID_OK);
    for (char const* reason : {"No such Product.", "No such Pool.", "No such Product."})
        Gui().RequestHasFailed(UID(true), reason);
    ASSERT_TRUE(PumpUntil([&] { return answers.Any(); }));
    EXPECT_EQ(answers.Take(), std::vector<String>{"The Master refused a command: No such Pool.\nNo such Product."});
}

TEST_F(DropTest, ABrokenFileIsToldOfAndStopsNothing) {
    ModalAnswers answer(wxID_OK);
    Drop({WriteText("broken.vj", "{ \"Jobs\": ["), Write("gone.vj", {"x"}) + "x.vj", Write("good.vj", {"a"})});
    ASSERT_TRUE(PumpUntil([this] { return !SentNames().empty(); }));
    EXPECT_EQ(SentNames(), (std::vector<std::string>{"a"}));
    std::vector<String> const told = answer.Take();
    ASSERT_EQ(told.size(), 2u);
    EXPECT_TRUE(told[0].StartsWith("broken.vj: ")) << told[0];
    EXPECT_TRUE(told[1].StartsWith("gone.vjx.vj: ")) << told[1];
    ASSERT_NE(MainWindow::Get(), nullptr);
}

} // namespace vorlan
