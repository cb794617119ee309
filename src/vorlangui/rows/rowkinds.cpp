#include "rowkinds.h"

#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/pooltable.h"

#include <vorlan/messages.h>

namespace vorlan {

namespace {

// Hears of the names that many rows show. The handlers that keep the names were there
// before it, so they have been called when it is.
class NameChanges : public HasSlots<> {
public:
    NameChanges() {
        PoolTable::Get().NamesChanged().Connect(this, [this] { Count(); });
        ProductMsg::s_Signal.Connect(this, [this](boost::shared_ptr<ProductMsg> const&) { Count(); });
        RemoveProductMsg::s_Signal.Connect(this, [this](boost::shared_ptr<RemoveProductMsg> const&) { Count(); });
    }
    ~NameChanges() override { DisconnectAll(); }

    uint32_t Number() const { return m_number.load(std::memory_order_acquire); }

private:
    void Count() {
        m_number.fetch_add(1, std::memory_order_acq_rel);
        JobList::Get().Lists().SetAllDirty();
        EngineList::Get().Lists().SetAllDirty();
        WorkList::Get().Lists().SetAllDirty();
    }

    std::atomic<uint32_t> m_number{1};
};

} // namespace

uint32_t CountNameChanges() {
    static NameChanges s_changes;
    return s_changes.Number();
}

void JobRows::Visit(Visitor const& visitor) { JobList::Get().Visit(visitor); }
uint64_t JobRows::Moves() { return JobList::Get().CountMoves(); }
boost::shared_ptr<JobInfo> JobRows::FindObject(UID const& id) { return Jobs::FindJobInfo(id); }
size_t JobRows::Count() { return JobList::Get().Count(); }
bool JobRows::IsLoading() { return JobList::Get().Lists().IsLoading(); }

boost::shared_ptr<EngineInfo> EngineRows::FindObject(UID const& id) { return EngineList::Get().FindEngine(id); }
size_t EngineRows::Count() { return EngineList::Get().Count(); }
bool EngineRows::IsLoading() { return EngineList::Get().Lists().IsLoading(); }
boost::shared_ptr<WorkInfo> WorkRows::FindObject(UID const& id) { return WorkList::Get().FindWork(id); }
size_t WorkRows::Count() { return WorkList::Get().Count(); }
// The units come with the Jobs.
bool WorkRows::IsLoading() { return JobRows::IsLoading(); }

void EngineRows::Visit(Visitor const& visitor) {
    EngineList::Map const engines = EngineList::Get().Snapshot();
    std::vector<ListedObject<Info>> all;
    for (auto const& [id, info] : engines)
        all.push_back({&id, &info, 0});
    visitor(all);
}

void WorkRows::Visit(Visitor const& visitor) {
    auto const units = WorkList::Get().GetAllWork();
    std::vector<ListedObject<Info>> all;
    for (boost::shared_ptr<WorkInfo> const& info : units)
        all.push_back({&info->work->id, &info, 0});
    visitor(all);
}

} // namespace vorlan
