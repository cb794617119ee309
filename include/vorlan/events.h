#pragma once

// What happens inside a program, for whoever wants to hear of it.

#include <boost/shared_ptr.hpp>
#include <corekit/commandline.h>
#include <corekit/path.h>
#include <corekit/signal.h>
#include <vorlan/engine.h>
#include <vorlan/job.h>

namespace vorlan {

// Gives an event class its signal. Trigger() calls the listeners on the calling
// thread, one emission of a class at a time. A listener may change the event's
// public fields; the one who triggered reads them afterwards.
template <class T>
class EventOf {
public:
    using SignalType = Signal1<T&, ThreadPolicy::LocalThreaded>;

    static SignalType& Signal() {
        static SignalType s_signal;
        return s_signal;
    }
    void Trigger() { Signal().Emit(static_cast<T&>(*this)); }

protected:
    EventOf() = default;
};

// The start-up of the program is through. A listener that cannot go on clears
// `success`.
struct VorlanAppStartupEvt : EventOf<VorlanAppStartupEvt> {
    VorlanAppStartupEvt() = default;
    VorlanAppStartupEvt(bool ok, CommandLine* line) : success(ok), commandLine(line) {}
    bool success = false;
    CommandLine* commandLine = nullptr;
};

struct VorlanClientAppCleanupEvt : EventOf<VorlanClientAppCleanupEvt> {};

// The Messenger has a Master, and all that comes before the first request is there.
struct MessengerConnectedEvt : EventOf<MessengerConnectedEvt> {};
struct MessengerDisconnectedEvt : EventOf<MessengerDisconnectedEvt> {};

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
    static char const* TypeName() { return "FinishedJobEvt"; }
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

// Base of the events about one Engine; a copy of it.
template <class T>
struct EngineEventOf : EventOf<T> {
    EngineEventOf() = default;
    explicit EngineEventOf(Engine const& subject) : engine(subject) {}
    Engine engine;
};

struct EngineConnectedEvt : EngineEventOf<EngineConnectedEvt> {
    using EngineEventOf::EngineEventOf;
};
struct EngineUpdatedEvt : EngineEventOf<EngineUpdatedEvt> {
    using EngineEventOf::EngineEventOf;
};
struct EngineRemovedEvt : EngineEventOf<EngineRemovedEvt> {
    using EngineEventOf::EngineEventOf;
};

struct EngineDefaultChangedEvt : EventOf<EngineDefaultChangedEvt> {};

// A Pool is new or has another name.
struct ChangePoolEvt : EventOf<ChangePoolEvt> {
    ChangePoolEvt() = default;
    ChangePoolEvt(UID const& poolID, String poolName) : pool(poolID), name(std::move(poolName)) {}
    UID pool;
    String name;
};

struct DeletePoolEvt : EventOf<DeletePoolEvt> {
    DeletePoolEvt() = default;
    DeletePoolEvt(UID const& poolID, String poolName, bool wasKnown = true)
        : pool(poolID), name(std::move(poolName)), known(wasKnown) {}
    UID pool;
    String name;
    bool known = true; // the Pool was in the table of this program
};

// Asks for a new Product of a class; the listener puts it into `product`.
struct CreateDefaultProductEvt : EventOf<CreateDefaultProductEvt> {
    CreateDefaultProductEvt() = default;
    explicit CreateDefaultProductEvt(String className) : productClass(std::move(className)) {}
    String productClass;
    boost::shared_ptr<Product> product;
};

// A file that was asked for has begun to arrive, has arrived, or cannot.
struct FileTransfer {
    UID request;
    Path path;    // the local copy
    String host;  // where it comes from
    String error; // not empty: it failed, and why
};
struct FileReceivingEvt : EventOf<FileReceivingEvt>, FileTransfer {
    FileReceivingEvt() = default;
    explicit FileReceivingEvt(FileTransfer transfer) : FileTransfer(std::move(transfer)) {}
};
struct FileReceivedEvt : EventOf<FileReceivedEvt>, FileTransfer {
    FileReceivedEvt() = default;
    explicit FileReceivedEvt(FileTransfer transfer) : FileTransfer(std::move(transfer)) {}
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
    static char const* TypeName() { return "FirstWorkEvt"; }
};
struct WorkAssignedEvt : WorkEventOf<WorkAssignedEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return "WorkAssignedEvt"; }
};
struct WorkStartedEvt : WorkEventOf<WorkStartedEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return "WorkStartedEvt"; }
};
struct WorkFinishedEvt : WorkEventOf<WorkFinishedEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return "WorkFinishedEvt"; }
};
struct WorkFinishedSuccessfulEvt : WorkEventOf<WorkFinishedSuccessfulEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return "WorkFinishedSuccessfulEvt"; }
};
struct WorkFinishedUnsuccessfulEvt : WorkEventOf<WorkFinishedUnsuccessfulEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return "WorkFinishedUnsuccessfulEvt"; }
};
struct WorkParameterChangedEvt : WorkEventOf<WorkParameterChangedEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return "WorkParameterChangedEvt"; }
};
struct WorkPostExecuteEvt : WorkEventOf<WorkPostExecuteEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return "WorkPostExecuteEvt"; }
};
struct WorkPostExecuteSuccessfulEvt : WorkEventOf<WorkPostExecuteSuccessfulEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return "WorkPostExecuteSuccessfulEvt"; }
};
struct WorkPostExecuteUnsuccessfulEvt : WorkEventOf<WorkPostExecuteUnsuccessfulEvt> {
    using WorkEventOf::WorkEventOf;
    static char const* TypeName() { return "WorkPostExecuteUnsuccessfulEvt"; }
};

} // namespace vorlan
