#include "engine/workdesk.h"

#include <boost/make_shared.hpp>
#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/sformat.h>
#include <vorlan/events.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/status.h>

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>

namespace vorlan {

WorkDesk::WorkDesk(DeskSetup setup)
    : m_setup(std::move(setup)),
      m_journal(m_setup.folder / "results.journal", m_setup.clock->Now()),
      m_history(m_setup.engine, *m_setup.clock),
      m_side(
          *m_setup.runner, *m_setup.clock, [this](String const& line) { m_history.Note(line); },
          [this](SideCommand const& command) { OnSettled(command); }) {
    if (size_t const cutOff = m_journal.CutOff(); cutOff > 0) {
        m_history.Note(
            SFormat("An earlier VorlanEngine ended while it ran %zu units; they are reported as lost.", cutOff));
    }
    for (auto const& [id, owed] : m_journal.Owed())
        RunOwed(owed);
}

WorkDesk::~WorkDesk() = default;

void WorkDesk::SetMaster(SinkPtr master) {
    m_master = std::move(master);
    m_outbox.clear(); // what it said is in the registration
    m_history.SetSink({});
    if (!m_master)
        return;
    m_journal.Flush();
    auto message = RegisterEngineMsg::New();
    message->engine = m_setup.describe();
    message->clock = m_setup.clock->Now();
    for (auto const& [work, unit] : m_units) {
        bool const hasStarted = !unit.started.IsZero();
        String subRange;
        unit.work->GetParameter(p_SubRange, subRange);
        message->running.push_back({work, unit.work->parentID, hasStarted ? Started : Assigned,
                                    hasStarted ? unit.started : unit.taken, subRange,
                                    hasStarted ? std::max<int64_t>(m_setup.clock->SteadyMs() - unit.startedMs, 1) : 0});
    }
    for (auto const& [work, ended] : m_journal.Pending())
        message->ended.push_back(ended);
    m_master->Send(message);
    m_history.SetSink(m_master);
}

Unit* WorkDesk::Find(UID const& work) {
    auto const found = m_units.find(work);
    return found == m_units.end() ? nullptr : &found->second;
}

void WorkDesk::OnRunWork(RunWorkMsg const& message) {
    if (!message.work || message.work->id.IsNull()) {
        LogWarning("The Master sent work without an id. Ignored.");
        return;
    }
    UID const& id = message.work->id;
    if (m_units.contains(id) || m_settled.Contains(id))
        return;
    if (WorkEnded const* const ended = m_journal.FindPending(id)) {
        SendResult(*ended);
        return;
    }
    AcceptWork(message.work, message.engineOptions);
}

void WorkDesk::OnEndWork(EndWorkMsg const& message) {
    Verdict const stop{message.status, message.reason};
    if (Unit* const unit = Find(message.work)) {
        if (unit->stop) {
            return; // under way
        }
        unit->stop = stop;
        if (unit->inRunner) {
            unit->log->AppendLine("[VorlanEngine: stopped: " + stop.note + "]");
            m_setup.runner->Stop(message.work, k_StopGraceMs);
        } else {
            Report(*unit, stop);
        }
        return;
    }
    if (WorkEnded const* const ended = m_journal.FindPending(message.work)) {
        SendResult(*ended);
        return;
    }
    // Never had it, or settled it long ago: the Master waits for an answer all the same.
    WorkEnded ended;
    ended.work = message.work;
    ended.status = message.status;
    ended.note = message.reason;
    ended.time = m_setup.clock->Now();
    SendResult(ended);
}

void WorkDesk::SendResult(WorkEnded const& ended) {
    auto message = WorkEndedMsg::New();
    message->ended = ended;
    Send(message);
}

void WorkDesk::OnAcknowledged(WorkEndedAckMsg const& message) {
    if (!m_journal.FindPending(message.work))
        return;
    m_journal.Acknowledged(message.work);
    m_settled.Add(message.work);
}

void WorkDesk::OnSettings(EngineSettingsMsg const& message) { m_settings = boost::make_shared<Engine>(message.engine); }

void WorkDesk::OnJobGone(JobGoneMsg const& message) {
    m_goneJobs.insert(message.job);
    CleanUpBehind(message.job);
}

bool WorkDesk::IsBusyWith(UID const& job) const {
    return m_side.Needs(job) || std::any_of(m_units.begin(), m_units.end(),
                                            [&](auto const& entry) { return entry.second.work->parentID == job; });
}

// Once nothing is left here that needs the Job's folder.
void WorkDesk::CleanUpBehind(UID const& id) {
    if (IsBusyWith(id) || m_goneJobs.erase(id) == 0)
        return;
    auto known = m_jobs.extract(id);
    std::erase(m_jobOrder, id);
    RemoveFolder(JobFolder(id));
    Job const unknown(id);
    Job const& job = known.empty() ? unknown : *known.mapped();
    auto const product = JobFactory::s_JobFactory->GetProduct(job.Type());
    OptionMap const extra{{p_ID, id.ToString()}, {"Engine.Name", m_setup.host}};
    for (SideCommand& side : SideCommandsFor(FinishedJobEvt::TypeName(), job, product.get(), extra, m_setup.folder)) {
        side.job = UID::Null; // its folder is gone
        m_side.Run(std::move(side));
    }
}

void WorkDesk::CleanFolders(Time before) {
    std::error_code error;
    std::vector<Path> old;
    for (std::filesystem::directory_iterator at((m_setup.folder / "work").Native(), error), end; !error && at != end;
         at.increment(error)) {
        Path const folder(at->path());
        struct stat status {};
        UID job;
        bool const isJobs = UID::FromString(folder.Leaf(), job);
        if (lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || (isJobs && IsBusyWith(job)))
            continue;
        if (!isJobs || Time::FromUnixMs(int64_t{status.st_mtim.tv_sec} * 1000) < before)
            old.push_back(folder);
    }
    for (Path const& folder : old)
        RemoveFolder(folder);
}

// With all that units have left in it. It has another name at once: the Job may come back.
void WorkDesk::RemoveFolder(Path const& folder) {
    Path const gone = folder.Text() + "-" + UID(true).ToString();
    if (rename(folder.c_str(), gone.c_str()) != 0)
        return;
    m_setup.aside([gone] {
        std::error_code error;
        std::filesystem::remove_all(gone.Native(), error);
        if (error)
            LogWarning(SFormat("Cannot delete \"%s\": %s. Delete it by hand.", gone.c_str(), error.message().c_str()));
        return AsideThreads::Then();
    });
}

// Those that nobody waits for: one that cannot be used is told and left out.
std::vector<SideCommand> WorkDesk::SideCommandsFor(char const* eventName, Job const& work, Product const* product,
                                                   OptionMap const& extra, Path const& folder) {
    std::vector<SideCommand> sides;
    try {
        for (EventCommand const& command : CommandsFor(eventName, m_settings.get(), work, product, extra)) {
            SideCommand side = MakeSideCommand(command, folder);
            side.job = work.parentID;
            if (String const error = ChooseUser(work, extra, side.spec); !error.Empty())
                throw ArgumentException("The " + side.label + " command is left out: " + error);
            sides.push_back(std::move(side));
        }
    } catch (Exception const& error) {
        m_history.Note(error.Message());
    }
    return sides;
}

void WorkDesk::RunOwed(OwedCommand const& owed) {
    SideCommand command;
    command.label = owed.label;
    command.spec = owed.spec;
    command.job = owed.job;
    command.owed = true;
    String const error = m_setup.users.Choose(owed.spec.user, command.spec); // it may have changed since
    if (!error.Empty()) {
        m_history.Note("The " + command.label + " command is left out: " + error);
        m_journal.Settled(command.spec.work);
        return;
    }
    m_side.Run(std::move(command));
}

void WorkDesk::OnSettled(SideCommand const& command) {
    if (command.owed)
        m_journal.Settled(command.spec.work);
    if (!command.job.IsNull())
        CleanUpBehind(command.job);
}

// Owed like those of a unit: the Master relies on it once it is told.
void WorkDesk::OnJobCommand(RunJobCommandMsg const& message) {
    auto taken = JobCommandTakenMsg::New();
    taken->id = message.id;
    Send(taken);
    if (!message.job || m_settled.Contains(message.id) || m_journal.Owed().contains(message.id))
        return;
    m_settled.Add(message.id);
    Job job(*message.job);
    CallPathsAsHere(job);
    auto const product = JobFactory::s_JobFactory->GetProduct(job.Type());
    OptionMap const extra{{p_ID, job.id.ToString()}, {"Engine.Name", m_setup.host}};
    for (SideCommand& side : SideCommandsFor(message.event.c_str(), job, product.get(), extra, m_setup.folder)) {
        side.spec.work = message.id;
        OwedCommand const owed{side.label, UID::Null, side.spec};
        m_journal.Owe(owed);
        RunOwed(owed);
    }
}

void WorkDesk::OnExecute(ExecuteCommandMsg const& message) {
    m_history.Note("Runs the command: " + message.command);
    m_side.Run(MakeSideCommand({"\"" + message.command.Mid(0, 80) + "\"", {message.command, {}}}, m_setup.folder,
                               SideCommand::Tell::All));
}

void WorkDesk::OnRunStarted(UID const& work, int) {
    Unit* const unit = Find(work);
    if (!unit || unit->stage != Unit::Stage::Running)
        return;
    unit->started = m_setup.clock->Now();
    unit->startedMs = m_setup.clock->SteadyMs();
    unit->work->SetStatus(Started);
    m_history.Note("Started " + NameOf(*unit));
    auto message = WorkBegunMsg::New();
    message->work = work;
    message->time = unit->started;
    Send(message);
}

void WorkDesk::OnRunOutput(UID const& work, std::string_view bytes) {
    Unit* const unit = Find(work);
    if (!unit) {
        m_side.OnOutput(work, bytes);
        return;
    }
    unit->log->Append(bytes);
    TakeFound(*unit, unit->scanner->Feed(bytes));
}

void WorkDesk::TakeFound(Unit& unit, OutputScanner::Found const& found) {
    if (found.progress)
        unit.progress.Offer(p_PercentDone, SFormat("%.1f", unit.scanner->Percent()));
    if (!found.warning.Empty())
        unit.progress.Offer(p_Note, found.warning);
    if (found.progress || !found.warning.Empty())
        TellProgress(unit, m_setup.clock->SteadyMs());
}

void WorkDesk::TellProgress(Unit& unit, int64_t now) {
    OptionMap values = unit.progress.TakeDueValues(now);
    if (values.empty())
        return;
    unit.work->SetValues(values);
    auto message = WorkProgressMsg::New();
    message->work = unit.work->id;
    message->values = std::move(values);
    Send(message);
    for (SideCommand& side : SideCommandsFor(WorkParameterChangedEvt::TypeName(), *unit.work, unit.product.get(),
                                             unit.values, unit.spec.folder)) {
        m_side.Run(std::move(side));
    }
}

void WorkDesk::Tick() {
    int64_t const now = m_setup.clock->SteadyMs();
    for (auto& [work, unit] : m_units) {
        if (unit.progress.DueMs() <= now)
            TellProgress(unit, now);
        if (unit.RunsCommand() && unit.stage == Unit::Stage::Before && unit.preparingMs <= now)
            TellPreparing(unit, now);
        if (unit.RunsCommand() && unit.commandEndMs <= now && !std::exchange(unit.overdue, true))
            m_setup.runner->Stop(work, k_StopGraceMs);
    }
    m_side.StopOverdue(now, k_StopGraceMs);
}

// Its commands may take longer than the Master lets a start take.
void WorkDesk::TellPreparing(Unit& unit, int64_t now) {
    unit.preparingMs = now + k_PreparingMs;
    auto message = WorkPreparingMsg::New();
    message->work = unit.work->id;
    Send(message);
}

int64_t WorkDesk::NextTickMs() const {
    int64_t next = ProgressThrottle::k_Never;
    for (auto const& [work, unit] : m_units) {
        next = std::min(next, unit.progress.DueMs());
        if (unit.RunsCommand() && !unit.overdue)
            next = std::min({next, unit.commandEndMs, unit.stage == Unit::Stage::Before ? unit.preparingMs : next});
    }
    return std::min(next, m_side.NextOverdueMs());
}

void WorkDesk::EndTurn() {
    m_journal.Flush();
    Time const silentSince = m_setup.clock->Now() - k_SilentTime;
    for (auto& [work, unit] : m_units) {
        if (unit.taken <= silentSince)
            unit.log->Keep();
        unit.log->Flush();
    }
    // Without a Master nothing is lost: the next registration says it all.
    std::vector<boost::shared_ptr<Message const>> outbox;
    outbox.swap(m_outbox);
    for (auto const& message : outbox) {
        if (m_master)
            m_master->Send(message);
    }
}

RunOutput WorkDesk::OutputOf(UID const& work) const {
    if (m_units.contains(work))
        return RunOutput::Grows;
    return m_silent.Contains(work) ? RunOutput::None : RunOutput::Whole;
}

void WorkDesk::StopAll(String const& reason) {
    m_side.StopAll(k_StopGraceMs);
    std::vector<UID> works;
    for (auto const& [work, unit] : m_units)
        works.push_back(work);
    for (UID const& work : works) {
        EndWorkMsg stop;
        stop.work = work;
        stop.status = Lost;
        stop.reason = reason;
        OnEndWork(stop);
    }
}

Path WorkDesk::JobFolder(UID const& job) { return m_setup.folder / "work" / Path(job.ToString()); }

// Whether a unit of the same Job was here before; from now on it was.
bool WorkDesk::IsKnownJob(Job const& work) {
    auto const [known, isNew] = m_jobs.try_emplace(work.parentID);
    if (!isNew)
        return true;
    known->second = boost::make_shared<Job>(work);
    m_jobOrder.push_back(work.parentID);
    if (m_jobOrder.size() > k_KnownJobs) {
        m_jobs.erase(m_jobOrder.front());
        m_jobOrder.pop_front();
    }
    return false;
}

String WorkDesk::NameOf(Unit const& unit) const {
    String frames;
    unit.work->GetParameter(p_SubRange, frames);
    String name;
    unit.work->GetParameter("JobName", name);
    if (name.Empty())
        name = (unit.product ? unit.product->Name() + " " : String()) + "{" + unit.work->parentID.ToString() + "}";
    return "work " + frames + " of Job " + name;
}

} // namespace vorlan
