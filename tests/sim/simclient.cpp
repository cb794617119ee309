#include "sim/simclient.h"

namespace sim {

namespace {

template <class T>
T const* As(Message const& message) {
    return message.Type() == T::s_Type ? static_cast<T const*>(&message) : nullptr;
}

template <class Map>
std::vector<UID> KeysOf(Map const& map) {
    std::vector<UID> keys;
    for (auto const& [key, value] : map)
        keys.push_back(key);
    return keys;
}

String TextOf(VorlanObject const& object) {
    String text;
    for (auto const& [name, value] : object.Values())
        text += name.Lower() + "=" + value + ";";
    return text;
}

// All elements of a history, one line for each run.
std::map<UID, String> RunsOf(JobHistory const& history) {
    std::map<UID, String> runs;
    for (auto at = history.ebegin(); at != history.eend(); ++at) {
        WorkRun const& run = at.Run();
        String& line = runs[run.Work()];
        for (size_t i = 0; i < run.ElementCount(); ++i) {
            WorkHistoryElement const element = run[i];
            line += String::From(element.status) + "@" + String::From(element.time.Milliseconds()) + " " +
                    element.note + " " + element.subRange + " " + element.engine.ToString() + "; ";
        }
    }
    return runs;
}

template <class Map, class Text>
void CompareMaps(Map const& mirror, Map const& fresh, String const& what, Text text, std::vector<String>& faults) {
    for (auto const& [key, value] : fresh) {
        auto const at = mirror.find(key);
        if (at == mirror.end())
            faults.push_back(what + " is missing: " + text(key, value));
        else if (text(key, at->second) != text(key, value))
            faults.push_back(what + " differs:\n  told  " + text(key, at->second) + "\n  fresh " + text(key, value));
    }
    for (auto const& [key, value] : mirror) {
        if (!fresh.contains(key))
            faults.push_back(what + " should not be there: " + text(key, value));
    }
}

} // namespace

std::vector<boost::shared_ptr<Message>> SimClient::Refresh() {
    ++m_pendingLoads;
    m_jobs.clear();
    m_works.clear();
    m_engines.clear();
    m_engineOptions.clear();
    m_pools.clear();
    m_sections.clear();
    m_limits.clear();
    m_failures.clear();
    m_histories.clear();
    auto follow = NotifyOnEventMsg::New();
    follow->AddAll();
    auto engines = GetEngineInfoMsg::New();
    engines->AddAll();
    engines->wantHistory = engines->wantOptions = engines->wantState = true;
    auto jobs = GetJobInfoMsg::New();
    jobs->AddAll();
    jobs->wantJob = true;
    return {follow,
            GetMasterOptionsMsg::New(),
            GetMasterLimitsMsg::New(),
            GetMasterRestrictionsMsg::New(),
            GetDefaultEngineMsg::New(),
            GetFailureArchiveMsg::New(),
            GetPoolsMsg::New(),
            engines,
            jobs};
}

std::vector<UID> SimClient::Jobs() const { return KeysOf(m_jobs); }
std::vector<UID> SimClient::Works() const { return KeysOf(m_works); }
std::vector<UID> SimClient::Engines() const { return KeysOf(m_engines); }

boost::shared_ptr<Job> SimClient::FindJob(UID const& id) const {
    auto const at = m_jobs.find(id);
    return at == m_jobs.end() ? nullptr : at->second;
}

boost::shared_ptr<Engine> SimClient::FindEngine(UID const& id) const {
    auto const at = m_engines.find(id);
    return at == m_engines.end() ? nullptr : at->second;
}

boost::shared_ptr<Message> SimClient::AskHistory(UID const& job) {
    m_histories[job].received = false;
    auto message = GetJobInfoMsg::New();
    message->AddID(job);
    message->wantHistory = true;
    return message;
}

void SimClient::OnJob(boost::shared_ptr<Job> const& job, bool updatesWork) {
    auto& known = m_jobs[job->id];
    if (known)
        known->UpdateFrom(*job, false);
    else
        known = boost::make_shared<Job>(*job);
    if (!updatesWork)
        return;
    for (auto& [id, work] : m_works) {
        if (work.job->parentID == job->id)
            work.job->UpdateFromParent(*known);
    }
}

void SimClient::OnParameter(JobParameterMsg const& message, std::vector<boost::shared_ptr<Message>>& answers) {
    auto const job = FindJob(message.job);
    if (!job) {
        auto ask = GetJobInfoMsg::New();
        ask->AddID(message.job);
        ask->wantJob = ask->wantHistory = true;
        answers.push_back(ask);
        return;
    }
    job->SetParameter(message.name, message.value);
    auto const product = m_products.find(job->Type());
    auto const parameter = product == m_products.end() ? nullptr : product->second->GetParam(message.name);
    if (!parameter || parameter->HasFlag(Parameter::f_NoParentUpdate))
        return;
    for (auto& [id, work] : m_works) {
        if (work.job->parentID == message.job)
            work.job->SetParameter(message.name, message.value);
    }
}

void SimClient::OnGone(UID const& job) {
    m_jobs.erase(job);
    m_histories.erase(job);
    std::erase_if(m_works, [&](auto const& work) { return work.second.job->parentID == job; });
    std::erase_if(m_failures, [&](auto const& at) { return at.first.first == job && at.second.count == 0; });
}

void SimClient::OnWork(boost::shared_ptr<Job> const& work, UID const& engine) {
    if (m_jobs.contains(work->parentID) && m_engines.contains(engine))
        m_works[work->id] = {boost::make_shared<Job>(*work), engine};
}

void SimClient::OnFinishedWork(FinishedWorkMsg const& message) {
    auto const at = m_works.find(message.work);
    if (at == m_works.end())
        return;
    if (IsFailedStatus(message.status))
        m_failures[{at->second.job->parentID, at->second.engine}].AddOne();
    m_works.erase(at);
}

void SimClient::Receive(Message const& message, std::vector<boost::shared_ptr<Message>>& answers) {
    if (auto const* const job = As<JobMsg>(message))
        OnJob(job->job, true);
    else if (auto const* const finished = As<FinishedJobMsg>(message))
        OnJob(finished->job, false);
    else if (auto const* const parameter = As<JobParameterMsg>(message))
        OnParameter(*parameter, answers);
    else if (auto const* const gone = As<DeleteJobMsg>(message))
        OnGone(gone->job);
    else if (auto const* const assigned = As<AssignedWorkMsg>(message))
        OnWork(assigned->work, assigned->engine);
    else if (auto const* const started = As<StartedWorkMsg>(message))
        OnWork(started->work, started->engine);
    else if (auto const* const ended = As<FinishedWorkMsg>(message))
        OnFinishedWork(*ended);
    else if (auto const* const value = As<WorkParameterChangedMsg>(message)) {
        if (auto const at = m_works.find(value->work); at != m_works.end())
            at->second.job->SetParameter(value->name, value->value);
    } else if (auto const* const history = As<JobHistoryMsg>(message)) {
        if (auto const at = m_histories.find(history->job); at != m_histories.end())
            at->second = {true, history->history};
    } else if (auto const* const element = As<WorkHistoryElementMsg>(message)) {
        if (auto const at = m_histories.find(element->element.job); at != m_histories.end())
            at->second.history.Append(element->element);
    } else if (As<EndJobInfoMsg>(message)) {
        // Answers about single Jobs are bracketed, too: those do not count.
    } else {
        OnEngines(message);
        OnSettings(message);
    }
}

void SimClient::OnEngines(Message const& message) {
    if (auto const* const engine = As<EngineMsg>(message))
        m_engines[engine->engine.id] = boost::make_shared<Engine>(engine->engine);
    else if (auto const* const options = As<EngineOptionsMsg>(message)) {
        for (UID const& id : options->engines)
            m_engineOptions[{id, options->product}] = options->options;
    } else if (auto const* const gone = As<RemoveEngineMsg>(message)) {
        m_engines.erase(gone->engine);
        std::erase_if(m_works, [&](auto const& work) { return work.second.engine == gone->engine; });
        std::erase_if(m_engineOptions, [&](auto const& entry) { return entry.first.first == gone->engine; });
        std::erase_if(m_failures, [&](auto const& entry) { return entry.first.second == gone->engine; });
    } else if (auto const* const reset = As<ResetEngineFailuresMsg>(message)) {
        for (auto at = m_failures.begin(); at != m_failures.end();) {
            bool const counted = at->first.second == reset->engine && std::exchange(at->second.count, 0) != 0;
            at = counted && !m_jobs.contains(at->first.first) ? m_failures.erase(at) : std::next(at);
        }
    }
}

void SimClient::OnSettings(Message const& message) {
    if (auto const* const pools = As<PoolMsg>(message)) {
        for (auto const& [id, name] : pools->pools)
            m_pools[id] = name;
    } else if (auto const* const gone = As<DeletePoolMsg>(message))
        m_pools.erase(gone->pool);
    else if (auto const* const options = As<SetMasterOptionsMsg>(message))
        m_sections[options->section] = options->options;
    else if (auto const* const limits = As<SetMasterLimitsMsg>(message))
        m_limits = {limits->limits.begin(), limits->limits.end()};
    else if (auto const* const reset = As<ResetJobFailuresMsg>(message)) {
        for (auto& [key, counts] : m_failures)
            counts.count = key.first == reset->job ? 0 : counts.count;
    } else if (auto const* const archive = As<FailureArchiveMsg>(message)) {
        m_failures.clear();
        for (FailureItem const& item : archive->items)
            m_failures[{item.job, item.engine}] = {item.count, item.total};
    }
}

std::vector<String> SimClient::Compare(SimClient const& mirror, SimClient const& fresh) {
    std::vector<String> faults;
    auto const object = [](UID const& id, auto const& value) { return id.ToString() + " " + TextOf(*value); };
    CompareMaps(mirror.m_jobs, fresh.m_jobs, "Job", object, faults);
    CompareMaps(mirror.m_engines, fresh.m_engines, "Engine", object, faults);
    CompareMaps(
        mirror.m_works, fresh.m_works, "work",
        [](UID const& id, Work const& work) {
            return id.ToString() + " on " + work.engine.ToString() + " " + TextOf(*work.job);
        },
        faults);
    CompareMaps(
        mirror.m_engineOptions, fresh.m_engineOptions, "Engine options",
        [](auto const& key, OptionMap const& options) { return key.first.ToString() + " " + OptionsToString(options); },
        faults);
    CompareMaps(
        mirror.m_pools, fresh.m_pools, "Pool",
        [](UID const& id, String const& name) { return id.ToString() + " " + name; }, faults);
    CompareMaps(
        mirror.m_sections, fresh.m_sections, "section",
        [](String const& name, OptionMap const& options) { return name + " " + OptionsToString(options); }, faults);
    CompareMaps(
        mirror.m_limits, fresh.m_limits, "limit",
        [](UID const& id, int limit) { return id.ToString() + " " + String::From(limit); }, faults);
    CompareMaps(
        mirror.m_failures, fresh.m_failures, "failures",
        [](FailureKey const& key, FailureCounts const& counts) {
            return key.first.ToString() + " on " + key.second.ToString() + " " + String::From(counts.count) + " of " +
                   String::From(counts.total);
        },
        faults);
    for (auto const& [job, history] : mirror.m_histories) {
        auto const other = fresh.m_histories.find(job);
        if (!history.received || other == fresh.m_histories.end())
            continue;
        CompareMaps(
            RunsOf(history.history), RunsOf(other->second.history), "run in the history of a Job",
            [](UID const& id, String const& run) { return id.ToString() + " " + run; }, faults);
    }
    return faults;
}

} // namespace sim
