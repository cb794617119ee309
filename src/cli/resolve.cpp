#include "cli/resolve.h"

#include "cli/exitcode.h"

#include <vorlan/jobfactory.h>
#include <vorlan/product.h>

#include <algorithm>
#include <numeric>

namespace vorlan::cli {

namespace {

constexpr size_t k_MaxNamed = 5; // in a text that says what could be meant

std::vector<Candidate> Fitting(String const& text, std::vector<Candidate> const& candidates) {
    std::vector<Candidate> fit;
    auto const take = [&](auto fits) {
        std::copy_if(candidates.begin(), candidates.end(), std::back_inserter(fit), fits);
        return !fit.empty();
    };
    UID id;
    if (UID::FromString(text, id) && take([&](Candidate const& one) { return one.id == id; }))
        return fit;
    if (take([&](Candidate const& one) { return one.name.CompareNoCase(text) == 0; }))
        return fit;
    String const prefix = text.Lower();
    take([&](Candidate const& one) { return one.id.ToString().StartsWith(prefix); });
    return fit;
}

[[noreturn]] void FailAmbiguous(String const& kind, String const& text, std::vector<Candidate> const& fit) {
    String message = "\"" + text + "\" may be any of " + String::From(fit.size()) + " " + kind + "s:";
    for (size_t i = 0; i < std::min(fit.size(), k_MaxNamed); ++i)
        message += "\n  " + fit[i].id.ToString() + "  " + fit[i].name;
    if (fit.size() > k_MaxNamed)
        message += "\n  ...";
    throw CommandException(ExitCode::Failed, message + "\nGive its UID, or as much of it as no other has.");
}

// The steps from one text to another: letters put in, taken out or changed.
size_t Distance(String const& a, String const& b) {
    std::vector<size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), size_t{0});
    for (size_t i = 1; i <= a.size(); ++i) {
        size_t diagonal = std::exchange(row[0], i);
        for (size_t j = 1; j <= b.size(); ++j) {
            size_t const changed = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, changed}));
        }
    }
    return row.back();
}

bool AreFullUIDs(std::vector<String> const& texts, std::set<UID>& ids) {
    for (String const& text : texts) {
        UID id;
        if (!UID::FromString(text, id))
            return false;
        ids.insert(id);
    }
    return true;
}

} // namespace

bool TryResolve(String const& kind, String const& text, std::vector<Candidate> const& candidates, UID& id) {
    std::vector<Candidate> const fit = text.Empty() ? std::vector<Candidate>() : Fitting(text, candidates);
    if (fit.size() > 1)
        FailAmbiguous(kind, text, fit);
    if (fit.size() == 1)
        id = fit.front().id;
    return fit.size() == 1;
}

UID Resolve(String const& kind, String const& text, std::vector<Candidate> const& candidates) {
    UID id;
    if (TryResolve(kind, text, candidates, id))
        return id;
    std::vector<String> names;
    for (Candidate const& one : candidates)
        names.push_back(one.name);
    String const nearest = NearestName(text, names);
    throw CommandException(ExitCode::Failed, "There is no " + kind + " \"" + text + "\"." +
                                                 (nearest.Empty() ? String() : " Is \"" + nearest + "\" meant?"));
}

std::vector<UID> ResolveJobs(Farm& farm, std::vector<String> const& texts) {
    std::set<UID> ids;
    farm.LoadJobs(AreFullUIDs(texts, ids) ? ids : std::set<UID>());
    std::vector<Candidate> const candidates = JobCandidates(farm.View());
    std::vector<UID> found;
    for (String const& text : texts) {
        UID const id = Resolve("Job", text, candidates);
        if (std::find(found.begin(), found.end(), id) == found.end())
            found.push_back(id);
    }
    return found;
}

UID ResolveJob(Farm& farm, String const& text) { return ResolveJobs(farm, {text}).front(); }

std::vector<JobOrWork> ResolveJobsAndWork(Farm& farm, std::vector<String> const& texts) {
    farm.LoadJobs();
    std::vector<Candidate> candidates = JobCandidates(farm.View());
    for (auto const& [id, unit] : farm.View().Units())
        candidates.push_back({id, String()});
    std::vector<JobOrWork> found;
    for (String const& text : texts) {
        UID const id = Resolve("Job or work unit", text, candidates);
        found.push_back({id, farm.View().Units().contains(id)});
    }
    return found;
}

std::vector<Candidate> JobCandidates(FarmView const& view) {
    std::vector<Candidate> candidates;
    for (auto const& [id, job] : view.Jobs())
        candidates.push_back({id, job->Name()});
    return candidates;
}

std::vector<Candidate> EngineCandidates(FarmView const& view) {
    std::vector<Candidate> candidates;
    for (auto const& [id, engine] : view.Engines())
        candidates.push_back({id, engine.Name()});
    return candidates;
}

UID ResolveEngine(FarmView const& view, String const& text) { return Resolve("Engine", text, EngineCandidates(view)); }

UID ResolvePool(FarmView const& view, String const& text) {
    std::vector<Candidate> candidates;
    for (auto const& [id, name] : view.Pools())
        candidates.push_back({id, name});
    return Resolve("Pool", text, candidates);
}

boost::shared_ptr<Product const> ResolveProduct(String const& text) {
    JobFactory const& factory = *JobFactory::s_JobFactory;
    if (auto product = factory.FindProduct(text))
        return product;
    std::vector<Candidate> candidates;
    for (UID const& type : factory.ListProducts()) {
        if (auto const product = factory.GetProduct(type))
            candidates.push_back({type, product->Name()});
    }
    return factory.GetProduct(Resolve("Product", text, candidates));
}

String NearestName(String const& text, std::vector<String> const& names) {
    constexpr size_t k_MaxLength = 64;
    if (text.Empty() || text.size() > k_MaxLength)
        return String();
    // A third of the letters may be wrong.
    size_t best = text.size() / 3 + 1;
    String nearest;
    for (String const& name : names) {
        if (name.size() > k_MaxLength)
            continue;
        size_t const distance = Distance(text.Lower(), name.Lower());
        if (distance < best || (distance == best && nearest.Empty())) {
            best = distance;
            nearest = name;
        }
    }
    return nearest;
}

} // namespace vorlan::cli
