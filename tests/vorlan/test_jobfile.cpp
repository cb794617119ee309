#include "domain.h"

#include <vorlan/jobfile.h>
#include <vorlan/optionstext.h>

namespace vorlan::test_jobfile {

using Json = nlohmann::json;

boost::shared_ptr<Job> MakeJob(OptionMap const& values) {
    auto const job = boost::make_shared<Job>(UID(true));
    job->SetValues(values);
    return job;
}

class JobFileTest : public testing::Test {
protected:
    TempFolder folder;
    Path const path = folder / "jobs.vj";
};

TEST_F(JobFileTest, BringsAnyJobsBack) {
    std::mt19937 random(5);
    JobFile out(path, false, true);
    for (int i = 0; i < 20; ++i) {
        OptionMap values{{p_Name, SFormat("Job %d", i)}, {"Literal", "hex:00"}, {"Hex", "hex:zz"}};
        for (int n = 0; n < 10; ++n) {
            String text;
            for (unsigned length = random() % 20; length > 0; --length)
                text += static_cast<char>(random() % (n % 2 ? 256 : 128));
            values[SFormat("Value%d", n)] = text;
            values["n" + text] = "in the name";
        }
        out.AddJob(MakeJob(values));
        out.Jobs().back()->parentID = i % 2 ? UID(true) : UID::Null;
    }
    out.SaveJobs();

    JobFile const stored(path, true, true);
    ASSERT_EQ(stored.Jobs().size(), out.Jobs().size());
    auto const whole = [](Job const& job) { return std::tuple(job.id, job.parentID, job.Values()); };
    for (size_t i = 0; i < stored.Jobs().size(); ++i)
        EXPECT_EQ(whole(*stored.Jobs()[i]), whole(*out.Jobs()[i]));
    EXPECT_EQ(stored.WriterVersion(), k_VorlanVersion);
}

TEST_F(JobFileTest, MakesNewJobsOfStoredOnes) {
    UID const elsewhere(true);
    JobFile out(path, false, true);
    auto const& jobs = out.Jobs();
    out.AddJob(MakeJob({{p_Status, "7"}, {p_FinishedTime, "5"}, {p_PercentDone, "100"}, {p_Range, "1-5"}}));
    out.AddJob(MakeJob({{p_Status, "-1"}}));
    // Those that wait for each other do so under their new ids.
    jobs[0]->Set(p_WaitForJobID, UIDsToString(std::vector<UID>{jobs[1]->id, elsewhere}));
    jobs[1]->Set(p_WaitForJobID, jobs[1]->id.ToString() + "; the sim, nobody");
    out.AddJob(MakeJob({{p_Name, "The Sim"}}));
    out.SaveJobs();
    JobFile const in(path, true, false);
    Job const& job = *in.Jobs()[0];
    Job const& other = *in.Jobs()[1];
    EXPECT_TRUE(job.id != jobs[0]->id && other.id != jobs[1]->id && job.id != other.id);
    EXPECT_EQ(std::tuple(job.Status(), job.FinishedTime(), job.PercentDone(), job.Get(p_Range, false)),
              std::tuple(Queued, Time(), 0.0F, "1-5"));
    EXPECT_EQ(StringToUIDs(job.Get(p_WaitForJobID, false)), (std::vector<UID>{other.id, elsewhere}));
    EXPECT_TRUE(other.IsPaused());
    EXPECT_EQ(other.Get(p_WaitForJobID, false), other.id.ToString() + ", " + in.Jobs()[2]->id.ToString() + ", nobody")
        << "by name, and what nobody knows is kept";
}

TEST_F(JobFileTest, KeepsWhatANewerProgramWrote) {
    File::WriteWhole(path, R"({
      "format": "Vorlan Jobs", "version": 9, "program": 90000, "comment": {"by": "somebody"},
      "jobs": [{"id": "00000000-0000-0000-0000-000000000001", "labels": ["a", "b"],
                "values": {"Name": "old", "Count": 7, "Draft": true, "Curve": [1, 2], "Nothing": null}}]
    })");
    JobFile file(path, true, true);
    EXPECT_EQ(file.WriterVersion(), 90000u);
    Job& old = *file.Jobs().at(0);
    EXPECT_EQ(std::tuple(old.Get("Count", false), old.Get("Draft", false)), std::tuple("7", k_Yes));
    old.SetName("new");
    file.AddJob(MakeJob({{p_Name, "second"}}));
    file.SaveJobs();

    Json const json = Json::parse(File::Read(path).Str());
    EXPECT_EQ(json["version"], 9);
    EXPECT_EQ(json["comment"]["by"], "somebody");
    EXPECT_EQ(json["jobs"][0]["labels"], Json::parse(R"(["a", "b"])"));
    EXPECT_EQ(json["jobs"][0]["values"]["Curve"], Json::parse("[1, 2]"));
    EXPECT_TRUE(json["jobs"][0]["values"]["Nothing"].is_null());
    EXPECT_EQ(json["jobs"][0]["values"]["Name"], "new");
    EXPECT_FALSE(json["jobs"][1].contains("labels"));
}

TEST_F(JobFileTest, GivesAProductThatChangedItsIdToOldJobs) {
    UID const oldType = UID::FromName("old id");
    Json const values = {{"Type", oldType.ToString().Str()}};
    Json const jobs = {{{"product", "Old Paint"}, {"values", values}},
                       {{"product", "Gone"}, {"values", values}},
                       {{"values", Json::object()}}};
    File::WriteWhole(path, Json{{"format", "Vorlan Jobs"}, {"version", 1}, {"jobs", jobs}}.dump());
    auto const product = boost::make_shared<Product>("Paint", UID::FromName("new id"));
    product->AddAlias("old paint");
    JobFactory::s_JobFactory->SetProduct(product);
    JobFile file(path, true, true);
    EXPECT_EQ(file.WriterVersion(), 0u);
    EXPECT_FALSE(file.Jobs().at(0)->id.IsNull());
    file.ConformFromVersion(20000);
    JobFactory::s_JobFactory->RemoveProduct(product->Type());
    EXPECT_EQ(file.Jobs().at(0)->Type(), product->Type());
    EXPECT_EQ(file.Jobs().at(1)->Type(), oldType) << "an unknown Product is kept as it is";
    EXPECT_TRUE(file.Jobs().at(2)->Type().IsNull());
}

TEST_F(JobFileTest, RefusesWhatIsNoJobFile) {
    std::string const cases[] = {
        "",
        "garbage",
        std::string("\0\x01\xFF", 3),
        "[]",
        "{}",
        R"({"format": "Other", "jobs": []})",
        R"({"format": "Vorlan Jobs"})",
        R"({"format": "Vorlan Jobs", "jobs": {}})",
        R"({"format": "Vorlan Jobs", "jobs": [5]})",
        R"({"format": "Vorlan Jobs", "jobs": [{"values": []}]})",
        "{\"format\": \"Vorlan Jobs\", \"jobs\": [{\"values\": {\"a\": \"\xFF\"}}]}",
        R"({"format": "Vorlan Jobs", "jobs": [], "x": )" + std::string(100'000, '[') + std::string(100'000, ']') + "}",
    };
    for (std::string const& text : cases) {
        File::WriteWhole(path, text);
        try {
            JobFile file(path, true, true);
            ADD_FAILURE() << "was read: " << text.substr(0, 80);
        } catch (ParseException const& exception) {
            EXPECT_TRUE(exception.Message().Contains(path)) << exception.Message();
            EXPECT_NE(exception.Detail(), "");
        }
        EXPECT_EQ(File::Read(path), text);
    }
    EXPECT_THROW(JobFile(folder / "missing.vj", true, true), FileException);

    String const whole = JobFile::ToText({MakeJob({{p_Name, "x"}, {"Wild", "\xFE"}})});
    for (size_t length = 0; length + 2 < whole.size(); ++length)
        EXPECT_THROW(JobFile::FromText(whole.Mid(0, length)), ParseException) << length;
    EXPECT_EQ(JobFile::FromText(whole).at(0)->Name(), "x");
}

TEST_F(JobFileTest, LeavesTheOldFileWhenTheDiskIsFull) {
    JobFile file(path, false, true);
    file.AddJob(MakeJob({{p_Name, "first"}}));
    file.SaveJobs();
    file.Jobs().front()->SetName("second");
    {
        FaultyLayer layer;
        layer.fault = FaultyLayer::Fault::FullDisk;
        EXPECT_THROW(file.SaveJobs(), FileException);
    }
    EXPECT_EQ(JobFile(path, true, true).Jobs().at(0)->Name(), "first");
    EXPECT_EQ(folder.Names().size(), 1u);

    file.Jobs().front()->Set(p_Password, "secret");
    file.SaveJobs();
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u) << "a password is for its owner's eyes";
}

} // namespace vorlan::test_jobfile
