#include "master/core/waits.h"

#include <vorlan/keys.h>
#include <vorlan/status.h>
#include <vorlan/values.h>

#include <algorithm>

namespace farm {

namespace {

void SayWhy(String* why, String const& text) {
    if (why)
        *why = "The Job waits for " + text;
}

WaitState StateOfLive(JobEntry const& job, JobEntry const& other, String* why) {
    if (other.settings.status == Finished || (job.settings.anyEnd && other.settings.IsFinished()))
        return WaitState::Met;
    String const name = "the Job \"" + other.job->Name() + "\"";
    if (other.settings.IsFinished()) {
        SayWhy(why, name + ", which ended as " + other.job->StatusAsString() +
                        ". Run its failed frames again, take the wait away, or set WaitForAnyEnd.");
        return WaitState::Never;
    }
    if (!other.standstill.Empty()) {
        SayWhy(why, name + ", which stands still: " + other.standstill);
        return WaitState::Never;
    }
    SayWhy(why, name + " to finish.");
    return WaitState::Open;
}

// Whether `from` waits for the Job `id`, be it by way of others.
bool LeadsTo(Farm const& farm, UID const& from, UID const& id, std::set<UID>& seen) {
    if (from == id)
        return true;
    auto const at = farm.jobsById.find(from);
    if (at == farm.jobsById.end() || !seen.insert(from).second)
        return false;
    auto const& waits = at->second->settings.dependencies;
    return std::any_of(waits.begin(), waits.end(),
                       [&](auto const& wait) { return LeadsTo(farm, wait.first, id, seen); });
}

} // namespace

WaitState StateOfWait(Farm const& farm, JobEntry const& job, UID const& other, String* why) {
    if (auto const live = farm.jobsById.find(other); live != farm.jobsById.end())
        return StateOfLive(job, *live->second, why);
    auto const gone = job.goneWaits.find(other);
    if (job.settings.anyEnd || (gone != job.goneWaits.end() && gone->second.succeeded))
        return WaitState::Met;
    SayWhy(why, (gone == job.goneWaits.end() ? "a Job that the farm does not know, {" + other.ToString() + "}."
                                             : "the Job \"" + gone->second.name +
                                                   "\", which was deleted before it had finished successfully.") +
                    " Take the wait away, or set WaitForAnyEnd.");
    return WaitState::Never;
}

std::function<bool(int frame)> FramesThatMayGo(Farm const& farm, JobEntry const& job) {
    std::vector<JobEntry const*> live;
    std::vector<FrameMap> missing;
    bool none = false;
    for (auto const& [id, type] : job.settings.dependencies) {
        if (type != Job::DependencyType::Frame || StateOfWait(farm, job, id, nullptr) == WaitState::Met)
            continue;
        auto const other = farm.jobsById.find(id);
        auto const gone = job.goneWaits.find(id);
        if (other != farm.jobsById.end()) {
            live.push_back(other->second);
        } else if (gone != job.goneWaits.end()) {
            FrameRange frames;
            FrameRange::Parse(gone->second.missing, frames);
            missing.emplace_back(std::move(frames));
        } else {
            none = true;
        }
    }
    if (none)
        return [](int) { return false; };
    if (live.empty() && missing.empty())
        return {};
    return [live = std::move(live), missing = std::move(missing)](int frame) {
        return std::all_of(live.begin(), live.end(),
                           [frame](JobEntry const* other) {
                               auto const same = other->frames.PositionOf(frame);
                               return !same || other->finished.Contains(*same);
                           }) &&
               std::none_of(missing.begin(), missing.end(),
                            [frame](FrameMap const& frames) { return frames.PositionOf(frame).has_value(); });
    };
}

GoneWait WaitOnGone(JobEntry const& job) {
    GoneWait gone{job.job->Name(), job.settings.status == Finished, String()};
    if (gone.succeeded)
        return gone;
    SpanSet missing;
    missing.Insert(Span{0, job.frames.Count()});
    missing.Erase(job.finished.All());
    gone.missing = job.frames.TextOf(missing.All());
    return gone;
}

String CheckWaits(Farm const& farm, UID const& id, Job const& values, Product const& product,
                  std::map<UID, GoneWait>& known) {
    if (String const fault = CheckValue(p_WaitForJobID, values.Get(p_WaitForJobID, false)); !fault.Empty())
        return fault;
    bool const anyEnd = values.WaitsForAnyEnd(&product);
    for (auto const& [other, type] : values.GetDependencies(&product)) {
        std::set<UID> seen;
        if (other == id)
            return "The Job cannot wait for itself.";
        if (LeadsTo(farm, other, id, seen)) {
            return "The Job \"" + farm.jobsById.at(other)->job->Name() +
                   "\" waits for this one, so that neither would ever start.";
        }
        if (farm.jobsById.contains(other) || known.contains(other))
            continue;
        auto const deleted = farm.deletedJobs.find(other);
        if (deleted == farm.deletedJobs.end()) {
            return "The Job {" + other.ToString() +
                   "} that it is to wait for is not known. Give the ID of a Job that is in the queue.";
        }
        if (!deleted->second.wait.succeeded && !anyEnd) {
            return "The Job \"" + deleted->second.wait.name +
                   "\" that it is to wait for was deleted before it had finished successfully.";
        }
        known[other] = deleted->second.wait;
    }
    return String();
}

} // namespace farm
