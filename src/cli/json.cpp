#include "cli/json.h"

#include <nlohmann/json.hpp>
#include <vorlan/keys.h>
#include <vorlan/product.h>
#include <vorlan/range.h>

namespace vorlan::cli {

namespace {

Json TimeToJson(Time const& time) {
    return time.IsZero() ? Json(nullptr) : Json(time.Format("%Y-%m-%dT%H:%M:%S.%LZ", false).Str());
}

Json IdToJson(UID const& id) { return id.IsNull() ? Json(nullptr) : Json(id.ToString().Str()); }

double SecondsOf(Time const& time) { return static_cast<double>(time.Milliseconds()) / 1000; }

Json StatusToJson(int status) { return {{"number", status}, {"name", StatusName(status)}}; }

Json ParameterToJson(Parameter const& parameter) {
    Json json{{"name", parameter.GetName().Str()},
              {"niceName", parameter.GetNiceName().Str()},
              {"type", Parameter::TypeLabel(parameter.Type())},
              {"required", parameter.HasFlag(Parameter::f_Required)},
              {"default", parameter.GetDefault().Str()},
              {"help", parameter.GetHelp().Str()}};
    Json& choices = json["choices"] = Json::array();
    for (Parameter::Choice const& choice : parameter.Choices())
        choices.push_back({{"value", choice.value.Str()}, {"display", choice.display.Str()}});
    return json;
}

} // namespace

Json JobToJson(Job const& job, FarmView const& view, JobDetail detail) {
    Json json{{"id", job.id.ToString().Str()},
              {"name", job.Name().Str()},
              {"product", job.TypeString().Str()},
              {"status", StatusToJson(job.Status())},
              {"finished", job.IsFinished()},
              {"failed", job.IsFailed()},
              {"canceled", job.IsCanceled()},
              {"paused", job.IsPaused()},
              {"percentDone", job.PercentDone()},
              {"range", job.GetParameterString(p_Range).Str()},
              {"frames", job.GetParameterString(p_RangeCount).Uint()},
              {"activeWork", view.UnitCount(job.id)},
              {"priority", job.Priority()},
              {"pool", IdToJson(job.Pool())},
              {"creator", job.Creator().Str()},
              {"created", TimeToJson(job.Created())},
              {"finishedTime", TimeToJson(job.FinishedTime())},
              {"note", job.Note().Str()}};
    if (detail == JobDetail::Summary)
        return json;
    Json& values = json["values"] = Json::object();
    for (auto const& [name, value] : job.Values()) {
        if (name.CompareNoCase(p_Password) != 0)
            values[name.Str()] = value.Str();
    }
    Json& work = json["work"] = Json::array();
    for (FarmView::Unit const* unit : view.UnitsByAge(job.id))
        work.push_back(UnitToJson(*unit, view));
    Json& runs = json["runs"] = Json::array();
    for (auto const& [key, history] : view.History(job.id)) {
        for (unsigned i = 0; i < history.Tries(); ++i)
            runs.push_back(RunToJson(history[i], view));
    }
    return json;
}

Json UnitToJson(FarmView::Unit const& unit, FarmView const& view) {
    return {{"id", unit.work->id.ToString().Str()},
            {"job", unit.work->parentID.ToString().Str()},
            {"jobName", view.JobName(unit.work->parentID).Str()},
            {"frames", unit.work->Get(p_SubRange, false).Str()},
            {"engine", unit.engine.ToString().Str()},
            {"engineName", view.EngineName(unit.engine).Str()},
            {"status", StatusToJson(unit.status)},
            {"since", TimeToJson(unit.since)},
            {"percentDone", unit.work->PercentDone()}};
}

Json RunToJson(WorkRun const& run, FarmView const& view) {
    return {{"id", run.Work().ToString().Str()},       {"frames", run.Key().Str()},
            {"engine", run.Engine().ToString().Str()}, {"engineName", view.EngineName(run.Engine()).Str()},
            {"status", StatusToJson(run.Status())},    {"ended", run.HasEnded()},
            {"start", TimeToJson(run.StartTime())},    {"end", TimeToJson(run.EndTime())},
            {"seconds", SecondsOf(run.RunTime())},     {"note", run.LastNote().Str()}};
}

Json EngineToJson(Engine const& engine, FarmView const& view) {
    Json json{{"id", engine.id.ToString().Str()},
              {"name", engine.Name().Str()},
              {"host", engine.Hostname().Str()},
              {"online", engine.Online()},
              {"asleep", engine.Status() < 0},
              {"enabled", engine.Enabled()},
              {"cores", engine.MaxCores()},
              {"coresForWork", engine.UseCPUsAtTime(Time::CurrentTime())},
              {"activeWork", view.UnitCountOn(engine.id)},
              {"memoryMB", engine.MemoryMB()},
              {"gpus", engine.GPUs()},
              {"platform", engine.PlatformName().Str()},
              {"operatingSystem", engine.OperatingSystem().Str()},
              {"version", engine.Version()},
              {"priority", engine.Priority()},
              {"started", TimeToJson(engine.StartTime())},
              {"note", engine.Note().Str()}};
    Json& pools = json["pools"] = Json::array();
    for (UID const& pool : engine.GetAllPools())
        pools.push_back(view.PoolName(pool).Str());
    return json;
}

Json PoolToJson(UID const& id, FarmView const& view) {
    Json json{{"id", id.ToString().Str()}, {"name", view.PoolName(id).Str()}};
    Json& engines = json["engines"] = Json::array();
    for (Engine const* engine : view.EnginesByName()) {
        auto const pools = engine->GetAllPools();
        if (std::find(pools.begin(), pools.end(), id) != pools.end())
            engines.push_back(engine->Name().Str());
    }
    return json;
}

Json ProductToJson(Product const& product) {
    Json json{{"id", product.Type().ToString().Str()},
              {"name", product.Name().Str()},
              {"class", product.ClassName()},
              {"help", product.ShortHelp().Str()}};
    Json& parameters = json["parameters"] = Json::array();
    for (size_t i = 0; i < product.GetParamCount(); ++i) {
        auto const parameter = product.GetParam(i);
        if (parameter->HasFlag(Parameter::f_JobParameter) && parameter->Type() != Parameter::t_Separator &&
            parameter->Type() != Parameter::t_HelpText)
            parameters.push_back(ParameterToJson(*parameter));
    }
    return json;
}

String JsonText(Json const& json) { return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"; }

} // namespace vorlan::cli
