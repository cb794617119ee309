#pragma once

// The Jobs that a Job waits for.

#include "master/core/farm.h"

namespace farm {

// How it stands with one of them.
enum class WaitState {
    Met,
    Open,  // it may still come right
    Never, // not unless somebody changes something
};

// Of one of the Jobs that `job` waits for as a whole. `why`, unless null, gets a sentence
// for people where it is not met.
WaitState StateOfWait(Farm const& farm, JobEntry const& job, UID const& other, String* why);

// Which frames of `job` may go as far as the Jobs that it waits for frame by frame are
// concerned; an empty function stands for all.
std::function<bool(int frame)> FramesThatMayGo(Farm const& farm, JobEntry const& job);

// What is to be remembered of a Job that is deleted while others wait for it.
GoneWait WaitOnGone(JobEntry const& job);

// Why the Job `id` cannot wait for the Jobs that its values name, for people; empty where it
// can. `known` are those that it may name though they are deleted, and gets those that are
// remembered otherwise.
String CheckWaits(Farm const& farm, UID const& id, Job const& values, Product const& product,
                  std::map<UID, GoneWait>& known);

} // namespace farm
