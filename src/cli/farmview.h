#pragma once

// What the command line knows of the farm.

#include <boost/shared_ptr.hpp>
#include <corekit/time.h>
#include <vorlan/engine.h>
#include <vorlan/fwd.h>
#include <vorlan/job.h>
#include <vorlan/jobhistory.h>

#include <map>
#include <vector>

namespace vorlan {
struct FailureArchiveMsg;
class Message;
class Product;
} // namespace vorlan

namespace vorlan::cli {

// FarmView mirrors Jobs, Engines, work and Pools from the Master's messages, as far as
// they were asked for. Products go to the JobFactory.
// Owner: Farm, or a test. Thread: the main thread.
class FarmView {
public:
    // A work unit that an Engine has now.
    struct Unit {
        boost::shared_ptr<Job> work; // its parent is the Job
        UID engine;
        int status = Assigned;
        Time since; // of the status
    };

    // Takes a message in; one that is none of the view's changes nothing.
    void TakeMessage(Message const& message);
    // Forgets Jobs, work and histories, before they are loaded anew.
    void ClearJobs();

    std::map<UID, boost::shared_ptr<Job>> const& Jobs() const { return m_jobs; }
    std::map<UID, Engine> const& Engines() const { return m_engines; }
    std::map<UID, String> const& Pools() const { return m_pools; }
    std::map<UID, Unit> const& Units() const { return m_units; }

    // Null when it is not there.
    boost::shared_ptr<Job> FindJob(UID const& id) const;
    // An empty one when it was not loaded.
    JobHistory const& History(UID const& job) const;
    std::map<UID, JobHistory> const& Histories() const { return m_histories; }
    // The oldest first.
    std::vector<boost::shared_ptr<Job>> JobsByAge() const;
    std::vector<Engine const*> EnginesByName() const;
    // The longest running first; of one Job if `job` is not null.
    std::vector<Unit const*> UnitsByAge(UID const& job) const;
    size_t UnitCount(UID const& job) const;
    size_t UnitCountOn(UID const& engine) const;
    // Runs that failed since the last reset; 0 when the failures were not loaded.
    unsigned FailuresOf(UID const& job) const;
    unsigned FailuresOn(UID const& engine) const;

    // The names; the UID as text for one that is not there.
    String EngineName(UID const& id) const;
    String JobName(UID const& id) const;
    // "Whole System" for the null UID.
    String PoolName(UID const& id) const;

private:
    void TakeWork(boost::shared_ptr<Job> const& work, UID const& engine, int status);
    void RemoveWork(UID const& work);
    void RemoveJob(UID const& job);
    void TakeHistoryElement(WorkHistoryElement const& element);
    void TakeFailures(FailureArchiveMsg const& message);

    std::map<UID, boost::shared_ptr<Job>> m_jobs;
    std::map<UID, Engine> m_engines;
    std::map<UID, String> m_pools;
    std::map<UID, Unit> m_units;           // by the unit's own UID
    std::map<UID, size_t> m_countOfJob;    // of m_units
    std::map<UID, size_t> m_countOfEngine; // of m_units
    std::map<UID, JobHistory> m_histories;
    std::map<UID, unsigned> m_failures; // by Job, and by Engine
};

// The Products that the Engine gets no work of, by their names.
std::vector<String> BarredProductNames(Engine const& engine);

// The frames whose last run has failed, as a range.
String FailedFrames(JobHistory const& history);

} // namespace vorlan::cli
