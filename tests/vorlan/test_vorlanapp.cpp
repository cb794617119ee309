#include <vorlan/usage.h>
#include <vorlan/vorlanapp.h>

#include "nettools.h"

namespace vorlan::test_vorlanapp {

class App : public VorlanClientApp {
public:
    App() : VorlanClientApp(Signals::LeaveAlone) {}
    boost::shared_ptr<Job> GetJobByID(UID const& id) override { return id == job->id ? job : nullptr; }
    void OnUnhandledMessage(boost::shared_ptr<Message> const& message) override {
        std::lock_guard const lock(guard);
        unhandled.push_back(message->TypeName());
    }
    void RequestHasFailed(UID const&, String const& reason) override {
        std::lock_guard const lock(guard);
        refused.push_back(reason);
    }

    boost::shared_ptr<Job> job = boost::make_shared<Job>(UID::FromName("job"));
    std::mutex guard;
    std::vector<String> unhandled; // guarded by guard
    std::vector<String> refused;   // guarded by guard
};

// Hears the start and the end of the program.
struct Follower : HasSlots<ThreadPolicy::LocalThreaded> {
    explicit Follower(bool allow = true) {
        VorlanAppStartupEvt::Signal().Connect(this, [this, allow](VorlanAppStartupEvt& event) {
            seen.push_back(event.success ? "starts" : "starts in vain");
            event.commandLine->AddSwitch("DisableMessenger");
            event.success = allow;
        });
        VorlanClientAppCleanupEvt::Signal().Connect(
            this, [this](VorlanClientAppCleanupEvt&) { seen.push_back("cleans up"); });
    }
    std::vector<String> seen;
};

// The places of virtual operations in the table, as this platform's compilers lay
// out a pointer to one.
template <class... Methods>
std::vector<ptrdiff_t> SlotsOf(Methods... methods) {
    auto const slot = [](auto method) {
        ptrdiff_t words[2] = {};
        static_assert(sizeof method == sizeof words);
        std::memcpy(words, &method, sizeof words);
        return (words[0] - 1) / static_cast<ptrdiff_t>(sizeof(void*));
    };
    return {slot(methods)...};
}

class VorlanAppTest : public ::testing::Test {
protected:
    VorlanAppTest() : home("VORLAN_HOME", folder.Folder().c_str()) {}
    ~VorlanAppTest() override {
        net::WakeMessenger();
        Log::Close();
    }

    TempFolder folder;
    EnvironmentValue home;
    CommandLine commandLine{"VorlanGui", {}};
};

TEST_F(VorlanAppTest, RunsUntilAShutdownMessage) {
    Follower follower;
    App app;
    EXPECT_EQ(VorlanApp::Get(), &app);
    EXPECT_EQ(app.OptionsFilename(), "VorlanGui.ini");
    app.job->Set(p_Name, "shot 12");
    EXPECT_EQ(app.GetJobParameters(app.job->id)[p_Name], "shot 12");
    EXPECT_TRUE(app.GetJobParameter(UID::FromName("another"), p_Name).Empty());

    int code = -1;
    std::thread runner([&] { code = app.Run(commandLine); });
    Messenger::SSendMessageToSelf(JobGoneMsg::New());
    Messenger::SSendMessageToSelf(RefusedMsg::Create(UID(), "no such Product"));
    EXPECT_TRUE(net::WaitFor([&] {
        std::lock_guard const lock(app.guard);
        return app.unhandled == std::vector<String>{"JobGoneMsg"} &&
               app.refused == std::vector<String>{"no such Product"};
    }));
    // Sent again as long as nobody listens yet.
    EXPECT_TRUE(net::WaitFor([&] {
        Messenger::SSendMessageToSelf(ShutdownMsg::New());
        return app.ShutdownRequested();
    }));
    runner.join();
    EXPECT_EQ(code, 0);
    EXPECT_EQ(follower.seen, (std::vector<String>{"starts", "cleans up"}));
    EXPECT_TRUE((folder / "user/History.log").Exists());
    // With the switch of the start-up event nothing looked for a Master.
    EXPECT_TRUE(Messenger::LastFailure().Empty());
}

// Behind the two entries of the destructor.
TEST_F(VorlanAppTest, TheOrderOfTheVirtualOperationsIsFixed) {
    using A = VorlanApp;
    auto const slots =
        SlotsOf(&A::Startup, &A::Execute, &A::Cleanup, &A::OnException, &A::SetLogDir, &A::OnStatistics,
                &A::IsMasterComponentProcess, &A::IsTheMaster, &A::IsAMirror, &A::IsAnEngine, &A::GetJobByID,
                &A::GetEngineByID, &A::GetJobParameter, &A::GetJobParameters, &A::GetAllJobs, &A::GetAllEngines,
                &A::GetWorkParentID, &A::GetPoolName, &A::OnUnhandledMessage, &A::OptionsFilename, &A::SaveUpgradeInfo,
                &A::FinishUpgradeRestart, &A::GetClientName, &A::RequestHasFailed);
    std::vector<ptrdiff_t> expected(24);
    std::iota(expected.begin(), expected.end(), 2);
    EXPECT_EQ(slots, expected);
}

TEST(Usage, ASwitchThatTheHelpDoesNotKnowIsRefused) {
    for (auto const& [word, known] : Rows<char const*, bool>{{"--Port", true},
                                                             {"-port=5", true},
                                                             {"--help", true},
                                                             {"-5", true},
                                                             {"word", true},
                                                             {"--bogus", false},
                                                             {"--Por", false},
                                                             {"--Portal", false}}) {
        char const* const words[] = {"VorlanMaster", word};
        EXPECT_EQ(KnowsSwitches(2, words, "--Port N  listen\n --help"), known) << word;
    }
}

TEST_F(VorlanAppTest, AListenerCanRefuseTheStart) {
    Follower follower(false);
    EXPECT_EQ(App().Run(commandLine), 1);
    EXPECT_EQ(follower.seen, (std::vector<String>{"starts", "cleans up"}));
}

} // namespace vorlan::test_vorlanapp
