#include "cli/exitcode.h"
#include "cli/fakemaster.h"
#include "cli/resolve.h"
#include "cli/submission.h"

namespace vorlan::cli {

using testing::HasSubstr;

TEST(Resolve, FindsTheOneThatIsMeant) {
    std::vector<Candidate> candidates;
    Rows<char const*, char const*> const known = {
        {"aaaa1111-0000-0000-0000-000000000001", "Kitchen"}, {"aaaa2222-0000-0000-0000-000000000002", "Garden"},
        {"bbbb0000-0000-0000-0000-000000000003", "Garden"},  {"cccc0000-0000-0000-0000-000000000004", "aaaa1"},
        {"dddd0000-0000-0000-0000-000000000005", ""},
    };
    for (auto const& [id, name] : known)
        ASSERT_TRUE(UID::FromString(id, candidates.emplace_back(Candidate{UID(), name}).id));
    for (int i = 0; i < 100; ++i)
        candidates.push_back({UID::FromName(String::From(i)), "Same"});

    // A text and the place of what it names among the candidates, or what is said.
    Rows<char const*, int, char const*> const cases = {
        {"Kitchen", 0, ""},
        {"kitchen", 0, ""},
        {"aaaa2", 1, ""},
        {"AAAA2222-0000", 1, ""},
        {"bbbb0000-0000-0000-0000-000", 2, ""},
        {"{bbbb0000-0000-0000-0000-000000000003}", 2, ""},
        {"aaaa1", 3, ""}, // a name goes before the start of a UID
        {"Garden", -1, "any of 2 Jobs"},
        {"aaaa", -1, "any of 2 Jobs"},
        {"same", -1, "..."}, // a few of many are named
        {"Kitchn", -1, "Is \"Kitchen\" meant?"},
        {"", -1, "There is no Job \"\""},
        {"Bathroom", -1, "There is no Job \"Bathroom\"."},
        {"eeee0000-0000-0000-0000-000000000009", -1, "There is no Job"},
    };
    for (auto const& [text, place, error] : cases) {
        try {
            UID const found = Resolve("Job", text, candidates);
            ASSERT_GE(place, 0) << text;
            EXPECT_EQ(found, candidates[static_cast<size_t>(place)].id) << text;
        } catch (CommandException const& exception) {
            EXPECT_LT(place, 0) << text;
            EXPECT_EQ(exception.Exit(), ExitCode::Failed);
            EXPECT_THAT(exception.Message().Str(), HasSubstr(error));
            EXPECT_LT(exception.Message().size(), 600U);
        }
    }
}

class Submission : public testing::Test {
protected:
    boost::shared_ptr<Product> m_povray = FakeMaster::ShippedProduct("povray.json");
    boost::shared_ptr<Product> m_command = FakeMaster::CommandProduct();
    Job m_job{UID(true)};

    void Set(Product const& product, char const* text) {
        ApplySetting(m_job, product, ParseSetting(text), "/jobs/shots");
        TakeShownChoices(m_job, product);
    }
};

TEST_F(Submission, PathsCountFromTheirFolder) {
    Rows<char const*, char const*, char const*> const cases = {
        {"SceneFile", "a.pov", "/jobs/shots/a.pov"},
        {"SceneFile", "../b/./a.pov", "/jobs/b/a.pov"},
        {"SceneFile", "\"with blank.pov\"", "/jobs/shots/with blank.pov"},
        {"SceneFile", "/abs/a.pov", "/abs/a.pov"},
        {"SceneFile", "C:\\scenes\\a.pov", "C:\\scenes\\a.pov"},
        {"SceneFile", "$(Root)/a.pov", "$(Root)/a.pov"},
        {"SceneFile", "nfs://host/a.pov", "nfs://host/a.pov"},
        {"OutputFolder", "out/", "/jobs/shots/out"},
        {"OutputFolder", ".", "/jobs/shots"},
        {"LibraryPaths", "inc;/abs; ../x ", "/jobs/shots/inc;/abs;/jobs/x"},
        {"OutputName", "../name", "../name"},
    };
    for (auto const& [name, value, resolved] : cases) {
        m_job.Set(name, value);
        ResolvePaths(m_job, *m_povray, "/jobs/shots");
        EXPECT_EQ(m_job.Get(name, false), resolved) << value;
    }
    EXPECT_FALSE(m_job.Has("Declare"));
}

TEST_F(Submission, SettingsAreTakenAsPeopleMeanThem) {
    Rows<Product const*, char const*, char const*, char const*> const cases = {
        {m_povray.get(), "antialias=Adaptive", "Antialias", "2"},
        {m_povray.get(), "Format=png", "Format", "N"},
        {m_povray.get(), "Format=j", "Format", "J"},
        {m_povray.get(), "excludeengines=render07", "ExcludeEngines", "render07"},
        {m_command.get(), "MyShot=s1", "MyShot", "s1"},
        {m_povray.get(), "SceneFile=x.pov", "SceneFile", "/jobs/shots/x.pov"},
        {m_command.get(), "CommandLine=a=b c", "CommandLine", "a=b c"},
    };
    for (auto const& [product, setting, name, value] : cases) {
        Set(*product, setting);
        EXPECT_EQ(m_job.Get(name, false), value) << setting;
    }
    for (char const* bad : {"Widht=3", "Width", "=3", "MyShot=s1", "RangeCount=3"})
        EXPECT_THROW(Set(*m_povray, bad), CommandException) << bad;
}

} // namespace vorlan::cli
