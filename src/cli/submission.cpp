#include "cli/submission.h"

#include "cli/exitcode.h"
#include "cli/resolve.h"

#include <corekit/stringtokenizer.h>
#include <vorlan/jobcheck.h>
#include <vorlan/keys.h>
#include <vorlan/optionstext.h>
#include <vorlan/range.h>

#include <algorithm>
#include <filesystem>
#include <set>

namespace vorlan::cli {

namespace {

constexpr char k_ListSeparator[] = ";";
constexpr char k_OutputFolder[] = "OutputFolder";

bool IsJobsPath(Parameter const& parameter) {
    return parameter.IsPath() && parameter.HasFlag(Parameter::f_JobParameter);
}

// What begins with a reference is made elsewhere, what has a scheme lies elsewhere.
String AbsolutePath(String const& text, Path const& folder) {
    String const plain = Path::Dequote(text.Trim());
    if (plain.Empty() || plain.StartsWith("$") || plain.Contains("://") || Path(plain).IsAbsolute())
        return text;
    String path = Path((folder / Path(plain)).Native().lexically_normal());
    while (path.size() > 1 && path.EndsWith("/"))
        path.pop_back();
    return path;
}

String AbsoluteValue(Parameter const& parameter, String const& value, Path const& folder) {
    if (!parameter.IsList())
        return AbsolutePath(value, folder);
    String list;
    StringTokenizer parts(value, k_ListSeparator);
    String part;
    while (parts.Next(part)) {
        if (!part.Trim().Empty())
            list += (list.Empty() ? "" : k_ListSeparator) + AbsolutePath(part.Trim(), folder);
    }
    return list;
}

// The value that a text of it may be shown as, or written in another case.
String ValueOfChoice(Parameter const& parameter, String const& text) {
    for (size_t i = 0; i < parameter.GetChoicesCount() && !parameter.Check(text).Empty(); ++i) {
        if (parameter.GetChoice(i).CompareNoCase(text) == 0 || parameter.GetDisplay(i).CompareNoCase(text) == 0)
            return parameter.GetChoice(i);
    }
    return text;
}

// People set them, though they may be no parameters of the Product.
bool IsOpenValue(ValueInfo const& info) { return info.Has(v_OfJob) && !info.Has(v_MastersOwn); }

std::vector<String> JobParameterNames(Product const& product) {
    std::vector<String> names;
    for (ValueInfo const& info : k_Values) {
        if (IsOpenValue(info))
            names.push_back(info.name);
    }
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        if (parameter->HasFlag(Parameter::f_JobParameter))
            names.push_back(parameter->GetName());
    }
    return names;
}

} // namespace

ValueSetting ParseSetting(String const& text) {
    size_t const at = text.Find('=');
    String const name = text.Mid(0, at).Trim();
    if (at == String::npos || name.Empty())
        throw CommandException(ExitCode::Usage,
                               "\"" + text + "\" sets nothing. Write --set Name=Value, for example --set Width=1280.");
    return {name, text.Mid(at + 1)};
}

void ApplySetting(Job& job, Product const& product, ValueSetting const& setting, Path const& folder) {
    auto const parameter = product.GetParam(setting.name);
    ValueInfo const* const info = FindValue(setting.name);
    if (info && info->Has(v_MastersOwn) && setting.name.CompareNoCase(p_Status) != 0)
        throw CommandException(ExitCode::Usage, String(info->name) + " is given by the Master and cannot be set.");
    if (!parameter && !(info && IsOpenValue(*info)) && !product.IsFreeName(setting.name)) {
        String const nearest = NearestName(setting.name, JobParameterNames(product));
        throw CommandException(ExitCode::Usage, "The Product " + product.Name() + " has no parameter \"" +
                                                    setting.name + "\"." +
                                                    (nearest.Empty() ? String() : " Is " + nearest + " meant?") +
                                                    " `vorlan products \"" + product.Name() + "\"` lists all.");
    }
    String const name = parameter ? parameter->GetName() : info ? String(info->name) : setting.name;
    job.Set(name,
            parameter && IsJobsPath(*parameter) ? AbsoluteValue(*parameter, setting.value, folder) : setting.value);
}

void TakeShownChoices(Job& job, Product const& product) {
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        String value;
        if (parameter->Type() == Parameter::t_Choice && job.GetParameter(parameter->GetName(), value))
            job.Set(parameter->GetName(), ValueOfChoice(*parameter, value));
    }
}

namespace {

// Names become ids. Candidates are asked for when something is no id yet.
void ResolveList(Job& job, char const* name, String const& kind,
                 std::function<std::vector<Candidate>()> const& candidates) {
    String const text = job.Get(name, false);
    if (CheckValue(name, text).Empty())
        return;
    std::vector<Candidate> const all = candidates();
    String const ids = NamesToUIDs(text, [&](String const& word, UID& id) { return TryResolve(kind, word, all, id); });
    // What is left has no candidate, which is said of the first.
    StringTokenizer words(ids, ", \t\r\n;");
    String word;
    UID id;
    while (words.Next(word)) {
        if (!word.Empty() && !UID::FromString(word, id))
            Resolve(kind, text.Contains(",") || text.Contains(";") ? word : text.Trim(), all);
    }
    job.Set(name, ids);
}

// Those that are waited for first, else in the order of the list.
void SortByWaits(std::vector<boost::shared_ptr<Job>>& jobs) {
    std::vector<boost::shared_ptr<Job>> sorted;
    std::set<UID> left;
    for (auto const& job : jobs)
        left.insert(job->id);
    while (sorted.size() < jobs.size()) {
        auto const isNext = [&left](boost::shared_ptr<Job> const& job) {
            auto const waits = StringToUIDs(job->Get(p_WaitForJobID, false));
            return left.contains(job->id) && std::none_of(waits.begin(), waits.end(), [&](UID const& id) {
                       return id != job->id && left.contains(id);
                   });
        };
        auto const next = std::find_if(jobs.begin(), jobs.end(), isNext);
        if (next == jobs.end())
            throw CommandException(ExitCode::Failed, "Jobs wait for each other in a circle, so that none can start. "
                                                     "Take one of the waits out.");
        left.erase((*next)->id);
        sorted.push_back(*next);
    }
    jobs = std::move(sorted);
}

} // namespace

void ResolveNames(Farm& farm, std::vector<boost::shared_ptr<Job>>& jobs) {
    auto const machines = [&farm] {
        farm.LoadEngines();
        std::vector<Candidate> all = EngineCandidates(farm.View());
        for (auto const& [id, name] : farm.View().Pools())
            all.push_back({id, name});
        return all;
    };
    auto const others = [&farm] {
        farm.LoadJobs();
        return JobCandidates(farm.View());
    };
    for (auto const& job : jobs) {
        String const pool = job->Get(p_Pool, false);
        if (!pool.Trim().Empty() && !CheckValue(p_Pool, pool).Empty())
            job->Set(p_Pool, ResolvePool(farm.View(), pool.Trim()).ToString());
        for (char const* list : {p_IncludeEngines, p_ExcludeEngines})
            ResolveList(*job, list, "Engine or Pool", machines);
        ResolveList(*job, p_WaitForJobID, "Job", others);
    }
    SortByWaits(jobs);
}

void SetOutputFolder(Job& job, Product const& product, Path const& folder) {
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        if (parameter->Type() == Parameter::t_FolderPath && parameter->GetName().CompareNoCase(k_OutputFolder) == 0) {
            job.Set(parameter->GetName(), folder);
            return;
        }
    }
    throw CommandException(ExitCode::Usage, "The Product " + product.Name() +
                                                " has no output folder of its own. Set where it writes with --set.");
}

void ResolvePaths(Job& job, Product const& product, Path const& folder) {
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        String value;
        if (IsJobsPath(*parameter) && job.GetParameter(parameter->GetName(), value) && !value.Empty())
            job.Set(parameter->GetName(), AbsoluteValue(*parameter, value, folder));
    }
}

namespace {

void CheckFrames(Job const& job, Product const& product) {
    FrameRange range;
    String error;
    String const frames = job.Range(&product);
    if (!FrameRange::Parse(frames, range, &error))
        throw CommandException(ExitCode::Usage, "The frames \"" + frames + "\" cannot be used: " + error);
    if (range.Empty())
        throw CommandException(ExitCode::Usage, "The Job has no frames: give --frames, for example --frames 1-100.");
}

} // namespace

void CheckJob(Job const& job, Product const& product) {
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        String const name = parameter->GetName();
        // Every Job has a name in the end.
        if (!parameter->HasFlag(Parameter::f_Required) || !parameter->HasFlag(Parameter::f_JobParameter) ||
            name.CompareNoCase(p_Name) == 0 || name.CompareNoCase(p_Range) == 0)
            continue;
        String value;
        if (!job.GetParameter(name, value) || value.Empty())
            value = parameter->GetDefault();
        if (value.Empty())
            throw CommandException(ExitCode::Usage,
                                   "A Job of " + product.Name() + " needs a " + name + ": give --set " + name + "=...");
    }
    if (product.Class() == ProductClass::Sequence || product.Class() == ProductClass::VirtualModule)
        CheckFrames(job, product);
    if (String const wrong = CheckJobValues(job, &product); !wrong.Empty())
        throw CommandException(ExitCode::Usage, wrong);
}

} // namespace vorlan::cli
