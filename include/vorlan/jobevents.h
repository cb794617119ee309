#pragma once

// What happens to Jobs, work units and Products inside a program.

#include <boost/shared_ptr.hpp>
#include <vorlan/event.h>
#include <vorlan/job.h>
#include <vorlan/keys.h>

namespace vorlan {

// Base of the events about one Job. The Job may be null in DeletingJobEvt.
template <class T>
struct JobEventOf : EventOf<T> {
    JobEventOf() = default;
    explicit JobEventOf(boost::shared_ptr<Job> subject) : job(std::move(subject)) {}
    boost::shared_ptr<Job> job;
};

struct NewJobEvt : JobEventOf<NewJobEvt> {
    using JobEventOf::JobEventOf;
};
struct JobUpdatedEvt : JobEventOf<JobUpdatedEvt> {
    using JobEventOf::JobEventOf;
};
struct DeletingJobEvt : JobEventOf<DeletingJobEvt> {
    using JobEventOf::JobEventOf;
};

// A Job came to its end. Its TypeName is also the key of an Engine's command.
struct FinishedJobEvt : JobEventOf<FinishedJobEvt> {
    using JobEventOf::JobEventOf;
    static char const* TypeName() { return p_FinishedJobEvt; }
};

// One entry of the Master's archive.
struct JobArchivedEvt : EventOf<JobArchivedEvt> {
    JobArchivedEvt() = default;
    explicit JobArchivedEvt(boost::shared_ptr<Job> archived);
    boost::shared_ptr<Job> job; // may be null when only the values are known
    UID id;
    String name;
    int64_t created = 0;  // milliseconds of Job::Created
    int64_t finished = 0; // milliseconds of Job::FinishedTime
    int64_t status = 0;
};

// Asks for a new Product of a class; the listener puts it into `product`.
struct CreateDefaultProductEvt : EventOf<CreateDefaultProductEvt> {
    CreateDefaultProductEvt() = default;
    explicit CreateDefaultProductEvt(String className) : productClass(std::move(className)) {}
    String productClass;
    boost::shared_ptr<Product> product;
};

// Moments of a work unit on its Engine. The Engine runs the command that stands
// under TypeName() in its settings or in the Job.
template <class T>
struct WorkEventOf : JobEventOf<T> {
    WorkEventOf() = default;
    WorkEventOf(boost::shared_ptr<Job> unit, UID const& onEngine) : JobEventOf<T>(std::move(unit)), engine(onEngine) {}
    UID engine;
};

struct FirstWorkEvt : WorkEventOf<FirstWorkEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return p_FirstWorkEvt; }
};
struct WorkAssignedEvt : WorkEventOf<WorkAssignedEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return p_WorkAssignedEvt; }
};
struct WorkStartedEvt : WorkEventOf<WorkStartedEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return p_WorkStartedEvt; }
};
struct WorkFinishedEvt : WorkEventOf<WorkFinishedEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return p_WorkFinishedEvt; }
};
struct WorkFinishedSuccessfulEvt : WorkEventOf<WorkFinishedSuccessfulEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return p_WorkFinishedSuccessfulEvt; }
};
struct WorkFinishedUnsuccessfulEvt : WorkEventOf<WorkFinishedUnsuccessfulEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return p_WorkFinishedUnsuccessfulEvt; }
};
struct WorkParameterChangedEvt : WorkEventOf<WorkParameterChangedEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return p_WorkParameterChangedEvt; }
};
struct WorkPostExecuteEvt : WorkEventOf<WorkPostExecuteEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return p_WorkPostExecuteEvt; }
};
struct WorkPostExecuteSuccessfulEvt : WorkEventOf<WorkPostExecuteSuccessfulEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return p_WorkPostExecuteSuccessfulEvt; }
};
struct WorkPostExecuteUnsuccessfulEvt : WorkEventOf<WorkPostExecuteUnsuccessfulEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return p_WorkPostExecuteUnsuccessfulEvt; }
};

} // namespace vorlan
