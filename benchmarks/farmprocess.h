#pragma once

#include "testpaths.h"

#include <boost/make_shared.hpp>
#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/process.h>
#include <corekit/sformat.h>
#include <vorlan/components.h>
#include <vorlan/discovery.h>
#include <vorlan/messages.h>
#include <vorlan/net/client.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace bench {

using namespace vorlan;

// What goes wrong with the farm of a benchmark; main prints it and ends.
class FarmFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

inline constexpr int k_StartMs = 20'000;

// Polls until the condition holds. False when the time is over.
inline bool WaitUntil(std::function<bool()> const& condition, int timeoutMs, int everyMs = 5) {
    auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > until)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(everyMs));
    }
    return true;
}

// A folder of its own for everything that this process and the programs it starts
// write: the one that VORLAN_HOME names already, or a new one that is deleted again.
// Made before anything else asks for a folder.
class FarmHome {
public:
    FarmHome() {
        if (char const* const given = std::getenv("VORLAN_HOME")) {
            m_folder = given;
            return;
        }
        std::string name = (std::filesystem::temp_directory_path() / "vorlan-bench.XXXXXX").string();
        if (!::mkdtemp(name.data()))
            throw FarmFailure("No folder could be made in " + std::filesystem::temp_directory_path().string());
        m_folder = name;
        m_own = true;
        ::setenv("VORLAN_HOME", name.c_str(), 1);
    }
    ~FarmHome() {
        std::error_code ignored;
        if (m_own)
            std::filesystem::remove_all(m_folder.Native(), ignored);
    }
    FarmHome(FarmHome const&) = delete;
    FarmHome& operator=(FarmHome const&) = delete;

    corekit::Path const& Folder() const { return m_folder; }

private:
    corekit::Path m_folder;
    bool m_own = false;
};

// Real programs of a farm on this machine. They end with the object.
class FarmProcesses {
public:
    explicit FarmProcesses(FarmHome const& home) : m_home(home) {}
    ~FarmProcesses() {
        // The Engine first, so that its end is not another thing for the Master to do.
        for (auto process = m_processes.rbegin(); process != m_processes.rend(); ++process)
            (*process)->Terminate();
    }
    FarmProcesses(FarmProcesses const&) = delete;
    FarmProcesses& operator=(FarmProcesses const&) = delete;

    // Returns when it listens. `waitMs`: with a large store that takes a while.
    void StartMaster(int waitMs = k_StartMs) {
        corekit::Process& master = Start("VorlanMaster", {});
        bool const listens = WaitUntil([&] { return MasterFinder::PortFile().Exists() || !master.Running(); }, waitMs);
        if (!listens || !master.Running())
            throw FarmFailure("VorlanMaster did not start; see its History.log in " + m_home.Folder().Str());
    }

    // `cores` are offered, whatever the machine has.
    void StartEngine(unsigned cores) { Start("VorlanEngine", {"--Cores", String::From(cores)}); }

private:
    corekit::Process& Start(char const* program, std::vector<String> const& arguments) {
        corekit::ProcessOptions options;
        options.args = arguments;
        options.env["VORLAN_HOME"] = m_home.Folder();
        options.stdoutFd = corekit::ProcessOptions::k_Null;
        String error;
        auto process = corekit::Process::Start(Path(vorlan::k_BinDir) / Path(program), options, &error);
        if (!process)
            throw FarmFailure(error.Str());
        m_processes.push_back(std::move(process));
        return *m_processes.back();
    }

    FarmHome const& m_home;
    std::vector<std::unique_ptr<corekit::Process>> m_processes;
};

// A connection to the Master, as a tool has it. What it receives waits until it is
// asked for. Await and Send on one thread.
class FarmClient {
public:
    FarmClient() : FarmClient(Options()) {}
    explicit FarmClient(net::ClientOptions options) : m_client(std::move(options), Handlers()) {
        m_client.Start();
        Await<LoadedMsg>("the connection to the Master");
        m_connection = m_client.Current();
        if (!m_connection)
            throw FarmFailure("The Master closed the connection.");
    }

    void Send(boost::shared_ptr<Message const> const& message) { m_connection->Send(message); }

    // Asks for these kinds of messages.
    void Follow(std::initializer_list<UID> kinds) {
        auto follow = NotifyOnEventMsg::New();
        for (UID const& kind : kinds)
            follow->AddID(kind);
        Send(follow);
    }

    // The next message of this kind that fits; those before it are dropped. `what` is
    // named in the exception when none comes in time.
    template <class T>
    boost::shared_ptr<T> Await(char const* what, std::function<bool(T const&)> const& fits = {},
                               int timeoutMs = k_StartMs) {
        auto const until = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
        for (;;) {
            std::unique_lock lock(m_guard);
            if (!m_arrived.wait_until(lock, until, [this] { return !m_messages.empty(); }))
                throw FarmFailure(std::string("There was no ") + what + " in time.");
            boost::shared_ptr<Message> const message = std::move(m_messages.front());
            m_messages.pop_front();
            lock.unlock();
            if (message->Type() == RefusedMsg::s_Type)
                throw FarmFailure("The Master refused: " + static_cast<RefusedMsg const&>(*message).reason.Str());
            if (message->Type() != T::s_Type)
                continue;
            auto const found = boost::static_pointer_cast<T>(message);
            if (!fits || fits(*found))
                return found;
        }
    }

    // Returns when an Engine is online with that many cores.
    void AwaitEngine(unsigned cores, int timeoutMs = k_StartMs) {
        Follow({EngineMsg::s_Type, FinishedJobMsg::s_Type, StartedWorkMsg::s_Type});
        auto ask = GetEngineInfoMsg::New();
        ask->AddAll();
        ask->wantEngine = true;
        Send(ask);
        Await<EngineMsg>(
            "Engine",
            [cores](EngineMsg const& told) { return told.engine.Online() && told.engine.UseCores() == cores; },
            timeoutMs);
    }

private:
    static net::ClientOptions Options() {
        net::ClientOptions options;
        options.self = net::PeerInfo::Self(net::PeerKind::Tool, "bench");
        return options;
    }

    net::Handlers Handlers() {
        net::Handlers handlers;
        handlers.onMessage = [this](auto const&, boost::shared_ptr<Message> const& message) {
            {
                std::lock_guard const lock(m_guard);
                m_messages.push_back(message);
            }
            m_arrived.notify_one();
        };
        return handlers;
    }

    std::mutex m_guard;
    std::condition_variable m_arrived;
    std::deque<boost::shared_ptr<Message>> m_messages; // guarded by m_guard
    boost::shared_ptr<net::Connection> m_connection;
    net::Client m_client; // ends before what its handlers use
};

// The shipped Product that runs any command line.
inline UID CommandProduct() {
    UID type;
    UID::FromString("8f30e646-6c31-40f7-9fdd-68ee9dca1054", type);
    return type;
}

// A Job of the "Command" Product, a unit for each frame, each doing nothing.
inline boost::shared_ptr<Job> NoOpJob(unsigned units) {
    auto job = boost::make_shared<Job>(UID(true));
    job->Set(p_Name, "Nothing");
    job->Set(p_Type, CommandProduct().ToString());
    job->Set(p_Range, "1-" + String::From(units));
    job->Set(p_PacketSize, "1");
    job->Set("CommandLine", "/bin/true");
    return job;
}

// A farm of real programs with one Engine and a connection that hears of started units and finished Jobs.
class OneEngineFarm {
public:
    // `cores` are offered, whatever the machine has.
    explicit OneEngineFarm(unsigned cores) : m_processes(m_home) {
        m_processes.StartMaster();
        m_processes.StartEngine(cores);
        m_client.emplace();
        m_client->AwaitEngine(cores);
    }

    FarmClient& Client() { return *m_client; }

private:
    FarmHome const m_home;
    FarmProcesses m_processes;
    std::optional<FarmClient> m_client; // connects once there is a Master
};

} // namespace bench
