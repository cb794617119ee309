#include "sim/simclient.h"

namespace sim {

namespace {

// Calls it with the message, if it is a T.
template <class T, class Handler>
void On(Message const& message, Handler const& handler) {
    if (message.Type() == T::s_Type)
        handler(static_cast<T const&>(message));
}

template <class Map>
std::vector<UID> KeysOf(Map const& map) {
    std::vector<UID> keys;
    for (auto const& [key, value] : map)
        keys.push_back(key);
    return keys;
}

template <class Map>
auto ValueIn(Map const& map, UID const& key) {
    auto const at = map.find(key);
    return at == map.end() ? nullptr : at->second;
}

// All elements of a history, one line for each run.
std::map<UID, String> RunsOf(JobHistory const& history) {
    std::map<UID, String> runs;
    for (auto at = history.ebegin(); at != history.eend(); ++at) {
        WorkRun const& run = at.Run();
        for (size_t i = 0; i < run.ElementCount(); ++i) {
            auto const& [status, time, note, subRange, work, job, engine] = run[i];
            runs[run.Work()] += String::From(status) + "@" + String::From(time.Milliseconds()) + " " + note + " " +
                                subRange + " " + engine.ToString() + "; ";
        }
    }
    return runs;
}

} // namespace

template <class Map>
void SimClient::CompareMaps(Map const& mirror, Map const& fresh, char const* what, std::vector<String>& faults) {
    for (auto const& [key, value] : fresh) {
        String const name = String(what) + " " + Text(key);
        if (auto const at = mirror.find(key); at == mirror.end())
            faults.push_back(name + " is missing: " + Text(value));
        else if (Text(at->second) != Text(value))
            faults.push_back(name + " differs:\n  told  " + Text(at->second) + "\n  fresh " + Text(value));
    }
    for (auto const& [key, value] : mirror) {
        if (!fresh.contains(key))
            faults.push_back(String(what) + " " + Text(key) + " should not be there: " + Text(value));
    }
}

String SimClient::Text(boost::shared_ptr<VorlanObject const> const& object) {
    String text;
    for (auto const& [name, value] : object->Values())
        text += name.Lower() + "=" + value + ";";
    return text;
}

Messages SimClient::Refresh() {
    m_farm = {};
    auto engines = GetEngineInfoMsg::Create(true);
    engines->wantHistory = engines->wantOptions = engines->wantState = true;
    return {NotifyOnEventMsg::Create(true),
            GetMasterOptionsMsg::New(),
            GetMasterLimitsMsg::New(),
            GetMasterRestrictionsMsg::New(),
            GetDefaultEngineMsg::New(),
            GetFailureArchiveMsg::New(),
            GetPoolsMsg::New(),
            engines,
            GetJobInfoMsg::Create(true, std::set<UID>(), true)};
}

std::vector<UID> SimClient::Jobs() const { return KeysOf(m_farm.jobs); }
std::vector<UID> SimClient::Works() const { return KeysOf(m_farm.works); }
std::vector<UID> SimClient::Engines() const { return KeysOf(m_farm.engines); }
boost::shared_ptr<Job> SimClient::FindJob(UID const& id) const { return ValueIn(m_farm.jobs, id); }
boost::shared_ptr<Engine> SimClient::FindEngine(UID const& id) const { return ValueIn(m_farm.engines, id); }

boost::shared_ptr<Message> SimClient::AskHistory(UID const& job) {
    m_farm.histories[job].received = false;
    return GetJobInfoMsg::Create(false, std::set<UID>{job}, false, true);
}

void SimClient::OnJob(boost::shared_ptr<Job> const& job, bool updatesWork) {
    auto& known = m_farm.jobs[job->id];
    if (known)
        known->UpdateFrom(*job, false);
    else
        known = boost::make_shared<Job>(*job);
    for (auto& [id, work] : m_farm.works) {
        if (updatesWork && work.job->parentID == job->id)
            work.job->UpdateFromParent(*known);
    }
}

void SimClient::OnParameter(JobParameterMsg const& message, Messages& answers) {
    auto const job = FindJob(message.job);
    if (!job) {
        answers.push_back(GetJobInfoMsg::Create(false, std::set<UID>{message.job}, true, true));
        return;
    }
    job->SetParameter(message.name, message.value);
    auto const product = ValueIn(m_products, job->Type());
    auto const parameter = product ? product->GetParam(message.name) : nullptr;
    if (!parameter || parameter->HasFlag(Parameter::f_NoParentUpdate))
        return;
    for (auto& [id, work] : m_farm.works) {
        if (work.job->parentID == message.job)
            work.job->SetParameter(message.name, message.value);
    }
}

void SimClient::OnJobGone(UID const& job) {
    m_farm.jobs.erase(job);
    m_farm.histories.erase(job);
    std::erase_if(m_farm.works, [&](auto const& work) { return work.second.job->parentID == job; });
    std::erase_if(m_farm.failures, [&](auto const& at) { return at.first.first == job && at.second.count == 0; });
}

void SimClient::OnWork(boost::shared_ptr<Job> const& work, UID const& engine) {
    if (m_farm.jobs.contains(work->parentID) && m_farm.engines.contains(engine))
        m_farm.works[work->id] = {boost::make_shared<Job>(*work), engine};
}

void SimClient::OnFinishedWork(FinishedWorkMsg const& message) {
    auto const at = m_farm.works.find(message.work);
    if (at == m_farm.works.end())
        return;
    if (IsFailedStatus(message.status)) {
        FailureCounts& counts = m_farm.failures[{at->second.job->parentID, at->second.engine}];
        counts = {counts.count + 1, counts.total + 1};
    }
    m_farm.works.erase(at);
}

void SimClient::OnEngineGone(UID const& engine) {
    m_farm.engines.erase(engine);
    std::erase_if(m_farm.works, [&](auto const& work) { return work.second.engine == engine; });
    std::erase_if(m_farm.engineOptions, [&](auto const& entry) { return entry.first.first == engine; });
    std::erase_if(m_farm.failures, [&](auto const& entry) { return entry.first.second == engine; });
}

void SimClient::OnEngineReset(UID const& engine) {
    std::erase_if(m_farm.failures, [&](auto const& entry) {
        return entry.first.second == engine && entry.second.count != 0 && !m_farm.jobs.contains(entry.first.first);
    });
    for (auto& [key, counts] : m_farm.failures)
        counts.count = key.second == engine ? 0 : counts.count;
}

void SimClient::Receive(Message const& message, Messages& answers) {
    On<JobMsg>(message, [&](auto& m) { OnJob(m.job, true); });
    On<FinishedJobMsg>(message, [&](auto& m) { OnJob(m.job, false); });
    On<JobParameterMsg>(message, [&](auto& m) { OnParameter(m, answers); });
    On<DeleteJobMsg>(message, [&](auto& m) { OnJobGone(m.job); });
    On<AssignedWorkMsg>(message, [&](auto& m) { OnWork(m.work, m.engine); });
    On<StartedWorkMsg>(message, [&](auto& m) { OnWork(m.work, m.engine); });
    On<FinishedWorkMsg>(message, [&](auto& m) { OnFinishedWork(m); });
    On<WorkParameterChangedMsg>(message, [&](auto& m) {
        if (auto const at = m_farm.works.find(m.work); at != m_farm.works.end())
            at->second.job->SetParameter(m.name, m.value);
    });
    On<JobHistoryMsg>(message, [&](auto& m) {
        if (auto const at = m_farm.histories.find(m.job); at != m_farm.histories.end())
            at->second = {true, m.history};
    });
    On<WorkHistoryElementMsg>(message, [&](auto& m) {
        if (auto const at = m_farm.histories.find(m.element.job); at != m_farm.histories.end())
            at->second.history.Append(m.element);
    });
    On<EngineMsg>(message, [&](auto& m) { m_farm.engines[m.engine.id] = boost::make_shared<Engine>(m.engine); });
    On<EngineOptionsMsg>(message, [&](auto& m) {
        for (UID const& id : m.engines)
            m_farm.engineOptions[{id, m.product}] = m.options;
    });
    On<RemoveEngineMsg>(message, [&](auto& m) { OnEngineGone(m.engine); });
    On<ResetEngineFailuresMsg>(message, [&](auto& m) { OnEngineReset(m.engine); });
    On<PoolMsg>(message, [&](auto& m) {
        for (auto const& [id, name] : m.pools)
            m_farm.pools[id] = name;
    });
    On<DeletePoolMsg>(message, [&](auto& m) { m_farm.pools.erase(m.pool); });
    On<SetMasterOptionsMsg>(message, [&](auto& m) { m_farm.sections[m.section] = m.options; });
    On<SetMasterLimitsMsg>(message, [&](auto& m) { m_farm.limits = {m.limits.begin(), m.limits.end()}; });
    On<ResetJobFailuresMsg>(message, [&](auto& m) {
        for (auto& [key, counts] : m_farm.failures)
            counts.count = key.first == m.job ? 0 : counts.count;
    });
    On<FailureArchiveMsg>(message, [&](auto& m) {
        m_farm.failures.clear();
        for (FailureItem const& item : m.items)
            m_farm.failures[{item.job, item.engine}] = {item.count, item.total};
    });
}

std::vector<String> SimClient::Compare(SimClient const& mirror, SimClient const& fresh) {
    std::vector<String> faults;
    Farm const& told = mirror.m_farm;
    Farm const& loaded = fresh.m_farm;
    CompareMaps(told.jobs, loaded.jobs, "Job", faults);
    CompareMaps(told.engines, loaded.engines, "Engine", faults);
    CompareMaps(told.works, loaded.works, "work", faults);
    CompareMaps(told.engineOptions, loaded.engineOptions, "Engine options", faults);
    CompareMaps(told.pools, loaded.pools, "Pool", faults);
    CompareMaps(told.sections, loaded.sections, "section", faults);
    CompareMaps(told.limits, loaded.limits, "limit", faults);
    CompareMaps(told.failures, loaded.failures, "failures", faults);
    for (auto const& [job, history] : told.histories) {
        if (auto const other = loaded.histories.find(job); history.received && other != loaded.histories.end())
            CompareMaps(RunsOf(history.history), RunsOf(other->second.history), "run in the history of a Job", faults);
    }
    return faults;
}

} // namespace sim
