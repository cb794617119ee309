#include "master/core/audit.h"

#include <corekit/sformat.h>

#include <algorithm>

namespace farm {

namespace {

class Auditor {
public:
    explicit Auditor(Farm const& farm) : m_farm(farm) {}

    std::vector<String> Check() {
        for (auto const& [number, job] : m_farm.jobs)
            CheckJob(*job);
        for (auto const& [number, engine] : m_farm.engines)
            CheckEngine(*engine);
        CheckRuns();
        Expect(m_farm.jobsById.size() == m_farm.jobs.size(), "the index of Jobs has another size than the table");
        Expect(m_farm.enginesById.size() == m_farm.engines.size(),
               "the index of Engines has another size than the table");
        return std::move(m_faults);
    }

private:
    void Expect(bool right, String const& fault) {
        if (!right)
            m_faults.push_back(fault);
    }

    // Each frame is in exactly one place.
    void CheckJob(JobEntry const& job) {
        String const name = "Job " + job.job->Name() + " {" + job.id.ToString() + "}: ";
        SpanSet all = job.queue.Positions();
        uint64_t count = job.queue.Count();
        Expect(all.Count() == count, name + "a frame is queued twice");
        for (SpanSet const* const done : {&job.finished, &job.failed, &job.canceled}) {
            all.Insert(*done);
            count += done->Count();
        }
        for (Run const* const run : job.runs) {
            all.Insert(run->frames);
            count += CountOf(run->frames);
            Expect(run->job == &job, name + "has a run of another Job");
        }
        Expect(count == job.Total() && all.Count() == job.Total(),
               name + SFormat("%llu frames in all, %llu in some place, %llu places",
                              static_cast<unsigned long long>(job.Total()),
                              static_cast<unsigned long long>(all.Count()), static_cast<unsigned long long>(count)));
        Expect(all.From(job.frames.Count()).Count() == 0, name + "holds a frame beyond its range");
        Expect(job.usage.units == job.runs.size(), name + "counts its runs wrong");
        Expect(!job.waiting || (!job.queue.Empty() && !job.settings.IsFinished() && !job.settings.IsPaused()),
               name + "waits for Engines without reason");
        Expect(!job.settings.IsFinished() || job.queue.Empty(), name + "is finished with frames queued");
        Expect(job.settings.IsFinished() || job.deleting || !job.queue.Empty() || !job.runs.empty() || job.Total() == 0,
               name + "has nothing left to do and is not finished");
    }

    void CheckEngine(EngineEntry const& engine) {
        String const name = "Engine " + engine.engine->Name() + ": ";
        unsigned used = 0;
        for (Run const* const run : engine.runs) {
            used += run->cores;
            Expect(run->engine == &engine, name + "has a run of another Engine");
        }
        Expect(used == engine.used, name + "counts its cores wrong");
        bool const isFree = engine.Online() && engine.settings.enabled && engine.Free() > 0 &&
                            (m_farm.policy.packEngine || engine.runs.empty());
        Expect(isFree == engine.inFree, name + "is wrongly in or out of the free Engines");
        Expect(engine.engine->Online() == engine.Online(), name + "is told to be online or offline wrongly");
    }

    void CheckRuns() {
        Expect(m_farm.runs.size() == m_farm.runsByWork.size(), "the index of runs has another size than the table");
        std::unordered_map<UID, unsigned> ofProduct;
        std::unordered_map<UID, unsigned> ofPool;
        size_t ofEngines = 0;
        size_t ofJobs = 0;
        for (auto const& [number, run] : m_farm.runs) {
            if (run->job) {
                ++ofProduct[run->type];
                ++ofPool[run->pool];
            }
        }
        for (auto const& [number, engine] : m_farm.engines)
            ofEngines += engine->runs.size();
        for (auto const& [number, job] : m_farm.jobs)
            ofJobs += job->runs.size();
        size_t const orphans = static_cast<size_t>(
            std::count_if(m_farm.runs.begin(), m_farm.runs.end(), [](auto const& run) { return !run.second->job; }));
        Expect(ofEngines == m_farm.runs.size(), "runs of the Engines differ from all runs");
        Expect(ofJobs + orphans == m_farm.runs.size(), "runs of the Jobs differ from all runs");
        for (auto const& [type, count] : ofProduct)
            Expect(m_farm.UsageOf(m_farm.productUsage, type).units == count, "a Product's usage is counted wrong");
        for (auto const& [pool, count] : ofPool)
            Expect(m_farm.UsageOf(m_farm.poolUsage, pool).units == count, "a Pool's usage is counted wrong");
    }

    Farm const& m_farm;
    std::vector<String> m_faults;
};

} // namespace

std::vector<String> Audit(Farm const& farm) { return Auditor(farm).Check(); }

} // namespace farm
