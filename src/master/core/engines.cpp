#include "master/core/engines.h"

#include "master/core/distributor.h"
#include "master/core/jobcommands.h"
#include "master/core/jobs.h"
#include "master/core/rows.h"
#include "master/core/runs.h"
#include "master/core/settings.h"

#include <boost/make_shared.hpp>
#include <corekit/sformat.h>
#include <vorlan/keys.h>
#include <vorlan/status.h>

#include <algorithm>

namespace farm {

namespace {

// An Engine that is connected and says nothing for that long is taken for gone.
constexpr Time k_Silence = Time::Seconds(60);
constexpr size_t k_NoteLength = 4000;
// An Engine that is asked whether it is alive and says nothing for that long is gone.
constexpr Time k_AnswerWithin = Time::Seconds(2);
constexpr Time k_LargeOffset = Time::Seconds(10);

} // namespace

EngineEntry& Engines::Make(UID const& id, uint64_t number) {
    auto owned = std::make_unique<EngineEntry>();
    EngineEntry& engine = *owned;
    engine.number = number;
    engine.id = id;
    m_farm.enginesById[id] = &engine;
    m_farm.engines.emplace(number, std::move(owned));
    return engine;
}

void Engines::ReadSettings(EngineEntry& engine) {
    Engine effective = *engine.engine;
    effective.FillFrom(*m_farm.defaultEngine);
    EngineSettings& s = engine.settings;
    s.enabled = effective.Enabled();
    s.priority = effective.Priority();
    s.forceCores = effective.ForceCores();
    s.capacity = effective.UseCPUsAtTime(m_farm.now);
    s.most = std::max(s.capacity, effective.UseCores());
    s.restricted = effective.Restricted();
    s.pools = effective.GetAllPools();
    s.disabledProducts = effective.DisabledProducts();
    ++m_farm.possibilities;
    m_farm.distributor->EngineChanged(engine);
}

boost::shared_ptr<Engine> Engines::Change(EngineEntry& engine) {
    auto changed = boost::make_shared<Engine>(*engine.engine);
    engine.engine = changed;
    return changed;
}

void Engines::StoreEngine(EngineEntry const& engine) {
    m_farm.out.Put(RecordKind::Engine, engine.number, engine.id, EncodeEngine(*engine.engine));
}

void Engines::TellEngine(EngineEntry const& engine) {
    if (!m_farm.out.Wanted<EngineMsg>())
        return;
    auto message = EngineMsg::New();
    message->engine = *engine.engine;
    m_farm.out.ToFollowers(message);
}

void Engines::SendSettings(EngineEntry const& engine) {
    if (!engine.Online())
        return;
    auto message = EngineSettingsMsg::New();
    message->engine = *engine.engine;
    message->engine.FillFrom(*m_farm.defaultEngine);
    m_farm.out.To(engine.peer, message);
}

void Engines::Note(EngineEntry& engine, String const& text) {
    uint64_t const number = m_farm.NextNumber();
    EngineHistoryElement const element{m_farm.now, text};
    engine.history.emplace_back(number, element);
    m_farm.out.Put(RecordKind::EngineHistory, number, engine.id, WriteRow(EngineHistoryRow{engine.id, element}));
    while (engine.history.size() > std::max(m_farm.policy.maxEngineHistory, 1U)) {
        m_farm.out.Erase(RecordKind::EngineHistory, engine.history.front().first);
        engine.history.pop_front();
    }
    if (m_farm.out.Wanted<EngineHistoryElementMsg>()) {
        auto message = EngineHistoryElementMsg::New();
        message->engine = engine.id;
        message->element = element;
        m_farm.out.ToFollowers(message);
    }
}

void Engines::ShowBarred(EngineEntry& engine) {
    std::set<UID> const barred = m_farm.failures.ProductsAgainst(engine.id, m_farm.policy.maxTypeFailures);
    std::set<UID> const known = engine.engine->BarredProducts();
    if (barred == known)
        return;
    ++m_farm.possibilities;
    Change(engine)->SetBarredProducts(barred);
    StoreEngine(engine);
    TellEngine(engine);
    for (UID const& type : barred) {
        auto const product = m_farm.FindProduct(type);
        if (!known.contains(type)) {
            Note(engine, "Gets no more work of the Product " + (product ? product->Name() : type.ToString()) +
                             ": it failed on several of its Jobs. Reset the Engine's failures to go on.");
        }
    }
    m_farm.distributor->EngineChanged(engine);
}

void Engines::ShowAllBarred() {
    for (auto const& [number, engine] : m_farm.engines)
        ShowBarred(*engine);
}

void Engines::OnRegister(Peer& peer, RegisterEngineMsg const& message) {
    UID const id = message.engine.id;
    if (id.IsNull() || peer.engine) {
        m_farm.out.Log(LogLevel::Warning, "Ignored a registration from " + peer.who->machineName +
                                              (id.IsNull() ? ": it has no Engine ID." : ": it is registered already."));
        return;
    }
    EngineEntry* engine = m_farm.FindEngine(id);
    bool const isNew = !engine;
    if (isNew)
        engine = &Make(id, m_farm.NextNumber());
    Peer const* const first = engine->Online() ? m_farm.peers.Find(engine->peer) : nullptr;
    if (first && first->who->instance != peer.who->instance) {
        Challenge(*engine, peer, message);
        return;
    }
    if (engine->Online()) {
        PeerId const old = engine->peer;
        if (Peer* const other = m_farm.peers.Find(old))
            other->engine = nullptr;
        m_farm.out.ClosePeerWith(old, "The Engine " + message.engine.Name() + " has connected again.");
    }
    peer.engine = engine;
    engine->peer = peer.id;
    engine->lastSeen = m_farm.steady;
    engine->goneSince.reset();

    auto record = boost::make_shared<Engine>(message.engine);
    if (!isNew) {
        record->CopyCommon(*engine->engine);
        if (engine->engine->Has(p_Note))
            record->SetNote(engine->engine->Note());
    }
    record->SetUTCOffset(message.engine.UTCOffset());
    record->SetOnline(true);
    record->SetStatus(0);
    record->SetBarredProducts(m_farm.failures.ProductsAgainst(id, m_farm.policy.maxTypeFailures));
    if (record->StartTime().IsZero())
        record->SetStartTime(m_farm.now);
    engine->engine = record;
    ReadSettings(*engine);
    StoreEngine(*engine);
    TellEngine(*engine);
    SendSettings(*engine);
    m_farm.settings->SendToEngine(peer.id);
    m_farm.jobCommands->EngineCame(*engine);
    Note(*engine, isNew ? "Connected for the first time" : "Connected");
    CompareClocks(*engine, message.clock);
    m_farm.out.Log(LogLevel::Status, "Engine " + record->Name() + " connected");
    Settle(*engine, message);
}

// The earlier one may have died with its machine, and nobody has noticed.
void Engines::Challenge(EngineEntry& engine, Peer& peer, RegisterEngineMsg const& message) {
    if (auto const other = m_rivals.find(engine.id); other != m_rivals.end() && other->second.peer != peer.id)
        m_farm.out.ClosePeerWith(other->second.peer, "another one registers under the same id");
    m_rivals[engine.id] = {peer.id, message, m_farm.steady + k_AnswerWithin};
    auto ask = PingMsg::New();
    ask->time = m_farm.now;
    m_farm.out.To(engine.peer, ask);
}

void Engines::Heard(EngineEntry& engine) {
    engine.lastSeen = m_farm.steady;
    if (m_rivals.empty())
        return;
    auto const rival = m_rivals.find(engine.id);
    if (rival == m_rivals.end())
        return;
    RefuseRival(engine, rival->second);
    m_rivals.erase(rival);
}

void Engines::RefuseRival(EngineEntry& engine, Rival const& rival) {
    Peer const* const peer = m_farm.peers.Find(rival.peer);
    if (!peer)
        return;
    Peer const* const first = m_farm.peers.Find(engine.peer);
    String const text = "Two Engines have one id: " + (first ? first->Name() : engine.engine->Name()) + " and " +
                        peer->Name() +
                        ". The later one is refused. Machines that were copied need ids of their own: on one of them "
                        "remove /etc/machine-id, run systemd-machine-id-setup and start VorlanEngine again.";
    auto refused = RefusedMsg::New();
    refused->id = engine.id;
    refused->reason = text;
    m_farm.out.To(rival.peer, refused);
    m_farm.out.ClosePeerWith(rival.peer, "its id is that of an Engine that is connected");
    // It comes again and again; people are told once.
    if (!m_refusedRivals.insert(peer->who->instance).second)
        return;
    Note(engine, text);
    m_farm.out.Log(LogLevel::Error, text);
}

void Engines::ForgetRival(PeerId peer) {
    std::erase_if(m_rivals, [peer](auto const& rival) { return rival.second.peer == peer; });
}

// Those that were asked and did not answer are gone.
void Engines::CheckRivals() {
    std::vector<UID> due;
    for (auto const& [id, rival] : m_rivals) {
        EngineEntry const* const engine = m_farm.FindEngine(id);
        if (rival.until <= m_farm.steady || !engine || !engine->Online())
            due.push_back(id);
    }
    for (UID const& id : due) {
        auto const node = m_rivals.extract(id);
        if (node.empty())
            continue;
        Rival const& rival = node.mapped();
        EngineEntry* const engine = m_farm.FindEngine(id);
        Peer* const peer = m_farm.peers.Find(rival.peer);
        if (engine && engine->Online()) {
            if (Peer* const first = m_farm.peers.Find(engine->peer))
                first->engine = nullptr;
            m_farm.out.ClosePeerWith(engine->peer, "The Engine did not answer, and another one has its id.");
            PeerGone(*engine);
        }
        if (peer)
            OnRegister(*peer, rival.message);
    }
}

// Times that the Engine tells are read by the difference of the clocks. People are told
// of a large one: logs and files of the two machines do not fit together.
void Engines::CompareClocks(EngineEntry& engine, Time const& clock) {
    engine.clockOffset = clock.IsZero() ? Time() : m_farm.now - clock;
    Time const offset = engine.clockOffset;
    Time const distance = offset < Time() ? -offset : offset;
    if (distance < k_LargeOffset)
        return;
    String const text = "The clock of the Engine is " + distance.FormatDuration(1, 4, 2) +
                        (offset < Time() ? " ahead of" : " behind") +
                        " the Master's. Let both machines set their clocks from the network.";
    Note(engine, text);
    m_farm.out.Log(LogLevel::Warning, engine.engine->Name() + ": " + text);
}

// What the Engine ran and what ended decides over what the Master thought.
void Engines::Settle(EngineEntry& engine, RegisterEngineMsg const& message) {
    for (WorkEnded const& ended : message.ended)
        Ended(engine, ended);
    std::set<UID> running;
    for (RunState const& state : message.running) {
        running.insert(state.work);
        Run* run = m_farm.FindRun(state.work);
        if (!run)
            run = m_farm.runActions->TakeBack(engine, state);
        if (!run) {
            m_farm.runActions->AdoptOrphan(engine, state.work, 1, "The Master has given this work up");
        } else if (run->engine == &engine) {
            if (state.status == Started)
                m_farm.runActions->Begin(*run, AgoAt(engine, state.started, state.runningMs));
            if (run->stop)
                m_farm.runActions->SendStop(*run);
        }
    }
    std::vector<Run*> missing;
    for (Run* const run : engine.runs) {
        if (!running.contains(run->work))
            missing.push_back(run);
    }
    for (Run* const run : missing)
        m_farm.runActions->GiveUp(*run, Lost, "The Engine has no such work any more");
}

// How long ago something was that the Engine tells the time of day of, and, where it knows
// it, how long ago by its steady clock.
Time Engines::AgoAt(EngineEntry const& engine, Time const& at, int64_t steadyMs) const {
    return steadyMs > 0 ? Time(steadyMs) : std::max(m_farm.now - (at + engine.clockOffset), Time());
}

// The time for its start begins anew.
void Engines::OnPreparing(Peer& peer, WorkPreparingMsg const& message) {
    Run* const run = m_farm.FindRun(message.work);
    if (run && peer.engine && run->engine == peer.engine)
        run->assignedAt = m_farm.steady;
}

void Engines::OnBegun(Peer& peer, WorkBegunMsg const& message) {
    Run* const run = m_farm.FindRun(message.work);
    if (run && peer.engine && run->engine == peer.engine)
        m_farm.runActions->Begin(*run, AgoAt(*peer.engine, message.time, 0));
}

void Engines::OnProgress(Peer& peer, WorkProgressMsg const& message) {
    Run* const run = m_farm.FindRun(message.work);
    if (run && peer.engine && run->engine == peer.engine)
        m_farm.runActions->SetValues(*run, message.values);
}

void Engines::OnHistory(Peer& peer, EngineHistoryElementMsg const& message) {
    if (peer.engine)
        Note(*peer.engine, message.element.message.Mid(0, k_NoteLength));
}

void Engines::OnEnded(Peer& peer, WorkEndedMsg const& message) {
    if (peer.engine)
        Ended(*peer.engine, message.ended);
}

void Engines::Ended(EngineEntry& engine, WorkEnded const& ended) {
    Run* const run = m_farm.FindRun(ended.work);
    if (run && run->engine != &engine) {
        m_farm.out.Log(LogLevel::Warning, "Engine " + engine.engine->Name() + " reports the end of work {" +
                                              ended.work.ToString() + "}, which another Engine has. Ignored.");
        return;
    }
    bool const counts = run && run->job;
    Time const at = ended.time.IsZero() ? m_farm.now : ended.time + engine.clockOffset;
    if (run)
        m_farm.runActions->End(*run, ended.status, ended.note, at, Time(std::max<int64_t>(ended.ranMs, 0)));
    if (!counts) {
        if (JobEntry* const job = m_farm.FindJob(ended.job))
            m_farm.runActions->LateResult(*job, ended, at);
    }
    auto ack = WorkEndedAckMsg::New();
    ack->work = ended.work;
    m_farm.out.To(engine.peer, ack);
}

void Engines::PeerGone(EngineEntry& engine) {
    engine.peer = 0;
    m_farm.jobCommands->EngineGone(engine);
    ++m_farm.possibilities;
    engine.goneSince = m_farm.steady;
    Change(engine)->SetOnline(false);
    TellEngine(engine);
    Note(engine, "Disconnected");
    m_farm.out.Log(LogLevel::Status, "Engine " + engine.engine->Name() + " disconnected");
    // What it was told to drop it drops when it comes back.
    std::vector<Run*> const runs = engine.runs;
    for (Run* const run : runs) {
        if (run->stop)
            m_farm.runActions->EndUnconfirmed(*run);
    }
    m_farm.distributor->EngineChanged(engine);
    // Another one may have waited for its place.
    CheckRivals();
}

void Engines::OnEngine(PeerId peer, EngineMsg const& message) {
    EngineEntry* const engine = m_farm.FindEngine(message.engine.id);
    if (!engine) {
        m_farm.out.Refuse(peer, message.engine.id, "The Engine is not there any more.");
        return;
    }
    bool const wasEnabled = engine->settings.enabled;
    int const offset = engine->engine->UTCOffset();
    auto const changed = Change(*engine);
    changed->CopyCommon(message.engine);
    changed->SetNote(message.engine.Note());
    changed->SetUTCOffset(offset);
    ReadSettings(*engine);
    StoreEngine(*engine);
    TellEngine(*engine);
    SendSettings(*engine);
    if (engine->settings.enabled != wasEnabled)
        Note(*engine, wasEnabled ? "Disabled" : "Enabled");
}

void Engines::PutOptions(EngineProduct& product, UID const& engine, UID const& type, OptionMap const& options) {
    if (product.number == 0)
        product.number = m_farm.NextNumber();
    product.options = options;
    product.rule = ProductRule::Read(options);
    m_farm.out.Put(RecordKind::EngineOptions, product.number, engine,
                   WriteRow(EngineProductRow{engine, type, options}));
}

void Engines::OnOptions(PeerId peer, EngineOptionsMsg const& message) {
    auto told = EngineOptionsMsg::New();
    told->product = message.product;
    told->options = message.options;
    for (UID const& id : message.engines) {
        EngineEntry* const engine = m_farm.FindEngine(id);
        if (!engine) {
            m_farm.out.Refuse(peer, id, "The Engine is not there any more.");
            continue;
        }
        PutOptions(engine->products[message.product], id, message.product, message.options);
        told->engines.insert(id);
        m_farm.distributor->EngineChanged(*engine);
    }
    if (!told->engines.empty())
        m_farm.out.ToFollowers(told);
}

void Engines::OnRemove(PeerId peer, RemoveEngineMsg const& message) {
    EngineEntry* const engine = m_farm.FindEngine(message.engine);
    if (!engine || engine->Online()) {
        m_farm.out.Refuse(peer, message.engine,
                          engine ? "The Engine is online. Only an offline Engine can be removed."
                                 : "The Engine is not there any more.");
        return;
    }
    while (!engine->runs.empty())
        m_farm.runActions->GiveUp(*engine->runs.front(), Lost, "The Engine was removed");
    m_farm.jobActions->EngineRemoved(engine->id);
    for (uint64_t const number : m_farm.failures.RemoveEngine(engine->id))
        m_farm.out.Erase(RecordKind::Failure, number);
    for (auto const& [type, product] : engine->products)
        m_farm.out.Erase(RecordKind::EngineOptions, product.number);
    for (auto const& [number, element] : engine->history)
        m_farm.out.Erase(RecordKind::EngineHistory, number);
    m_farm.runActions->ForgetStaggers(engine->id);
    m_farm.out.Erase(RecordKind::Engine, engine->number);
    m_farm.distributor->ForgetEngine(*engine);
    ++m_farm.possibilities;
    auto told = RemoveEngineMsg::New();
    told->engine = engine->id;
    m_farm.out.ToFollowers(told);
    m_farm.enginesById.erase(engine->id);
    m_farm.engines.erase(engine->number);
}

void Engines::OnDefault(DefaultEngineMsg const& message) {
    m_farm.defaultEngine = boost::make_shared<Engine>(message.engine);
    if (m_farm.defaultEngineNumber == 0)
        m_farm.defaultEngineNumber = m_farm.NextNumber();
    m_farm.out.Put(RecordKind::Engine, m_farm.defaultEngineNumber, UID::Null, EncodeEngine(message.engine));
    auto told = DefaultEngineMsg::New();
    told->engine = message.engine;
    m_farm.out.ToFollowers(told);
    for (auto const& [number, engine] : m_farm.engines) {
        ReadSettings(*engine);
        SendSettings(*engine);
    }
}

void Engines::OnDefaultOptions(DefaultEngineOptionsMsg const& message) {
    PutOptions(m_farm.defaultProducts[message.product], UID::Null, message.product, message.options);
    auto told = DefaultEngineOptionsMsg::New();
    told->product = message.product;
    told->options = message.options;
    m_farm.out.ToFollowers(told);
    m_farm.distributor->AllChanged();
}

void Engines::OnResetFailures(PeerId peer, ResetEngineFailuresMsg const& message) {
    EngineEntry* const engine = m_farm.FindEngine(message.engine);
    if (!engine) {
        m_farm.out.Refuse(peer, message.engine, "The Engine is not there any more.");
        return;
    }
    for (FailureEntry const& entry : m_farm.failures.ResetEngine(engine->id)) {
        if (m_farm.FindJob(entry.item.job)) {
            m_farm.out.Put(RecordKind::Failure, entry.number, entry.item.job, WriteRow(entry));
            continue;
        }
        // The last thing that was known of a Job that is gone.
        for (uint64_t const number : m_farm.failures.RemoveReset(entry.item.job))
            m_farm.out.Erase(RecordKind::Failure, number);
    }
    m_farm.out.ToFollowers(ResetEngineFailuresMsg::Create(engine->id));
    ShowBarred(*engine);
    m_farm.distributor->AllChanged();
}

void Engines::OnStop(PeerId peer, StopWorkMsg const& message) {
    Run* const run = m_farm.FindRun(message.work);
    if (!run || !run->job) {
        m_farm.out.Refuse(peer, message.work, "The work has ended already.");
        return;
    }
    m_farm.runActions->Stop(*run, message.status, message.reason, message.Action());
}

void Engines::CheckTimes() {
    CheckRivals();
    for (auto const& [number, engine] : m_farm.engines) {
        if (engine->Online()) {
            if (engine->lastSeen + k_Silence <= m_farm.steady) {
                if (Peer* const peer = m_farm.peers.Find(engine->peer))
                    peer->engine = nullptr;
                m_farm.out.ClosePeerWith(engine->peer, "The Engine has been silent for too long.");
                PeerGone(*engine);
                continue;
            }
            if (engine->settings.restricted) {
                Engine effective = *engine->engine;
                effective.FillFrom(*m_farm.defaultEngine);
                unsigned const capacity = effective.UseCPUsAtTime(m_farm.now);
                if (capacity != engine->settings.capacity) {
                    engine->settings.capacity = capacity;
                    ++m_farm.possibilities;
                    m_farm.distributor->EngineChanged(*engine);
                }
            }
        } else if (engine->goneSince && *engine->goneSince + m_farm.policy.lostTimeout <= m_farm.steady) {
            engine->goneSince.reset();
            if (!engine->runs.empty())
                Note(*engine, "Given up, its work goes back to the queue");
            while (!engine->runs.empty())
                m_farm.runActions->GiveUp(*engine->runs.front(), Lost, "The Engine was gone for too long");
        }
    }
}

void Engines::ApplyEngine(Record const& record) {
    auto const at = m_farm.engines.find(record.number);
    if (record.op != Record::Op::Put) {
        if (at == m_farm.engines.end())
            return;
        if (m_farm.FindEngine(at->second->id) == at->second.get())
            m_farm.enginesById.erase(at->second->id);
        m_farm.engines.erase(at);
        return;
    }
    auto engine = boost::make_shared<Engine>();
    DecodeEngine(record.body, *engine);
    UID const id = UIDOfRecord(record);
    if (id.IsNull()) {
        m_farm.defaultEngine = engine;
        m_farm.defaultEngineNumber = record.number;
        return;
    }
    engine->SetOnline(false);
    (at == m_farm.engines.end() ? Make(id, record.number) : *at->second).engine = engine;
}

void Engines::ApplyOptions(Record const& record) {
    if (record.op != Record::Op::Put) {
        auto const erase = [&](auto& products) {
            std::erase_if(products, [&](auto const& product) { return product.second.number == record.number; });
        };
        erase(m_farm.defaultProducts);
        for (auto const& [number, engine] : m_farm.engines)
            erase(engine->products);
        return;
    }
    EngineProductRow row = ReadEngineProductRow(record.body);
    ProductRule const rule = ProductRule::Read(row.options);
    EngineProduct product{record.number, std::move(row.options), rule};
    if (row.engine.IsNull())
        m_farm.defaultProducts[row.product] = std::move(product);
    else if (EngineEntry* const engine = m_farm.FindEngine(row.engine))
        engine->products[row.product] = std::move(product);
}

void Engines::ApplyHistory(Record const& record) {
    auto const isIt = [&](auto const& line) { return line.first == record.number; };
    if (record.op != Record::Op::Put) {
        for (auto const& [number, engine] : m_farm.engines)
            std::erase_if(engine->history, isIt);
        return;
    }
    EngineHistoryRow row = ReadEngineHistoryRow(record.body);
    EngineEntry* const engine = m_farm.FindEngine(row.engine);
    if (engine && std::none_of(engine->history.begin(), engine->history.end(), isIt))
        engine->history.emplace_back(record.number, std::move(row.element));
}

void Engines::RestoreDone() {
    for (auto const& [number, engine] : m_farm.engines) {
        engine->goneSince = m_farm.steady;
        auto const barred = m_farm.failures.ProductsAgainst(engine->id, m_farm.policy.maxTypeFailures);
        Change(*engine)->SetBarredProducts(barred);
        ReadSettings(*engine);
    }
}

} // namespace farm
