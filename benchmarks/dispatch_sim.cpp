// How many units a second the Master hands out and takes back when the Engines do
// nothing at all: the whole shell with its durable store, and Engines that answer each
// unit at once, over TLS. Against the plain messages that the same transport carries.

#include "bench.h"
#include "farmprocess.h"

#include "master/net/shell.h"
#include "master/store/sqlstore.h"

#include <vorlan/net/server.h>
#include <vorlan/productfile.h>

#include <atomic>

using namespace bench;

namespace {

constexpr unsigned k_Engines = 32;
constexpr unsigned k_Cores = 16;
constexpr unsigned k_Units = 40'000;
constexpr unsigned k_Messages = 200'000;
constexpr size_t k_Runs = 5;
constexpr int k_JobMs = 120'000;

net::ClientOptions CallerOf(unsigned short port, FarmKey const& key, net::PeerKind kind) {
    net::ClientOptions options;
    options.self = net::PeerInfo::Self(kind, "bench");
    options.key = [key] { return key; };
    options.find = [port](FarmKey const&, std::function<bool()> const&) {
        return std::vector<IPPeer>{IPPeer("127.0.0.1", port)};
    };
    return options;
}

// A Master in this process, with its own working thread.
class Master {
public:
    explicit Master(FarmHome const& home) : m_shell(Options(), Store(home)) {
        m_shell.Start();
        m_thread = std::thread([this] { m_shell.Run(); });
    }
    ~Master() {
        m_shell.Stop();
        m_thread.join();
    }

    unsigned short Port() const { return m_shell.Port(); }
    FarmKey const& Key() const { return m_key; }

private:
    farm::Shell::Options Options() {
        farm::Shell::Options options;
        options.key = m_key;
        options.machine = UID(true);
        options.machineName = "bench";
        std::vector<String> errors;
        for (auto const& product : LoadProductFolder(FindProductFolder(), errors))
            options.products.push_back(product);
        corekit::File::MakeFolder(corekit::File::GetMachineDir());
        return options;
    }
    static std::unique_ptr<farm::Store> Store(FarmHome const& home) {
        String report;
        return farm::OpenSqliteStore(home.Folder() / Path("farm.db"), report);
    }

    FarmKey const m_key = FarmKey::Fresh();
    farm::Shell m_shell;
    std::thread m_thread;
};

// An Engine without processes: each unit begins and ends as soon as it comes.
class Worker {
public:
    Worker(Master const& master, unsigned number)
        : m_number(number), m_client(CallerOf(master.Port(), master.Key(), net::PeerKind::Engine), Handlers()) {
        m_client.Start();
    }
    ~Worker() { m_client.Stop(); }

    bool Registered() const { return m_registered; }

private:
    net::Handlers Handlers() {
        net::Handlers handlers;
        handlers.onConnected = [this](boost::shared_ptr<net::Connection> const& master) {
            auto message = RegisterEngineMsg::New();
            message->engine.id = UID(true);
            message->engine.SetName("Engine " + String::From(m_number));
            message->engine.SetMaxCores(k_Cores);
            master->Send(message);
        };
        handlers.onMessage = [this](boost::shared_ptr<net::Connection> const& master,
                                    boost::shared_ptr<Message> const& message) {
            if (message->Type() == EngineSettingsMsg::s_Type)
                m_registered = true;
            if (message->Type() == RunWorkMsg::s_Type)
                Work(*master, *static_cast<RunWorkMsg const&>(*message).work);
        };
        return handlers;
    }

    static void Work(net::Connection& master, Job const& unit) {
        corekit::Time const now = corekit::Time::CurrentTime();
        auto begun = boost::make_shared<WorkBegunMsg>();
        begun->work = unit.id;
        begun->time = now;
        master.Send(begun);
        auto ended = boost::make_shared<WorkEndedMsg>();
        ended->ended = {unit.id, unit.parentID, Finished, String(), now, 0};
        master.Send(ended);
    }

    unsigned const m_number;
    std::atomic<bool> m_registered{false};
    net::Client m_client; // ends before what its handlers use
};

double UnitsPerSecond(FarmClient& client, unsigned units) {
    auto const job = NoOpJob(units);
    return units / Seconds([&] {
               client.Send(JobMsg::Create(job));
               client.Await<FinishedJobMsg>(
                   "end of the Job", [&](FinishedJobMsg const& told) { return told.job && told.job->id == job->id; },
                   k_JobMs);
           });
}

// Small messages one way through a connection of their own, as fast as it takes them.
class Loopback {
public:
    Loopback() : m_server(Listener(), Counter()), m_client(StartServer(), {}) {
        m_client.Start();
        if (!WaitUntil([this] { return m_client.Current() != nullptr; }, k_StartMs))
            throw FarmFailure("There was no connection through the loopback.");
    }
    ~Loopback() {
        m_client.Stop();
        m_server.Stop();
    }

    double MessagesPerSecond() {
        auto message = boost::make_shared<WorkBegunMsg>();
        message->work = UID(true);
        message->time = corekit::Time::CurrentTime();
        auto const connection = m_client.Current();
        m_received = 0;
        return k_Messages / Seconds([&] {
                   for (unsigned i = 0; i < k_Messages; ++i)
                       connection->Send(message);
                   std::unique_lock lock(m_guard);
                   m_all.wait(lock, [this] { return m_received == k_Messages; });
               });
    }

private:
    net::ServerOptions Listener() const {
        net::ServerOptions options;
        options.address = "127.0.0.1";
        options.key = m_key;
        options.self = net::PeerInfo::Self(net::PeerKind::Tool, "bench");
        return options;
    }
    net::Handlers Counter() {
        net::Handlers handlers;
        handlers.onMessage = [this](auto const&, auto const&) {
            if (++m_received != k_Messages)
                return;
            std::lock_guard const lock(m_guard);
            m_all.notify_one();
        };
        return handlers;
    }
    net::ClientOptions StartServer() {
        m_server.Start();
        return CallerOf(m_server.Port(), m_key, net::PeerKind::Tool);
    }

    FarmKey const m_key = FarmKey::Fresh();
    std::mutex m_guard;
    std::condition_variable m_all;
    std::atomic<unsigned> m_received{0};
    net::Server m_server;
    net::Client m_client;
};

int Measure(Benchmark& benchmark) {
    FarmHome const home;
    Master const master(home);
    std::vector<std::unique_ptr<Worker>> workers;
    for (unsigned number = 0; number < k_Engines; ++number)
        workers.push_back(std::make_unique<Worker>(master, number));
    if (!WaitUntil([&] { return std::ranges::all_of(workers, [](auto const& one) { return one->Registered(); }); },
                   k_StartMs))
        throw FarmFailure("Not all Engines were registered.");
    FarmClient client(CallerOf(master.Port(), master.Key(), net::PeerKind::Tool));
    client.Follow({FinishedJobMsg::s_Type});
    Loopback loopback;
    UnitsPerSecond(client, k_Units / 10); // warms up
    benchmark.Run(
        k_Runs, [&] { return UnitsPerSecond(client, k_Units); }, [&] { return loopback.MessagesPerSecond(); });
    return benchmark.Report();
}

} // namespace

int main(int argc, char** argv) {
    Benchmark benchmark(
        {"dispatch-sim", "units/s", "messages/s through the loopback, coalesced", Judge::ValueAtLeast, 20'000}, argc,
        argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    try {
        return Measure(benchmark);
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "dispatch-sim: %s\n", failure.what());
        return 1;
    }
}
