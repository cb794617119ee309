#include "domain.h"

#include "farm/statecheck.h"

#include "vorlangui/model/enginelist.h"
#include "vorlangui/model/joblist.h"
#include "vorlangui/model/pooltable.h"
#include "vorlangui/model/worklist.h"

namespace vorlan::farmtest {

using Json = MasterState::Json;

namespace {

UID IdOf(Json const& text) {
    UID id;
    if (!UID::FromString(text.get<std::string>(), id))
        throw std::runtime_error("no id in the state: " + text.dump());
    return id;
}

OptionMap OptionsOf(Json const& json) {
    OptionMap options;
    for (auto const& [name, value] : json.items())
        options[name] = value.get<std::string>();
    return options;
}

std::map<UID, OptionMap> ProductOptionsOf(Json const& json) {
    std::map<UID, OptionMap> products;
    for (auto const& [type, options] : json.items())
        products[IdOf(type)] = OptionsOf(options);
    return products;
}

String TextOf(Json const& json) { return json.is_string() ? json.get<std::string>() : json.dump(); }

String Number(int64_t number) { return String::From(number); }

void CompareOptions(String const& what, OptionMap const& here, OptionMap const& there, Differences& differences) {
    constexpr char k_None[] = "(none)";
    for (auto const& [name, value] : here) {
        auto const other = there.find(name);
        if (other == there.end())
            differences.Add(what, name, value, k_None);
        else if (other->second != value)
            differences.Add(what, name, value, other->second);
    }
    for (auto const& [name, value] : there) {
        if (!here.contains(name))
            differences.Add(what, name, k_None, value);
    }
}

void CompareField(String const& what, char const* field, String const& here, String const& there,
                  Differences& differences) {
    if (here != there)
        differences.Add(what, field, here, there);
}

// Calls `both` for what stands on both sides, and notes what does not.
template <class Here, class There, class Both>
void CompareMaps(char const* kind, Here const& here, There const& there, Differences& differences, Both both) {
    for (auto const& [id, value] : here) {
        auto const other = there.find(id);
        if (other == there.end())
            differences.Add(SFormat("%s {%s}", kind, id.ToString().c_str()), "", "there", "missing");
        else
            both(SFormat("%s {%s}", kind, id.ToString().c_str()), value, other->second);
    }
    for (auto const& [id, value] : there) {
        if (!here.contains(id))
            differences.Add(SFormat("%s {%s}", kind, id.ToString().c_str()), "", "missing", "there");
    }
}

void CompareJobs(MasterState const& state, Differences& differences) {
    std::map<UID, boost::shared_ptr<JobInfo>> here;
    for (UID const& id : Jobs::GetAllJobs())
        here[id] = Jobs::FindJobInfo(id);
    std::set<UID> finished;
    for (UID const& id : Jobs::GetFinishedIDs())
        finished.insert(id);
    size_t total = 0;
    size_t active = 0;
    size_t ended = 0;
    Jobs::GetCounts(total, active, ended);
    size_t withWork = 0;
    for (auto const& [id, job] : state.jobs)
        withWork += !job["finished"].get<bool>() && job["activeWork"].get<int>() > 0;
    CompareField("all Jobs", "counts", SFormat("%zu, %zu active, %zu finished", total, active, ended),
                 SFormat("%zu, %zu active, %zu finished", state.jobs.size(), withWork, finished.size()), differences);
    CompareMaps("Job", here, state.jobs, differences, [&](String const& what, auto const& info, Json const& job) {
        if (!info || !info->job)
            return differences.Add(what, "", "empty", "there");
        CompareOptions(what, info->job->Values(), OptionsOf(job["values"]), differences);
        CompareField(what, "status", Number(info->job->Status()), TextOf(job["status"]), differences);
        CompareField(what, "among the finished", finished.contains(info->job->id) ? "true" : "false",
                     TextOf(job["finished"]), differences);
        size_t const units = WorkList::Get().GetJobCurrentCount(info->job->id);
        CompareField(what, "units", Number(static_cast<int64_t>(units)), TextOf(job["activeWork"]), differences);
        CompareField(what, "active", info->active ? "true" : "false",
                     job["activeWork"].get<int>() > 0 ? "true" : "false", differences);
        CompareField(what, "failures", Number(static_cast<int64_t>(Failures::JobFailureCount(info->job->id))),
                     TextOf(job["failures"]), differences);
    });
}

void CompareEngines(MasterState const& state, Differences& differences) {
    CompareMaps("Engine", EngineList::Get().Snapshot(), state.engines, differences,
                [&](String const& what, boost::shared_ptr<EngineInfo> const& info, Json const& engine) {
                    CompareOptions(what, info->Values(), OptionsOf(engine["values"]), differences);
                    CompareField(what, "online", info->Online() ? "true" : "false", TextOf(engine["online"]),
                                 differences);
                    std::map<UID, OptionMap> options;
                    {
                        RWLock::Reader const reader(info->lock);
                        options = info->options;
                    }
                    CompareMaps("options for", options, ProductOptionsOf(engine["options"]), differences,
                                [&](String const& product, OptionMap const& here, OptionMap const& there) {
                                    CompareOptions(what + " " + product, here, there, differences);
                                });
                });
}

void CompareWork(MasterState const& state, Differences& differences) {
    std::map<UID, boost::shared_ptr<WorkInfo>> here;
    for (auto const& [engine, info] : EngineList::Get().Snapshot()) {
        for (auto const& work : WorkList::Get().GetAllWorkForEngine(engine))
            here[work->work->id] = work;
    }
    if (here.size() != WorkList::Get().Count())
        differences.Add("work", "known by an Engine", Number(static_cast<int64_t>(here.size())),
                        Number(static_cast<int64_t>(WorkList::Get().Count())));
    std::map<UID, Json> there;
    for (auto const& [id, work] : state.work) {
        if (!IdOf(work["job"]).IsNull()) // else only its Engine has it still
            there[id] = work;
    }
    CompareMaps("work", here, there, differences, [&](String const& what, auto const& info, Json const& work) {
        CompareOptions(what, info->work->Values(), OptionsOf(work["values"]), differences);
        CompareField(what, "job", info->work->parentID.ToString(), TextOf(work["job"]), differences);
        CompareField(what, "engine", info->engine->id.ToString(), TextOf(work["engine"]), differences);
        CompareField(what, "status", Number(info->work->Status()), TextOf(work["status"]), differences);
        int64_t const started = info->started;
        int64_t const since =
            work["started"].get<int64_t>() ? work["started"].get<int64_t>() : work["assigned"].get<int64_t>();
        CompareField(what, "since", Number(started ? started : info->work->Created().Milliseconds()), Number(since),
                     differences);
        if (Jobs::FindJobInfo(info->work->parentID) != info->job)
            differences.Add(what, "Job", "another object", "the one in the list");
    });
}

using FailureKey = std::tuple<UID, UID, UID>;
using FailureTexts = std::map<FailureKey, String>;

String FailureText(int64_t count, int64_t total) { return Number(count) + " of " + Number(total); }

FailureTexts FailuresOf(MasterState const& state) {
    FailureTexts failures;
    for (Json const& item : state.failures)
        failures[{IdOf(item["job"]), IdOf(item["engine"]), IdOf(item["product"])}] =
            FailureText(item["count"].get<int64_t>(), item["total"].get<int64_t>());
    return failures;
}

void CompareFailures(FailureTexts here, FailureTexts there, Differences& differences) {
    FailureTexts keys = here;
    keys.insert(there.begin(), there.end());
    for (auto const& [key, text] : keys) {
        auto const& [job, engine, product] = key;
        CompareField("failures of Job {" + job.ToString() + "} on {" + engine.ToString() + "}", "count", here[key],
                     there[key], differences);
    }
}

void CompareSettings(FarmClient& mirror, MasterState const& state, Differences& differences) {
    MasterSettings const& settings = mirror.Master();
    CompareMaps("Pool", PoolTable::Get().All(), state.pools, differences,
                [&](String const& what, String const& name, Json const& pool) {
                    CompareField(what, "name", name, TextOf(pool["name"]), differences);
                });
    std::map<UID, bool> products;
    for (UID const& type : JobFactory::s_JobFactory->ListProducts())
        products[type] = true;
    CompareMaps("Product", products, state.products, differences, [](auto const&...) {});
    for (auto const& [name, section] : state.sections) {
        UID product;
        if (UID::FromString(name, product))
            CompareOptions("options of " + name, settings.ProductOptions(product), OptionsOf(section["options"]),
                           differences);
        else if (name == o_Distribution)
            CompareOptions("options " + name, settings.Options(), OptionsOf(section["options"]), differences);
    }
    std::map<UID, int> limits;
    for (auto const& [type, limit] : state.limits["limits"].items())
        limits[IdOf(type)] = limit.get<int>();
    if (limits != settings.Limits())
        differences.Add("limits", "", Number(static_cast<int64_t>(settings.Limits().size())), state.limits.dump());
    for (auto const& [action, restricted] : state.restrictions["restrictions"].items())
        CompareField("restriction", action.c_str(), settings.Restricts(action) ? "true" : "false", TextOf(restricted),
                     differences);
    CompareOptions("default Engine", CommonEngine::GetDefaultEngine()->Values(),
                   OptionsOf(state.defaultEngine["values"]), differences);
    if (Messenger::PathTranslations().size() != state.translations["translations"].size())
        differences.Add("path translations", "count", "", state.translations.dump());
}

} // namespace

void Differences::Add(String const& what, String const& field, String const& here, String const& there) {
    if (++m_count <= k_ShownLines)
        m_lines.push_back(what + " " + field + ": \"" + here + "\", not \"" + there + "\"");
}

String Differences::Text() const {
    if (m_count == 0)
        return {};
    String text = SFormat("%zu differences:\n", m_count);
    for (String const& line : m_lines)
        text += "    " + line + "\n";
    return text;
}

MasterState::MasterState(corekit::Path const& file) {
    std::ifstream stream(file.Str());
    for (std::string line; std::getline(stream, line);) {
        Json json = Json::parse(line);
        std::string const kind = json["kind"];
        if (kind == "Master")
            master = std::move(json);
        else if (kind == "Limits")
            limits = std::move(json);
        else if (kind == "Restrictions")
            restrictions = std::move(json);
        else if (kind == "PathTranslations")
            translations = std::move(json);
        else if (kind == "Startup")
            startup = std::move(json);
        else if (kind == "DefaultEngine")
            defaultEngine = std::move(json);
        else if (kind == "Options")
            sections.insert_or_assign(TextOf(json["section"]), json);
        else if (kind == "Failure")
            failures.push_back(std::move(json));
        else if (std::map<UID, Json>* const all = kind == "Pool"      ? &pools
                                                  : kind == "Product" ? &products
                                                  : kind == "Engine"  ? &engines
                                                  : kind == "Job"     ? &jobs
                                                  : kind == "Work"    ? &work
                                                                      : nullptr) {
            UID const id = IdOf(json["id"]);
            (*all)[id] = std::move(json);
        } else {
            throw std::runtime_error("a line of an unknown kind in the state: " + kind);
        }
    }
}

void CompareLists(FarmClient& mirror, MasterState const& state, Differences& differences) {
    CompareJobs(state, differences);
    CompareEngines(state, differences);
    CompareWork(state, differences);
    FailureTexts failures;
    for (Failures::FailureItem const& item : Failures::All())
        failures[{item.job, item.engine, item.product}] = FailureText(item.count, item.total);
    CompareFailures(failures, FailuresOf(state), differences);
    CompareSettings(mirror, state, differences);
}

void CompareStates(MasterState const& before, MasterState const& after, Differences& differences) {
    CompareMaps("Job", before.jobs, after.jobs, differences, [&](String const& what, Json const& a, Json const& b) {
        OptionMap here = OptionsOf(a["values"]);
        OptionMap there = OptionsOf(b["values"]);
        for (OptionMap* const values : {&here, &there}) {
            // A Job that moves again says so; one that never stood says nothing.
            if (auto const reason = values->find(p_Standstill); reason != values->end() && reason->second.Empty())
                values->erase(reason);
        }
        CompareOptions(what, here, there, differences);
        for (char const* const field : {"failures", "deleting", "endedRuns", "frames"})
            CompareField(what, field, a[field].dump(), b[field].dump(), differences);
    });
    CompareMaps("Engine", before.engines, after.engines, differences,
                [&](String const& what, Json const& a, Json const& b) {
                    OptionMap there = OptionsOf(b["values"]);
                    OptionMap here = OptionsOf(a["values"]);
                    for (OptionMap* const values : {&here, &there}) {
                        values->erase(p_EngineOnline);
                        values->erase(p_EngineStartTime); // of the connection where it does not tell it
                    }
                    CompareOptions(what, here, there, differences);
                    CompareField(what, "options", a["options"].dump(), b["options"].dump(), differences);
                });
    CompareFailures(FailuresOf(before), FailuresOf(after), differences);
    CompareMaps("Pool", before.pools, after.pools, differences, [&](String const& what, Json const& a, Json const& b) {
        CompareField(what, "name", TextOf(a["name"]), TextOf(b["name"]), differences);
    });
    for (auto const& [name, section] : before.sections) {
        auto const other = after.sections.find(name);
        CompareField("options " + name, "", section.dump(),
                     other == after.sections.end() ? String("(none)") : String(other->second.dump()), differences);
    }
    CompareField("limits", "", before.limits.dump(), after.limits.dump(), differences);
    CompareField("restrictions", "", before.restrictions.dump(), after.restrictions.dump(), differences);
    CompareField("default Engine", "", before.defaultEngine.dump(), after.defaultEngine.dump(), differences);
}

String TextOf(JobHistory const& history) {
    String text;
    for (auto const& [key, unit] : history) {
        for (unsigned run = 0; run < unit.Tries(); ++run) {
            text += key + " {" + unit[run].Work().ToString() + "} on {" + unit[run].Engine().ToString() + "}\n";
            for (size_t i = 0; i < unit[run].ElementCount(); ++i)
                text += SFormat("    %d at %lld %s\n", unit[run].ElementStatus(i),
                                static_cast<long long>(unit[run].ElementTime(i).Milliseconds()),
                                std::string(unit[run].ElementNote(i)).c_str());
        }
    }
    return text;
}

String TextOf(EngineHistory const& history) {
    String text;
    for (EngineHistoryElement const& line : history)
        text += SFormat("%lld %s\n", static_cast<long long>(line.time.Milliseconds()), line.message.c_str());
    return text;
}

} // namespace vorlan::farmtest
