#pragma once

#include "engineinfo.h"
#include "jobinfo.h"
#include "listlist.h"

#include <corekit/signal.h>
#include <memory>
#include <set>
#include <vector>
#include <vorlan/messages.h>

namespace vorlan {

// WorkInfo is one work unit on an Engine: the unit, its Job, its Engine.
// Owner: the WorkList, and whoever holds the shared pointer.
// Thread: any. Constant once it stands in the list, but for `started`.
struct WorkInfo {
    boost::shared_ptr<JobInfo> job;
    boost::shared_ptr<Job> work;
    boost::shared_ptr<EngineInfo> engine;
    // Milliseconds of a Time; zero until its start is known.
    std::atomic<int64_t> started{0};

    String Pool() const;
    // Since its start, else since it was made.
    Time Elapsed(Time const& now) const;
};

// WorkList holds the units that run or are assigned at this moment.
// Owner: a global object, reached by Get.
// Works with: the message handlers; JobMsg and JobParameterMsg, whose values its units
// share; work list controls.
// Thread: any. Clear and Lists on the GUI thread.
class WorkList : public HasSlots<> {
public:
    static WorkList& Get();
    ~WorkList() override;

    // Null if it is not known.
    boost::shared_ptr<WorkInfo> FindWork(UID const& work) const;
    // Takes the place of an entry with the same id.
    void InsertWork(boost::shared_ptr<WorkInfo> const& info);
    // Null, and the ids as they were, if it is not known.
    boost::shared_ptr<Job> RemoveWork(UID const& work, UID& job, UID& engine);
    void UpdateWork(UID const& work, String const& name, String const& value);
    // All units of a Job; all units on an Engine.
    void RemoveJob(UID const& job);
    // Gives the Jobs whose units those were.
    std::set<UID> RemoveEngine(UID const& engine);
    void Clear();
    // Notes the start, when it is one. Gives what was found.
    boost::shared_ptr<WorkInfo> SetStartTime(UID const& work, bool isStart, Time const& time);

    size_t Count() const;
    size_t GetJobCurrentCount(UID const& job) const;
    size_t GetEngineCurrentCount(UID const& engine) const;
    // In the order of their ids.
    std::vector<boost::shared_ptr<WorkInfo>> GetAllWork() const;
    std::vector<boost::shared_ptr<WorkInfo>> GetAllWorkForJob(UID const& job) const;
    std::vector<boost::shared_ptr<WorkInfo>> GetAllWorkForEngine(UID const& engine) const;
    // In the order of their ids.
    std::vector<UID> WorkUnderPriority(int priority) const;

    _ListList<ListView>& Lists() { return m_lists; }

private:
    struct Index;

    WorkList();
    void OnCleanup() { Clear(); }
    void OnJobMsg(boost::shared_ptr<JobMsg> const& message);
    void OnJobParameterMsg(boost::shared_ptr<JobParameterMsg> const& message);
    void Changed();

    mutable RWLock m_lock{LockRank::WorkList};
    std::unique_ptr<Index> m_index CK_GUARDED_BY(m_lock);
    _ListList<ListView> m_lists;
};

} // namespace vorlan
