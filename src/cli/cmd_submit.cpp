#include "cli/commandtools.h"
#include "cli/json.h"
#include "cli/resolve.h"
#include "cli/submission.h"

#include <corekit/platform.h>
#include <nlohmann/json.hpp>
#include <vorlan/jobfactory.h>
#include <vorlan/jobfile.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>

#include <istream>
#include <memory>
#include <ostream>
#include <utility>

namespace vorlan::cli {

namespace {

using JobPtr = boost::shared_ptr<Job>;

constexpr char k_StandardInput[] = "-";

struct SubmitOptions {
    std::string file;
    std::string product;
    std::vector<std::string> settings;
    std::string name;
    std::string frames;
    std::string out;
    std::string timeout;
    bool wait = false;
    bool progress = false;
    bool json = false;
};

Path CurrentFolder() { return Path(std::filesystem::current_path()); }

boost::shared_ptr<Product const> ProductOf(Job const& job) { return JobFactory::s_JobFactory->GetProduct(job.Type()); }

String ReadInput(std::istream& in) {
    String text;
    std::vector<char> piece(64 * 1024);
    while (in.read(piece.data(), static_cast<std::streamsize>(piece.size())) || in.gcount() > 0) {
        text.append(piece.data(), static_cast<size_t>(in.gcount()));
        if (text.size() > JobFile::k_MaxFileBytes)
            throw CommandException(ExitCode::Failed, "The Job file on the standard input is too large.");
    }
    return text;
}

// The Jobs of the file, their paths absolute.
std::vector<JobPtr> JobsOfFile(Context& context, Path const& path, String const& input) {
    bool const isInput = path.Text() == k_StandardInput;
    // Owned here: a file cannot be moved.
    auto const opened = isInput ? std::make_unique<JobFile>(input, "The Job file on the standard input")
                                : std::make_unique<JobFile>(path, true, false);
    JobFile& file = *opened;
    file.ConformFromVersion(0);
    if (String const warning = file.CheckNames(); !warning.Empty())
        context.Err() << "vorlan: " << Printable(warning, true) << std::endl;
    if (file.Jobs().empty())
        throw CommandException(ExitCode::Failed, "There is no Job in " + path + ".");
    std::error_code error;
    auto const whole = std::filesystem::canonical(path.Native(), error);
    Path const folder = isInput || error ? CurrentFolder() : Path(whole.parent_path());
    for (JobPtr const& job : file.Jobs()) {
        if (auto const product = ProductOf(*job))
            ResolvePaths(*job, *product, folder);
    }
    return file.Jobs();
}

void Override(Job& job, SubmitOptions const& options) {
    auto const product = ProductOf(job);
    bool const changes = !options.settings.empty() || !options.out.empty() || !options.frames.empty();
    if (!product) {
        // The Master says what is wrong with it.
        if (changes)
            throw CommandException(ExitCode::Failed, "The Product of the Job \"" + job.Name() +
                                                         "\" is not known to the Master, so its values cannot be set.");
        return;
    }
    if (!options.name.empty())
        job.SetName(options.name);
    if (!options.frames.empty())
        job.Set(p_Range, options.frames);
    if (!options.out.empty())
        SetOutputFolder(job, *product, Path(std::filesystem::absolute(Path(options.out).Native()).lexically_normal()));
    for (std::string const& setting : options.settings)
        ApplySetting(job, *product, ParseSetting(setting), CurrentFolder());
    if (job.Name().Empty())
        job.SetName(product->Name());
    TakeShownChoices(job, *product);
}

std::vector<JobPtr> MakeJobs(Context& context, SubmitOptions const& options, String const& input) {
    Farm& farm = context.TheFarm();
    farm.LoadPools();
    std::vector<JobPtr> jobs;
    if (options.file.empty())
        jobs.push_back(JobFactory::s_JobFactory->CreateJob(ResolveProduct(options.product)->Type()));
    else
        jobs = JobsOfFile(context, options.file, input);
    if (jobs.size() > 1 && !options.name.empty())
        throw CommandException(ExitCode::Usage,
                               "--name is for one Job; the file has " + String::From(jobs.size()) + ".");
    for (JobPtr const& job : jobs) {
        job->SetCreator(Platform::GetCurrentUserName());
        job->SetCreated(Time::CurrentTime());
        Override(*job, options);
    }
    ResolveNames(farm, jobs);
    for (JobPtr const& job : jobs) {
        if (auto const product = ProductOf(*job))
            CheckJob(*job, *product);
    }
    return jobs;
}

void Tell(Context& context, SubmitOptions const& options, std::vector<JobPtr> const& jobs) {
    if (options.json) {
        Json list = Json::array();
        for (JobPtr const& job : jobs)
            list.push_back(JobToJson(*job, context.TheFarm().View(), JobDetail::Summary));
        context.Out() << JsonText(list) << std::flush;
        return;
    }
    for (JobPtr const& job : jobs) {
        context.Out() << job->id.ToString() << std::endl;
        if (context.Term().outIsTerminal)
            context.Err() << "Submitted \"" << Printable(job->Name()) << "\", " << job->GetParameterString(p_RangeCount)
                          << " frames" << std::endl;
    }
}

ExitCode Submit(Context& context, SubmitOptions const& options) {
    WaitRequest wait;
    wait.progress = options.progress;
    wait.json = options.json;
    if (!options.timeout.empty() && !ParseSpan(options.timeout, wait.timeoutMs))
        throw CommandException(ExitCode::Usage,
                               "\"" + String(options.timeout) + "\" is no time: give seconds, or 5m, 2h, 1d.");
    if (options.file.empty() == options.product.empty())
        throw CommandException(ExitCode::Usage, "Give either a Job file or --product.");
    Farm& farm = context.TheFarm();
    String const input = options.file == k_StandardInput ? ReadInput(context.In()) : String();
    auto const tell = [&context](String const& reason) {
        context.Err() << "vorlan: " << Printable(reason, true) << " Waiting for it to come back, to submit again."
                      << std::endl;
    };
    std::vector<JobPtr> const jobs = farm.Surely([&] { return MakeJobs(context, options, input); }, tell);
    Farm::MessageList messages;
    UID const submission(true);
    for (JobPtr const& job : jobs)
        messages.push_back(JobMsg::Create(job, submission));
    auto const refusals = farm.Surely([&] { return farm.DoAll(messages); }, tell);
    std::vector<JobPtr> accepted;
    for (JobPtr const& job : jobs) {
        auto const refused =
            std::find_if(refusals.begin(), refusals.end(), [&](auto const& r) { return r.id == job->id; });
        if (refused == refusals.end()) {
            accepted.push_back(job);
            wait.jobs.push_back(job->id);
        } else {
            context.Err() << "vorlan: The Master refused the Job \"" << Printable(job->Name())
                          << "\": " << Printable(refused->reason, true) << std::endl;
        }
    }
    bool const waits = (options.wait || options.progress) && accepted.size() == jobs.size();
    // With both, the one list is that of the Jobs as they are in the end.
    if (!waits || !options.json)
        Tell(context, options, accepted);
    if (accepted.size() < jobs.size())
        return ExitCode::Failed;
    return waits ? WaitForJobs(context, wait) : ExitCode::Ok;
}

} // namespace

void AddSubmitCommand(Commands& commands) {
    auto const options = std::make_shared<SubmitOptions>();
    CLI::App& sub = *commands.app.add_subcommand("submit", "Submit the Jobs of a file, or a new Job of a Product; "
                                                           "prints the UID of each");
    sub.add_option("file", options->file,
                   "A Job file (.vj), - for the standard input. Relative paths in it count from its "
                   "folder");
    sub.add_option("--product,-p", options->product, "Make a Job of this Product instead of reading a file");
    sub.add_option("--set,-s", options->settings,
                   "Set a parameter: Name=Value; as often as needed. Relative paths count from the current folder")
        ->allow_extra_args(false)
        ->type_name("NAME=VALUE");
    sub.add_option("--name,-n", options->name, "The Job's name");
    sub.add_option("--frames,-f", options->frames, "The frames: 1-100, or 1-10,20,30-50x2")->type_name("RANGE");
    sub.add_option("--out,-o", options->out, "The folder for the Product's output")->type_name("FOLDER");
    sub.add_flag("--wait,-w", options->wait, "Wait for the end, as `vorlan wait` does");
    sub.add_flag("--progress", options->progress, "Wait, and show the progress");
    sub.add_option("--timeout", options->timeout, "With --wait: give up after this time (90, 5m, 2h)")
        ->type_name("TIME");
    AddJson(sub, options->json);
    commands.OnChosen(sub, options, &Submit);
}

} // namespace vorlan::cli
