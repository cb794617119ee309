#include "master/core/core.h"

#include "master/core/distributor.h"
#include "master/core/dump.h"
#include "master/core/engines.h"
#include "master/core/jobs.h"
#include "master/core/loader.h"
#include "master/core/relay.h"
#include "master/core/reporter.h"
#include "master/core/runs.h"
#include "master/core/settings.h"

#include <algorithm>

namespace farm {

namespace {

// Time-outs are looked at that often.
constexpr Time k_CheckEvery = Time::Seconds(1);

} // namespace

Core::Core(CoreConfig config) : m_farm(std::make_unique<Farm>(std::move(config))) {
    m_farm->settings->AddShipped();
    ListenToClients();
    ListenToEngines();
}

Core::~Core() = default;

// Who may send it stands in its row of the messages' table.
template <class T, class Function>
void Core::On(Function function) {
    static_assert((T::k_Ways & (FromClients | FromEngines)) != 0, "nobody sends this to the Master");
    m_handlers[T::s_Type] = {T::k_Ways, [function](Peer& peer, boost::shared_ptr<Message> const& message) {
                                 function(peer, boost::static_pointer_cast<T>(message));
                             }};
}

void Core::ListenToClients() {
    Farm& f = *m_farm;
    // Jobs and work.
    On<JobMsg>([&f](Peer& p, auto const& m) { f.jobActions->OnJob(p.id, *m); });
    On<JobParameterMsg>([&f](Peer& p, auto const& m) { f.jobActions->OnParameter(p.id, *m); });
    On<DeleteJobMsg>([&f](Peer& p, auto const& m) { f.jobActions->OnDelete(p.id, *m); });
    On<ResetJobFailuresMsg>([&f](Peer& p, auto const& m) { f.jobActions->OnResetFailures(p.id, *m); });
    On<StopWorkMsg>([&f](Peer& p, auto const& m) { f.engineActions->OnStop(p.id, *m); });
    // Engines.
    On<EngineMsg>([&f](Peer& p, auto const& m) { f.engineActions->OnEngine(p.id, *m); });
    On<EngineOptionsMsg>([&f](Peer& p, auto const& m) { f.engineActions->OnOptions(p.id, *m); });
    On<RemoveEngineMsg>([&f](Peer& p, auto const& m) { f.engineActions->OnRemove(p.id, *m); });
    On<DefaultEngineMsg>([&f](Peer&, auto const& m) { f.engineActions->OnDefault(*m); });
    On<DefaultEngineOptionsMsg>([&f](Peer&, auto const& m) { f.engineActions->OnDefaultOptions(*m); });
    On<ResetEngineFailuresMsg>([&f](Peer& p, auto const& m) { f.engineActions->OnResetFailures(p.id, *m); });
    // Settings.
    On<SetMasterOptionsMsg>([&f](Peer& p, auto const& m) { f.settings->OnOptions(p.id, *m); });
    On<SetMasterLimitsMsg>([&f](Peer&, auto const& m) { f.settings->OnLimits(*m); });
    On<SetMasterRestrictionsMsg>([&f](Peer&, auto const& m) { f.settings->OnRestrictions(*m); });
    On<PathTranslationsMsg>([&f](Peer&, auto const& m) { f.settings->OnTranslations(*m); });
    On<MasterDefaultStartupMsg>([&f](Peer&, auto const& m) { f.settings->OnStartup(*m); });
    On<PoolMsg>([&f](Peer&, auto const& m) { f.settings->OnPools(*m); });
    On<DeletePoolMsg>([&f](Peer& p, auto const& m) { f.settings->OnDeletePool(p.id, *m); });
    On<ProductMsg>([&f](Peer& p, auto const& m) { f.settings->OnProduct(p.id, *m); });
    On<RemoveProductMsg>([&f](Peer& p, auto const& m) { f.settings->OnRemoveProduct(p.id, *m); });
    // Requests.
    On<NotifyOnEventMsg>([&f](Peer& p, auto const& m) { f.peers.Follow(p, m->all, m->ids); });
    On<GetJobInfoMsg>([&f](Peer& p, auto const& m) { f.loader->OnGetJobs(p, *m); });
    On<GetEngineInfoMsg>([&f](Peer& p, auto const& m) { f.loader->OnGetEngines(p, *m); });
    On<GetMasterOptionsMsg>([&f](Peer& p, auto const&) { f.settings->SendOptions(p.id); });
    On<GetMasterLimitsMsg>([&f](Peer& p, auto const&) { f.settings->SendLimits(p.id); });
    On<GetMasterRestrictionsMsg>([&f](Peer& p, auto const&) { f.settings->SendRestrictions(p.id); });
    On<GetDefaultEngineMsg>([&f](Peer& p, auto const&) { f.settings->SendDefaultEngine(p.id); });
    On<GetFailureArchiveMsg>([&f](Peer& p, auto const&) { f.settings->SendFailures(p.id); });
    On<GetPoolsMsg>([&f](Peer& p, auto const&) { f.settings->SendPools(p.id); });
    On<ReportJobStatusMsg>([&f](Peer& p, auto const& m) { f.reporter->OnJobStatus(p.id, *m); });
    On<WatchJobDispatchMsg>([&f](Peer& p, auto const& m) { f.reporter->OnWatchJob(p.id, *m); });
    On<WatchEngineDispatchMsg>([&f](Peer& p, auto const& m) { f.reporter->OnWatchEngine(p.id, *m); });
    On<LogDumpMsg>([&f](Peer&, auto const&) {
        f.out.Log(LogLevel::System, f.reporter->State());
        f.out.Dump(std::make_shared<StateSnapshot>(f));
    });
    // What goes on to Engines.
    On<GetOutputMsg>([&f](Peer& p, auto const& m) { f.relay->OnGetOutput(p.id, m); });
    On<CloseOutputMsg>([&f](Peer& p, auto const& m) { f.relay->OnCloseOutput(p.id, m); });
    On<ExecuteCommandMsg>([&f](Peer& p, auto const& m) { f.relay->OnExecute(p.id, m); });
    On<MachineMsg>([&f](Peer& p, auto const& m) { f.relay->OnMachine(p.id, m); });
    On<StopVorlanOnNodeMsg>([&f](Peer& p, auto const& m) { f.relay->OnStopPrograms(p.id, m); });
    On<ShutdownMsg>([&f](Peer&, auto const&) { f.relay->OnShutdown(); });
}

void Core::ListenToEngines() {
    Farm& f = *m_farm;
    On<RegisterEngineMsg>([&f](Peer& p, auto const& m) { f.engineActions->OnRegister(p, *m); });
    On<HeartbeatMsg>([&f](Peer& p, auto const&) { f.engineActions->OnHeartbeat(p); });
    On<WorkBegunMsg>([&f](Peer& p, auto const& m) { f.engineActions->OnBegun(p, *m); });
    On<WorkProgressMsg>([&f](Peer& p, auto const& m) { f.engineActions->OnProgress(p, *m); });
    On<WorkEndedMsg>([&f](Peer& p, auto const& m) { f.engineActions->OnEnded(p, *m); });
    On<EngineHistoryElementMsg>([&f](Peer& p, auto const& m) { f.engineActions->OnHistory(p, *m); });
    On<OutputDataMsg>([&f](Peer& p, auto const& m) { f.relay->OnOutput(p, m); });
    On<PingMsg>([&f](Peer& p, auto const& m) {
        auto pong = PongMsg::New();
        pong->time = m->time;
        f.out.To(p.id, pong);
    });
}

void Core::Restore(Record const& record) {
    m_farm->lastNumber = std::max(m_farm->lastNumber, record.number);
    switch (record.kind) {
    case RecordKind::Job:
        m_farm->jobActions->RestoreJob(record);
        break;
    case RecordKind::JobState:
        m_farm->jobActions->RestoreState(record);
        break;
    case RecordKind::History:
        m_farm->jobActions->RestoreRun(record);
        break;
    case RecordKind::Engine:
        m_farm->engineActions->RestoreEngine(record);
        break;
    case RecordKind::EngineOptions:
        m_farm->engineActions->RestoreOptions(record);
        break;
    case RecordKind::Pool:
        m_farm->settings->RestorePool(record);
        break;
    case RecordKind::Product:
        m_farm->settings->RestoreProduct(record);
        break;
    case RecordKind::Option:
        m_farm->settings->RestoreOption(record);
        break;
    case RecordKind::Failure:
        m_farm->settings->RestoreFailure(record);
        break;
    case RecordKind::EngineHistory:
        m_farm->engineActions->RestoreHistory(record);
        break;
    case RecordKind::Counter:
        break;
    }
}

void Core::RestoreDone(Moment const& now) {
    m_farm->SetNow(now);
    m_farm->settings->RestoreDone();
    m_farm->engineActions->RestoreDone();
    m_farm->jobActions->RestoreDone();
    m_farm->runActions->CountCreators();
    m_nextCheck = now.steady;
}

void Core::Handle(Moment const& now, Event const& event, std::vector<Effect>& effects) {
    m_farm->SetNow(now);
    m_farm->out.Open(effects);
    m_farm->jobActions->FinishRestored();
    std::visit([this](auto const& one) { HandleOne(one); }, event);
    if (m_nextCheck <= now.steady)
        CheckTimes();
    m_farm->distributor->CheckTimes();
    m_farm->jobActions->CheckTimes();
    m_farm->distributor->Distribute();
    m_farm->out.Close();
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
    if (engine)
        m_farm->engineActions->PeerGone(*engine);
}

void Core::HandleOne(PeerMessage const& event) {
    Peer* const peer = m_farm->peers.Find(event.peer);
    if (!peer || !event.message)
        return;
    if (peer->engine)
        peer->engine->lastSeen = m_farm->steady;
    auto const at = m_handlers.find(event.message->Type());
    unsigned const from = peer->Kind() == net::PeerKind::Engine ? FromEngines : FromClients;
    if (at == m_handlers.end() || (at->second.ways & from) == 0) {
        m_farm->out.Log(LogLevel::Warning, "Ignored a " + String(event.message->TypeName()) + " from " + peer->Name() +
                                               ": not expected from it.");
        return;
    }
    at->second.handler(*peer, event.message);
}

void Core::HandleOne(Tick const&) {}

void Core::CheckTimes() {
    m_nextCheck = m_farm->steady + k_CheckEvery;
    m_farm->engineActions->CheckTimes();
    m_farm->runActions->CheckTimes();
}

bool Core::Pull(PeerId id, size_t maxBytes, std::vector<MessagePtr>& out) {
    Peer* const peer = m_farm->peers.Find(id);
    return peer && m_farm->loader->Pull(*peer, maxBytes, out);
}

Steady Core::NextDeadline() const {
    return std::min({m_nextCheck, m_farm->distributor->NextTime(), m_farm->jobActions->NextTime()});
}

} // namespace farm
