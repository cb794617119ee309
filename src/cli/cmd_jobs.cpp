#include "cli/commandtools.h"
#include "cli/json.h"
#include "cli/resolve.h"
#include "cli/table.h"

#include <corekit/sformat.h>
#include <nlohmann/json.hpp>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/product.h>

#include <algorithm>
#include <array>
#include <ostream>

namespace vorlan::cli {

namespace {

struct JobsOptions {
    bool unfinished = false;
    bool json = false;
};

struct JobOptions {
    std::string job;
    bool json = false;
};

Table JobTable(FarmView const& view, std::vector<boost::shared_ptr<Job>> const& jobs) {
    Table table;
    table.AddColumn("ID");
    table.AddColumn("Name", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Product", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Status");
    table.AddColumn("Done", Table::Align::Right);
    table.AddColumn("Frames", Table::Align::Right);
    table.AddColumn("Active", Table::Align::Right);
    table.AddColumn("Failures", Table::Align::Right);
    table.AddColumn("Priority", Table::Align::Right);
    table.AddColumn("Creator", Table::Align::Left, Table::Width::MayShrink);
    table.AddColumn("Created");
    for (auto const& job : jobs) {
        size_t const active = view.UnitCount(job->id);
        // A Job that waits and one that is worked on have one status.
        bool const works = active > 0 && job->Status() == Queued;
        table.AddRow({ShortId(job->id), job->Name(), job->TypeString(),
                      works                        ? Cell("Working", StatusColour(Started))
                      : !job->Standstill().Empty() ? Cell("Stands Still", Colour::Red)
                                                   : Cell(job->StatusAsString(), StatusColour(job->Status())),
                      PercentText(job->PercentDone()), job->GetParameterString(p_RangeCount), String::From(active),
                      FailureCell(view.FailuresOf(job->id)), String::From(job->Priority()), job->Creator(),
                      MomentText(job->Created())});
    }
    return table;
}

ExitCode Jobs(Context& context, JobsOptions const& options) {
    Farm& farm = context.TheFarm();
    farm.LoadJobs();
    farm.LoadFailures();
    std::vector<boost::shared_ptr<Job>> jobs = farm.View().JobsByAge();
    if (options.unfinished)
        std::erase_if(jobs, [](auto const& job) { return job->IsFinished(); });
    if (options.json) {
        Json list = Json::array();
        for (auto const& job : jobs)
            list.push_back(JobToJson(*job, farm.View(), JobDetail::Summary));
        context.Out() << JsonText(list);
    } else if (jobs.empty()) {
        context.Out() << "There are no Jobs.\n";
    } else {
        JobTable(farm.View(), jobs).Print(context.Term());
        for (auto const& job : jobs) {
            if (String const why = job->Standstill(); !why.Empty())
                context.Out() << Printable(job->Name()) << " stands still: " << Printable(why) << '\n';
        }
    }
    return ExitCode::Ok;
}

void PrintLine(Context& context, String const& name, String const& value) {
    if (value.Empty())
        return;
    String shown = value;
    shown.Replace("\n", "\n                    ");
    context.Out() << SFormat("%-18s  ", name.c_str()) << Printable(shown, true) << '\n';
}

// Shown above already, or nothing for people.
bool IsShownElsewhere(String const& name) {
    constexpr std::array k_Names{p_ID,    p_ParentID, p_Name, p_Note,    p_Type,         p_Status,
                                 p_Range, p_Creator,  p_Pool, p_Created, p_FinishedTime, p_PercentDone};
    return std::any_of(k_Names.begin(), k_Names.end(),
                       [&](char const* other) { return name.CompareNoCase(other) == 0; });
}

// The values that the Product's own defaults do not give.
void PrintParameters(Context& context, Job const& job) {
    auto const product = JobFactory::s_JobFactory->GetProduct(job.Type());
    if (!product)
        return;
    context.Out() << '\n';
    for (size_t i = 0; i < product->GetParamCount(); ++i) {
        auto const parameter = product->GetParam(i);
        String value;
        if (parameter->HasFlag(Parameter::f_JobParameter) && parameter->Type() != Parameter::t_Password &&
            job.GetParameter(parameter->GetName(), value) && !parameter->IsDefault(value) &&
            !IsShownElsewhere(parameter->GetName()))
            PrintLine(context, parameter->GetName(), parameter->GetDisplay(value));
    }
}

void PrintRuns(Context& context, JobHistory const& history, FarmView const& view) {
    if (history.Empty())
        return;
    size_t unsuccessful = 0;
    for (auto const& [key, work] : history) {
        for (unsigned i = 0; i < work.Tries(); ++i)
            unsuccessful += IsFailedStatus(work[i].Status()) ? 1 : 0;
    }
    context.Out() << '\n';
    PrintLine(context, "Runs",
              SFormat("%zu, %zu finished, %zu failed", history.RunCount(), history.FinishedRuns(), unsuccessful));
    PrintLine(context, "Average time", DurationText(history.AverageFinishTime()));
    PrintLine(context, "Elapsed", DurationText(history.ElapsedRealTime()));
    PrintLine(context, "Engine time", DurationText(history.TotalEngineTime()));
    for (auto const& [key, work] : history) {
        WorkRun const& last = work.LastRun();
        if (IsFailedStatus(last.Status()))
            PrintLine(context, "Failed " + key, view.EngineName(last.Engine()) + ": " + last.LastNote());
    }
}

ExitCode OneJob(Context& context, JobOptions const& options) {
    Farm& farm = context.TheFarm();
    farm.LoadPools();
    farm.LoadEngines();
    UID const id = ResolveJob(farm, options.job);
    farm.LoadHistories({id});
    farm.LoadFailures();
    FarmView const& view = farm.View();
    auto const job = view.FindJob(id);
    if (!job)
        throw CommandException(ExitCode::Failed, "The Job has just been deleted.");
    if (options.json) {
        context.Out() << JsonText(JobToJson(*job, view, JobDetail::Everything));
        return ExitCode::Ok;
    }
    PrintLine(context, "Job", job->Name());
    PrintLine(context, "ID", id.ToString());
    PrintLine(context, "Product", job->TypeString());
    PrintLine(context, "Summary", job->GetParameterString(p_JobSummary));
    PrintLine(context, "Status", job->StatusAsString() + ", " + PercentText(job->PercentDone()));
    PrintLine(context, "Stands still", job->Standstill());
    PrintLine(context, "Failures", String::From(view.FailuresOf(id)));
    PrintLine(context, "Failed frames", FailedFrames(view.History(id)));
    PrintLine(context, "Frames", job->GetParameterString(p_Range) + " (" + job->GetParameterString(p_RangeCount) + ")");
    PrintLine(context, "Active work", String::From(view.UnitCount(id)));
    PrintLine(context, "Pool", view.PoolName(job->Pool()));
    PrintLine(context, "Creator", job->Creator());
    PrintLine(context, "Created", MomentText(job->Created()));
    PrintLine(context, "Finished", MomentText(job->FinishedTime()));
    PrintLine(context, "Note", job->Note());
    PrintParameters(context, *job);
    PrintRuns(context, view.History(id), view);
    return ExitCode::Ok;
}

} // namespace

void AddJobCommands(Commands& commands) {
    auto const all = std::make_shared<JobsOptions>();
    CLI::App& jobs = *commands.app.add_subcommand("jobs", "List the Jobs, the oldest first");
    jobs.add_flag("--unfinished,-u", all->unfinished, "Only those that are not finished");
    AddJson(jobs, all->json);
    commands.OnChosen(jobs, all, &Jobs);

    auto const one = std::make_shared<JobOptions>();
    CLI::App& job = *commands.app.add_subcommand("job", "Show one Job with its values and how its work went");
    job.add_option("job", one->job, k_JobHelp)->required();
    AddJson(job, one->json);
    commands.OnChosen(job, one, &OneJob);
}

} // namespace vorlan::cli
