#include <corekit/lockorder.h>

#include <corekit/log.h>

#include <array>
#include <cstdlib>

namespace corekit {

namespace {
constexpr std::array<char const*, 8> k_RankNames = {
    "None", "JobInfo", "JobList", "EngineList", "WorkList", "WatcherRegistry", "Failures", "PoolTable",
};
} // namespace

char const* LockRankName(LockRank rank) {
    auto index = static_cast<size_t>(rank);
    return index < k_RankNames.size() ? k_RankNames[index] : "unknown";
}

#ifndef NDEBUG

namespace {
// How many locks of each rank this thread holds.
constinit thread_local std::array<uint8_t, k_RankNames.size()> t_heldRanks{};
} // namespace

void LockOrder::Taking(LockRank rank) {
    auto index = static_cast<size_t>(rank);
    if (index == 0)
        return;
    for (size_t later = index; later < t_heldRanks.size(); ++later) {
        if (t_heldRanks[later] == 0)
            continue;
        LogError(String("Lock order broken: a thread that holds ") + LockRankName(static_cast<LockRank>(later)) +
                 " asks for " + LockRankName(rank));
        Log::Flush();
        std::abort();
    }
    ++t_heldRanks[index];
}

void LockOrder::Released(LockRank rank) {
    if (rank != LockRank::None)
        --t_heldRanks[static_cast<size_t>(rank)];
}

bool LockOrder::IsHeld(LockRank rank) { return t_heldRanks[static_cast<size_t>(rank)] != 0; }

#endif

} // namespace corekit
