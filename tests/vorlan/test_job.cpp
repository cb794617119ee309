#include "domain.h"

#include <corekit/stream.h>
#include <vorlan/engine.h>
#include <vorlan/jobconditions.h>

namespace vorlan::test_job {
// Puts a Product into the factory for one test.
class KnownProduct {
public:
    KnownProduct() { Publish(); }
    ~KnownProduct() { JobFactory::s_JobFactory->RemoveProduct(product->Type()); }
    void Publish() { JobFactory::s_JobFactory->SetProduct(product); }

    boost::shared_ptr<Product> product =
        ProductFromText(R"json({"ID": "11111111-2222-3333-4444-555555555555", "Name": "Paint", "Class": "Sequence",
            "Summary": "$(Scene) [$(Range)] by $(Painter)", "Parameters": [
                {"Type": "Text", "Name": "Scene"}, {"Type": "Text", "Name": "Painter", "Default": "Vera"},
                {"Type": "Signed Integer", "Name": "Seed", "Flags": ["Job Parameter", "No Parent Update"]}]})json");
};

TEST(VorlanObject, LosesNoUpdateOfConcurrentWriters) {
    constexpr int k_Writers = 3;
    constexpr int k_Values = 300;
    Job job(UID(true));
    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    std::thread reader([&] {
        while (!done) {
            VorlanObject::ReadingScope const reading(job);
            String const a = job.GetParameterString("PairA");
            std::this_thread::yield();
            torn += a != job.GetParameterString("PairB");
        }
    });
    std::vector<std::thread> writers;
    for (int writer = 0; writer < k_Writers; ++writer) {
        writers.emplace_back([&, writer] {
            for (int i = 0; i < k_Values; ++i) {
                job.Set(SFormat("W%d-%d", writer, i), String::From(i));
                job.SetValues({{"PairA", String::From(i)}, {"PairB", String::From(i)}});
                if (i % 3 == 0)
                    job.Clear(SFormat("W%d-%d", writer, i));
            }
        });
    }
    for (std::thread& thread : writers)
        thread.join();
    done = true;
    reader.join();
    EXPECT_EQ(torn, 0);
    for (int i = 0; i < k_Writers * k_Values; ++i) {
        String const value = job.Get(SFormat("W%d-%d", i % k_Writers, i / k_Writers), false);
        ASSERT_EQ(value, i / k_Writers % 3 == 0 ? String() : String::From(i / k_Writers));
    }
}

TEST(VorlanObject, TellsWhetherAValueChanged) {
    Job job(UID(true));
    Rows<char const*, char const*, bool> const cases = {
        {"Scene", "a", true}, {"scene", "a", false}, {"SCENE", "", true}, {"Scene", "", false}};
    for (auto const& [name, value, changes] : cases)
        EXPECT_EQ(job.SetParameter(name, value), changes) << name << " " << value;
    EXPECT_TRUE(job.Has("Scene") && job.Clear("Scene"));
    EXPECT_FALSE(job.Clear("Scene") || job.Has("Scene"));

    LogLines lines;
    EXPECT_FALSE(job.Set("", "x"));
    EXPECT_FALSE(job.Set(String(5000, 'n'), "x"));
    EXPECT_EQ(lines.Get().size(), 2u);
    UID const id = job.id;
    EXPECT_FALSE(job.Set(p_ID, UID(true).ToString()));
    EXPECT_FALSE(job.SetValues({{p_ID, UID(true).ToString()}, {"parentid", UID(true).ToString()}}));
    EXPECT_EQ(std::tuple(job.id, job.Get(p_ID, false)), std::tuple(id, id.ToString()));
}

TEST(VorlanObject, TravelsThroughStreamsAndOptionsText) {
    Job job(UID(true));
    job.parentID = UID(true);
    String const wild("\0{}\"\\,=\n\xFF tail", 15);
    job.SetValues({{"Name", "n"}, {"Empty", ""}, {"Wild", wild}, {wild, "in the name"}});
    OutMemory out;
    job.Send(out);
    String const bytes = out.Bytes();

    Job copy;
    InMemory in(bytes);
    copy.Read(in);
    EXPECT_EQ(std::tuple(copy.id, copy.parentID, copy.Values()), std::tuple(job.id, job.parentID, job.Values()));

    for (size_t length = 0; length < bytes.size(); ++length) {
        Job target(UID::Full);
        target.SetName("kept");
        InMemory cut(std::string_view(bytes).substr(0, length));
        EXPECT_THROW(target.Read(cut), Exception) << length;
        EXPECT_EQ(std::tuple(target.id, target.parentID, target.Values()),
                  std::tuple(UID::Full, UID::Null, OptionMap{{p_Name, "kept"}}));
    }

    String text;
    job.Save(text, OptionsToStringMode::OneLine);
    job.Save(text, {"Name", "Missing"}, OptionsToStringMode::OneLine);
    Job whole;
    whole.Load(text);
    Job part(UID::Full);
    part.Load(text);
    EXPECT_EQ(std::tuple(whole.id, whole.Values()), std::tuple(job.id, job.Values()));
    EXPECT_EQ(std::tuple(part.id, part.Values()), std::tuple(UID::Full, OptionMap{{"Name", "n"}}))
        << "an id is taken over only where there is none";
    EXPECT_EQ(text, "");
    text = "no options";
    EXPECT_THROW(part.Load(text), ParseException);
    EXPECT_EQ(text, "no options");
}

TEST(VorlanObject, ReplacesTextInEveryValue) {
    Job job;
    job.SetValues({{"Scene", "/old/a.blend"}, {"Output", "/Old/old/"}, {"Other", "x"}});
    job.Replace("/old", "/new", true);
    EXPECT_EQ(job.Get("Output", false), "/Old/new/");
    job.Replace("/old", "/n", false);
    job.Replace("", "endless", true);
    EXPECT_EQ(job.Values(), (OptionMap{{"Scene", "/new/a.blend"}, {"Output", "/n/new/"}, {"Other", "x"}}));
}

TEST(Job, ReadsTypedValuesFromAnyText) {
    // No text: no value.
    Rows<char const*, int, int, int, unsigned, float> const cases = {
        {nullptr, 0, 50, 1, 1, 0},
        {"no number", 0, 50, 1, 1, 0},
        {"7", 7, 7, 7, 7, 7},
        {"-1", -1, -1, 1, 0, 0},
        {"99999999999", 2147483647, 2147483647, 2147483647, 4294967295u, 100},
        {"-99999999999", -2147483647 - 1, -2147483647 - 1, 1, 0, 0},
        {"nan", 0, 50, 1, 1, 0},
    };
    for (auto const& [text, status, priority, packetSize, staggerCount, percent] : cases) {
        Job job;
        for (char const* name : {p_Status, p_Priority, p_PacketSize, p_StaggerCount, p_PercentDone, p_Type}) {
            if (text)
                job.Set(name, text);
        }
        EXPECT_EQ(std::tuple(job.Status(), job.Priority(), job.PacketSize(), job.StaggerCount(), job.PercentDone()),
                  std::tuple(status, priority, packetSize, staggerCount, percent))
            << (text ? text : "(none)");
        EXPECT_TRUE(job.Type().IsNull());
    }
}

TEST(Job, KnowsWhatEachStatusMeans) {
    // Of "aftch": active, finished, failed (t), canceled, held.
    Rows<int, char const*, char const*> const cases = {{-1, "Paused", "h"},
                                                       {0, "Queued", ""},
                                                       {1, "Assigned", "a"},
                                                       {2, "Started", "a"},
                                                       {3, "Closed", ""},
                                                       {4, "User Aborted", "c"},
                                                       {5, "Unsuccessful", "t"},
                                                       {6, "Lost", "c"},
                                                       {7, "Finished", "f"},
                                                       {8, "User Canceled", "fc"},
                                                       {9, "Failed", "ft"},
                                                       {10, "Timed Out", "t"},
                                                       {13, "Administrator Aborted", "c"},
                                                       {14, "Administrator Canceled", "fc"},
                                                       {11, "Unknown", ""}};
    for (auto const& [status, name, meaning] : cases) {
        Job job;
        job.SetStatus(status);
        bool const means[] = {job.IsActiveStatus(job.Status()), job.IsFinished(), job.IsFailed(), job.IsCanceled(),
                              job.IsPaused()};
        for (size_t i = 0; i < std::size(means); ++i)
            EXPECT_EQ(means[i], String(meaning).Find("aftch"[i]) != String::npos) << status << " " << i;
        EXPECT_EQ(job.StatusAsString(), name) << status;
    }
}

TEST(Job, TakesMissingValuesFromItsProduct) {
    KnownProduct const known;
    auto const job = JobFactory::s_JobFactory->CreateJob(known.product->Type());
    job->SetValues({{"Scene", "fish"}, {p_Range, "1-10,20"}});
    EXPECT_EQ(std::tuple(job->TypeString(), job->GetParameterString("painter"), job->Get("Painter", true),
                         job->Get("Painter", false), job->GetParameterString(p_RangeCount)),
              std::tuple("Paint", "Vera", "Vera", "", "11"));
    EXPECT_EQ(job->GetParameterString(p_JobSummary), "fish 1-10,20 by Vera");
    job->Set(p_JobSummary, "stale");
    job->Set("Scene", "bird");
    EXPECT_EQ(job->GetParameterString(p_JobSummary), "bird 1-10,20 by Vera");
    EXPECT_EQ(job->FormatStringWithParameters("$(Scene) $(Priority) $(JobSummary) $(None)."),
              "bird 50 bird 1-10,20 by Vera .");
    job->SetValues({{p_StaggerCount, "2"}, {p_StaggerStart, "1.5"}});
    EXPECT_EQ(job->FormatStringWithParameters("Start $(StaggerCount) Work every $(StaggerStart) seconds"),
              "Start 2 Work every 1.5 seconds");

    job->Set(p_Range, "no range");
    EXPECT_EQ(job->GetParameterString(p_JobSummary), "bird no range by Vera");
    EXPECT_EQ(job->GetParameterString(p_RangeCount), "");

    known.product->SetSummaryTemplate("never ends: $(JobSummary)");
    EXPECT_EQ(job->GetParameterString(p_JobSummary), "never ends: ");

    Job orphan;
    orphan.SetValues({{p_Type, UID::Full.ToString()}, {p_JobSummary, "stored"}});
    EXPECT_EQ(orphan.TypeString(), UID::Full.ToString());
    EXPECT_EQ(orphan.GetParameterString(p_JobSummary), "stored");
}

TEST(Job, SharesWithItsWorkWhatIsNotTheWorksOwn) {
    KnownProduct const known;
    Job parent(UID(true));
    parent.SetValues({{p_Type, known.product->Type().ToString()},
                      {p_Name, "Job"},
                      {p_Priority, "80"},
                      {p_Status, "-1"},
                      {p_PercentDone, "12"},
                      {"Seed", "1"},
                      {"Scene", "fish"}});
    Job work(UID(true));
    UID const id = work.id;
    work.parentID = parent.id;
    work.SetValues({{p_Name, "1-5"}, {p_SubRange, "1-5"}, {p_Status, "2"}, {"Seed", "7"}, {"Only", "here"}});
    work.UpdateFromParent(parent);
    OptionMap const expected{
        {p_Name, "1-5"},  {p_SubRange, "1-5"}, {p_Status, "2"},   {"Seed", "7"},
        {"Only", "here"}, {p_Priority, "80"},  {"Scene", "fish"}, {p_Type, known.product->Type().ToString()}};
    EXPECT_EQ(std::tuple(work.id, work.parentID, work.Values()), std::tuple(id, parent.id, expected));

    Job newer(UID(true));
    newer.SetValues({{p_Name, "Newer"}});
    work.UpdateFrom(newer, true);
    EXPECT_EQ(std::tuple(work.Values().size(), work.Name()), std::tuple(expected.size(), "Newer"));
    work.UpdateFrom(newer, false);
    EXPECT_EQ(std::tuple(work.id, work.Values()), std::tuple(id, newer.Values()));

    auto const other = SDuplicateJob(work, true);
    EXPECT_EQ(SDuplicateJob(work, false)->id, work.id);
    EXPECT_NE(other->id, work.id);
    EXPECT_EQ(other->Values(), work.Values());
    other->SetName("Other");
    EXPECT_EQ(work.Name(), "Newer");
}

TEST(Job, ReadsItsLinks) {
    UID const a(true);
    UID const b(true);
    Job job;
    EXPECT_TRUE(job.GetDependencies().empty());
    job.Set(p_WaitForJobID, " " + a.ToString() + "; {" + b.ToString() + "}, broken");
    using Type = Job::DependencyType;
    EXPECT_EQ(job.GetDependencies(), (std::map<UID, Type>{{a, Type::WholeJob}, {b, Type::WholeJob}}));
    job.Set(p_WaitForWholeJob, k_No);
    EXPECT_EQ(job.GetDependencies().at(a), Type::Frame);
    job.Set(p_IncludeEngines, UIDsToString(std::vector<UID>{a, b, a}));
    EXPECT_EQ(job.IncludeEngines(), (std::set<UID>{a, b}));
    EXPECT_TRUE(job.ExcludeEngines().empty());
}

TEST(Job, RunsACommandOfItsProduct) {
    KnownProduct known;
    TempFolder const folder;
    auto const add = [&](char const* name, std::vector<char const*> const& words) {
        auto const command = known.product->AddCommand(Command::f_ForJobs);
        command->SetName(name);
        LaunchTemplate launch;
        for (char const* word : words)
            launch.arguments.push_back({ArgumentTemplate::Kind::Text, word, {}});
        command->SetLaunch(launch);
    };
    add("Touch", {"/bin/sh", "-c", "echo done > \"$$0\"", "$(Scene)"});
    add("Missing", {"/no/such/program"});
    known.Publish();

    Job job(UID(true));
    Path const mark = folder / "a mark";
    job.SetValues({{p_Type, known.product->Type().ToString()}, {"Scene", mark}});
    LogLines lines;
    EXPECT_FALSE(job.RunCommand("No such command") || job.RunCommand("Missing"));
    EXPECT_EQ(lines.Get().size(), 1u);
    EXPECT_TRUE(job.RunCommand("touch"));
    for (Time const end = Time::CurrentTime() + Time::Seconds(10); File::Size(mark) != 5 && Time::CurrentTime() < end;)
        std::this_thread::yield();
    EXPECT_EQ(File::Read(mark), "done\n");

    Job stranger;
    EXPECT_FALSE(stranger.RunCommand("Touch"));
}

TEST(JobConditions, FollowStatusAndPriority) {
    // Of "prul": it can be paused, resumed, raised (u) and lowered.
    Rows<int, int, char const*> const cases = {
        {Queued, 50, "pul"}, {Queued, 100, "pl"}, {Queued, 0, "pu"},
        {Paused, 50, "rul"}, {Finished, 50, ""},  {UserCanceled, 50, ""},
    };
    for (auto const& [status, priority, can] : cases) {
        Job job(UID(true));
        job.SetStatus(status);
        job.Set(p_Priority, String::From(priority));
        String const does = String(CanPause(job) ? "p" : "") + (CanResume(job) ? "r" : "") +
                            (CanRaisePriority(job) ? "u" : "") + (CanLowerPriority(job) ? "l" : "");
        EXPECT_EQ(does, can) << status << " " << priority;
    }
}

} // namespace vorlan::test_job
