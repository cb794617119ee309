#include "master/core/core.h"

#include "master/core/distributor.h"
#include "master/core/dump.h"
#include "master/core/engines.h"
#include "master/core/jobcommands.h"
#include "master/core/jobs.h"
#include "master/core/loader.h"
#include "master/core/relay.h"
#include "master/core/reporter.h"
#include "master/core/runs.h"
#include "master/core/settings.h"
#include "master/core/standstills.h"

#include <algorithm>

namespace farm {

namespace {

// Time-outs are looked at that often.
constexpr Time k_CheckEvery = Time::Seconds(1);

// How many numbers of rows are set aside at once.
constexpr uint64_t k_NumbersAtOnce = 1000;

} // namespace

Core::Core(CoreConfig config) : m_farm(std::make_unique<Farm>(std::move(config))) {
    m_farm->settings->AddShipped();
    ListenToClients();
    ListenToEngines();
}

Core::~Core() = default;

namespace {

// What an entry of the table below needs and does.
constexpr Core::Rule k_Reads{};
constexpr Core::Rule k_Changes{.changes = true};
constexpr Core::Rule k_Reports{.changes = true, .written = false}; // of Engines, which report all the time
constexpr Core::Rule k_Administers{.changes = true, .administrator = true};

} // namespace

// Who may send it stands in its row of the messages' table.
template <class T, class Function>
void Core::On(Rule const& rule, Function function) {
    static_assert((T::k_Ways & (FromClients | FromEngines)) != 0, "nobody sends this to the Master");
    m_handlers[T::s_Type] = {T::k_Ways, rule, [function](Peer& peer, boost::shared_ptr<Message> const& message) {
                                 function(peer, boost::static_pointer_cast<T>(message));
                             }};
}

void Core::ListenToClients() {
    Farm& f = *m_farm;
    // Jobs and work.
    On<JobMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.jobActions->OnJob(p.id, *m); });
    On<JobParameterMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.jobActions->OnParameter(p.id, *m); });
    On<DeleteJobMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.jobActions->OnDelete(p.id, *m); });
    On<RunAgainMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.jobActions->OnRunAgain(p.id, *m); });
    On<ResetJobFailuresMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.jobActions->OnResetFailures(p.id, *m); });
    On<StopWorkMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.engineActions->OnStop(p.id, *m); });
    // Engines.
    On<EngineMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.engineActions->OnEngine(p.id, *m); });
    On<EngineOptionsMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.engineActions->OnOptions(p.id, *m); });
    On<RemoveEngineMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.engineActions->OnRemove(p.id, *m); });
    On<DefaultEngineMsg>(k_Changes, [&f](Peer&, auto const& m) { f.engineActions->OnDefault(*m); });
    On<DefaultEngineOptionsMsg>(k_Changes, [&f](Peer&, auto const& m) { f.engineActions->OnDefaultOptions(*m); });
    On<ResetEngineFailuresMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.engineActions->OnResetFailures(p.id, *m); });
    // Settings.
    On<SetMasterOptionsMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.settings->OnOptions(p.id, *m); });
    On<SetMasterLimitsMsg>(k_Changes, [&f](Peer&, auto const& m) { f.settings->OnLimits(*m); });
    On<SetMasterRestrictionsMsg>(k_Changes, [&f](Peer&, auto const& m) { f.settings->OnRestrictions(*m); });
    On<PathTranslationsMsg>(k_Changes, [&f](Peer&, auto const& m) { f.settings->OnTranslations(*m); });
    On<MasterDefaultStartupMsg>(k_Changes, [&f](Peer&, auto const& m) { f.settings->OnStartup(*m); });
    On<PoolMsg>(k_Changes, [&f](Peer&, auto const& m) { f.settings->OnPools(*m); });
    On<DeletePoolMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.settings->OnDeletePool(p.id, *m); });
    On<ProductMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.settings->OnProduct(p.id, *m); });
    On<RemoveProductMsg>(k_Changes, [&f](Peer& p, auto const& m) { f.settings->OnRemoveProduct(p.id, *m); });
    // Requests.
    On<NotifyOnEventMsg>(k_Reads, [&f](Peer& p, auto const& m) { f.peers.Follow(p, m->all, m->ids); });
    On<GetJobInfoMsg>(k_Reads, [&f](Peer& p, auto const& m) { f.loader->OnGetJobs(p, *m); });
    On<GetEngineInfoMsg>(k_Reads, [&f](Peer& p, auto const& m) { f.loader->OnGetEngines(p, *m); });
    On<GetMasterOptionsMsg>(k_Reads, [&f](Peer& p, auto const&) { f.settings->SendOptions(p.id); });
    On<GetMasterLimitsMsg>(k_Reads, [&f](Peer& p, auto const&) { f.settings->SendLimits(p.id); });
    On<GetMasterRestrictionsMsg>(k_Reads, [&f](Peer& p, auto const&) { f.settings->SendRestrictions(p.id); });
    On<GetDefaultEngineMsg>(k_Reads, [&f](Peer& p, auto const&) { f.settings->SendDefaultEngine(p.id); });
    On<GetFailureArchiveMsg>(k_Reads, [&f](Peer& p, auto const&) { f.settings->SendFailures(p.id); });
    On<GetPoolsMsg>(k_Reads, [&f](Peer& p, auto const&) { f.settings->SendPools(p.id); });
    On<ReportJobStatusMsg>(k_Reads, [&f](Peer& p, auto const& m) { f.reporter->OnJobStatus(p.id, *m); });
    On<WatchJobDispatchMsg>(k_Reads, [&f](Peer& p, auto const& m) { f.reporter->OnWatchJob(p.id, *m); });
    On<WatchEngineDispatchMsg>(k_Reads, [&f](Peer& p, auto const& m) { f.reporter->OnWatchEngine(p.id, *m); });
    On<LogDumpMsg>(k_Reads, [&f](Peer&, auto const&) {
        f.out.Log(LogLevel::System, f.reporter->State());
        f.out.Dump(std::make_shared<StateSnapshot>(f));
    });
    On<AdministrateMsg>(k_Reads, [](Peer& p, auto const& m) { p.administrates = m->on; });
    // What goes on to Engines.
    On<GetOutputMsg>(k_Reads, [&f](Peer& p, auto const& m) { f.relay->OnGetOutput(p.id, m); });
    On<OutputTakenMsg>(k_Reads, [&f](Peer& p, auto const& m) { f.relay->OnOutputTaken(p.id, m); });
    On<CloseOutputMsg>(k_Reads, [&f](Peer& p, auto const& m) { f.relay->OnCloseOutput(p.id, m); });
    On<ExecuteCommandMsg>(k_Administers, [&f](Peer& p, auto const& m) { f.relay->OnExecute(p.id, m); });
    On<MachineMsg>(k_Administers, [&f](Peer& p, auto const& m) { f.relay->OnMachine(p.id, m); });
    On<StopVorlanOnNodeMsg>(k_Administers, [&f](Peer& p, auto const& m) { f.relay->OnStopPrograms(p.id, m); });
    On<ShutdownMsg>(k_Administers, [&f](Peer&, auto const&) { f.relay->OnShutdown(); });
}

void Core::ListenToEngines() {
    Farm& f = *m_farm;
    On<RegisterEngineMsg>(k_Reports, [&f](Peer& p, auto const& m) { f.engineActions->OnRegister(p, *m); });
    On<HeartbeatMsg>(k_Reports, [](Peer&, auto const&) {}); // that it was heard is all
    On<WorkPreparingMsg>(k_Reports, [&f](Peer& p, auto const& m) { f.engineActions->OnPreparing(p, *m); });
    On<WorkBegunMsg>(k_Reports, [&f](Peer& p, auto const& m) { f.engineActions->OnBegun(p, *m); });
    On<WorkProgressMsg>(k_Reports, [&f](Peer& p, auto const& m) { f.engineActions->OnProgress(p, *m); });
    On<JobCommandTakenMsg>(k_Reports, [&f](Peer&, auto const& m) { f.jobCommands->OnTaken(*m); });
    On<WorkEndedMsg>(k_Reports, [&f](Peer& p, auto const& m) { f.engineActions->OnEnded(p, *m); });
    On<EngineHistoryElementMsg>(k_Reports, [&f](Peer& p, auto const& m) { f.engineActions->OnHistory(p, *m); });
    On<OutputDataMsg>(k_Reads, [&f](Peer& p, auto const& m) { f.relay->OnOutput(p, m); });
    // It was asked whether it is alive; that it says anything is the answer.
    On<PongMsg>(k_Reads, [](Peer&, auto const&) {});
    On<PingMsg>(k_Reads, [&f](Peer& p, auto const& m) {
        auto pong = PongMsg::New();
        pong->time = m->time;
        f.out.To(p.id, pong);
    });
}

void Core::Apply(Record const& record) {
    m_farm->lastNumber = std::max(m_farm->lastNumber, record.number);
    switch (record.kind) {
    case RecordKind::Job:
        m_farm->jobActions->ApplyJob(record);
        break;
    case RecordKind::JobState:
        m_farm->jobActions->ApplyState(record);
        break;
    case RecordKind::History:
        m_farm->jobActions->ApplyRun(record);
        break;
    case RecordKind::Engine:
        m_farm->engineActions->ApplyEngine(record);
        break;
    case RecordKind::EngineOptions:
        m_farm->engineActions->ApplyOptions(record);
        break;
    case RecordKind::Pool:
        m_farm->settings->ApplyPool(record);
        break;
    case RecordKind::Product:
        m_farm->settings->ApplyProduct(record);
        break;
    case RecordKind::Option:
        m_farm->settings->ApplyOption(record);
        break;
    case RecordKind::Failure:
        m_farm->settings->ApplyFailure(record);
        break;
    case RecordKind::EngineHistory:
        m_farm->engineActions->ApplyHistory(record);
        break;
    case RecordKind::Stagger:
        m_farm->runActions->ApplyStagger(record);
        break;
    case RecordKind::DeletedJob:
        m_farm->jobActions->ApplyDeleted(record);
        break;
    case RecordKind::JobCommand:
        m_farm->jobCommands->Restore(record);
        break;
    case RecordKind::Counter:
        if (record.number == k_NumbersRow && record.op == Record::Op::Put)
            m_farm->lastNumber = std::max<uint64_t>(m_farm->lastNumber, record.body.Uint());
        m_farm->reservedNumbers = m_farm->lastNumber;
        break;
    }
}

void Core::RestoreDone(Moment const& now) {
    m_farm->SetNow(now);
    m_farm->settings->RestoreDone();
    m_farm->engineActions->RestoreDone();
    m_farm->runActions->RestoreStaggers();
    m_farm->jobActions->RestoreDone();
    m_farm->runActions->CountCreators();
    m_nextCheck = now.steady;
}

void Core::Handle(Moment const& now, Event const& event, std::vector<Effect>& effects) {
    m_farm->SetNow(now);
    m_farm->about = 0;
    m_farm->out.Open(effects);
    try {
        HandleGuarded(event);
    } catch (std::exception const& problem) {
        m_farm->out.Close();
        throw HandlingFailed(problem.what(), m_farm->about);
    }
    m_farm->out.Close();
}

void Core::HandleGuarded(Event const& event) {
    m_farm->jobActions->FinishRestored();
    std::visit([this](auto const& one) { HandleOne(one); }, event);
    if (m_nextCheck <= m_farm->steady)
        CheckTimes();
    m_farm->distributor->CheckTimes();
    m_farm->jobActions->CheckTimes();
    m_farm->distributor->Distribute();
    m_farm->standstills->TellChanges();
    ReserveNumbers();
}

// Rows that are gone must not lend their numbers to others.
void Core::ReserveNumbers() {
    if (m_farm->lastNumber <= m_farm->reservedNumbers)
        return;
    m_farm->reservedNumbers = m_farm->lastNumber + k_NumbersAtOnce;
    m_farm->out.Put(RecordKind::Counter, k_NumbersRow, String("numbers"), String::From(m_farm->reservedNumbers));
}

void Core::HandleOne(PeerConnected const& event) {
    if (event.peer == 0 || !event.who || m_farm->peers.Find(event.peer))
        return;
    m_farm->loader->SendInitial(m_farm->peers.Add(event));
}

void Core::HandleOne(PeerGone const& event) {
    Peer* const peer = m_farm->peers.Find(event.peer);
    if (!peer)
        return;
    EngineEntry* const engine = peer->engine;
    m_farm->peers.Remove(event.peer);
    m_farm->relay->PeerGone(event.peer);
    m_farm->engineActions->ForgetRival(event.peer);
    if (engine)
        m_farm->engineActions->PeerGone(*engine);
}

void Core::HandleOne(PeerMessage const& event) {
    Peer* const peer = m_farm->peers.Find(event.peer);
    if (!peer || !event.message)
        return;
    if (peer->engine)
        m_farm->engineActions->Heard(*peer->engine);
    auto const at = m_handlers.find(event.message->Type());
    unsigned const from = peer->Kind() == net::PeerKind::Engine ? FromEngines : FromClients;
    if (at == m_handlers.end() || (at->second.ways & from) == 0) {
        m_farm->out.Log(LogLevel::Warning, "Ignored a " + String(event.message->TypeName()) + " from " + peer->Name() +
                                               ": not expected from it.");
        return;
    }
    if (Allows(*peer, at->second, *event.message))
        at->second.handler(*peer, event.message);
}

// The one place at which a message is checked against what its entry needs, and at which
// it is put down who changed something.
bool Core::Allows(Peer const& peer, Entry const& entry, Message const& message) {
    if (entry.rule.administrator && !peer.administrates) {
        m_farm->out.Refuse(peer.id, UID::Null,
                           "Only an administrator may do this. Turn administrator mode on, or give --admin on the "
                           "command line.");
        return false;
    }
    if (entry.rule.changes && entry.rule.written) {
        // The name alone: values may hold a password.
        m_farm->out.Log(entry.rule.administrator ? LogLevel::Status : LogLevel::Debug,
                        String(message.TypeName()) + " from " + peer.who->user + ", " + peer.Name());
    }
    return true;
}

bool Core::Changes(Message const& message) const {
    auto const at = m_handlers.find(message.Type());
    return at != m_handlers.end() && at->second.rule.changes;
}

bool Core::IsCommand(Message const& message) const {
    auto const at = m_handlers.find(message.Type());
    return at != m_handlers.end() && at->second.rule.changes && at->second.rule.written;
}

void Core::HandleOne(Tick const&) {}

void Core::CheckTimes() {
    m_nextCheck = m_farm->steady + k_CheckEvery;
    m_farm->engineActions->CheckTimes();
    m_farm->runActions->CheckTimes();
    m_farm->standstills->CheckTimes();
}

bool Core::Pull(PeerId id, size_t maxBytes, std::vector<MessagePtr>& out) {
    Peer* const peer = m_farm->peers.Find(id);
    return peer && m_farm->loader->Pull(*peer, maxBytes, out);
}

Steady Core::NextDeadline() const {
    return std::min({m_nextCheck, m_farm->distributor->NextTime(), m_farm->jobActions->NextTime()});
}

} // namespace farm
