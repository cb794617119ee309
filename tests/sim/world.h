#pragma once

// A farm in which everything that can go wrong does.

#include "master/core/core.h"
#include "sim/simclient.h"
#include "sim/simengine.h"
#include "sim/simstore.h"

namespace sim {

using namespace farm;

struct WorldOptions {
    uint64_t seed = 1;
    size_t engines = 6;
    size_t clients = 2;
    size_t steps = 10'000;
    bool encode = false; // sends everything through its wire form
    bool faults = true;
    size_t traceLines = 80; // that a fault shows
};

// Runs a Core with virtual Engines and clients under a virtual clock.
//
// Every choice follows from the seed. After each event the state is audited and what
// was sent is checked; now and then what each client was told is compared with a fresh
// full load. The first fault ends the run.
class World {
public:
    explicit World(WorldOptions const& options);

    // Random events for all steps, then a quiet end in which every Job must finish.
    void Run();

    // Empty when all went well, else what went wrong and what came before it.
    String const& Fault() const { return m_fault; }
    String Summary() const;

private:
    struct Link {
        PeerId& Peer() { return engine ? engine->peer : client->peer; }
        SimEngine* engine = nullptr;
        SimClient* client = nullptr;
        std::deque<boost::shared_ptr<Message>> up;
        std::deque<MessagePtr> down;
        bool wantsPull = false;
    };
    struct GivenWork {
        uint64_t job = 0;
        String subRange;
    };
    enum class Fate { Normal, LostBeforeCommit, LostAfterCommit };

    // Random choices.
    uint64_t Pick(uint64_t count) { return m_random.Next() % count; }
    bool Chance(unsigned percent) { return Pick(100) < percent; }
    template <class T>
    T const& OneOf(std::vector<T> const& all) {
        return all[Pick(all.size())];
    }

    std::unique_ptr<Core> FromStore();
    void CompareCores(Core const& reader, Core const& follower);
    Time SomeSkew();
    void Pass(Time span) {
        m_now += span;
        m_passed += span;
    }
    // What Engines know of the time, but for their skew.
    Moment EngineNow() const { return {m_now.wall, Steady(m_passed)}; }

    // Steps.
    void Step();
    void Quiet();
    void DeliverUp();
    void DeliverDown(bool all);
    void PullLoads(bool all);
    void EngineActs();
    void ConnectSomebody();
    void BreakConnection();
    void Restart();
    void AdvanceClock();
    void Command();

    // Commands of clients.
    UID const& AnyProduct();
    UID const& AnyEngine();
    String AnyNumber(uint64_t count, int lowest = 0);
    boost::shared_ptr<Message> SubmitCommand();
    boost::shared_ptr<Message> JobCommand(UID const& job);
    boost::shared_ptr<Message> WorkCommand();
    boost::shared_ptr<Message> EngineCommand();
    boost::shared_ptr<Message> OptionCommand();
    void SendCommand(boost::shared_ptr<Message> const& message);

    // Machinery.
    void Turn(std::vector<Event> const& events, Fate fate = Fate::Normal);
    void NoteReports(Event const& event, std::vector<UID>& finished) const;
    void NoteRunAgain(Event const& event);
    void RememberFinished(std::vector<UID> const& works);
    void CheckEffects(std::vector<Effect> const& effects, size_t from);
    void CheckUnit(EngineEntry const& engine, Job const& unit);
    void Deliver(Effect const& effect);
    void Connect(SimEngine* engine, SimClient* client);
    void Drop(PeerId peer);
    void NoticeGone();
    void SendUp(PeerId peer, Messages const& messages);
    void CheckRuns();
    void NoteFinishedJob(Message const& message);
    void CheckFinished();
    void CompareClients();
    void Settle();
    void Fail(String const& text);
    void Trace(String const& text);
    boost::shared_ptr<Message> OverTheWire(MessagePtr const& message) const;

    WorldOptions const m_options;
    Random m_random;
    Moment m_now;  // of the Master
    Time m_passed; // the steady clock of all Engines
    SimStore m_store;
    std::unique_ptr<Core> m_core;
    std::unique_ptr<Core> m_follower; // is told what the other one has committed
    SimClient::Products m_products;
    std::vector<std::unique_ptr<SimEngine>> m_engines;
    std::vector<std::unique_ptr<SimClient>> m_clients;
    std::map<PeerId, Link> m_links;
    std::vector<PeerId> m_gone; // connections that broke and of which the Core has not heard
    PeerId m_lastPeer = 0;
    std::vector<UID> m_pools;

    std::map<UID, GivenWork> m_given;                   // all work that was ever handed out
    std::map<uint64_t, std::set<int>> m_finishedFrames; // of each Job, reported and stored
    std::set<uint64_t> m_finishedJobs;                  // numbers of those that anybody was told have finished
    std::vector<uint64_t> m_newlyFinished;              // in the turn that is going on
    size_t m_submitted = 0;

    std::deque<String> m_trace;
    String m_fault;
    size_t m_units = 0;
    size_t m_restarts = 0;
    size_t m_compared = 0;
};

} // namespace sim
