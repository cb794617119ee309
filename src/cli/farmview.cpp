#include "cli/farmview.h"

#include <corekit/exception.h>
#include <corekit/log.h>
#include <vorlan/jobfactory.h>
#include <vorlan/messages.h>
#include <vorlan/product.h>
#include <vorlan/productfile.h>
#include <vorlan/range.h>
#include <vorlan/status.h>

#include <algorithm>

namespace vorlan::cli {

namespace {

// The message as a T, null if it is another kind.
template <class T>
T const* As(Message const& message) {
    return message.Type() == T::s_Type ? static_cast<T const*>(&message) : nullptr;
}

void TakeProduct(ProductMsg const& message) {
    try {
        JobFactory::s_JobFactory->SetProduct(ProductFromText(message.text));
    } catch (Exception const& exception) {
        LogWarning("A Product of the Master cannot be used: " + String(exception.what()));
    }
}

String NameOr(VorlanObject const* object, UID const& id) {
    String const name = object ? object->Name() : String();
    return name.Empty() ? id.ToString() : name;
}

} // namespace

void FarmView::ClearJobs() {
    m_jobs.clear();
    m_units.clear();
    m_countOfJob.clear();
    m_countOfEngine.clear();
    m_histories.clear();
}

void FarmView::TakeMessage(Message const& message) {
    if (auto const* jobMessage = As<JobMsg>(message)) {
        if (jobMessage->job)
            m_jobs[jobMessage->job->id] = jobMessage->job;
    } else if (auto const* finished = As<FinishedJobMsg>(message)) {
        if (finished->job)
            m_jobs[finished->job->id] = finished->job;
    } else if (auto const* parameter = As<JobParameterMsg>(message)) {
        if (auto const job = FindJob(parameter->job))
            job->Set(parameter->name, parameter->value);
    } else if (auto const* deleted = As<DeleteJobMsg>(message)) {
        RemoveJob(deleted->job);
    } else if (auto const* history = As<JobHistoryMsg>(message)) {
        m_histories[history->job] = history->history;
    } else if (auto const* element = As<WorkHistoryElementMsg>(message)) {
        TakeHistoryElement(element->element);
    } else if (auto const* assigned = As<AssignedWorkMsg>(message)) {
        TakeWork(assigned->work, assigned->engine, Assigned);
    } else if (auto const* started = As<StartedWorkMsg>(message)) {
        TakeWork(started->work, started->engine, Started);
    } else if (auto const* ended = As<FinishedWorkMsg>(message)) {
        RemoveWork(ended->work);
    } else if (auto const* changed = As<WorkParameterChangedMsg>(message)) {
        if (auto const at = m_units.find(changed->work); at != m_units.end())
            at->second.work->Set(changed->name, changed->value);
    } else if (auto const* engine = As<EngineMsg>(message)) {
        m_engines[engine->engine.id] = engine->engine;
    } else if (auto const* removed = As<RemoveEngineMsg>(message)) {
        m_engines.erase(removed->engine);
    } else if (auto const* pools = As<PoolMsg>(message)) {
        for (auto const& [id, name] : pools->pools)
            m_pools[id] = name;
    } else if (auto const* noPool = As<DeletePoolMsg>(message)) {
        m_pools.erase(noPool->pool);
    } else if (auto const* failures = As<FailureArchiveMsg>(message)) {
        TakeFailures(*failures);
    } else if (auto const* product = As<ProductMsg>(message)) {
        TakeProduct(*product);
    } else if (auto const* noProduct = As<RemoveProductMsg>(message)) {
        JobFactory::s_JobFactory->RemoveProduct(noProduct->product);
    } else if (auto const* settings = As<DefaultEngineMsg>(message)) {
        CommonEngine::SetDefaultEngine(settings->engine);
    }
}

void FarmView::TakeWork(boost::shared_ptr<Job> const& work, UID const& engine, int status) {
    if (!work)
        return;
    RemoveWork(work->id);
    m_units[work->id] = Unit{work, engine, status, work->Created()};
    ++m_countOfJob[work->parentID];
    ++m_countOfEngine[engine];
}

void FarmView::RemoveWork(UID const& work) {
    auto const at = m_units.find(work);
    if (at == m_units.end())
        return;
    --m_countOfJob[at->second.work->parentID];
    --m_countOfEngine[at->second.engine];
    m_units.erase(at);
}

void FarmView::RemoveJob(UID const& job) {
    for (Unit const* unit : UnitsByAge(job))
        RemoveWork(UID(unit->work->id));
    m_countOfJob.erase(job);
    m_jobs.erase(job);
    m_histories.erase(job);
}

void FarmView::TakeHistoryElement(WorkHistoryElement const& element) {
    auto const at = m_histories.find(element.job);
    if (at != m_histories.end())
        at->second.Append(element);
}

boost::shared_ptr<Job> FarmView::FindJob(UID const& id) const {
    auto const at = m_jobs.find(id);
    return at == m_jobs.end() ? nullptr : at->second;
}

JobHistory const& FarmView::History(UID const& job) const {
    static JobHistory const s_none;
    auto const at = m_histories.find(job);
    return at == m_histories.end() ? s_none : at->second;
}

std::vector<boost::shared_ptr<Job>> FarmView::JobsByAge() const {
    std::vector<std::pair<Time, boost::shared_ptr<Job>>> aged;
    for (auto const& [id, job] : m_jobs)
        aged.emplace_back(job->Created(), job);
    std::stable_sort(aged.begin(), aged.end(), [](auto const& a, auto const& b) { return a.first < b.first; });
    std::vector<boost::shared_ptr<Job>> jobs;
    for (auto const& [created, job] : aged)
        jobs.push_back(job);
    return jobs;
}

std::vector<Engine const*> FarmView::EnginesByName() const {
    std::vector<Engine const*> engines;
    for (auto const& [id, engine] : m_engines)
        engines.push_back(&engine);
    std::stable_sort(engines.begin(), engines.end(),
                     [](Engine const* a, Engine const* b) { return a->Name().CompareNoCase(b->Name()) < 0; });
    return engines;
}

std::vector<FarmView::Unit const*> FarmView::UnitsByAge(UID const& job) const {
    std::vector<Unit const*> units;
    for (auto const& [id, unit] : m_units) {
        if (job.IsNull() || unit.work->parentID == job)
            units.push_back(&unit);
    }
    std::stable_sort(units.begin(), units.end(), [](Unit const* a, Unit const* b) { return a->since < b->since; });
    return units;
}

size_t FarmView::UnitCount(UID const& job) const {
    auto const at = m_countOfJob.find(job);
    return at == m_countOfJob.end() ? 0 : at->second;
}

size_t FarmView::UnitCountOn(UID const& engine) const {
    auto const at = m_countOfEngine.find(engine);
    return at == m_countOfEngine.end() ? 0 : at->second;
}

void FarmView::TakeFailures(FailureArchiveMsg const& message) {
    m_failures.clear();
    for (FailureItem const& item : message.items) {
        m_failures[item.job] += item.count;
        m_failures[item.engine] += item.count;
    }
}

unsigned FarmView::FailuresOf(UID const& job) const {
    auto const at = m_failures.find(job);
    return at == m_failures.end() ? 0 : at->second;
}

unsigned FarmView::FailuresOn(UID const& engine) const { return FailuresOf(engine); }

std::vector<String> BarredProductNames(Engine const& engine) {
    std::vector<String> names;
    for (UID const& type : engine.BarredProducts()) {
        auto const product = JobFactory::s_JobFactory->GetProduct(type);
        names.push_back(product ? product->Name() : type.ToString());
    }
    return names;
}

String FailedFrames(JobHistory const& history) {
    String frames;
    for (auto const& [key, work] : history) {
        if (work.LastRun().HasEnded() && IsFailedStatus(work.LastRun().Status()))
            frames += (frames.Empty() ? "" : ",") + key;
    }
    FrameRange range;
    return FrameRange::Parse(frames, range) ? range.Text() : frames;
}

String FarmView::EngineName(UID const& id) const {
    auto const at = m_engines.find(id);
    return NameOr(at == m_engines.end() ? nullptr : &at->second, id);
}

String FarmView::JobName(UID const& id) const { return NameOr(FindJob(id).get(), id); }

String FarmView::PoolName(UID const& id) const {
    if (id.IsNull())
        return "Whole System";
    auto const at = m_pools.find(id);
    return at == m_pools.end() ? id.ToString() : at->second;
}

} // namespace vorlan::cli
