// Job files that are dropped on the window.
#include "guitest.h"

#include "window/droptarget.h"

#include <boost/make_shared.hpp>
#include <corekit/file.h>
#include <vorlan/jobfile.h>
#include <vorlan/messages.h>
#include <wx/arrstr.h>
#include <wx/modalhook.h>
#include <wx/msgdlg.h>
#include <wx/wxvtext.h>

namespace vorlan {

namespace {

// Answers all questions, and keeps what they said.
class Answer : public wxModalDialogHook {
public:
    explicit Answer(int answer) : m_answer(answer) { Register(); }
    ~Answer() override { Unregister(); }
    std::vector<std::string> texts;

protected:
    int Enter(wxDialog* dialog) override {
        auto const* const message = dynamic_cast<wxMessageDialogBase*>(dialog);
        texts.emplace_back(message ? message->GetMessage().utf8_str() : dialog->GetTitle().utf8_str());
        return m_answer;
    }

private:
    int const m_answer;
};

} // namespace

class DropTest : public GuiTest {
protected:
    DropTest() {
        HasRunBefore();
        StartClient();
        outside.TakeSteps();
    }

    wxString Write(char const* file, std::vector<char const*> const& jobs) {
        Path const path(m_folder.Folder() + "/" + file);
        JobFile out(path, false, false);
        for (char const* name : jobs) {
            auto const job = boost::make_shared<Job>(UID(true));
            job->SetName(name);
            out.AddJob(job);
        }
        out.SaveJobs();
        return wxvText(path.Text());
    }
    wxString WriteText(char const* file, char const* text) {
        Path const path(m_folder.Folder() + "/" + file);
        corekit::File::WriteWhole(path, text);
        return wxvText(path.Text());
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

private:
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

TEST_F(DropTest, AsksFirstWhereThatIsWanted) {
    Options().SetValue("Configuration", "DropImmediate", false);
    {
        Answer no(wxID_CANCEL);
        Drop({Write("one.vj", {"a", "b"})});
        ASSERT_TRUE(PumpUntil([&] { return no.texts.size() == 1; }));
        EXPECT_EQ(no.texts[0], "Submit these Jobs?");
        Pump();
        EXPECT_TRUE(SentNames().empty());
    }
    Answer yes(wxID_OK);
    Drop({Write("one.vj", {"a", "b"}), Write("two.vj", {"c"})});
    ASSERT_TRUE(PumpUntil([this] { return SentNames().size() == 3; }));
    EXPECT_EQ(yes.texts, (std::vector<std::string>{"Submit these Jobs?", "Submit this Job?"}));
}

TEST_F(DropTest, ABrokenFileIsToldOfAndStopsNothing) {
    Answer answer(wxID_OK);
    Drop({WriteText("broken.vj", "{ \"Jobs\": ["), Write("gone.vj", {"x"}) + "x.vj", Write("good.vj", {"a"})});
    ASSERT_TRUE(PumpUntil([this] { return !SentNames().empty(); }));
    EXPECT_EQ(SentNames(), (std::vector<std::string>{"a"}));
    ASSERT_EQ(answer.texts.size(), 2u);
    EXPECT_NE(answer.texts[0], answer.texts[1]);
    EXPECT_NE(answer.texts[0], "");
    ASSERT_NE(MainWindow::Get(), nullptr);
}

} // namespace vorlan
