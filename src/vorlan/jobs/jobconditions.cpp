#include <vorlan/jobconditions.h>

#include <vorlan/job.h>

namespace vorlan {

bool CanPause(Job const& job) { return !job.IsFinished() && !job.IsPaused(); }

bool CanResume(Job const& job) { return !job.IsFinished() && job.IsPaused(); }

bool CanRaisePriority(Job const& job) { return !job.IsFinished() && job.Priority() < k_HighestPriority; }

bool CanLowerPriority(Job const& job) { return !job.IsFinished() && job.Priority() > k_LowestPriority; }

} // namespace vorlan
