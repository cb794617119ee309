#pragma once

#include "jobinfo.h"
#include "listlist.h"

#include <boost/pool/pool_alloc.hpp>
#include <corekit/signal.h>

#include <bit>
#include <cstring>
#include <functional>
#include <map>
#include <vector>

namespace vorlan {

// The read side of the Job list, for all others. Any thread; no lock is held when
// they return.
namespace Jobs {
// Null if the Job is not known.
boost::shared_ptr<JobInfo> FindJobInfo(UID const& id);
boost::shared_ptr<Job> GetJobA(UID const& id);
// The unfinished ones in the order of their ids, then the finished ones.
std::vector<UID> GetAllJobs();
std::vector<UID> GetFinishedIDs();
// `active` counts those with running work; `total` is all there are.
void GetCounts(size_t& total, size_t& active, size_t& finished);
} // namespace Jobs

// JobList is the client's mirror of the Master's Jobs.
// Owner: a global object, reached by Get.
// Works with: the message handlers, which change it; Job list controls and watchers,
// which hear of it.
// Thread: any. Clear and Lists on the GUI thread.
// Always: a change is told after the list's lock has been given back.
class JobList : public HasSlots<> {
public:
    static JobList& Get();
    ~JobList() override;

    // New or changed. A finished Job moves to the finished ones with all its JobInfo.
    void InsertJob(boost::shared_ptr<Job> const& job);
    // False: the Job is not known.
    bool UpdateJob(UID const& id, String const& name, String const& value);
    void RemoveJob(UID const& id);
    // Something that a row of the Job shows has changed.
    void RefreshJob(UID const& id);
    // The client knows of work of the Job, or of none any more. Message thread.
    void SetActive(JobInfo& info, bool active);
    // A unit of the Job is gone: it may have been the last one. Message thread.
    void NoteWorkEnded(UID const& id);
    // A long list is freed on a thread of the pool.
    void Clear() { Empty(FreeOn::Pool); }
    size_t Count() const;
    // Every Job: the unfinished ones, then the finished ones, each in the order of the ids.
    // They come in pieces, each under the list's lock, so that nobody who wants the lock
    // waits for all of them: `visitor` is quick. One that is there all the while is not
    // missed, one that finishes meanwhile may come twice.
    using Visitor = std::function<void(std::vector<ListedObject<JobInfo>> const&)>;
    void Visit(Visitor const& visitor) const;
    static constexpr size_t k_VisitedAtOnce = 1000;
    // Another number whenever a Job has come, gone or moved.
    uint64_t CountMoves() const { return m_moves.load(std::memory_order_acquire); }

    // Some control has a selected row. GUI thread.
    bool AnyJobSelected();
    _ListList<ListView>& Lists() { return m_lists; }

private:
    friend boost::shared_ptr<JobInfo> Jobs::FindJobInfo(UID const&);
    friend std::vector<UID> Jobs::GetAllJobs();
    friend std::vector<UID> Jobs::GetFinishedIDs();
    friend void Jobs::GetCounts(size_t&, size_t&, size_t&);
    // The nodes lie together, away from the Jobs' own memory: with 100,000 Jobs the
    // way down the tree is half as long then.
    using Node = std::pair<UID const, boost::shared_ptr<JobInfo>>;
    // The order of the bytes, by two comparisons of numbers in place of a call.
    struct BytesLess {
        bool operator()(UID const& a, UID const& b) const {
            uint64_t const left = Half(a, 0);
            uint64_t const right = Half(b, 0);
            return left != right ? left < right : Half(a, 8) < Half(b, 8);
        }
        static uint64_t Half(UID const& id, size_t from) {
            uint64_t half = 0;
            std::memcpy(&half, id.Bytes() + from, sizeof half);
            return std::endian::native == std::endian::little ? __builtin_bswap64(half) : half;
        }
    };
    using Map = std::map<UID, boost::shared_ptr<JobInfo>, BytesLess, boost::fast_pool_allocator<Node>>;

    // Where what was in the list is freed.
    enum class FreeOn { ThisThread, Pool };

    JobList();
    void OnCleanup() { Empty(FreeOn::ThisThread); }
    void Empty(FreeOn where);
    // Tells all who show the Job; its change has been counted.
    void TellChange(UID const& id);
    void VisitMap(Map JobList::*member, uint8_t part, Visitor const& visitor) const;
    void CountMove() { m_moves.fetch_add(1, std::memory_order_release); }
    // The Job has another status than before.
    static void StatusChanged(JobInfo const& info);

    mutable RWLock m_lock{LockRank::JobList};
    Map m_active CK_GUARDED_BY(m_lock);
    Map m_finished CK_GUARDED_BY(m_lock);
    size_t m_withWork CK_GUARDED_BY(m_lock) = 0; // of m_active
    // Written under m_lock.
    std::atomic<uint64_t> m_moves{1};

    _ListList<ListView> m_lists;
};

} // namespace vorlan
