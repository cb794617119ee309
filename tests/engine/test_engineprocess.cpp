// The real program against a Master that the test plays.
#include "corekit/sanitizerreports.h"
#include "corekit/tempfolder.h"
#include "engine/runner/leftovers.h"

#include <boost/make_shared.hpp>
#include <corekit/platform.h>
#include <corekit/process.h>
#include <vorlan/discovery.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>
#include <vorlan/net/client.h>
#include <vorlan/net/server.h>
#include <vorlan/product.h>
#include <vorlan/productfile.h>
#include <vorlan/status.h>

#include <gtest/gtest.h>

#include <condition_variable>
#include <optional>
#include <signal.h>
#include <thread>

using namespace vorlan;
using namespace std::chrono_literals;

namespace {

constexpr auto k_Limit = 20s;
UID const k_Type = UID::FromName("shell product");

// Messages of one kind of peer, as they come.
class Inbox {
public:
    void Add(boost::shared_ptr<Message> const& message) {
        std::lock_guard const lock(m_guard);
        m_messages.push_back(message);
        m_changed.notify_all();
    }
    // The first message for which `wanted` holds; null when none comes in time.
    template <class T>
    boost::shared_ptr<T> Wait(std::function<bool(T const&)> const& wanted) {
        std::unique_lock lock(m_guard);
        boost::shared_ptr<T> found;
        m_changed.wait_for(lock, k_Limit, [&] {
            for (auto const& message : m_messages) {
                if (message->Type() == T::s_Type && wanted(static_cast<T const&>(*message))) {
                    found = boost::static_pointer_cast<T>(message);
                    return true;
                }
            }
            return false;
        });
        return found;
    }
    template <class T>
    boost::shared_ptr<T> Wait() {
        return Wait<T>([](T const&) { return true; });
    }

private:
    std::mutex m_guard;
    std::condition_variable m_changed;
    std::vector<boost::shared_ptr<Message>> m_messages;
};

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
    boost::shared_ptr<RegisterEngineMsg> WaitForEngine() {
        auto const registered = inbox.Wait<RegisterEngineMsg>();
        Product product("Shell", k_Type);
        LaunchTemplate launch;
        launch.arguments = {{ArgumentTemplate::Kind::CommandLine, "Script", {}}};
        launch.shell = "Yes";
        product.SetLaunch(launch);
        auto const message = ProductMsg::New();
        message->text = ProductToText(product);
        Send(message);
        return registered;
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
        return inbox.Wait<WorkBegunMsg>([&](WorkBegunMsg const& message) { return message.work == work; }) != nullptr;
    }
    std::optional<WorkEnded> Result(UID const& work) {
        auto const found =
            inbox.Wait<WorkEndedMsg>([&](WorkEndedMsg const& message) { return message.ended.work == work; });
        return found ? std::optional(found->ended) : std::nullopt;
    }
    String Output(UID const& work) {
        auto const ask = GetOutputMsg::New();
        ask->request = UID(true);
        ask->work = work;
        Send(ask);
        String text;
        inbox.Wait<OutputDataMsg>([&](OutputDataMsg const& piece) {
            if (piece.request != ask->request)
                return false;
            text = piece.end ? text : piece.data;
            return piece.end;
        });
        return text;
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
        m_engine = Process::Start(Path(String(VORLAN_BIN_DIR) + "/VorlanEngine"), options, &error);
        ASSERT_TRUE(m_engine) << error;
    }
    FarmKey Key() { return FarmKey::LoadOrCreate(File::GetMachineDir()); }
    bool NothingLeft() {
        auto const until = std::chrono::steady_clock::now() + 1s;
        while (!runner::MarkedProcesses(runner::MarkPrefix(Platform::GetUniqueSystemID())).empty()) {
            if (std::chrono::steady_clock::now() > until)
                return false;
            std::this_thread::sleep_for(5ms);
        }
        return true;
    }

    SanitizerReports m_reports;
    TempFolder m_home;
    EnvironmentValue m_variable{"VORLAN_HOME", m_home.Folder().c_str()};
    std::unique_ptr<Process> m_engine;
};

} // namespace

TEST_F(EngineProcess, StartsBeforeTheKeyAndTheMasterAndRunsWork) {
    StartEngine();
    Master master(Key());
    auto const registered = master.WaitForEngine();
    ASSERT_TRUE(registered);
    Engine const& engine = registered->engine;
    EXPECT_EQ(engine.id, Platform::GetUniqueSystemID());
    EXPECT_FALSE(engine.Name().Empty());
    EXPECT_FALSE(engine.OperatingSystem().Empty());
    EXPECT_GE(engine.MaxCores(), 1U);
    EXPECT_GT(engine.MemoryMB(), 0U);
    EXPECT_EQ(engine.Version(), net::PeerInfo::Self(net::PeerKind::Tool, "x").version);
    ASSERT_NE(engine.InfoPeer().Port(), 0);
    EXPECT_TRUE(master.inbox.Wait<HeartbeatMsg>());

    UID const good = master.Run("echo hello; echo world >&2");
    ASSERT_TRUE(master.Result(good));
    EXPECT_EQ(master.Result(good)->status, Finished);
    EXPECT_TRUE(master.HasBegun(good));
    EXPECT_TRUE(master.Output(good).Contains("hello\nworld\n"));
    UID const bad = master.Run("echo no licence; exit 3");
    ASSERT_TRUE(master.Result(bad));
    EXPECT_EQ(master.Result(bad)->note, "exit code 3: no licence");

    bool const isRoot = geteuid() == 0;
    UID const other = master.Run("id -un", {{p_Username, isRoot ? "nobody" : "root"}});
    ASSERT_TRUE(master.Result(other));
    if (isRoot)
        EXPECT_TRUE(master.Output(other).Contains("\nnobody\n")) << master.Output(other);
    else
        EXPECT_TRUE(master.Result(other)->note.Contains("does not run as root"));
    UID const unknown = master.Run("true", {{p_Username, "no-such-user"}});
    ASSERT_TRUE(master.Result(unknown));
    EXPECT_TRUE(master.Result(unknown)->note.StartsWith("There is no user \"no-such-user\" on "));

    UID const stopped = master.Run("sleep 600");
    ASSERT_TRUE(master.HasBegun(stopped));
    auto const stop = EndWorkMsg::New();
    stop->work = stopped;
    stop->status = UserAborted;
    stop->reason = "enough";
    master.Send(stop);
    ASSERT_TRUE(master.Result(stopped));
    EXPECT_EQ(master.Result(stopped)->status, UserAborted);

    UID const last = master.Run("sleep 600");
    ASSERT_TRUE(master.HasBegun(last));
    kill(m_engine->Pid(), SIGTERM);
    EXPECT_EQ(m_engine->Wait(15000), std::optional(0));
    ASSERT_TRUE(master.Result(last));
    EXPECT_EQ(master.Result(last)->status, Lost);
    EXPECT_TRUE(NothingLeft());
}

TEST_F(EngineProcess, AnswersOnItsInformationPort) {
    Master master(Key());
    StartEngine();
    auto const registered = master.WaitForEngine();
    ASSERT_TRUE(registered);
    UID const work = master.Run("echo one; sleep 0.2; echo two");
    ASSERT_TRUE(master.HasBegun(work));

    Inbox inbox;
    net::ClientOptions options;
    options.self = net::PeerInfo::Self(net::PeerKind::Client, "Test");
    options.find = [peer = registered->engine.InfoPeer()](FarmKey const&, auto const&) {
        return corekit::vector<IPPeer>{peer};
    };
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
    auto const figures = inbox.Wait<HardwareMsg>();
    ASSERT_TRUE(figures);
    EXPECT_GT(figures->totalPhysicalMB, 0);
    EXPECT_GT(figures->freePhysicalMB, 0);
    EXPECT_LE(figures->cpuPercent, 100);
    EXPECT_TRUE(inbox.Wait<OutputDataMsg>([](auto const& piece) { return piece.data.Contains("two\n"); }));
    EXPECT_TRUE(inbox.Wait<OutputDataMsg>([](auto const& piece) { return piece.end && piece.error.Empty(); }));
    client.Stop();
}

TEST_F(EngineProcess, AKillLosesNoResultAndLeavesNoProcess) {
    auto const key = Key();
    UID done;
    UID cut;
    {
        Master master(key);
        StartEngine();
        ASSERT_TRUE(master.WaitForEngine());
        done = master.Run("exit 3");
        ASSERT_TRUE(master.Result(done)); // and never acknowledged
        cut = master.Run("setsid sh -c 'trap \"\" TERM; sleep 600' & sleep 600");
        ASSERT_TRUE(master.HasBegun(cut));
        m_engine->Kill();
        EXPECT_TRUE(NothingLeft());
        m_engine->Wait(5000);
    }
    Master master(key);
    StartEngine();
    auto const registered = master.WaitForEngine();
    ASSERT_TRUE(registered);
    EXPECT_TRUE(registered->running.empty());
    ASSERT_EQ(registered->ended.size(), 2U);
    for (WorkEnded const& ended : registered->ended) {
        EXPECT_TRUE(ended.work == done || ended.work == cut);
        EXPECT_EQ(ended.status, ended.work == done ? Unsuccessful : Lost);
        EXPECT_EQ(ended.note, ended.work == done ? "exit code 3" : "VorlanEngine ended while this ran");
    }
}

TEST_F(EngineProcess, WorksOnWithoutTheMasterAndSettlesWithIt) {
    auto const key = Key();
    UID ends;
    UID runs;
    {
        Master master(key);
        StartEngine();
        ASSERT_TRUE(master.WaitForEngine());
        ends = master.Run("while [ ! -e " + (m_home / "go").Text() + " ]; do sleep 0.02; done; touch " +
                          (m_home / "went").Text());
        runs = master.Run("sleep 600");
        ASSERT_TRUE(master.HasBegun(ends) && master.HasBegun(runs));
    }
    File::WriteWhole(m_home / "go", "x");
    auto const until = std::chrono::steady_clock::now() + k_Limit;
    while (!File::Exists(m_home / "went") && std::chrono::steady_clock::now() < until)
        std::this_thread::sleep_for(5ms);
    Master master(key);
    auto const registered = master.WaitForEngine();
    ASSERT_TRUE(registered);
    ASSERT_EQ(registered->running.size(), 1U);
    EXPECT_EQ(registered->running[0].work, runs);
    EXPECT_EQ(registered->running[0].status, Started);
    ASSERT_EQ(registered->ended.size(), 1U);
    EXPECT_EQ(registered->ended[0].work, ends);
    EXPECT_EQ(registered->ended[0].status, Finished);
}
