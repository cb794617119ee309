// The way of a unit through the WorkDesk, stage by stage.
#include "engine/workdesk.h"

#include <corekit/exception.h>
#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/platform.h>
#include <corekit/sformat.h>
#include <vorlan/events.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/pathtranslation.h>
#include <vorlan/status.h>
#include <vorlan/values.h>

#include <algorithm>

namespace vorlan {

namespace {

constexpr size_t k_NoteLength = 2000;

// A command line without the unit's password.
String Printable(String text, Job const& work) {
    String password;
    if (work.GetParameter(p_Password, password) && !password.Empty())
        text.Replace(password, "***");
    return text;
}

// The shares that the unit needs: as the Engine's options say, else as the Job does.
String SharesOf(Job const& work, OptionMap const& options) {
    String resources;
    if (auto const option = options.find(p_Resources); option != options.end())
        resources = option->second;
    if (resources.Empty())
        work.GetParameter(p_Resources, resources);
    return resources;
}

} // namespace

// With shares, the Username is theirs.
String WorkDesk::ChooseUser(Job const& work, OptionMap const& options, RunSpec& spec) const {
    String user;
    if (SharesOf(work, options).Trim().Empty())
        work.GetParameter(p_Username, user);
    return m_setup.users.Choose(user, spec);
}

void WorkDesk::AcceptWork(boost::shared_ptr<Job> const& work, OptionMap const& options) {
    Unit& unit = m_units[work->id];
    unit.work = work;
    unit.taken = m_setup.clock->Now();
    unit.values = options;
    unit.values["Engine.Name"] = m_setup.host;
    unit.values["Engine.ID"] = m_setup.engine.ToString();
    unit.log = m_setup.output->Create(work->id);
    m_journal.Begun({work->id, work->parentID, Assigned, unit.taken, String()});

    unit.product = JobFactory::s_JobFactory->GetProduct(work->Type());
    unit.scanner = std::make_unique<OutputScanner>(OutputRules{}, String());
    if (!unit.product) {
        return Fail(unit, SFormat("%s does not know the Product {%s}: it was removed, or the Master has not sent it.",
                                  m_setup.host.c_str(), work->Type().ToString().c_str()));
    }
    CallPathsAsHere(*unit.work);
    try {
        Plan(unit);
    } catch (Exception const& error) {
        return Fail(unit, error.Message());
    }
    Step(unit);
}

// The Job may come from another platform. What it is called here is its own: the Master's
// values stay as they are.
void WorkDesk::CallPathsAsHere(Job& work) const {
    if (m_translations.empty())
        return;
    OptionMap changed;
    for (auto const& [name, value] : work.Values()) {
        bool const isPath = FindValue(name) == nullptr || FindValue(name)->Has(v_EventCommand);
        String const here = isPath ? TranslatePaths(value, m_translations, Platform::PlatformNumber()) : value;
        if (here != value)
            changed[name] = here;
    }
    work.SetValues(changed);
}

// Makes all that is known before anything runs.
void WorkDesk::Plan(Unit& unit) {
    Job& work = *unit.work;
    String cores;
    if (work.GetParameter(p_DispatchCPUs, cores) && cores.Int() > 0 && cores.Int() != work.CPUs()) {
        work.SetParameter(p_CPUs, cores); // what it was given is what it may use
    }
    unit.launch = BuildLaunch(*unit.product, work, unit.values);
    unit.spec.work = work.id;
    unit.spec.arguments = unit.launch.arguments;
    for (auto const& [name, value] : unit.launch.environment)
        unit.spec.environment[name] = value;
    bool const isKnown = IsKnownJob(work);
    unit.spec.ownFolder = unit.launch.folder.Empty();
    unit.spec.folder = unit.spec.ownFolder ? JobFolder(work.parentID) : unit.launch.folder;
    if (String const error = ChooseUser(work, unit.values, unit.spec); !error.Empty())
        throw ArgumentException(error);
    unit.log->AppendLine(SFormat("[VorlanEngine on %s, %s: %s]", m_setup.host.c_str(),
                                 unit.taken.Format(k_DateTimeNoMS).c_str(), NameOf(unit).c_str()));
    unit.log->AppendLine("[" + Printable(unit.launch.Text(), work) + "]");

    AddCommands(unit, WorkAssignedEvt::TypeName());
    if (!isKnown)
        AddCommands(unit, FirstWorkEvt::TypeName());
    AddCommands(unit, WorkStartedEvt::TypeName());
}

void WorkDesk::AddCommands(Unit& unit, char const* eventName) {
    for (EventCommand& command :
         CommandsFor(eventName, m_settings.get(), *unit.work, unit.product.get(), unit.values)) {
        unit.commands.push_back(std::move(command));
    }
}

void WorkDesk::Step(Unit& unit) {
    if (unit.stop)
        return Report(unit, *unit.stop);
    if (!unit.commands.empty()) {
        EventCommand const command = std::move(unit.commands.front());
        unit.commands.pop_front();
        return RunCommand(unit, command);
    }
    if (unit.stage == Unit::Stage::Before)
        CheckSurroundings(unit);
    else
        Report(unit, unit.verdict);
}

void WorkDesk::RunCommand(Unit& unit, EventCommand const& command) {
    unit.commandLabel = command.label;
    unit.log->AppendLine("[" + command.label + ": " +
                         Printable(CommandText({command.script.text}, command.script.variables), *unit.work) + "]");
    unit.scanner = std::make_unique<OutputScanner>(OutputRules{}, String());
    RunSpec spec = SpecOf(command.script, m_setup.folder); // the unit's own may not be there yet
    spec.work = unit.work->id;
    spec.user = unit.spec.user;
    spec.mayBeRoot = unit.spec.mayBeRoot;
    int64_t const now = m_setup.clock->SteadyMs();
    unit.commandEndMs = now + k_CommandLimitMs;
    unit.overdue = false;
    if (unit.stage == Unit::Stage::Before)
        TellPreparing(unit, now);
    unit.inRunner = true;
    m_setup.runner->Start(spec);
}

// Shares are looked for after the commands, which may have connected them.
void WorkDesk::CheckSurroundings(Unit& unit) {
    unit.stage = Unit::Stage::Checking;
    String const resources = SharesOf(*unit.work, unit.values);
    Path const make = unit.launch.createFolder ? unit.spec.folder : Path();
    UID const work = unit.work->id;
    if (resources.Trim().Empty() && make.Empty())
        return OnChecked(work, String());
    m_setup.aside([this, work, resources, make, host = m_setup.host]() -> AsideThreads::Then {
        String error = CheckShares(resources, host);
        try {
            if (error.Empty() && !make.Empty())
                File::MakeFolder(make);
        } catch (Exception const& exception) {
            error = exception.what();
        }
        return [this, work, error] { OnChecked(work, error); };
    });
}

void WorkDesk::OnChecked(UID const& work, String const& error) {
    Unit* const unit = Find(work);
    if (!unit || unit->stage != Unit::Stage::Checking)
        return;
    if (!error.Empty())
        return Fail(*unit, error);
    unit->stage = Unit::Stage::Running;
    String subRange;
    unit->work->GetParameter(p_SubRange, subRange);
    unit->scanner = std::make_unique<OutputScanner>(unit->product->GetOutputRules(), subRange);
    unit->inRunner = true;
    m_setup.runner->Start(unit->spec);
}

void WorkDesk::OnRunEnded(UID const& work, RunEnd const& end) {
    Unit* const unit = Find(work);
    if (!unit) {
        m_side.OnEnded(work, end);
        return;
    }
    unit->inRunner = false;
    TakeFound(*unit, unit->scanner->Finish());
    if (unit->stage != Unit::Stage::Running)
        return EndCommand(*unit, end);
    unit->ended = m_setup.clock->Now();
    unit->endedMs = m_setup.clock->SteadyMs();
    unit->exitCode = end.code;
    unit->log->AppendLine("[" + EndText(end) + "]");
    if (unit->stop)
        return Report(*unit, *unit->stop);
    JudgeFiles(*unit, end);
}

void WorkDesk::EndCommand(Unit& unit, RunEnd const& end) {
    if (!HasSucceeded(end, {0}) && !unit.stop) {
        String note = "The " + unit.commandLabel + " command failed: " + EndText(end);
        if (unit.overdue)
            note += SFormat("; it was stopped after %d minutes", static_cast<int>(k_CommandLimitMs / 60'000));
        if (!unit.scanner->LastLine().Empty())
            note += ": " + unit.scanner->LastLine();
        if (end.kind == RunEnd::Kind::Lost)
            return Report(unit, {Lost, note});
        if (unit.stage == Unit::Stage::Before)
            return Fail(unit, note);
        if (unit.verdict.status == Finished)
            unit.verdict = {Unsuccessful, note};
    }
    Step(unit);
}

void WorkDesk::JudgeFiles(Unit& unit, RunEnd const& end) {
    unit.stage = Unit::Stage::Judging;
    UID const work = unit.work->id;
    bool const succeeded = HasSucceeded(end, unit.product->GetOutputRules().successCodes);
    if (!succeeded || unit.launch.expectedFiles.empty())
        return OnJudged(work, end, String());
    m_setup.aside(
        [this, work, end, files = unit.launch.expectedFiles, folder = unit.spec.folder]() -> AsideThreads::Then {
            String const missing = FindMissingFile(files, folder);
            return [this, work, end, missing] { OnJudged(work, end, missing); };
        });
}

void WorkDesk::OnJudged(UID const& work, RunEnd const& end, String const& missingFile) {
    Unit* const unit = Find(work);
    if (!unit || unit->stage != Unit::Stage::Judging)
        return;
    EndFacts facts;
    facts.end = end;
    facts.program = unit->launch.arguments.front();
    facts.command = Printable(unit->launch.Text(), *unit->work);
    facts.host = m_setup.host;
    facts.successCodes = unit->product->GetOutputRules().successCodes;
    facts.error = unit->scanner->FirstError();
    facts.lastLine = unit->scanner->LastLine();
    facts.missingFile = missingFile;
    unit->verdict = Judge(facts);
    if (!unit->scanner->RuleError().Empty()) {
        unit->log->Keep();
        unit->log->AppendLine("[VorlanEngine: " + unit->scanner->RuleError() + "]");
    }
    unit->stage = Unit::Stage::After;
    try {
        AddCommands(*unit, WorkPostExecuteEvt::TypeName());
        AddCommands(*unit, unit->verdict.status == Finished ? WorkPostExecuteSuccessfulEvt::TypeName()
                                                            : WorkPostExecuteUnsuccessfulEvt::TypeName());
    } catch (Exception const& error) {
        if (unit->verdict.status == Finished)
            unit->verdict = {Unsuccessful, error.Message()};
    }
    Step(*unit);
}

void WorkDesk::Fail(Unit& unit, String const& note) { Report(unit, {Unsuccessful, note}); }

// The end of a unit here; `unit` is gone afterwards.
void WorkDesk::Report(Unit& unit, Verdict const& result) {
    Verdict const verdict = result; // it may be the unit's own
    WorkEnded ended;
    ended.work = unit.work->id;
    ended.job = unit.work->parentID;
    ended.status = verdict.status;
    ended.note = verdict.note.Mid(0, k_NoteLength);
    ended.time = unit.ended.IsZero() ? m_setup.clock->Now() : unit.ended;
    ended.exitCode = unit.exitCode;
    int64_t const endedMs = unit.ended.IsZero() ? m_setup.clock->SteadyMs() : unit.endedMs;
    ended.ranMs = unit.started.IsZero() ? 0 : std::max<int64_t>(endedMs - unit.startedMs, 1);
    Time const ran(ended.ranMs);
    m_journal.Ended(ended, ran);
    SendResult(ended);

    String const outcome = StatusName(verdict.status) + (verdict.note.Empty() ? String() : ": " + verdict.note);
    unit.log->AppendLine("[" + outcome + "]");
    if (verdict.status != Finished)
        unit.log->Keep();
    else if (!unit.log->IsKept())
        m_silent.Add(ended.work);
    m_history.Note(outcome + ", " + NameOf(unit) + ", after " +
                   (ran < Time::Seconds(1) ? ran.FormatDuration(0, 4, 0) : ran.FormatDuration(2, 4, 1)));
    unit.work->SetStatus(verdict.status);
    OweFinishedCommands(unit, verdict);
    m_units.erase(UID(ended.work));
    CleanUpBehind(ended.job);
}

// They stand in the journal beside the result: whoever was told of it can rely on them.
void WorkDesk::OweFinishedCommands(Unit const& unit, Verdict const& verdict) {
    if (!unit.product)
        return;
    OptionMap extra = unit.values;
    extra["Note"] = verdict.note;
    for (char const* const event :
         {WorkFinishedEvt::TypeName(), verdict.status == Finished ? WorkFinishedSuccessfulEvt::TypeName()
                                                                  : WorkFinishedUnsuccessfulEvt::TypeName()}) {
        for (SideCommand& side : SideCommandsFor(event, *unit.work, unit.product.get(), extra, unit.spec.folder)) {
            side.spec.ownFolder = unit.spec.ownFolder; // a unit that never ran has none yet
            OwedCommand const owed{side.label, unit.work->parentID, side.spec};
            m_journal.Owe(owed);
            RunOwed(owed);
        }
    }
}

} // namespace vorlan
