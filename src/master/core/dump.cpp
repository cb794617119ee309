#include "master/core/dump.h"

#include <vorlan/keys.h>
#include <vorlan/status.h>

#include <nlohmann/json.hpp>

namespace farm {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array k_FrameNames{"total", "queued", "active", "finished", "failed", "canceled"};
constexpr char k_Hidden[] = "***";

std::string Text(UID const& id) { return id.ToString().Str(); }

Json Values(VorlanObject const& object) {
    Json values = Json::object();
    auto const block = object.Snapshot();
    for (ValueBlock::Value const value : *block)
        values[std::string(value.Name())] =
            value.number == Known(p_Password).number ? k_Hidden : std::string(value.text);
    return values;
}

Json Options(OptionMap const& options) {
    Json values = Json::object();
    for (auto const& [name, value] : options)
        values[name.Str()] = name.CompareNoCase(p_Password) == 0 ? k_Hidden : value.Str();
    return values;
}

Json ProductOptions(std::vector<std::pair<UID, OptionMap>> const& products) {
    Json all = Json::object();
    for (auto const& [type, options] : products)
        all[Text(type)] = Options(options);
    return all;
}

void CopyOptions(std::map<UID, EngineProduct> const& from, std::vector<std::pair<UID, OptionMap>>& to) {
    for (auto const& [type, product] : from)
        to.emplace_back(type, product.options);
}

} // namespace

StateSnapshot::StateSnapshot(Farm const& farm)
    : m_now(farm.now),
      m_config(farm.config),
      m_limits(farm.productLimits),
      m_restrictions(farm.restrictions),
      m_startup(farm.startup),
      m_translations(farm.translations),
      m_failures(farm.failures.Items()) {
    m_config.products.clear();
    for (auto const& [name, section] : farm.sections)
        m_sections.emplace_back(name, section.options);
    for (auto const& [id, pool] : farm.pools)
        m_pools.emplace_back(id, pool.name);
    for (auto const& [type, product] : farm.products) {
        if (!product.removed)
            m_products.push_back(product.product);
    }
    m_defaultEngine.engine = farm.defaultEngine;
    CopyOptions(farm.defaultProducts, m_defaultEngine.products);

    m_engines.reserve(farm.engines.size());
    for (auto const& [number, engine] : farm.engines) {
        EngineState& state = m_engines.emplace_back();
        state.engine = engine->engine;
        CopyOptions(engine->products, state.products);
        state.cores = engine->settings.capacity;
        state.used = engine->used;
        state.online = engine->Online();
    }
    m_jobs.reserve(farm.jobs.size());
    for (auto const& [number, job] : farm.jobs) {
        JobState& state = m_jobs.emplace_back();
        state.job = job->job;
        state.frames = {job->Total(),          job->queue.Count(),  job->RunningFrames(),
                        job->finished.Count(), job->failed.Count(), job->canceled.Count()};
        state.activeWork = job->runs.size();
        state.runs = job->past.size();
        state.failures = farm.failures.OfJob(job->id);
        state.waiting = job->waiting;
        state.deleting = job->deleting;
    }
    m_work.reserve(farm.runs.size());
    for (auto const& [number, run] : farm.runs) {
        WorkState& state = m_work.emplace_back();
        state.work = run->work;
        state.engine = run->engine->id;
        if (run->job) {
            state.job = run->job->id;
            state.unit = run->unit;
        }
        state.cores = run->cores;
        state.stopping = run->stop.has_value();
        state.assigned = run->Assigned();
        state.started = run->StartedAt();
    }
}

void StateSnapshot::Write(std::function<bool(std::string_view)> const& take) const {
    // Bytes that are no UTF-8 become U+FFFD.
    auto const tell = [&take](Json const& line) {
        return take(line.dump(-1, ' ', false, Json::error_handler_t::replace));
    };
    auto const tellAll = [&tell](auto const& items, auto const& lineOf) {
        return std::all_of(items.begin(), items.end(), [&](auto const& item) { return tell(lineOf(item)); });
    };
    Json limits = Json::object();
    for (auto const& [type, limit] : m_limits)
        limits[Text(type)] = limit;
    Json restrictions = Json::object();
    for (auto const& [name, administratorsOnly] : m_restrictions)
        restrictions[name.Str()] = administratorsOnly;
    Json startup = Json::object();
    for (auto const& [component, value] : m_startup)
        startup[std::to_string(component)] = value;
    Json translations = Json::array();
    for (auto const& folder : m_translations) {
        Json& paths = translations.emplace_back(Json::object());
        for (auto const& [platform, path] : folder)
            paths[platform.Str()] = path.Str();
    }
    (void)(tell({{"kind", "Master"},
                 {"time", m_now.Milliseconds()},
                 {"machine", Text(m_config.machine)},
                 {"machineName", m_config.machineName.Str()},
                 {"version", m_config.version},
                 {"started", m_config.startTime.Milliseconds()},
                 {"sections", m_sections.size()},
                 {"pools", m_pools.size()},
                 {"products", m_products.size()},
                 {"engines", m_engines.size()},
                 {"jobs", m_jobs.size()},
                 {"work", m_work.size()},
                 {"failures", m_failures.size()}}) &&
           tell({{"kind", "Limits"}, {"limits", std::move(limits)}}) &&
           tell({{"kind", "Restrictions"}, {"restrictions", std::move(restrictions)}}) &&
           tell({{"kind", "Startup"}, {"components", std::move(startup)}}) &&
           tell({{"kind", "PathTranslations"}, {"translations", std::move(translations)}}) &&
           tell({{"kind", "DefaultEngine"},
                 {"values", Values(*m_defaultEngine.engine)},
                 {"options", ProductOptions(m_defaultEngine.products)}}) &&
           tellAll(m_sections,
                   [](auto const& section) {
                       return Json{
                           {"kind", "Options"}, {"section", section.first.Str()}, {"options", Options(section.second)}};
                   }) &&
           tellAll(m_pools,
                   [](auto const& pool) {
                       return Json{{"kind", "Pool"}, {"id", Text(pool.first)}, {"name", pool.second.Str()}};
                   }) &&
           tellAll(m_products,
                   [](auto const& product) {
                       return Json{{"kind", "Product"}, {"id", Text(product->Type())}, {"name", product->Name().Str()}};
                   }) &&
           tellAll(m_engines,
                   [](EngineState const& engine) {
                       return Json{{"kind", "Engine"},
                                   {"id", Text(engine.engine->id)},
                                   {"online", engine.online},
                                   {"cores", engine.cores},
                                   {"coresUsed", engine.used},
                                   {"values", Values(*engine.engine)},
                                   {"options", ProductOptions(engine.products)}};
                   }) &&
           tellAll(m_jobs,
                   [](JobState const& job) {
                       Json frames = Json::object();
                       for (size_t i = 0; i < k_FrameNames.size(); ++i)
                           frames[k_FrameNames[i]] = job.frames[i];
                       return Json{{"kind", "Job"},
                                   {"id", Text(job.job->id)},
                                   {"status", job.job->Status()},
                                   {"finished", job.job->IsFinished()},
                                   {"percentDone", job.job->PercentDone()},
                                   {"failures", job.failures},
                                   {"activeWork", job.activeWork},
                                   {"endedRuns", job.runs},
                                   {"waiting", job.waiting},
                                   {"deleting", job.deleting},
                                   {"frames", std::move(frames)},
                                   {"values", Values(*job.job)}};
                   }) &&
           tellAll(m_work,
                   [](WorkState const& work) {
                       Json line{
                           {"kind", "Work"},
                           {"id", Text(work.work)},
                           {"job", Text(work.job)},
                           {"engine", Text(work.engine)},
                           {"status", work.started.IsZero() ? static_cast<int>(Assigned) : static_cast<int>(Started)},
                           {"assigned", work.assigned.Milliseconds()},
                           {"started", work.started.Milliseconds()},
                           {"cores", work.cores},
                           {"stopping", work.stopping}};
                       if (work.unit)
                           line["values"] = Values(*work.unit);
                       return line;
                   }) &&
           tellAll(m_failures, [](FailureItem const& item) {
               return Json{{"kind", "Failure"},
                           {"job", Text(item.job)},
                           {"engine", Text(item.engine)},
                           {"product", Text(item.product)},
                           {"count", item.count},
                           {"total", item.total},
                           {"time", item.time.Milliseconds()}};
           }));
}

} // namespace farm
