#include "cli/commandtools.h"
#include "cli/json.h"
#include "cli/outputreader.h"
#include "cli/resolve.h"
#include "cli/table.h"

#include <nlohmann/json.hpp>
#include <vorlan/keys.h>
#include <vorlan/messages.h>
#include <vorlan/range.h>

#include <ostream>

namespace vorlan::cli {

namespace {

// Output that does not come for so long will not come.
constexpr std::chrono::seconds k_OutputSilence{60};

struct WorkOptions {
    std::string job;
    bool all = false;
    bool json = false;
};

struct LogOptions {
    std::string what;
    std::string frame;
    bool follow = false;
    bool json = false;
};

void PrintUnits(Context& context, FarmView const& view, std::vector<FarmView::Unit const*> const& units) {
    Table table;
    table.AddColumn("ID");
    table.AddColumn("Job", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Frames", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Engine", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Status");
    table.AddColumn("Done", Table::Align::Right);
    table.AddColumn("Time", Table::Align::Right);
    Time const now = Time::CurrentTime();
    for (FarmView::Unit const* unit : units) {
        table.AddRow({ShortId(unit->work->id), view.JobName(unit->work->parentID), unit->work->Get(p_SubRange, false),
                      view.EngineName(unit->engine), Cell(StatusName(unit->status), StatusColour(unit->status)),
                      PercentText(unit->work->PercentDone()), DurationText(std::max(now - unit->since, Time()))});
    }
    table.Print(context.Term());
}

void PrintHistory(Context& context, FarmView const& view, JobHistory const& history) {
    Table table;
    table.AddColumn("ID");
    table.AddColumn("Frames", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Try", Table::Align::Right);
    table.AddColumn("Engine", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Status");
    table.AddColumn("Start");
    table.AddColumn("Time", Table::Align::Right);
    table.AddColumn("Note", Table::Align::Left, Table::Width::MayShrink);
    for (auto const& [frames, work] : history) {
        for (unsigned i = 0; i < work.Tries(); ++i) {
            WorkRun const& run = work[i];
            table.AddRow({ShortId(run.Work()), frames, String::From(i + 1), view.EngineName(run.Engine()),
                          Cell(StatusName(run.Status()), StatusColour(run.Status())), MomentText(run.StartTime()),
                          DurationText(run.RunTime()), run.LastNote()});
        }
    }
    table.Print(context.Term());
}

ExitCode ListRuns(Context& context, UID const& job, bool json) {
    Farm& farm = context.TheFarm();
    farm.LoadHistories({job});
    JobHistory const& history = farm.View().History(job);
    if (json) {
        Json list = Json::array();
        for (auto const& [frames, work] : history) {
            for (unsigned i = 0; i < work.Tries(); ++i)
                list.push_back(RunToJson(work[i], farm.View()));
        }
        context.Out() << JsonText(list);
    } else if (history.Empty()) {
        context.Out() << "No work unit of the Job has been started yet.\n";
    } else {
        PrintHistory(context, farm.View(), history);
    }
    return ExitCode::Ok;
}

ExitCode Work(Context& context, WorkOptions const& options) {
    if (options.all && options.job.empty())
        throw CommandException(ExitCode::Usage, "--all needs a Job: `vorlan work --all JOB`.");
    Farm& farm = context.TheFarm();
    farm.LoadEngines();
    UID job;
    if (options.job.empty())
        farm.LoadJobs();
    else
        job = ResolveJob(farm, options.job);
    if (options.all)
        return ListRuns(context, job, options.json);
    auto const units = farm.View().UnitsByAge(job);
    if (options.json) {
        Json list = Json::array();
        for (FarmView::Unit const* unit : units)
            list.push_back(UnitToJson(*unit, farm.View()));
        context.Out() << JsonText(list);
    } else if (units.empty()) {
        context.Out() << "No Engine works" << (job.IsNull() ? "" : " on this Job") << " now.\n";
    } else {
        PrintUnits(context, farm.View(), units);
    }
    return ExitCode::Ok;
}

// Everything asked for, to its end.
void ReadAll(Farm& farm, OutputReader& reader) {
    while (reader.Waiting() > 0) {
        auto const message = farm.Next(Clock::now() + k_OutputSilence);
        if (!message)
            throw CommandException(ExitCode::Failed, "The Engine does not answer. Try again when it is online.");
        reader.TakeMessage(*message);
    }
}

// What becomes of a line for scripts that follow.
OutputReader::LineTaker LineAsJson(Context& context, UID const& work, String const& frames) {
    return [&context, work, frames](String const& line) {
        context.Out() << OutputLineToJson({work, frames, line.EndsWith("\n") ? line.Mid(0, line.size() - 1) : line});
    };
}

// One output from its beginning to its end; for scripts as an entry of the list.
bool ReadRun(Context& context, WorkRun const& run, Json* list) {
    OutputReader reader(context);
    RunOutput output{run, {}, {}};
    auto const collect = [&output](String const& line) { output.text += line; };
    reader.Ask(run.Work(), run.Engine(), OutputReader::Mode::Once, String(),
               list ? OutputReader::LineTaker(collect) : OutputReader::LineTaker());
    ReadAll(context.TheFarm(), reader);
    output.error = reader.LastError();
    if (list)
        list->push_back(OutputToJson(output, context.TheFarm().View()));
    return reader.Errors() == 0;
}

// The output of one run, wherever it is.
bool ReadWork(Context& context, LogOptions const& options) {
    Farm& farm = context.TheFarm();
    farm.LoadHistories();
    std::vector<Candidate> candidates;
    std::map<UID, WorkRun const*> runs;
    for (auto const& [job, history] : farm.View().Histories()) {
        for (auto run = history.ebegin(); run != history.eend(); ++run) {
            if (runs.emplace(run->Work(), &run.Run()).second)
                candidates.push_back({run->Work(), String()});
        }
    }
    // One that has just begun may be in no history yet.
    for (auto const& [id, unit] : farm.View().Units()) {
        if (!runs.contains(id))
            candidates.push_back({id, String()});
    }
    UID const work = Resolve("Job or work unit", options.what, candidates);
    auto const unit = farm.View().Units().find(work);
    auto const run = runs.find(work);
    if (!options.follow && run != runs.end()) {
        Json list = Json::array();
        bool const good = ReadRun(context, *run->second, options.json ? &list : nullptr);
        if (options.json)
            context.Out() << JsonText(list);
        return good;
    }
    UID const engine = run == runs.end() ? unit->second.engine : run->second->Engine();
    String const frames = run == runs.end() ? unit->second.work->Get(p_SubRange, false) : run->second->Key();
    OutputReader reader(context);
    reader.Ask(work, engine, options.follow ? OutputReader::Mode::Follow : OutputReader::Mode::Once, String(),
               options.json ? LineAsJson(context, work, frames) : OutputReader::LineTaker());
    while (reader.Waiting() > 0) {
        if (auto const message = farm.Next(Clock::now() + k_OutputSilence))
            reader.TakeMessage(*message);
    }
    return reader.Errors() == 0;
}

bool HasFrame(String const& subRange, int frame) {
    FrameRange range;
    return FrameRange::Parse(subRange, range) && range.Contains(frame);
}

// The last runs of a Job's units, one after the other.
bool ReadJob(Context& context, UID const& job, LogOptions const& options) {
    Farm& farm = context.TheFarm();
    farm.LoadHistories({job});
    String const frame = options.frame;
    size_t read = 0;
    size_t good = 0;
    Json list = Json::array();
    for (auto const& [frames, work] : farm.View().History(job)) {
        WorkRun const& run = work.LastRun();
        if (run.StartTime().IsZero() || (!frame.Empty() && !HasFrame(frames, static_cast<int>(frame.Int()))))
            continue;
        if (!options.json)
            context.Out() << "==> " << frames << " on " << Printable(farm.View().EngineName(run.Engine())) << ", "
                          << StatusName(run.Status()) << " <==" << std::endl;
        good += ReadRun(context, run, options.json ? &list : nullptr) ? 1 : 0;
        ++read;
    }
    if (read == 0)
        throw CommandException(ExitCode::Failed, frame.Empty() ? "No work unit of the Job has been started yet."
                                                               : "Frame " + frame + " has not been started yet.");
    if (options.json)
        context.Out() << JsonText(list);
    return good > 0;
}

// What all units write from now on, until the Job is finished.
bool FollowJob(Context& context, UID const& job, bool json) {
    Farm& farm = context.TheFarm();
    OutputReader reader(context);
    auto const askForNew = [&] {
        for (FarmView::Unit const* unit : farm.View().UnitsByAge(job)) {
            String const frames = unit->work->Get(p_SubRange, false);
            if (unit->status == Started && !reader.HasAsked(unit->work->id))
                reader.Ask(unit->work->id, unit->engine, OutputReader::Mode::Follow, "[" + frames + "] ",
                           json ? LineAsJson(context, unit->work->id, frames) : OutputReader::LineTaker());
        }
    };
    for (;;) {
        askForNew();
        auto const current = farm.View().FindJob(job);
        if ((!current || current->IsFinished()) && reader.Waiting() == 0)
            return true;
        if (auto const message = farm.Next(Clock::now() + k_OutputSilence))
            reader.TakeMessage(*message);
    }
}

ExitCode Log(Context& context, LogOptions const& options) {
    Farm& farm = context.TheFarm();
    farm.LoadEngines();
    if (options.follow) {
        farm.Follow({JobMsg::s_Type, JobParameterMsg::s_Type, FinishedJobMsg::s_Type, DeleteJobMsg::s_Type,
                     AssignedWorkMsg::s_Type, StartedWorkMsg::s_Type, FinishedWorkMsg::s_Type});
    }
    farm.LoadJobs();
    UID job;
    try {
        job = Resolve("Job", options.what, JobCandidates(farm.View()));
    } catch (CommandException const&) {
        return ReadWork(context, options) ? ExitCode::Ok : ExitCode::Failed;
    }
    bool const live = options.follow && !farm.View().FindJob(job)->IsFinished();
    bool const good = live ? FollowJob(context, job, options.json) : ReadJob(context, job, options);
    return good ? ExitCode::Ok : ExitCode::Failed;
}

} // namespace

void AddWorkCommands(Commands& commands) {
    auto const work = std::make_shared<WorkOptions>();
    CLI::App& list = *commands.app.add_subcommand("work", "List the work that Engines do now");
    list.add_option("job", work->job, k_JobHelp);
    list.add_flag("--all,-a", work->all, "All runs of the Job, those that have ended, too");
    AddJson(list, work->json);
    commands.OnChosen(list, work, &Work);

    auto const log = std::make_shared<LogOptions>();
    CLI::App& show = *commands.app.add_subcommand("log", "Print what the programs of a Job or work unit wrote");
    show.add_option("what", log->what, "A Job (UID, start of it, or name) or a work unit (UID or start of it)")
        ->required();
    show.add_option("--frame,-f", log->frame, "Of a Job, only the work unit with this frame")
        ->check(CLI::TypeValidator<int>());
    show.add_flag("--follow", log->follow, "Go on with what is written, until the end");
    AddJson(show, log->json);
    commands.OnChosen(show, log, &Log);
}

} // namespace vorlan::cli
