#pragma once

// From what a person types to the thing that is meant.

#include "cli/farm.h"

#include <vector>

namespace vorlan::cli {

struct Candidate {
    UID id;
    String name;
};

// The one candidate that `text` names: a UID, else the exact name (case aside), else
// the start of a UID. `kind` is "Job" and the like. Throws CommandException when none
// or more than one fits.
UID Resolve(String const& kind, String const& text, std::vector<Candidate> const& candidates);

// The same as an answer: false when none fits. Throws when more than one does.
bool TryResolve(String const& kind, String const& text, std::vector<Candidate> const& candidates, UID& id);

// The Jobs named, loaded with their work; as few as possible are loaded. In the order
// of the texts, doubled ones once.
std::vector<UID> ResolveJobs(Farm& farm, std::vector<String> const& texts);
UID ResolveJob(Farm& farm, String const& text);

// A Job, or a work unit that an Engine has.
struct JobOrWork {
    UID id;
    bool isWork = false;
};
// All Jobs are loaded.
std::vector<JobOrWork> ResolveJobsAndWork(Farm& farm, std::vector<String> const& texts);

// Of what the view holds.
UID ResolveEngine(FarmView const& view, String const& text);
UID ResolvePool(FarmView const& view, String const& text);
// By name, alias or UID.
boost::shared_ptr<Product const> ResolveProduct(String const& text);

std::vector<Candidate> JobCandidates(FarmView const& view);
std::vector<Candidate> EngineCandidates(FarmView const& view);

// Of the names, the one that a misspelt text is likely to mean; empty if none is near.
String NearestName(String const& text, std::vector<String> const& names);

} // namespace vorlan::cli
