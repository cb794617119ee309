#include "worklist.h"

#include "pooltable.h"
#include "statusflags.h"

#include <boost/multi_index/mem_fun.hpp>
#include <boost/multi_index/ordered_index.hpp>
#include <boost/multi_index_container.hpp>
#include <corekit/callentry.h>
#include <corekit/log.h>
#include <vorlan/events.h>
#include <vorlan/jobfactory.h>
#include <vorlan/product.h>

namespace vorlan {

namespace {

using WorkPtr = boost::shared_ptr<WorkInfo>;
namespace mi = boost::multi_index;

struct EngineKey {
    using result_type = UID;
    UID operator()(WorkPtr const& info) const { return info->engine ? info->engine->id : UID::Null; }
};
struct JobKey {
    using result_type = UID;
    UID operator()(WorkPtr const& info) const { return info->work->parentID; }
};
struct WorkKey {
    using result_type = UID;
    UID operator()(WorkPtr const& info) const { return info->work->id; }
};

struct ByEngine {};
struct ByJob {};
struct ByWork {};

using Container =
    boost::multi_index_container<WorkPtr, mi::indexed_by<mi::ordered_non_unique<mi::tag<ByEngine>, EngineKey>,
                                                         mi::ordered_non_unique<mi::tag<ByJob>, JobKey>,
                                                         mi::ordered_unique<mi::tag<ByWork>, WorkKey>>>;

template <class Index>
size_t CountOf(Index const& index, UID const& key) {
    auto const [first, last] = index.equal_range(key);
    return static_cast<size_t>(std::distance(first, last));
}

template <class Index>
std::vector<WorkPtr> AllOf(Index const& index, UID const& key) {
    auto const [first, last] = index.equal_range(key);
    return std::vector<WorkPtr>(first, last);
}

} // namespace

struct WorkList::Index {
    Container all;
};

String WorkInfo::Pool() const { return work ? PoolName(work->Pool()) : String(); }

Time WorkInfo::Elapsed(Time const& now) const {
    if (!work)
        return Time();
    Time const start(started.load(std::memory_order_relaxed));
    return now - (start.IsZero() ? work->Created() : start);
}

WorkList& WorkList::Get() {
    static WorkList s_list;
    return s_list;
}

WorkList::WorkList() : m_index(std::make_unique<Index>()) {
    VorlanClientAppCleanupEvt::Signal().Connect(this, &WorkList::OnCleanup);
    JobMsg::s_Signal.Connect(this, &WorkList::OnJobMsg);
    JobParameterMsg::s_Signal.Connect(this, &WorkList::OnJobParameterMsg);
}

WorkList::~WorkList() { DisconnectAll(); }

void WorkList::Changed() {
    StatusFlags::Mark(StatusFlag::Work);
    m_lists.SetAllDirty();
}

WorkPtr WorkList::FindWork(UID const& work) const {
    RWLock::Reader const reader(m_lock);
    auto const& index = m_index->all.get<ByWork>();
    auto const found = index.find(work);
    return found == index.end() ? nullptr : *found;
}

void WorkList::InsertWork(WorkPtr const& info) {
    CALL_ENTRY();
    {
        RWLock::Writer const writer(m_lock);
        m_index->all.get<ByWork>().erase(info->work->id);
        m_index->all.insert(info);
    }
    Changed();
}

boost::shared_ptr<Job> WorkList::RemoveWork(UID const& work, UID& job, UID& engine) {
    CALL_ENTRY();
    WorkPtr info;
    {
        RWLock::Writer const writer(m_lock);
        auto& index = m_index->all.get<ByWork>();
        auto const found = index.find(work);
        if (found == index.end())
            return nullptr;
        info = *found;
        index.erase(found);
    }
    StatusFlags::Mark(StatusFlag::Work);
    job = info->work->parentID;
    String const unit = "{" + work.ToString() + "} " + info->work->Name();
    if (info->engine) {
        engine = info->engine->id;
        LogInfo("Removing work: " + unit + ": " + info->engine->Name());
    } else {
        LogInfo("Removing Work: " + unit);
    }
    m_lists.SetAllDirty();
    return info->work;
}

void WorkList::UpdateWork(UID const& work, String const& name, String const& value) {
    CALL_ENTRY();
    {
        RWLock::Writer const writer(m_lock);
        auto const& index = m_index->all.get<ByWork>();
        auto const found = index.find(work);
        if (found == index.end())
            return;
        (*found)->work->SetParameter(name, value);
    }
    Changed();
}

void WorkList::RemoveJob(UID const& job) {
    {
        RWLock::Writer const writer(m_lock);
        m_index->all.get<ByJob>().erase(job);
    }
    Changed();
}

std::set<UID> WorkList::RemoveEngine(UID const& engine) {
    std::set<UID> jobs;
    {
        RWLock::Writer const writer(m_lock);
        auto& index = m_index->all.get<ByEngine>();
        auto const [first, last] = index.equal_range(engine);
        for (auto unit = first; unit != last; ++unit)
            jobs.insert((*unit)->work->parentID);
        index.erase(first, last);
    }
    Changed();
    return jobs;
}

void WorkList::Clear() {
    CALL_ENTRY();
    auto empty = std::make_unique<Index>();
    {
        RWLock::Writer const writer(m_lock);
        m_index.swap(empty);
    }
    empty.reset();
    StatusFlags::Mark(StatusFlag::Work);
    m_lists.Operate([](ListView& view) { view.OnListCleared(); });
}

WorkPtr WorkList::SetStartTime(UID const& work, bool isStart, Time const& time) {
    WorkPtr const info = FindWork(work);
    if (info && isStart)
        info->started.store(time.Milliseconds(), std::memory_order_relaxed);
    return info;
}

size_t WorkList::Count() const {
    RWLock::Reader const reader(m_lock);
    return m_index->all.size();
}

size_t WorkList::GetJobCurrentCount(UID const& job) const {
    RWLock::Reader const reader(m_lock);
    return CountOf(m_index->all.get<ByJob>(), job);
}

size_t WorkList::GetEngineCurrentCount(UID const& engine) const {
    RWLock::Reader const reader(m_lock);
    return CountOf(m_index->all.get<ByEngine>(), engine);
}

std::vector<WorkPtr> WorkList::GetAllWork() const {
    RWLock::Reader const reader(m_lock);
    auto const& index = m_index->all.get<ByWork>();
    return std::vector<WorkPtr>(index.begin(), index.end());
}

std::vector<WorkPtr> WorkList::GetAllWorkForJob(UID const& job) const {
    RWLock::Reader const reader(m_lock);
    return AllOf(m_index->all.get<ByJob>(), job);
}

std::vector<WorkPtr> WorkList::GetAllWorkForEngine(UID const& engine) const {
    RWLock::Reader const reader(m_lock);
    return AllOf(m_index->all.get<ByEngine>(), engine);
}

std::vector<UID> WorkList::WorkUnderPriority(int priority) const {
    std::vector<UID> ids;
    RWLock::Reader const reader(m_lock);
    for (WorkPtr const& info : m_index->all.get<ByWork>()) {
        if (info->work->Priority() < priority)
            ids.push_back(info->work->id);
    }
    return ids;
}

void WorkList::OnJobMsg(boost::shared_ptr<JobMsg> const& message) {
    if (!message->job)
        return;
    // The units stay where they stand: nothing that orders them changes.
    auto const units = GetAllWorkForJob(message->job->id);
    for (WorkPtr const& info : units)
        info->work->UpdateFromParent(*message->job);
    if (!units.empty())
        Changed();
}

void WorkList::OnJobParameterMsg(boost::shared_ptr<JobParameterMsg> const& message) {
    bool any = false;
    for (WorkPtr const& info : GetAllWorkForJob(message->job)) {
        auto const product = JobFactory::s_JobFactory->GetProduct(info->work->Type());
        if (!product || !product->GetParam(message->name) || !Job::FollowsParent(message->name, product.get()))
            break;
        any |= info->work->SetParameter(message->name, message->value);
    }
    if (any)
        Changed();
}

} // namespace vorlan
