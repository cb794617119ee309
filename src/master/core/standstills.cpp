#include "master/core/standstills.h"

#include "master/core/conditions.h"
#include "master/core/waits.h"

#include <boost/make_shared.hpp>
#include <corekit/sformat.h>
#include <vorlan/keys.h>

#include <algorithm>

namespace farm {

namespace {

constexpr size_t k_MaxReasons = 3;

} // namespace

void Standstills::Changed(JobEntry& job) {
    if (!job.mayStand)
        m_changed.push_back(job.number);
    job.mayStand = true;
}

void Standstills::TellChanges() {
    while (!m_changed.empty()) {
        for (uint64_t const number : std::exchange(m_changed, {})) {
            JobEntry* const job = m_farm.FindJob(number);
            if (!job)
                continue;
            job->mayStand = false;
            m_farm.about = number;
            String const reason = ReasonOf(*job);
            if (reason == job->standstill)
                continue;
            job->standstill = reason;
            auto const changed = boost::make_shared<Job>(*job->job);
            changed->Set(p_Standstill, reason);
            job->job = changed;
            if (m_farm.out.Wanted<JobParameterMsg>()) {
                auto told = JobParameterMsg::New();
                told->job = job->id;
                told->name = p_Standstill;
                told->value = reason;
                m_farm.out.AboutJob(job->number, told);
            }
            auto const dependents = m_farm.dependents.find(job->id);
            if (dependents == m_farm.dependents.end())
                continue;
            for (uint64_t const follower : dependents->second) {
                if (JobEntry* const entry = m_farm.FindJob(follower))
                    Changed(*entry);
            }
        }
    }
}

void Standstills::CheckTimes() {
    if (m_checkedAt == m_farm.possibilities)
        return;
    m_checkedAt = m_farm.possibilities;
    for (auto const& [number, job] : m_farm.jobs) {
        if (!job->settings.IsFinished())
            Changed(*job);
    }
}

String Standstills::ReasonOf(JobEntry const& job) {
    if (!job.setApart.Empty())
        return "The Job was set apart, for the Master cannot handle it: " + job.setApart +
               " Delete it, and submit it in another form.";
    if (job.settings.IsFinished() || job.settings.IsPaused() || job.deleting || !job.runs.empty() || job.queue.Empty())
        return String();
    if (m_farm.policy.zeroIsPaused && job.settings.priority == 0)
        return String();
    if (!job.product)
        return "The Job's Product is not installed on the Master. Add it, or submit the Job for another Product.";
    String const reason = ReasonOfWaits(job);
    return reason.Empty() ? ReasonOfEngines(job) : reason;
}

String Standstills::ReasonOfWaits(JobEntry const& job) const {
    bool mayPass = false;
    String reason;
    for (auto const& [id, type] : job.settings.dependencies) {
        String why;
        switch (StateOfWait(m_farm, job, id, &why)) {
        case WaitState::Met:
            break;
        case WaitState::Open:
            mayPass = mayPass || type == Job::DependencyType::Frame;
            break;
        case WaitState::Never:
            if (type == Job::DependencyType::WholeJob)
                return why;
            reason = why;
            break;
        }
    }
    if (reason.Empty() || mayPass)
        return String();
    auto const allowed = AllowedPositions(m_farm, job, nullptr);
    FrameMap const* const even = job.settings.evenPackets ? &job.frames : nullptr;
    return job.queue.HasNext(PacketSizeOf(m_farm, job), even, allowed) ? String() : reason;
}

String Standstills::ReasonOfEngines(JobEntry const& job) {
    JobSettings const& s = job.settings;
    if (!s.include.empty() || !s.exclude.empty() || !job.engineOfUnit.empty())
        return AskEngines(job);
    if (std::exchange(m_answersAt, m_farm.possibilities) != m_farm.possibilities)
        m_answers.clear();
    auto const [at, isNew] = m_answers.try_emplace(Kind{s.pool, s.type, s.cpus});
    if (isNew)
        at->second = AskEngines(job);
    return at->second;
}

// Nobody knows what an Engine that has never connected could do.
String Standstills::AskEngines(JobEntry const& job) const {
    std::map<String, unsigned> reasons;
    for (auto const& [number, engine] : m_farm.engines) {
        String why;
        if (MayEverTake(m_farm, job, *engine, &why))
            return String();
        ++reasons[why];
    }
    String text;
    size_t told = 0;
    for (auto const& [why, count] : reasons) {
        if (told++ == k_MaxReasons)
            break;
        text += (text.Empty() ? "No Engine can take the Job: " : " ") + why +
                (reasons.size() == 1 ? String() : SFormat(" (%u Engines)", count));
    }
    return text;
}

} // namespace farm
