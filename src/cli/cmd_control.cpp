#include "cli/commandtools.h"
#include "cli/resolve.h"

#include <vorlan/jobconditions.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>
#include <vorlan/range.h>
#include <vorlan/values.h>

#include <boost/make_shared.hpp>
#include <ostream>

namespace vorlan::cli {

namespace {

using MessageList = std::vector<boost::shared_ptr<Message const>>;

struct JobsArgument {
    std::vector<std::string> jobs;
};

struct PriorityOptions {
    std::string job;
    int priority = static_cast<int>(Known(p_Priority).fallback);
};

struct StopOptions {
    std::vector<std::string> what;
    std::string reason;
    bool requeue = false;
    bool permanently = false;
};

struct RequeueOptions {
    std::vector<std::string> what;
    std::string frames;
    bool failed = false;
};

struct ResetOptions {
    std::vector<std::string> what;
};

struct DeleteOptions {
    std::vector<std::string> jobs;
    bool deferred = false;
};

boost::shared_ptr<Message const> Change(UID const& job, char const* name, String const& value) {
    auto message = JobParameterMsg::New();
    message->job = job;
    message->name = name;
    message->value = value;
    return message;
}

// Prints what was refused; the rest was done.
ExitCode DoAll(Context& context, MessageList const& messages) {
    Farm& farm = context.TheFarm();
    auto const refusals = farm.DoAll(messages);
    for (Farm::Refusal const& refusal : refusals)
        context.Err() << "vorlan: " << Printable(farm.View().JobName(refusal.id)) << ": "
                      << Printable(refusal.reason, true) << std::endl;
    return refusals.empty() ? ExitCode::Ok : ExitCode::Failed;
}

ExitCode ChangeAll(Context& context, std::vector<std::string> const& jobs, char const* name, String const& value) {
    MessageList messages;
    for (UID const& id : ResolveJobs(context.TheFarm(), Strings(jobs)))
        messages.push_back(Change(id, name, value));
    return DoAll(context, messages);
}

// Of those Jobs that it changes. The finished ones are told of.
ExitCode SetStatus(Context& context, JobsArgument const& options, bool (*changes)(Job const&), JobStatus status) {
    MessageList messages;
    ExitCode code = ExitCode::Ok;
    for (UID const& id : ResolveJobs(context.TheFarm(), Strings(options.jobs))) {
        auto const job = context.TheFarm().View().FindJob(id);
        if (job && job->IsFinished()) {
            context.Err() << "vorlan: " << Printable(job->Name()) << ": The Job is finished." << std::endl;
            code = ExitCode::Failed;
        } else if (!job || changes(*job)) {
            messages.push_back(Change(id, p_Status, String::From(static_cast<int>(status))));
        }
    }
    ExitCode const done = DoAll(context, messages);
    return done == ExitCode::Ok ? code : done;
}

ExitCode Pause(Context& context, JobsArgument const& options) { return SetStatus(context, options, &CanPause, Paused); }

ExitCode Resume(Context& context, JobsArgument const& options) {
    return SetStatus(context, options, &CanResume, Queued);
}

ExitCode SetPriority(Context& context, PriorityOptions const& options) {
    return ChangeAll(context, {options.job}, p_Priority, String::From(options.priority));
}

// A unit that ends before its stop arrives needs none.
void StopUnits(Farm& farm, UID const& job, int status, String const& reason) {
    MessageList messages;
    for (FarmView::Unit const* unit : farm.View().UnitsByAge(job))
        messages.push_back(StopWorkMsg::Create(unit->work->id, status, reason));
    farm.DoAll(messages);
}

ExitCode StopAll(Context& context, std::vector<std::string> const& what, int status, String const& reason) {
    Farm& farm = context.TheFarm();
    ExitCode result = ExitCode::Ok;
    for (JobOrWork const& one : ResolveJobsAndWork(farm, Strings(what))) {
        if (one.isWork) {
            if (DoAll(context, {StopWorkMsg::Create(one.id, status, reason)}) != ExitCode::Ok)
                result = ExitCode::Failed;
            continue;
        }
        // First the Job, so that nothing of it starts meanwhile.
        if (IsFinishedStatus(status) &&
            DoAll(context, {Change(one.id, p_Status, String::From(status))}) != ExitCode::Ok)
            result = ExitCode::Failed;
        StopUnits(farm, one.id, status, reason);
    }
    return result;
}

ExitCode Stop(Context& context, StopOptions const& options) {
    String const reason = options.reason.empty() ? String("Stopped from the command line") : String(options.reason);
    return StopAll(context, options.what, options.permanently ? UserCanceled : UserAborted, reason);
}

// The same Job again, for these frames alone.
boost::shared_ptr<Job> Again(Job const& job, String const& frames) {
    FrameRange range;
    FrameRange whole;
    String error;
    if (!FrameRange::Parse(frames, range, &error) || range.Empty())
        throw CommandException(ExitCode::Usage, "The frames \"" + frames + "\" cannot be used: " + error);
    if (FrameRange::Parse(job.GetParameterString(p_Range), whole) && !range.Subtract(whole).Empty())
        throw CommandException(ExitCode::Usage, "The Job \"" + job.Name() + "\" has the frames " + whole.Text() + "; " +
                                                    range.Subtract(whole).Text() + " are none of them.");
    auto copy = SDuplicateJob(job, true);
    copy->SetStatus(Queued);
    copy->Set(p_Range, frames);
    copy->SetCreated(Time::CurrentTime());
    return copy;
}

ExitCode RequeueJob(Context& context, Job const& job, RequeueOptions const& options) {
    String const frames = options.frames;
    if (options.failed) {
        context.TheFarm().Do(RunAgainMsg::Create(job.id, frames));
        return ExitCode::Ok;
    }
    if (!frames.Empty()) {
        auto const copy = Again(job, frames);
        context.TheFarm().Do(JobMsg::Create(copy));
        context.Out() << copy->id.ToString() << std::endl;
        return ExitCode::Ok;
    }
    if (!job.IsFinished())
        throw CommandException(ExitCode::Failed, "The Job \"" + job.Name() +
                                                     "\" is not finished. `vorlan stop --requeue` puts its running "
                                                     "work back, `vorlan requeue --frames` does some frames again.");
    auto again = boost::make_shared<Job>(job);
    again->SetStatus(Queued);
    context.TheFarm().Do(JobMsg::Create(again));
    return ExitCode::Ok;
}

ExitCode Requeue(Context& context, RequeueOptions const& options) {
    Farm& farm = context.TheFarm();
    for (JobOrWork const& one : ResolveJobsAndWork(farm, Strings(options.what))) {
        if (one.isWork)
            farm.Do(StopWorkMsg::Create(one.id, UserAborted, "Requeued from the command line"));
        else if (auto const job = farm.View().FindJob(one.id))
            RequeueJob(context, *job, options);
    }
    return ExitCode::Ok;
}

// Failures forgotten, so that what they barred may try again.
ExitCode Reset(Context& context, ResetOptions const& options) {
    Farm& farm = context.TheFarm();
    farm.LoadJobs();
    farm.LoadEngines();
    std::vector<Candidate> candidates = JobCandidates(farm.View());
    auto const engines = EngineCandidates(farm.View());
    candidates.insert(candidates.end(), engines.begin(), engines.end());
    MessageList messages;
    for (String const& text : Strings(options.what)) {
        UID const id = Resolve("Job or Engine", text, candidates);
        if (farm.View().Engines().contains(id))
            messages.push_back(ResetEngineFailuresMsg::Create(id));
        else
            messages.push_back(ResetJobFailuresMsg::Create(id));
    }
    return DoAll(context, messages);
}

ExitCode Delete(Context& context, DeleteOptions const& options) {
    MessageList messages;
    for (UID const& id : ResolveJobs(context.TheFarm(), Strings(options.jobs))) {
        auto message = DeleteJobMsg::New();
        message->job = id;
        message->immediately = !options.deferred;
        messages.push_back(message);
    }
    return DoAll(context, messages);
}

void AddSimple(Commands& commands, char const* name, char const* help, ExitCode (*run)(Context&, JobsArgument const&)) {
    auto const options = std::make_shared<JobsArgument>();
    CLI::App& sub = *commands.app.add_subcommand(name, help);
    sub.add_option("jobs", options->jobs, k_JobsHelp)->required();
    commands.OnChosen(sub, options, run);
}

constexpr char k_JobOrWorkHelp[] = "Jobs (UID, start of it, or name) or work units (UID or start of it)";

} // namespace

void AddControlCommands(Commands& commands) {
    AddSimple(commands, "pause", "Give out no more work of Jobs; what runs goes on", &Pause);
    AddSimple(commands, "resume", "Give out the work of paused Jobs again", &Resume);

    auto const priority = std::make_shared<PriorityOptions>();
    CLI::App& setPriority = *commands.app.add_subcommand("priority", "Set the priority of a Job");
    setPriority.add_option("job", priority->job, k_JobHelp)->required();
    setPriority.add_option("priority", priority->priority, "0 to 100; 50 is usual")
        ->required()
        ->check(CLI::Range(k_LowestPriority, k_HighestPriority));
    commands.OnChosen(setPriority, priority, &SetPriority);

    auto const stop = std::make_shared<StopOptions>();
    CLI::App& stopWork = *commands.app.add_subcommand("stop", "Stop running work");
    stopWork.add_option("what", stop->what, k_JobOrWorkHelp)->required();
    auto* const requeueFlag = stopWork.add_flag("--requeue", stop->requeue,
                                                "Put the work back into the queue; so it "
                                                "is without an option, too");
    stopWork.add_flag("--permanently", stop->permanently, "Cancel it: the frames are not done again; a Job ends")
        ->excludes(requeueFlag);
    stopWork.add_option("--reason", stop->reason, "Text for the history");
    commands.OnChosen(stopWork, stop, &Stop);

    auto const requeue = std::make_shared<RequeueOptions>();
    CLI::App& again = *commands.app.add_subcommand("requeue", "Do finished Jobs again, or put running work back");
    again.add_option("what", requeue->what, k_JobOrWorkHelp)->required();
    again.add_option("--frames,-f", requeue->frames, "Only these frames, as a new Job, whose UID is printed")
        ->type_name("RANGE");
    again.add_flag(
        "--failed", requeue->failed,
        "The frames that failed, in place: the Job keeps its UID and its history. With --frames those alone");
    commands.OnChosen(again, requeue, &Requeue);

    auto const reset = std::make_shared<ResetOptions>();
    CLI::App& resetFailures =
        *commands.app.add_subcommand("reset", "Forget the failures of Jobs or Engines, so that they may try again");
    resetFailures.add_option("what", reset->what, "Jobs or Engines, each by its UID, the start of it, or its name")
        ->required();
    commands.OnChosen(resetFailures, reset, &Reset);

    auto const remove = std::make_shared<DeleteOptions>();
    CLI::App& deleteJobs = *commands.app.add_subcommand("delete", "Delete Jobs with their history");
    deleteJobs.add_option("jobs", remove->jobs, k_JobsHelp)->required();
    deleteJobs.add_flag("--deferred", remove->deferred, "Let the work that runs end first");
    commands.OnChosen(deleteJobs, remove, &Delete);
}

} // namespace vorlan::cli
