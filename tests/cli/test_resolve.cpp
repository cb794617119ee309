#include "cli/exitcode.h"
#include "cli/fakemaster.h"
#include "cli/resolve.h"
#include "cli/submission.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vorlan::cli {

using testing::HasSubstr;

namespace {

UID Id(char const* text) {
    UID id;
    EXPECT_TRUE(UID::FromString(text, id)) << text;
    return id;
}

corekit::vector<Candidate> Candidates() {
    return {{Id("aaaa1111-0000-0000-0000-000000000001"), "Kitchen"},
            {Id("aaaa2222-0000-0000-0000-000000000002"), "Garden"},
            {Id("bbbb0000-0000-0000-0000-000000000003"), "Garden"},
            {Id("cccc0000-0000-0000-0000-000000000004"), "aaaa1"},
            {Id("dddd0000-0000-0000-0000-000000000005"), ""}};
}

} // namespace

TEST(Resolve, FindsTheOneThatIsMeant) {
    struct Case {
        char const* text;
        char const* id;    // null: an error
        char const* error; // a part of it
    };
    for (Case const& one :
         {Case{"Kitchen", "aaaa1111-0000-0000-0000-000000000001", ""},
          Case{"kitchen", "aaaa1111-0000-0000-0000-000000000001", ""},
          Case{"aaaa2", "aaaa2222-0000-0000-0000-000000000002", ""},
          Case{"AAAA2222-0000", "aaaa2222-0000-0000-0000-000000000002", ""},
          Case{"b", "bbbb0000-0000-0000-0000-000000000003", ""},
          Case{"{bbbb0000-0000-0000-0000-000000000003}", "bbbb0000-0000-0000-0000-000000000003", ""},
          // A name goes before the start of a UID.
          Case{"aaaa1", "cccc0000-0000-0000-0000-000000000004", ""}, Case{"Garden", nullptr, "any of 2 Jobs"},
          Case{"aaaa", nullptr, "any of 2 Jobs"}, Case{"Kitchn", nullptr, "Is \"Kitchen\" meant?"},
          Case{"", nullptr, "There is no Job \"\""}, Case{"Bathroom", nullptr, "There is no Job \"Bathroom\"."},
          Case{"eeee0000-0000-0000-0000-000000000009", nullptr, "There is no Job"}}) {
        try {
            UID const found = Resolve("Job", one.text, Candidates());
            ASSERT_TRUE(one.id) << one.text;
            EXPECT_EQ(found, Id(one.id)) << one.text;
        } catch (CommandException const& exception) {
            EXPECT_FALSE(one.id) << one.text;
            EXPECT_EQ(exception.Exit(), ExitCode::Failed);
            EXPECT_THAT(exception.Message().Str(), HasSubstr(one.error));
        }
    }
}

TEST(Resolve, NamesAFewOfMany) {
    corekit::vector<Candidate> many;
    for (int i = 0; i < 100; ++i)
        many.push_back({UID(true), "Same"});
    try {
        Resolve("Job", "same", many);
        FAIL() << "one of many was taken";
    } catch (CommandException const& exception) {
        EXPECT_LT(exception.Message().size(), 600U);
        EXPECT_THAT(exception.Message().Str(), HasSubstr("..."));
    }
}

class Submission : public testing::Test {
protected:
    boost::shared_ptr<Product> m_povray = FakeMaster::ShippedProduct("povray.json");
    boost::shared_ptr<Product> m_command = FakeMaster::CommandProduct();
    Job m_job{UID(true)};
    FarmView m_view;

    void Set(Product const& product, char const* text) {
        ApplySetting(m_job, product, ParseSetting(text), "/jobs/shots", m_view);
    }
};

TEST_F(Submission, PathsCountFromTheirFolder) {
    struct Case {
        char const* name;
        char const* value;
        char const* resolved;
    };
    for (Case const& one :
         {Case{"SceneFile", "a.pov", "/jobs/shots/a.pov"}, Case{"SceneFile", "../b/./a.pov", "/jobs/b/a.pov"},
          Case{"SceneFile", "\"with blank.pov\"", "/jobs/shots/with blank.pov"},
          Case{"SceneFile", "/abs/a.pov", "/abs/a.pov"}, Case{"SceneFile", "C:\\scenes\\a.pov", "C:\\scenes\\a.pov"},
          Case{"SceneFile", "$(Root)/a.pov", "$(Root)/a.pov"},
          Case{"SceneFile", "nfs://host/a.pov", "nfs://host/a.pov"}, Case{"OutputFolder", "out/", "/jobs/shots/out"},
          Case{"OutputFolder", ".", "/jobs/shots"},
          Case{"LibraryPaths", "inc;/abs; ../x ", "/jobs/shots/inc;/abs;/jobs/x"},
          Case{"OutputName", "../name", "../name"}}) {
        m_job.Set(one.name, one.value);
        ResolvePaths(m_job, *m_povray, "/jobs/shots");
        EXPECT_EQ(m_job.Get(one.name, false), one.resolved) << one.value;
    }
    EXPECT_FALSE(m_job.Has("Declare"));
}

TEST_F(Submission, SettingsAreTakenAsPeopleMeanThem) {
    Set(*m_povray, "antialias=Adaptive");
    EXPECT_EQ(m_job.Get("Antialias", false), "2");
    Set(*m_povray, "Format=PNG");
    EXPECT_EQ(m_job.Get("Format", false), "N");
    Set(*m_povray, "SceneFile=x.pov");
    EXPECT_EQ(m_job.Get("SceneFile", false), "/jobs/shots/x.pov");
    Set(*m_command, "CommandLine=a=b c");
    EXPECT_EQ(m_job.Get("CommandLine", false), "a=b c");

    auto pools = PoolMsg::New();
    UID const pool(true);
    pools->pools[pool] = "Night";
    m_view.Take(*pools);
    Set(*m_command, "Pool=night");
    EXPECT_EQ(m_job.Pool(), pool);
    EXPECT_THROW(Set(*m_command, "Pool=Day"), CommandException);
}

TEST_F(Submission, WhatIsWrongIsSaidBeforeItIsSent) {
    auto const fails = [&](auto function, ExitCode code, char const* part) {
        try {
            function();
            ADD_FAILURE() << "taken: " << part;
        } catch (CommandException const& exception) {
            EXPECT_EQ(exception.Exit(), code);
            EXPECT_THAT(exception.Message().Str(), HasSubstr(part));
        }
    };
    fails([&] { Set(*m_povray, "Widht=3"); }, ExitCode::Usage, "Is Width meant?");
    fails([&] { ParseSetting("Width"); }, ExitCode::Usage, "Name=Value");
    fails([&] { ParseSetting("=3"); }, ExitCode::Usage, "Name=Value");
    fails([&] { SetOutputFolder(m_job, *m_command, "/out"); }, ExitCode::Usage, "no output folder");
    m_job.Set(p_Range, "1-10");
    fails([&] { CheckJob(m_job, *m_command); }, ExitCode::Usage, "--set CommandLine=");
    m_job.Set("CommandLine", "true");
    CheckJob(m_job, *m_command);
    m_job.Set(p_Range, "1-x");
    fails([&] { CheckJob(m_job, *m_command); }, ExitCode::Usage, "\"1-x\"");
    SetOutputFolder(m_job, *m_povray, "/out");
    EXPECT_EQ(m_job.Get("OutputFolder", false), "/out");
}

} // namespace vorlan::cli
