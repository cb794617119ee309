#pragma once

// Reports for people: why a Job or an Engine gets work or does not.

#include "master/core/farm.h"

namespace farm {

// Answers the report and watch commands with a text.
//
// Owned by the Farm. Reads only, and asks the same conditions as the distribution.
class Reporter {
public:
    explicit Reporter(Farm& farm) : m_farm(farm) {}

    void OnJobStatus(PeerId peer, ReportJobStatusMsg const& message);
    void OnWatchJob(PeerId peer, WatchJobDispatchMsg const& message);
    void OnWatchEngine(PeerId peer, WatchEngineDispatchMsg const& message);

    String JobStatus(JobEntry const& job) const;
    String JobDispatch(JobEntry const& job) const;
    String EngineDispatch(EngineEntry const& engine) const;
    // Counts of everything, for the log.
    String State() const;
    // For the log of the distribution: the counts, and for each Job that has frames to
    // give whether it may be distributed.
    String Round() const;

private:
    void Send(PeerId peer, String const& report);

    Farm& m_farm;
};

} // namespace farm
