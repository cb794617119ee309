// The real program against a Master that the test plays.
#include "domain.h"

#include "corekit/homeprocesses.h"
#include "corekit/runtimetools.h"
#include "corekit/sanitizerreports.h"
#include "engine/runner/leftovers.h"
#include "vorlan/inbox.h"

#include <vorlan/net/client.h>
#include <vorlan/net/server.h>

namespace vorlan::test_engineprocess {

UID const k_Type = UID::FromName("shell product");

class Master {
public:
    explicit Master(FarmKey const& key) {
        net::ServerOptions options;
        options.key = key;
        options.self = net::PeerInfo::Self(net::PeerKind::Master, "VorlanMaster");
        net::Handlers handlers;
        handlers.onConnected = [this](auto const& connection) {
            std::lock_guard const lock(m_guard);
            m_connection = connection;
        };
        handlers.onMessage = [this](auto const&, auto const& message) { inbox.Add(message); };
        m_server = std::make_unique<net::Server>(std::move(options), std::move(handlers));
        m_server->Start();
        MasterFinder::WritePortFile(m_server->Port());
    }
    ~Master() { m_server->Stop(); }

    void Send(boost::shared_ptr<Message const> const& message) {
        std::lock_guard const lock(m_guard);
        m_connection->Send(message);
    }
    RegisterEngineMsg WaitForEngine() {
        auto const registered = inbox.Take<RegisterEngineMsg>();
        Product product("Shell", k_Type);
        LaunchTemplate launch;
        launch.arguments = {{ArgumentTemplate::Kind::CommandLine, "Script", {}}};
        launch.shell = "Yes";
        product.SetLaunch(launch);
        auto const message = ProductMsg::New();
        message->text = ProductToText(product);
        Send(message);
        return registered ? *registered : RegisterEngineMsg();
    }
    UID Run(String const& script, OptionMap const& values = {}) {
        auto const message = RunWorkMsg::New();
        message->work = boost::make_shared<Job>(UID(true));
        message->work->parentID = UID(true);
        message->work->SetValues({{p_Type, k_Type.ToString()}, {p_SubRange, "1"}, {"Script", script}});
        message->work->SetValues(values);
        Send(message);
        return message->work->id;
    }
    bool HasBegun(UID const& work) {
        return inbox.Take<WorkBegunMsg>([&](auto const& message) { return message.work == work; }) != nullptr;
    }
    WorkEnded Result(UID const& work) {
        auto const found = inbox.Take<WorkEndedMsg>([&](auto const& message) { return message.ended.work == work; });
        return found ? found->ended : WorkEnded();
    }
    String Output(UID const& work) {
        auto const ask = GetOutputMsg::New();
        ask->request = UID(true);
        ask->work = work;
        Send(ask);
        auto const piece = inbox.Take<OutputDataMsg>([&](auto const& told) { return told.request == ask->request; });
        return piece ? piece->data : String();
    }

    Inbox inbox;

private:
    std::mutex m_guard;
    boost::shared_ptr<net::Connection> m_connection;
    std::unique_ptr<net::Server> m_server;
};

class EngineProcess : public testing::Test {
protected:
    void StartEngine() {
        ProcessOptions options;
        options.group = ProcessGroup::Own;
        options.stdoutFd = options.stderrFd = ProcessOptions::k_Null;
        String error;
        m_engine = Process::Start(Path(String(vorlan::k_BinDir) + "/VorlanEngine"), options, &error);
        ASSERT_TRUE(m_engine) << error;
    }
    FarmKey Key() { return FarmKey::LoadOrCreate(File::GetMachineDir()); }
    bool NothingLeft() {
        String const mark = runner::MarkPrefix(Platform::GetUniqueSystemID());
        return WaitFor([&] { return runner::MarkedProcesses(mark).empty(); }, 1000);
    }

    SanitizerReports m_reports;
    TempFolder m_home;
    HomeGuard m_guard{m_home.Folder()};
    EnvironmentValue m_variable{"VORLAN_HOME", m_home.Folder().c_str()};
    std::unique_ptr<Process> m_engine;
};

TEST_F(EngineProcess, StartsBeforeTheKeyAndTheMasterAndRunsWork) {
    StartEngine();
    Master master(Key());
    Engine const engine = master.WaitForEngine().engine;
    EXPECT_EQ(engine.id, Platform::GetUniqueSystemID());
    EXPECT_FALSE(engine.Name().Empty() || engine.OperatingSystem().Empty());
    EXPECT_GE(engine.MaxCores(), 1U);
    EXPECT_GT(engine.MemoryMB(), 0U);
    EXPECT_EQ(engine.Version(), net::PeerInfo::Self(net::PeerKind::Tool, "x").version);
    EXPECT_TRUE(master.inbox.Take<HeartbeatMsg>());

    UID const good = master.Run("echo hello; echo world >&2");
    EXPECT_EQ(master.Result(good).status, Finished);
    EXPECT_TRUE(master.HasBegun(good));
    EXPECT_TRUE(master.Output(good).Contains("hello\nworld\n"));
    EXPECT_EQ(master.Result(master.Run("echo no licence; exit 3")).note, "exit code 3: no licence");

    bool const isRoot = geteuid() == 0;
    UID const other = master.Run("id -un", {{p_Username, isRoot ? "nobody" : "root"}});
    String const note = master.Result(other).note;
    EXPECT_TRUE(isRoot ? master.Output(other).Contains("\nnobody\n") : note.Contains("does not run as root")) << note;
    UID const unknown = master.Run("true", {{p_Username, "no-such-user"}});
    EXPECT_TRUE(master.Result(unknown).note.StartsWith("There is no user \"no-such-user\" on "));

    UID const last = master.Run("sleep 600");
    ASSERT_TRUE(master.HasBegun(last));
    kill(m_engine->Pid(), SIGTERM);
    EXPECT_EQ(m_engine->Wait(15000), std::optional(0));
    EXPECT_EQ(master.Result(last).status, Lost);
    EXPECT_TRUE(NothingLeft());
}

TEST_F(EngineProcess, RootRunsNothingAsRootUnlessItIsTold) {
    if (geteuid() != 0)
        GTEST_SKIP() << "needs to be root";
    EnvironmentValue const account("VORLAN_WORK_ACCOUNT", "nobody");
    Master master(Key());
    StartEngine();
    master.WaitForEngine();
    UID const plain = master.Run("id -un; pwd; touch made");
    EXPECT_EQ(master.Result(plain).status, Finished);
    EXPECT_TRUE(master.Output(plain).Contains("\nnobody\n"));
    WorkEnded const root = master.Result(master.Run("true", {{p_Username, "root"}}));
    EXPECT_EQ(root.status, Unsuccessful);
    EXPECT_TRUE(root.note.Contains("has all rights")) << root.note;
}

TEST_F(EngineProcess, AnswersOnItsInformationPort) {
    Master master(Key());
    StartEngine();
    IPPeer const port = master.WaitForEngine().engine.InfoPeer();
    UID const work = master.Run("echo one; sleep 0.2; echo two");
    ASSERT_TRUE(master.HasBegun(work));

    Inbox inbox;
    net::ClientOptions options;
    options.self = net::PeerInfo::Self(net::PeerKind::Client, "Test");
    options.find = [port](auto const&, auto const&) { return std::vector<IPPeer>{port}; };
    net::Handlers handlers;
    handlers.onConnected = [&](auto const& connection) {
        connection->Send(GetHardwareMsg::New());
        auto const follow = GetOutputMsg::New();
        follow->request = UID(true);
        follow->work = work;
        follow->follow = true;
        connection->Send(follow);
    };
    handlers.onMessage = [&](auto const&, auto const& message) { inbox.Add(message); };
    net::Client client(std::move(options), std::move(handlers));
    client.Start();
    auto const figures = inbox.Take<HardwareMsg>();
    ASSERT_TRUE(figures);
    EXPECT_GT(figures->totalPhysicalMB, 0);
    EXPECT_GT(figures->freePhysicalMB, 0);
    EXPECT_LE(figures->cpuPercent, 100);
    EXPECT_TRUE(inbox.Take<OutputDataMsg>([](auto const& piece) { return piece.data.Contains("two\n"); }));
    EXPECT_TRUE(inbox.Take<OutputDataMsg>([](auto const& piece) { return piece.end && piece.error.Empty(); }));
    client.Stop();
}

TEST_F(EngineProcess, AKillLosesNoResultAndLeavesNoProcess) {
    auto const key = Key();
    UID done;
    UID cut;
    {
        Master master(key);
        StartEngine();
        master.WaitForEngine();
        done = master.Run("exit 3");
        EXPECT_EQ(master.Result(done).exitCode, 3); // and never acknowledged
        cut = master.Run("setsid sh -c 'trap \"\" TERM; sleep 600' & sleep 600");
        ASSERT_TRUE(master.HasBegun(cut));
        m_engine->Kill();
        EXPECT_TRUE(NothingLeft());
        m_engine->Wait(5000);
    }
    Master master(key);
    StartEngine();
    RegisterEngineMsg const registered = master.WaitForEngine();
    EXPECT_TRUE(registered.running.empty());
    ASSERT_EQ(registered.ended.size(), 2U);
    for (WorkEnded const& ended : registered.ended) {
        EXPECT_TRUE(ended.work == done || ended.work == cut);
        EXPECT_EQ(ended.status, ended.work == done ? Unsuccessful : Lost);
        EXPECT_EQ(ended.note, ended.work == done ? "exit code 3" : "VorlanEngine ended while this ran");
    }
}

} // namespace vorlan::test_engineprocess
