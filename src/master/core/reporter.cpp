#include "master/core/reporter.h"

#include "master/core/conditions.h"

#include <corekit/sformat.h>
#include <vorlan/status.h>

#include <algorithm>

namespace farm {

namespace {

constexpr size_t k_MaxLines = 5000;
constexpr size_t k_MaxRoundLines = 200;

String Heading(String const& what, String const& name, Time now) {
    return what + " \"" + name + "\", " + now.Format() + k_NL + k_NL;
}

String Seconds(int64_t ms) { return SFormat("%.1f seconds", static_cast<double>(ms) / 1000); }

} // namespace

void Reporter::Send(PeerId peer, String const& report) {
    auto message = DispatchResultMsg::New();
    message->report = report;
    m_farm.out.To(peer, message);
}

void Reporter::OnJobStatus(PeerId peer, ReportJobStatusMsg const& message) {
    if (JobEntry const* const job = m_farm.FindJob(message.id))
        Send(peer, JobStatus(*job));
    else
        m_farm.out.Refuse(peer, message.id, "The Job is not there any more.");
}

void Reporter::OnWatchJob(PeerId peer, WatchJobDispatchMsg const& message) {
    if (JobEntry const* const job = m_farm.FindJob(message.id))
        Send(peer, JobDispatch(*job));
    else
        m_farm.out.Refuse(peer, message.id, "The Job is not there any more.");
}

void Reporter::OnWatchEngine(PeerId peer, WatchEngineDispatchMsg const& message) {
    if (EngineEntry const* const engine = m_farm.FindEngine(message.id))
        Send(peer, EngineDispatch(*engine));
    else
        m_farm.out.Refuse(peer, message.id, "The Engine is not there any more.");
}

String Reporter::JobStatus(JobEntry const& job) const {
    String text = Heading("Distribution status of the Job", job.job->Name(), m_farm.now);
    text += "Status: " + job.job->StatusAsString() + k_NL;
    text += SFormat(
        "Frames: %llu in all, %llu queued, %llu active, %llu finished, %llu failed, %llu canceled\n",
        static_cast<unsigned long long>(job.Total()), static_cast<unsigned long long>(job.queue.Count()),
        static_cast<unsigned long long>(job.RunningFrames()), static_cast<unsigned long long>(job.finished.Count()),
        static_cast<unsigned long long>(job.failed.Count()), static_cast<unsigned long long>(job.canceled.Count()));
    text += SFormat("Packet size: %u\n", PacketSizeOf(m_farm, job));
    text += SFormat("Active work: %zu on %zu Engines\n", job.runs.size(), job.usage.engines.size());
    if (job.finishedRuns > 0) {
        text +=
            "Average time of a work unit: " + Seconds(job.finishedMs / static_cast<int64_t>(job.finishedRuns)) + k_NL;
    }
    text += SFormat("Failures: %u\n", m_farm.failures.OfJob(job.id));
    if (!job.standstill.Empty())
        text += "Stands still: " + job.standstill + k_NL;
    for (Condition const& condition : Conditions()) {
        String why;
        if (condition.about == Condition::About::Job && !condition.allows({m_farm, job, nullptr}, &why)) {
            text += "Not distributed: " + why + k_NL;
            break;
        }
    }
    if (!job.runs.empty())
        text += k_NL + String("Active work:") + k_NL;
    size_t lines = 0;
    for (Run const* const run : job.runs) {
        if (++lines > k_MaxLines)
            break;
        text += "    " + run->subRange + " on " + run->engine->engine->Name() + ", " +
                (run->HasStarted() ? "started " + Seconds((m_farm.steady - run->startedAt).Milliseconds()) + " ago"
                                   : String("assigned")) +
                k_NL;
    }
    return text;
}

String Reporter::JobDispatch(JobEntry const& job) const {
    String text = Heading("Dispatch report of the Job", job.job->Name(), m_farm.now);
    String why;
    for (Condition const& condition : Conditions()) {
        if (condition.about == Condition::About::Job && !condition.allows({m_farm, job, nullptr}, &why)) {
            text += "No Engine gets work of it (" + String(condition.name) + "): " + why + k_NL;
            return text;
        }
    }
    if (m_farm.engines.empty())
        text += "No Engine has ever connected.\n";
    size_t lines = 0;
    for (auto const& [number, engine] : m_farm.engines) {
        if (++lines > k_MaxLines) {
            text += SFormat("... and %zu more Engines\n", m_farm.engines.size() - k_MaxLines);
            break;
        }
        Condition const* const refusal = FirstRefusal({m_farm, job, engine.get()}, why);
        text += engine->engine->Name() + ": " +
                (refusal ? "no work (" + String(refusal->name) + "): " + why
                         : String("gets work when it is this Job's turn.")) +
                k_NL;
    }
    return text;
}

String Reporter::EngineDispatch(EngineEntry const& engine) const {
    String text = Heading("Dispatch report of the Engine", engine.engine->Name(), m_farm.now);
    text += SFormat("Cores: %u for work, %u in use by %zu work units\n\n", engine.settings.capacity, engine.used,
                    engine.runs.size());
    size_t lines = 0;
    for (auto const& [number, job] : m_farm.jobs) {
        if (job->settings.IsFinished())
            continue;
        if (++lines > k_MaxLines) {
            text += "... and more Jobs\n";
            break;
        }
        String why;
        Condition const* const refusal = FirstRefusal({m_farm, *job, &engine}, why);
        text +=
            job->job->Name() + ": " +
            (refusal ? "no work (" + String(refusal->name) + "): " + why : String("work when it is this Job's turn.")) +
            k_NL;
    }
    if (lines == 0)
        text += "There is no unfinished Job.\n";
    return text;
}

String Reporter::State() const {
    size_t online = 0;
    for (auto const& [number, engine] : m_farm.engines)
        online += engine->Online() ? 1 : 0;
    uint64_t queued = 0;
    for (auto const& [number, job] : m_farm.jobs)
        queued += job->queue.Count();
    return SFormat("%zu Jobs (%zu may be distributed, %llu frames queued), %zu active work units, %zu Engines (%zu "
                   "online, %zu with free cores), %zu connections",
                   m_farm.jobs.size(), m_farm.waiting.Size(), static_cast<unsigned long long>(queued),
                   m_farm.runs.size(), m_farm.engines.size(), online, m_farm.freeEngines.size(),
                   m_farm.peers.All().size());
}

String Reporter::Round() const {
    String text = m_farm.now.Format() + "  Round: " + State();
    size_t lines = 0;
    for (auto const& [number, job] : m_farm.jobs) {
        if (job->settings.IsFinished() || job->queue.Count() == 0)
            continue;
        if (++lines > k_MaxRoundLines)
            return text + k_NL + "    ... and more Jobs";
        text += k_NL + String("    ") + job->job->Name() +
                SFormat(": %llu frames queued, ", static_cast<unsigned long long>(job->queue.Count()));
        String why;
        Question const question{m_farm, *job, nullptr};
        auto const refusal = std::find_if(Conditions().begin(), Conditions().end(), [&](Condition const& condition) {
            return condition.about == Condition::About::Job && !condition.allows(question, &why);
        });
        text += refusal == Conditions().end() ? String("may be distributed") : "held back: " + why;
    }
    return text;
}

} // namespace farm
