#include "cli/commandtools.h"
#include "cli/json.h"
#include "cli/progress.h"
#include "cli/resolve.h"

#include <nlohmann/json.hpp>
#include <vorlan/messages.h>

#include <algorithm>
#include <ostream>
#include <utility>

namespace vorlan::cli {

namespace {

constexpr std::chrono::milliseconds k_ProgressEvery{250};
constexpr std::chrono::milliseconds k_ProgressPause{100}; // on a terminal

struct WaitOptions {
    std::vector<std::string> jobs;
    bool progress = false;
    bool json = false;
    std::string timeout;
};

// Waiter follows some Jobs to their ends.
class Waiter {
public:
    Waiter(Context& context, WaitRequest const& request)
        : m_context(context), m_farm(context.TheFarm()), m_request(request), m_progress(context.Term()) {
        if (request.timeoutMs > 0)
            m_deadline = Clock::now() + std::chrono::milliseconds(request.timeoutMs);
    }

    ExitCode Run() {
        for (bool loaded = false;;) {
            try {
                // The Master may end while it loads, too.
                if (!std::exchange(loaded, true))
                    Load();
                if (AllEnded())
                    return Result();
                if (AllEndedOrStill())
                    return StandStill();
                if (Clock::now() >= m_deadline)
                    return TimedOut();
                Step();
            } catch (CommandException const& exception) {
                if (exception.Exit() != ExitCode::NoMaster)
                    throw;
                ComeBack(exception.Message());
                loaded = false;
            }
        }
    }

private:
    void Load() {
        std::set<UID> kinds{JobMsg::s_Type, JobParameterMsg::s_Type, FinishedJobMsg::s_Type, DeleteJobMsg::s_Type};
        if (m_request.progress) {
            kinds.insert({AssignedWorkMsg::s_Type, StartedWorkMsg::s_Type, FinishedWorkMsg::s_Type,
                          WorkHistoryElementMsg::s_Type});
        }
        m_farm.Follow(kinds);
        if (m_request.progress)
            m_farm.LoadEngines();
        m_farm.LoadJobs({m_request.jobs.begin(), m_request.jobs.end()});
        for (UID const& id : m_request.jobs)
            Look(id);
    }

    void Step() {
        auto const pause = m_request.progress ? Clock::now() + k_ProgressEvery : m_deadline;
        if (auto const message = m_farm.Next(std::min(pause, m_deadline)))
            TakeMessage(*message);
        // A line for each message would be more than a terminal can show.
        if (!m_request.progress || Clock::now() < m_nextShow)
            return;
        m_progress.Show(m_farm.View(), m_request.jobs);
        if (m_context.Term().errIsTerminal)
            m_nextShow = Clock::now() + k_ProgressPause;
    }

    void TakeMessage(Message const& message) {
        // At once: a Job may be deleted as soon as it is finished.
        if (message.Type() == FinishedJobMsg::s_Type)
            Look(static_cast<FinishedJobMsg const&>(message).job->id);
        else if (message.Type() == DeleteJobMsg::s_Type)
            Look(static_cast<DeleteJobMsg const&>(message).job);
        else if (message.Type() == JobMsg::s_Type)
            Look(static_cast<JobMsg const&>(message).job->id);
        else if (message.Type() == JobParameterMsg::s_Type)
            Look(static_cast<JobParameterMsg const&>(message).job);
        else if (message.Type() == WorkHistoryElementMsg::s_Type)
            TakeElement(static_cast<WorkHistoryElementMsg const&>(message).element);
    }

    void TakeElement(WorkHistoryElement const& element) {
        if (!IsWanted(element.job) || !IsFailedStatus(element.status))
            return;
        m_progress.Tell(m_farm.View().JobName(element.job) + ", " + element.subRange + " on " +
                        m_farm.View().EngineName(element.engine) + ": " + StatusName(element.status) +
                        (element.note.Empty() ? String() : ", " + element.note));
    }

    bool IsWanted(UID const& id) const {
        return std::find(m_request.jobs.begin(), m_request.jobs.end(), id) != m_request.jobs.end();
    }

    // Notes the end of a Job, if it has come. The first end counts.
    void Look(UID const& id) {
        if (!IsWanted(id) || m_ends.contains(id))
            return;
        auto const job = m_farm.View().FindJob(id);
        if (job)
            m_known[id] = job;
        if (!job || job->IsFinished())
            m_ends[id] = job;
    }

    bool AllEnded() const { return m_ends.size() == m_request.jobs.size(); }

    // The Jobs that cannot go on by themselves, when no other is left.
    bool AllEndedOrStill() const {
        return std::all_of(m_request.jobs.begin(), m_request.jobs.end(), [this](UID const& id) {
            auto const job = m_farm.View().FindJob(id);
            return m_ends.contains(id) || (job && !job->Standstill().Empty() && m_farm.View().UnitCount(id) == 0);
        });
    }

    String NameOf(UID const& id) const {
        auto const at = m_known.find(id);
        return at == m_known.end() ? id.ToString() : at->second->Name();
    }

    void ComeBack(String const& reason) {
        m_progress.Tell(reason + " Waiting for it to come back.");
        m_farm.Reconnect(std::min(m_deadline, Clock::now() + Farm::k_Patience));
    }

    void PrintJson() {
        if (!m_request.json)
            return;
        // As it is now: how much of it is active was not followed.
        std::set<UID> const ids(m_request.jobs.begin(), m_request.jobs.end());
        m_farm.LoadFailures();
        m_farm.LoadJobs(ids);
        m_farm.LoadHistories(ids);
        Json list = Json::array();
        for (UID const& id : m_request.jobs) {
            auto const end = m_ends.find(id);
            auto const known = m_known.find(id);
            auto const job = end != m_ends.end() && end->second ? end->second
                             : known != m_known.end()           ? known->second
                                                                : nullptr;
            if (job)
                list.push_back(JobToJson(*job, m_farm.View(), JobDetail::Ended));
        }
        m_context.Out() << JsonText(list);
    }

    ExitCode StandStill() {
        PrintJson();
        m_context.Term().ClearStatus();
        for (UID const& id : m_request.jobs) {
            if (!m_ends.contains(id))
                m_context.Err() << "vorlan: The Job \"" << Printable(NameOf(id))
                                << "\" stands still: " << Printable(m_farm.View().FindJob(id)->Standstill())
                                << std::endl;
        }
        return ExitCode::Failed;
    }

    ExitCode TimedOut() {
        PrintJson();
        m_context.Term().ClearStatus();
        for (UID const& id : m_request.jobs) {
            if (!m_ends.contains(id))
                m_context.Err() << "vorlan: The time is over, and the Job \"" << Printable(NameOf(id))
                                << "\" is not finished." << std::endl;
        }
        return ExitCode::TimedOut;
    }

    ExitCode Result() {
        if (m_request.progress)
            m_progress.Finish(m_farm.View(), m_request.jobs);
        PrintJson();
        m_context.Term().ClearStatus();
        bool good = true;
        for (UID const& id : m_request.jobs) {
            auto const& job = m_ends.at(id);
            bool const ok = job && job->Status() == Finished;
            good = good && ok;
            if (!ok)
                m_context.Err() << "vorlan: The Job \"" << Printable(NameOf(id)) << "\" "
                                << (job ? "ended as " + job->StatusAsString() : String("was deleted")) << "."
                                << std::endl;
        }
        return good ? ExitCode::Ok : ExitCode::Failed;
    }

    Context& m_context;
    Farm& m_farm;
    WaitRequest const m_request;
    Progress m_progress;
    Clock::time_point m_deadline = Clock::now() + std::chrono::hours(24 * 365 * 10);
    Clock::time_point m_nextShow;
    std::map<UID, boost::shared_ptr<Job>> m_ends;  // null: it was deleted
    std::map<UID, boost::shared_ptr<Job>> m_known; // as it was seen last
};

ExitCode Wait(Context& context, WaitOptions const& options) {
    WaitRequest request;
    request.progress = options.progress;
    request.json = options.json;
    if (!options.timeout.empty() && !ParseSpan(options.timeout, request.timeoutMs))
        throw CommandException(ExitCode::Usage,
                               "\"" + String(options.timeout) + "\" is no time: give seconds, or 5m, 2h, 1d.");
    request.jobs = ResolveJobs(context.TheFarm(), Strings(options.jobs));
    return WaitForJobs(context, request);
}

} // namespace

ExitCode WaitForJobs(Context& context, WaitRequest const& request) { return Waiter(context, request).Run(); }

void AddWaitCommand(Commands& commands) {
    auto const options = std::make_shared<WaitOptions>();
    CLI::App& sub = *commands.app.add_subcommand("wait", "Wait until Jobs are finished; fails when one did not finish "
                                                         "well");
    sub.add_option("jobs", options->jobs, k_JobsHelp)->required();
    sub.add_flag("--progress", options->progress, "Show how far they are, and what fails");
    sub.add_option("--timeout", options->timeout, "Give up after this time, with code 4 (90, 5m, 2h)")
        ->type_name("TIME");
    AddJson(sub, options->json);
    commands.OnChosen(sub, options, &Wait);
}

} // namespace vorlan::cli
