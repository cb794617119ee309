// The Jobs that were submitted last.
#include "guitest.h"

#include "submit/repeatfile.h"

#include <wx/listbox.h>

namespace vorlan {

struct RepeatTest : GuiTest {
    RepeatTest() {
        auto const product = Product::CreateDefault(ProductClass::Single);
        m_type = product->Type();
        JobFactory::s_JobFactory->SetProduct(product);
        if (m_path.Exists())
            corekit::File::Delete(m_path);
    }
    ~RepeatTest() override { JobFactory::s_JobFactory->RemoveProduct(m_type); }
    boost::shared_ptr<Job> NewJob(char const* name, char const* summary, char const* note = "") {
        auto const job = JobFactory::s_JobFactory->CreateJob(m_type);
        job->SetParameter(p_Name, name);
        job->SetParameter(p_JobSummary, summary);
        job->SetParameter(p_Note, note);
        return job;
    }
    static std::vector<String> Names(RepeatFile const& file) {
        std::vector<String> names;
        for (String const& section : file.Sections())
            names.push_back(file.GetValue(section, p_Name, ""));
        return names;
    }
    UID m_type;
    Path const m_path = corekit::File::GetUserDir() / "RepeatJobs.ini";
};

TEST_F(RepeatTest, KeepsTheLastOnesInOrder) {
    RepeatFile file(3);
    for (char const* name : {"a", "b", "c", "d"})
        file.PushJob(*NewJob(name, "s"));
    EXPECT_EQ(Names(file), (std::vector<String>{"b", "c", "d"}));
    // The same again goes to the end; another summary is another entry.
    file.PushJob(*NewJob("b", "s", "again"));
    EXPECT_EQ(Names(file), (std::vector<String>{"c", "d", "b"}));
    EXPECT_EQ(file.GetValue(file.Sections().back(), p_Note, ""), "again");
    file.PushJob(*NewJob("b", "other"));
    EXPECT_EQ(Names(file), (std::vector<String>{"d", "b", "b"}));
    RepeatFile read(3);
    read.Load(m_path, true);
    EXPECT_EQ(Names(read), Names(file)) << "each push is on the disk";
    struct stat info {};
    ASSERT_EQ(::stat(m_path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0644u);
    read.SetRepeatCount(1);
    EXPECT_EQ(Names(read), std::vector<String>{"b"});
    read.SetRepeatCount(0);
    EXPECT_TRUE(Names(read).empty());
}

TEST_F(RepeatTest, AnEntryMakesANewJobOfTheSameValues) {
    RepeatFile file(20);
    auto const job = NewJob("lamp", "1 frame", "a note\nof two lines");
    job->SetParameter(p_Priority, "77");
    job->SetParameter(p_IncludeEngines, UID::FromName("engine").ToString());
    file.PushJob(*job);
    auto const again = file.RepeatJob(RepeatIterator(file.Sections().back()));
    ASSERT_TRUE(again);
    EXPECT_NE(again->id, job->id);
    EXPECT_EQ(again->Name(), "lamp");
    EXPECT_EQ(again->Note(), "a note\nof two lines");
    EXPECT_EQ(again->Priority(), 77);
    EXPECT_EQ(again->Type(), m_type);
    EXPECT_EQ(again->IncludeEngines(), job->IncludeEngines());
    EXPECT_TRUE(again->ExcludeEngines().empty());
}

TEST_F(RepeatTest, AnEntryWithoutAProductIsNoJob) {
    RepeatFile file(20);
    file.SetValue("1", p_Name, "no type");
    file.SetValue("2", p_Type, "rubbish");
    for (char const* section : {"1", "2", "not there"})
        EXPECT_FALSE(file.RepeatJob(RepeatIterator(section))) << section;
}

TEST_F(RepeatTest, TheListShowsTheNewestFirst) {
    StartClient();
    RepeatFile file(20);
    file.SetValue("1", p_Name, "old");
    file.SetValue("2", p_Note, "nameless");
    file.SetValue("3", p_Name, "new");
    file.SetValue("3", p_JobSummary, "1-48");
    wxListBox list(&Window(), wxID_ANY);
    file.FillList(list);
    ASSERT_EQ(list.GetCount(), 2u);
    EXPECT_EQ(list.GetString(0), "new  :  1-48");
    EXPECT_EQ(list.GetString(1), "old");
    EXPECT_EQ(static_cast<RepeatIterator*>(list.GetClientObject(0))->Section(), "3");
}

} // namespace vorlan
