#include "sim/world.h"

#include "master/core/audit.h"
#include "master/core/dump.h"

namespace sim {

namespace {

CoreConfig ConfigFor(uint64_t seed, SimClient::Products const& products) {
    CoreConfig config{.seed = seed, .machineName = "simulated"};
    for (auto const& [type, product] : products)
        config.products.push_back(product);
    return config;
}

} // namespace

World::World(WorldOptions const& options)
    : m_options(options), m_random(options.seed), m_now{Time::FromUnixMs(1'800'000'000'000), Steady(Time::Hours(1))} {
    for (ProductClass const productClass :
         {ProductClass::Sequence, ProductClass::Single, ProductClass::OncePerEngine, ProductClass::Sequence}) {
        auto product = Product::CreateDefault(productClass);
        product->SetType(m_random.NextUID());
        product->SetName(SFormat("Product %zu", m_products.size()));
        product->SetEvenPackets(m_products.size() == 3);
        m_products[product->Type()] = product;
    }
    for (int i = 0; i < 3; ++i)
        m_pools.push_back(m_random.NextUID());
    for (size_t i = 0; i < options.engines; ++i)
        m_engines.push_back(std::make_unique<SimEngine>(m_random.NextUID(), SFormat("engine%zu", i),
                                                        1 + static_cast<unsigned>(Pick(8)), SomeSkew()));
    for (size_t i = 0; i < options.clients; ++i)
        m_clients.push_back(std::make_unique<SimClient>(m_products));
    m_core = std::make_unique<Core>(ConfigFor(m_random.Next(), m_products));
    m_core->RestoreDone(m_now);
    m_follower = FromStore();
}

std::unique_ptr<Core> World::FromStore() {
    auto core = std::make_unique<Core>(ConfigFor(m_random.Next(), m_products));
    for (auto const& [key, record] : m_store.Rows())
        core->Apply(record);
    return core;
}

// One that has read the store and one that has followed it know the same.
void World::CompareCores(Core const& reader, Core const& follower) {
    std::vector<std::string> read;
    StateSnapshot(reader.State()).Write([&](std::string_view line) {
        read.emplace_back(line);
        return true;
    });
    size_t at = 0;
    StateSnapshot(follower.State()).Write([&](std::string_view line) {
        if (at >= read.size() || read[at] != line)
            Fail("a follower knows something else than the store: " + String(std::string(line)) + "\nrather than " +
                 (at < read.size() ? String(read[at]) : String("nothing")));
        ++at;
        return m_fault.Empty();
    });
    if (at < read.size())
        Fail("a follower lacks what the store has: " + String(read[at]));
}

// Most clocks are right.
Time World::SomeSkew() {
    constexpr int64_t k_Most = 2 * 3'600'000;
    return m_options.faults && Chance(30) ? Time(static_cast<int64_t>(Pick(2 * k_Most)) - k_Most) : Time();
}

void World::Fail(String const& text) {
    if (!m_fault.Empty())
        return;
    m_fault = SFormat("seed %llu: ", static_cast<unsigned long long>(m_options.seed)) + text + "\nBefore it:";
    for (String const& line : m_trace)
        m_fault += "\n  " + line;
}

void World::Trace(String const& text) {
    m_trace.push_back(SFormat("%lld ", static_cast<long long>(m_now.steady.Since().Milliseconds() % 100'000'000)) +
                      text);
    if (m_trace.size() > m_options.traceLines)
        m_trace.pop_front();
}

String World::Summary() const {
    return SFormat("%zu units given out, %zu restarts, %zu comparisons, %zu Jobs left", m_units, m_restarts, m_compared,
                   m_core->State().jobs.size());
}

boost::shared_ptr<Message> World::OverTheWire(MessagePtr const& message) const {
    if (!m_options.encode)
        return boost::const_pointer_cast<Message>(message);
    return DecodeMessage(message->Type(), EncodeMessage(*message));
}

void World::Connect(SimEngine* engine, SimClient* client) {
    PeerId const peer = ++m_lastPeer;
    Link& link = m_links[peer] = {.engine = engine, .client = client};
    link.Peer() = peer;
    auto who = boost::make_shared<net::PeerInfo>();
    who->kind = engine ? net::PeerKind::Engine : net::PeerKind::Client;
    who->machineName = engine ? engine->Name() : String("client");
    Trace("connects " + who->machineName + " as " + String::From(peer));
    SendUp(peer, engine ? Messages{engine->Register(EngineNow())} : client->Refresh());
    Turn({PeerConnected{peer, who}});
}

void World::Drop(PeerId peer) {
    auto const at = m_links.find(peer);
    if (at == m_links.end())
        return;
    Trace("breaks connection " + String::From(peer));
    at->second.Peer() = 0;
    m_links.erase(at);
    m_gone.push_back(peer);
}

void World::NoticeGone() {
    PeerId const peer = m_gone.back();
    m_gone.pop_back();
    Turn({PeerGone{peer}});
}

void World::SendUp(PeerId peer, Messages const& messages) {
    auto const at = m_links.find(peer);
    if (at == m_links.end())
        return;
    for (auto const& message : messages) {
        if (message)
            at->second.up.push_back(OverTheWire(message));
    }
}

// Works whose good end this event reports to a Core that knows the sender.
void World::NoteReports(Event const& event, std::vector<UID>& finished) const {
    auto const* const message = std::get_if<PeerMessage>(&event);
    if (!message)
        return;
    auto const peer = m_core->State().peers.All().find(message->peer);
    if (peer == m_core->State().peers.All().end())
        return;
    std::vector<WorkEnded> reports;
    if (message->message->Type() == WorkEndedMsg::s_Type && peer->second.engine)
        reports = {static_cast<WorkEndedMsg const&>(*message->message).ended};
    else if (message->message->Type() == RegisterEngineMsg::s_Type && !peer->second.engine)
        reports = static_cast<RegisterEngineMsg const&>(*message->message).ended;
    for (WorkEnded const& ended : reports) {
        if (ended.status == Finished)
            finished.push_back(ended.work);
    }
}

// Somebody wants failed frames again: a result that came after they had failed is no more.
void World::NoteRunAgain(Event const& event) {
    auto const* const message = std::get_if<PeerMessage>(&event);
    if (!message || message->message->Type() != RunAgainMsg::s_Type)
        return;
    auto const at = m_core->State().jobsById.find(static_cast<RunAgainMsg const&>(*message->message).job);
    if (at == m_core->State().jobsById.end())
        return;
    JobEntry const& job = *at->second;
    for (Span const& span : job.failed.All()) {
        for (uint32_t position = span.first; position < span.end; ++position)
            m_finishedFrames[job.number].erase(job.frames.FrameAt(position));
    }
}

void World::RememberFinished(std::vector<UID> const& works) {
    for (UID const& work : works) {
        auto const at = m_given.find(work);
        if (at == m_given.end())
            continue;
        for (int const frame : FrameRange(at->second.subRange).Frames())
            m_finishedFrames[at->second.job].insert(frame);
    }
}

// Handles events as the Master's shell does, or is cut off on the way.
void World::Turn(std::vector<Event> const& events, Fate fate) {
    std::vector<Effect> effects;
    std::vector<UID> finished;
    m_newlyFinished.clear();
    for (Event const& event : events) {
        NoteReports(event, finished);
        NoteRunAgain(event);
        size_t const from = effects.size();
        m_core->Handle(m_now, event, effects);
        CheckEffects(effects, from);
        if (!m_fault.Empty())
            return;
        // What was reported counts from now on for what is given out, unless all is lost.
        if (fate == Fate::Normal)
            RememberFinished(finished);
    }
    if (fate == Fate::LostBeforeCommit) {
        Trace("the Master dies before it commits");
        return Restart();
    }
    std::vector<Record> records;
    for (Effect const& effect : effects) {
        if (auto const* const record = std::get_if<Record>(&effect))
            records.push_back(*record);
    }
    m_store.Commit(records);
    for (Record const& record : records)
        m_follower->Apply(record);
    RememberFinished(finished);
    if (fate == Fate::LostAfterCommit) {
        Trace("the Master dies before it sends");
        return Restart();
    }
    for (Effect const& effect : effects)
        Deliver(effect);
    CheckFinished();
    for (String const& fault : Audit(m_core->State()))
        Fail(fault);
}

void World::CheckUnit(EngineEntry const& engine, Job const& unit) {
    Farm const& state = m_core->State();
    auto const at = state.jobsById.find(unit.parentID);
    if (at == state.jobsById.end())
        return Fail("a unit of an unknown Job was given out");
    JobEntry const& job = *at->second;
    String const subRange = unit.Get(p_SubRange, false);
    String const what = "unit " + subRange + " of " + job.job->Name() + " on " + engine.engine->Name();
    Trace("gives " + what + " as {" + unit.id.ToString() + "}");
    ++m_units;
    m_given[unit.id] = {job.number, subRange};
    std::set<int> const& finished = m_finishedFrames[job.number];
    for (int const frame : FrameRange(subRange).Frames()) {
        if (finished.contains(frame))
            Fail(what + ": frame " + String::From(frame) + " was reported as finished before");
    }
    bool const overloads = state.policy.overload && state.policy.fewerCPUs;
    if (engine.used > engine.settings.capacity && !overloads)
        Fail(what + SFormat(": %u cores of %u in use", engine.used, engine.settings.capacity));
    if (!engine.settings.enabled || !engine.Online())
        Fail(what + ": the Engine is disabled or offline");
    int const limit = job.settings.usageLimit;
    if ((limit > 0 && job.usage.units > static_cast<unsigned>(limit)) ||
        (limit < 0 && job.usage.engines.size() > static_cast<size_t>(-limit)))
        Fail(what + ": beyond the Job's usage limit");
    int const productLimit = state.LimitOfProduct(job.settings.type);
    if (productLimit > 0 &&
        state.UsageOf(state.productUsage, job.settings.type).units > static_cast<unsigned>(productLimit))
        Fail(what + ": beyond the Product's limit");
    if (job.settings.IsPaused() || job.settings.IsFinished())
        Fail(what + ": the Job is paused or finished");
}

void World::CheckEffects(std::vector<Effect> const& effects, size_t from) {
    for (size_t i = from; i < effects.size(); ++i) {
        if (auto const* const all = std::get_if<SendAll>(&effects[i]))
            NoteFinishedJob(*all->message);
        auto const* const send = std::get_if<SendTo>(&effects[i]);
        if (!send)
            continue;
        NoteFinishedJob(*send->message);
        if (send->message->Type() != RunWorkMsg::s_Type)
            continue;
        for (auto const& [number, engine] : m_core->State().engines) {
            if (engine->peer == send->peer)
                CheckUnit(*engine, *static_cast<RunWorkMsg const&>(*send->message).work);
        }
    }
}

void World::Deliver(Effect const& effect) {
    auto const put = [this](PeerId peer, MessagePtr const& message) {
        auto const at = m_links.find(peer);
        if (at == m_links.end())
            return;
        if (message->Type() == JobMsg::s_Type) {
            UID const id = static_cast<JobMsg const&>(*message).job->id;
            if (!m_store.HadJob(String(reinterpret_cast<char const*>(id.Bytes()), UID::k_Size)))
                Fail("told of a Job that is not in the store");
        }
        at->second.down.push_back(OverTheWire(message));
    };
    if (auto const* const send = std::get_if<SendTo>(&effect)) {
        put(send->peer, send->message);
    } else if (auto const* const all = std::get_if<SendAll>(&effect)) {
        for (PeerId const peer : *all->peers)
            put(peer, all->message);
    } else if (auto const* const close = std::get_if<ClosePeer>(&effect)) {
        Drop(close->peer);
    } else if (auto const* const load = std::get_if<LoadReady>(&effect)) {
        if (auto const at = m_links.find(load->peer); at != m_links.end())
            at->second.wantsPull = true;
    } else if (auto const* const line = std::get_if<LogLine>(&effect)) {
        Trace("log: " + line->text);
    }
}

void World::Restart() {
    ++m_restarts;
    for (auto& [peer, link] : m_links)
        link.Peer() = 0;
    m_links.clear();
    m_gone.clear();
    m_core = FromStore();
    Pass(Time(static_cast<int64_t>(Pick(5000))));
    // The machine may have been started anew as well.
    if (Chance(30))
        m_now.steady = Steady(Time(static_cast<int64_t>(Pick(100'000))));
    m_core->RestoreDone(m_now);
    m_follower->RestoreDone(m_now);
    CompareCores(*m_core, *m_follower);
    // Whoever followed the dead Master takes over as well as one that reads the store.
    if (Chance(50))
        m_core.swap(m_follower);
    m_follower = FromStore();
}

// Everybody is connected, and all that is under way has arrived.
void World::Settle() {
    for (int round = 0; round < 10'000 && m_fault.Empty(); ++round) {
        bool busy = false;
        for (; !m_gone.empty() && m_fault.Empty(); busy = true)
            NoticeGone();
        for (auto const& engine : m_engines) {
            if (engine->peer == 0 && (busy = true))
                Connect(engine.get(), nullptr);
        }
        for (auto const& client : m_clients) {
            if (client->peer == 0 && (busy = true))
                Connect(nullptr, client.get());
        }
        PullLoads(true);
        DeliverDown(true);
        std::vector<Event> events;
        for (auto& [peer, link] : m_links) {
            for (auto const& message : link.up)
                events.push_back(PeerMessage{peer, message});
            link.up.clear();
        }
        if (!events.empty())
            Turn(events);
        if (!busy && events.empty())
            return;
    }
    Fail("messages never come to an end");
}

void World::NoteFinishedJob(Message const& message) {
    auto const numberOf = [this](UID const& id) {
        auto const job = m_core->State().jobsById.find(id);
        return job == m_core->State().jobsById.end() ? 0 : job->second->number;
    };
    if (message.Type() == FinishedJobMsg::s_Type) {
        m_newlyFinished.push_back(numberOf(static_cast<FinishedJobMsg const&>(message).job->id));
    } else if (message.Type() == DeleteJobMsg::s_Type) {
        uint64_t const number = numberOf(static_cast<DeleteJobMsg const&>(message).job);
        std::erase(m_newlyFinished, number);
        m_finishedJobs.erase(number);
    }
}

// Whoever was told that a Job has finished never meets it unfinished.
void World::CheckFinished() {
    m_finishedJobs.insert(m_newlyFinished.begin(), m_newlyFinished.end());
    for (auto const& [number, job] : m_core->State().jobs) {
        if (m_finishedJobs.contains(number) && !job->settings.IsFinished())
            Fail("the Job " + job->job->Name() + " was told to be finished and is not");
    }
}

// With everything delivered, the Master's runs are those of the Engines.
void World::CheckRuns() {
    for (auto const& engine : m_engines) {
        auto const known = m_core->State().enginesById.find(engine->Id());
        if (known == m_core->State().enginesById.end())
            continue;
        for (auto const* const run : known->second->runs) {
            if (run->job && !engine->Runs().contains(run->work))
                Fail("the Master has a run of " + run->subRange + " on " + engine->Name() + " that the Engine has not");
        }
        for (auto const& [work, run] : engine->Runs()) {
            if (!m_core->State().runsByWork.contains(work))
                Fail(engine->Name() + " runs " + run.subRange + ", of which the Master knows nothing");
        }
        if (!engine->Unacknowledged().empty())
            Fail(engine->Name() + " has a result that the Master never acknowledged");
    }
}

void World::CompareClients() {
    Settle();
    CheckRuns();
    if (!m_fault.Empty())
        return;
    SimClient fresh(m_products);
    Connect(nullptr, &fresh);
    Settle();
    Messages asks;
    for (UID const& job : fresh.Jobs())
        asks.push_back(fresh.AskHistory(job));
    SendUp(fresh.peer, asks);
    Settle();
    for (auto const& client : m_clients) {
        for (String const& fault : SimClient::Compare(*client, fresh))
            Fail("a client was told something else than a fresh load tells: " + fault);
    }
    ++m_compared;
    Drop(fresh.peer);
    Settle();
}

} // namespace sim
