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

// The output of one run, wherever it is.
bool ReadWork(Context& context, String const& text, OutputReader::Mode mode) {
    Farm& farm = context.TheFarm();
    std::map<UID, UID> engineOf;
    std::vector<Candidate> candidates;
    auto const add = [&](UID const& work, UID const& engine) {
        if (engineOf.emplace(work, engine).second)
            candidates.push_back({work, String()});
    };
    for (auto const& [id, unit] : farm.View().Units())
        add(id, unit.engine);
    farm.LoadHistories();
    for (auto const& [job, history] : farm.View().Histories()) {
        for (auto run = history.ebegin(); run != history.eend(); ++run)
            add(run->Work(), run->Engine());
    }
    UID const work = Resolve("Job or work unit", text, candidates);
    OutputReader reader(context);
    reader.Ask(work, engineOf[work], mode);
    if (mode == OutputReader::Mode::Once) {
        ReadAll(farm, reader);
    } else {
        while (reader.Waiting() > 0) {
            if (auto const message = farm.Next(Clock::now() + k_OutputSilence))
                reader.TakeMessage(*message);
        }
    }
    return reader.Errors() == 0;
}

bool HasFrame(String const& subRange, int frame) {
    FrameRange range;
    return FrameRange::Parse(subRange, range) && range.Contains(frame);
}

// The last runs of a Job's units, one after the other.
bool ReadJob(Context& context, UID const& job, String const& frame) {
    Farm& farm = context.TheFarm();
    farm.LoadHistories({job});
    size_t read = 0;
    size_t errors = 0;
    for (auto const& [frames, work] : farm.View().History(job)) {
        WorkRun const& run = work.LastRun();
        if (run.StartTime().IsZero() || (!frame.Empty() && !HasFrame(frames, static_cast<int>(frame.Int()))))
            continue;
        context.Out() << "==> " << frames << " on " << Printable(farm.View().EngineName(run.Engine())) << ", "
                      << StatusName(run.Status()) << " <==" << std::endl;
        OutputReader reader(context);
        reader.Ask(run.Work(), run.Engine(), OutputReader::Mode::Once);
        ReadAll(farm, reader);
        ++read;
        errors += reader.Errors();
    }
    if (read == 0)
        throw CommandException(ExitCode::Failed, frame.Empty() ? "No work unit of the Job has been started yet."
                                                               : "Frame " + frame + " has not been started yet.");
    return errors < read;
}

// What all units write from now on, until the Job is finished.
bool FollowJob(Context& context, UID const& job) {
    Farm& farm = context.TheFarm();
    OutputReader reader(context);
    auto const askForNew = [&] {
        for (FarmView::Unit const* unit : farm.View().UnitsByAge(job)) {
            if (unit->status == Started && !reader.HasAsked(unit->work->id))
                reader.Ask(unit->work->id, unit->engine, OutputReader::Mode::Follow,
                           "[" + unit->work->Get(p_SubRange, false) + "] ");
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
        auto const mode = options.follow ? OutputReader::Mode::Follow : OutputReader::Mode::Once;
        return ReadWork(context, options.what, mode) ? ExitCode::Ok : ExitCode::Failed;
    }
    bool const live = options.follow && !farm.View().FindJob(job)->IsFinished();
    bool const good = live ? FollowJob(context, job) : ReadJob(context, job, options.frame);
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
    commands.OnChosen(show, log, &Log);
}

} // namespace vorlan::cli
