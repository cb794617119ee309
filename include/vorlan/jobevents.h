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

// `Key` is the event's name.
template <char const* const& Key>
struct WorkEvt : WorkEventOf<WorkEvt<Key>> {
    using WorkEventOf<WorkEvt>::WorkEventOf;
    static char const* TypeName() { return Key; }
};
using FirstWorkEvt = WorkEvt<p_FirstWorkEvt>;
using WorkAssignedEvt = WorkEvt<p_WorkAssignedEvt>;
using WorkStartedEvt = WorkEvt<p_WorkStartedEvt>;
using WorkFinishedEvt = WorkEvt<p_WorkFinishedEvt>;
using WorkFinishedSuccessfulEvt = WorkEvt<p_WorkFinishedSuccessfulEvt>;
using WorkFinishedUnsuccessfulEvt = WorkEvt<p_WorkFinishedUnsuccessfulEvt>;
using WorkParameterChangedEvt = WorkEvt<p_WorkParameterChangedEvt>;
using WorkPostExecuteEvt = WorkEvt<p_WorkPostExecuteEvt>;
using WorkPostExecuteSuccessfulEvt = WorkEvt<p_WorkPostExecuteSuccessfulEvt>;
using WorkPostExecuteUnsuccessfulEvt = WorkEvt<p_WorkPostExecuteUnsuccessfulEvt>;

} // namespace vorlan
