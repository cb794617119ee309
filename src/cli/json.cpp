#include "cli/json.h"

#include <nlohmann/json.hpp>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/product.h>
#include <vorlan/range.h>
#include <vorlan/values.h>

#include <algorithm>
#include <array>

namespace vorlan::cli {

namespace {

// One field of what is printed for a T.
template <class T>
struct JsonField {
    char const* name;
    char const* meaning;
    Json (*value)(T const& object, FarmView const& view);
};

Json TimeToJson(Time const& time) {
    return time.IsZero() ? Json(nullptr) : Json(time.Format("%Y-%m-%dT%H:%M:%S.%LZ", false).Str());
}

Json IdToJson(UID const& id) { return id.IsNull() ? Json(nullptr) : Json(id.ToString().Str()); }

double SecondsOf(Time const& time) { return static_cast<double>(time.Milliseconds()) / 1000; }

Json StatusToJson(int status) { return {{"number", status}, {"name", StatusName(status)}}; }

template <class List, class Function>
Json ListToJson(List const& list, Function function) {
    Json json = Json::array();
    for (auto const& item : list)
        json.push_back(function(item));
    return json;
}

// What people set: the Master's own values are fields.
Json ValuesToJson(Job const& job) {
    Json values = Json::object();
    for (auto const& [name, value] : job.Values()) {
        ValueInfo const* const info = FindValue(name);
        if (!info || !(info->Has(v_MastersOwn) || info->kind == ValueKind::Secret))
            values[name.Str()] = value.Str();
    }
    return values;
}

using J = Job const&;
using V = FarmView const&;

constexpr std::array k_JobFields{
    JsonField<Job>{"id", "its UID", [](J job, V) -> Json { return job.id.ToString().Str(); }},
    JsonField<Job>{"name", "its name", [](J job, V) -> Json { return job.Name().Str(); }},
    JsonField<Job>{"product", "the name of its Product", [](J job, V) -> Json { return job.TypeString().Str(); }},
    JsonField<Job>{"status", "`number` and `name` of its status", [](J job, V) { return StatusToJson(job.Status()); }},
    JsonField<Job>{"finished", "it has ended, well or not", [](J job, V) -> Json { return job.IsFinished(); }},
    JsonField<Job>{"failed", "it has ended, and frames of it have failed",
                   [](J job, V) -> Json { return job.IsFailed(); }},
    JsonField<Job>{"canceled", "it has ended because somebody canceled it",
                   [](J job, V) -> Json { return job.IsCanceled(); }},
    JsonField<Job>{"paused", "it waits until somebody resumes it", [](J job, V) -> Json { return job.IsPaused(); }},
    JsonField<Job>{"percentDone", "how much of it is done, 0 to 100",
                   [](J job, V) -> Json { return job.PercentDone(); }},
    JsonField<Job>{"range", "its frames as a range, such as `1-100`",
                   [](J job, V) -> Json { return job.GetParameterString(p_Range).Str(); }},
    JsonField<Job>{"frames", "how many frames that are",
                   [](J job, V) -> Json { return job.GetParameterString(p_RangeCount).Uint(); }},
    JsonField<Job>{"activeWork", "how many work units Engines have of it",
                   [](J job, V view) -> Json { return view.UnitCount(job.id); }},
    JsonField<Job>{"failures", "how many runs of it have failed since its failures were reset",
                   [](J job, V view) -> Json { return view.FailuresOf(job.id); }},
    JsonField<Job>{"standstill", "why nothing of it can run until somebody changes something; empty as long as it can",
                   [](J job, V) -> Json { return job.Standstill().Str(); }},
    JsonField<Job>{"priority", "its priority, 0 to 100", [](J job, V) -> Json { return job.Priority(); }},
    JsonField<Job>{"pool", "the UID of its Pool; null: the whole system",
                   [](J job, V) { return IdToJson(job.Pool()); }},
    JsonField<Job>{"creator", "who submitted it", [](J job, V) -> Json { return job.Creator().Str(); }},
    JsonField<Job>{"created", "when", [](J job, V) { return TimeToJson(job.Created()); }},
    JsonField<Job>{"finishedTime", "when it ended", [](J job, V) { return TimeToJson(job.FinishedTime()); }},
    JsonField<Job>{"note", "what others should know of it", [](J job, V) -> Json { return job.Note().Str(); }},
};

constexpr std::array k_EndedJobFields{
    JsonField<Job>{"failedFrames", "the frames whose last run has failed, as a range; empty: none",
                   [](J job, V view) -> Json { return FailedFrames(view.History(job.id)).Str(); }},
    JsonField<Job>{"deleted", "the Job is not there any more; the rest is what was known last",
                   [](J job, V view) -> Json { return !view.FindJob(job.id); }},
};

constexpr std::array k_WholeJobFields{
    JsonField<Job>{"values", "what was set for it, by the names of the parameters; passwords are left out",
                   [](J job, V) { return ValuesToJson(job); }},
    JsonField<Job>{"work", "its active work, see Work",
                   [](J job, V view) {
                       return ListToJson(view.UnitsByAge(job.id),
                                         [&view](FarmView::Unit const* unit) { return UnitToJson(*unit, view); });
                   }},
    JsonField<Job>{"runs", "all runs of its work, see Run",
                   [](J job, V view) {
                       Json runs = Json::array();
                       for (auto const& [key, history] : view.History(job.id)) {
                           for (unsigned i = 0; i < history.Tries(); ++i)
                               runs.push_back(RunToJson(history[i], view));
                       }
                       return runs;
                   }},
};

using U = FarmView::Unit const&;
constexpr std::array k_UnitFields{
    JsonField<FarmView::Unit>{"id", "the UID of the run",
                              [](U unit, V) -> Json { return unit.work->id.ToString().Str(); }},
    JsonField<FarmView::Unit>{"job", "the UID of its Job",
                              [](U unit, V) -> Json { return unit.work->parentID.ToString().Str(); }},
    JsonField<FarmView::Unit>{"jobName", "the name of its Job",
                              [](U unit, V view) -> Json { return view.JobName(unit.work->parentID).Str(); }},
    JsonField<FarmView::Unit>{"frames", "its frames as a range",
                              [](U unit, V) -> Json { return unit.work->Get(p_SubRange, false).Str(); }},
    JsonField<FarmView::Unit>{"engine", "the UID of the Engine that has it",
                              [](U unit, V) -> Json { return unit.engine.ToString().Str(); }},
    JsonField<FarmView::Unit>{"engineName", "the name of that Engine",
                              [](U unit, V view) -> Json { return view.EngineName(unit.engine).Str(); }},
    JsonField<FarmView::Unit>{"status", "`number` and `name` of its status",
                              [](U unit, V) { return StatusToJson(unit.status); }},
    JsonField<FarmView::Unit>{"since", "since when it has that status",
                              [](U unit, V) { return TimeToJson(unit.since); }},
    JsonField<FarmView::Unit>{"percentDone", "how much of it is done, 0 to 100",
                              [](U unit, V) -> Json { return unit.work->PercentDone(); }},
};

using R = WorkRun const&;
constexpr std::array k_RunFields{
    JsonField<WorkRun>{"id", "the UID of the run", [](R run, V) -> Json { return run.Work().ToString().Str(); }},
    JsonField<WorkRun>{"frames", "its frames as a range", [](R run, V) -> Json { return run.Key().Str(); }},
    JsonField<WorkRun>{"engine", "the UID of its Engine",
                       [](R run, V) -> Json { return run.Engine().ToString().Str(); }},
    JsonField<WorkRun>{"engineName", "the name of that Engine",
                       [](R run, V view) -> Json { return view.EngineName(run.Engine()).Str(); }},
    JsonField<WorkRun>{"status", "`number` and `name` of its last status",
                       [](R run, V) { return StatusToJson(run.Status()); }},
    JsonField<WorkRun>{"ended", "it is over", [](R run, V) -> Json { return run.HasEnded(); }},
    JsonField<WorkRun>{"start", "when it started", [](R run, V) { return TimeToJson(run.StartTime()); }},
    JsonField<WorkRun>{"end", "when it ended", [](R run, V) { return TimeToJson(run.EndTime()); }},
    JsonField<WorkRun>{"seconds", "how long it took, or takes so far",
                       [](R run, V) -> Json { return SecondsOf(run.RunTime()); }},
    JsonField<WorkRun>{"note", "why it ended so", [](R run, V) -> Json { return run.LastNote().Str(); }},
};

constexpr std::array k_OutputFields{
    JsonField<RunOutput>{"run", "whose output it is, see Run",
                         [](RunOutput const& output, V view) { return RunToJson(output.run, view); }},
    JsonField<RunOutput>{"output", "what its program wrote",
                         [](RunOutput const& output, V) -> Json { return output.text.Str(); }},
    JsonField<RunOutput>{"error", "why there is none; empty otherwise",
                         [](RunOutput const& output, V) -> Json { return output.error.Str(); }},
};

constexpr std::array k_LineFields{
    JsonField<OutputLine>{"id", "the UID of the run",
                          [](OutputLine const& one, V) -> Json { return one.id.ToString().Str(); }},
    JsonField<OutputLine>{"frames", "its frames as a range",
                          [](OutputLine const& one, V) -> Json { return one.frames.Str(); }},
    JsonField<OutputLine>{"line", "what its program wrote, without the line feed",
                          [](OutputLine const& one, V) -> Json { return one.line.Str(); }},
};

using E = Engine const&;
constexpr std::array k_EngineFields{
    JsonField<Engine>{"id", "its UID", [](E engine, V) -> Json { return engine.id.ToString().Str(); }},
    JsonField<Engine>{"name", "its name", [](E engine, V) -> Json { return engine.Name().Str(); }},
    JsonField<Engine>{"host", "the name of its machine", [](E engine, V) -> Json { return engine.Hostname().Str(); }},
    JsonField<Engine>{"online", "it is connected", [](E engine, V) -> Json { return engine.Online(); }},
    JsonField<Engine>{"asleep", "its machine sleeps until it is woken",
                      [](E engine, V) -> Json { return engine.Status() < 0; }},
    JsonField<Engine>{"enabled", "it may take on work", [](E engine, V) -> Json { return engine.Enabled(); }},
    JsonField<Engine>{"cores", "the cores of its machine", [](E engine, V) -> Json { return engine.MaxCores(); }},
    JsonField<Engine>{"coresForWork", "those that are for work now",
                      [](E engine, V) -> Json { return engine.UseCPUsAtTime(Time::CurrentTime()); }},
    JsonField<Engine>{"activeWork", "how many work units it has",
                      [](E engine, V view) -> Json { return view.UnitCountOn(engine.id); }},
    JsonField<Engine>{"failures", "how many runs on it have failed since its failures were reset",
                      [](E engine, V view) -> Json { return view.FailuresOn(engine.id); }},
    JsonField<Engine>{"barredProducts", "the names of the Products that it gets no work of, since it failed too often",
                      [](E engine, V) {
                          return ListToJson(BarredProductNames(engine),
                                            [](String const& name) -> Json { return name.Str(); });
                      }},
    JsonField<Engine>{"memoryMB", "the memory of its machine", [](E engine, V) -> Json { return engine.MemoryMB(); }},
    JsonField<Engine>{"gpus", "the GPUs of its machine", [](E engine, V) -> Json { return engine.GPUs(); }},
    JsonField<Engine>{"platform", "`Windows`, `macOS` or `Linux`",
                      [](E engine, V) -> Json { return engine.PlatformName().Str(); }},
    JsonField<Engine>{"operatingSystem", "its operating system",
                      [](E engine, V) -> Json { return engine.OperatingSystem().Str(); }},
    JsonField<Engine>{"version", "the version of the program, 30000 for 3.0.0",
                      [](E engine, V) -> Json { return engine.Version(); }},
    JsonField<Engine>{"priority", "its priority, 0 to 100", [](E engine, V) -> Json { return engine.Priority(); }},
    JsonField<Engine>{"started", "when it was started", [](E engine, V) { return TimeToJson(engine.StartTime()); }},
    JsonField<Engine>{"note", "what people should know of it", [](E engine, V) -> Json { return engine.Note().Str(); }},
    JsonField<Engine>{"pools", "the names of its Pools, the most important one first",
                      [](E engine, V view) {
                          return ListToJson(engine.GetAllPools(),
                                            [&view](UID const& pool) -> Json { return view.PoolName(pool).Str(); });
                      }},
};

constexpr std::array k_PoolFields{
    JsonField<UID>{"id", "its UID", [](UID const& pool, V) -> Json { return pool.ToString().Str(); }},
    JsonField<UID>{"name", "its name", [](UID const& pool, V view) -> Json { return view.PoolName(pool).Str(); }},
    JsonField<UID>{"engines", "the names of its Engines",
                   [](UID const& pool, V view) {
                       Json engines = Json::array();
                       for (Engine const* engine : view.EnginesByName()) {
                           auto const pools = engine->GetAllPools();
                           if (std::find(pools.begin(), pools.end(), pool) != pools.end())
                               engines.push_back(engine->Name().Str());
                       }
                       return engines;
                   }},
};

using P = Parameter const&;
constexpr std::array k_ParameterFields{
    JsonField<Parameter>{"name", "what it is set by", [](P parameter, V) -> Json { return parameter.GetName().Str(); }},
    JsonField<Parameter>{"niceName", "what people read",
                         [](P parameter, V) -> Json { return parameter.GetNiceName().Str(); }},
    JsonField<Parameter>{"type", "its type, as in docs/products.md",
                         [](P parameter, V) -> Json { return Parameter::TypeLabel(parameter.Type()); }},
    JsonField<Parameter>{"required", "a Job must have it",
                         [](P parameter, V) -> Json { return parameter.HasFlag(Parameter::f_Required); }},
    JsonField<Parameter>{"default", "what counts without a value",
                         [](P parameter, V) -> Json { return parameter.GetDefault().Str(); }},
    JsonField<Parameter>{"help", "what it is for", [](P parameter, V) -> Json { return parameter.GetHelp().Str(); }},
    JsonField<Parameter>{"choices", "of a choice: a list of `value` and `display`, what people read",
                         [](P parameter, V) {
                             return ListToJson(parameter.Choices(), [](Parameter::Choice const& choice) -> Json {
                                 return {{"value", choice.value.Str()}, {"display", choice.display.Str()}};
                             });
                         }},
};

template <class T, size_t N>
Json FieldsToJson(std::array<JsonField<T>, N> const& fields, T const& object, FarmView const& view) {
    Json json = Json::object();
    for (JsonField<T> const& field : fields)
        json[field.name] = field.value(object, view);
    return json;
}

using D = Product const&;
constexpr std::array k_ProductFields{
    JsonField<Product>{"id", "its UID", [](D product, V) -> Json { return product.Type().ToString().Str(); }},
    JsonField<Product>{"name", "its name", [](D product, V) -> Json { return product.Name().Str(); }},
    JsonField<Product>{"class", "how its Jobs are divided: `Sequence`, `Single`, `Once per Engine`, `Virtual Module`",
                       [](D product, V) -> Json { return product.ClassName(); }},
    JsonField<Product>{"help", "what it does", [](D product, V) -> Json { return product.ShortHelp().Str(); }},
    JsonField<Product>{"parameters", "what its Jobs may be told, see Parameter",
                       [](D product, V view) {
                           Json parameters = Json::array();
                           for (size_t i = 0; i < product.GetParamCount(); ++i) {
                               auto const parameter = product.GetParam(i);
                               if (parameter->HasFlag(Parameter::f_JobParameter) && !parameter->IsHeading())
                                   parameters.push_back(FieldsToJson(k_ParameterFields, *parameter, view));
                           }
                           return parameters;
                       }},
};

constexpr std::array k_ReportFields{
    JsonField<WhyReport>{"id", "the UID of the Job or Engine",
                         [](WhyReport const& report, V) -> Json { return report.id.ToString().Str(); }},
    JsonField<WhyReport>{"kind", "`Job` or `Engine`",
                         [](WhyReport const& report, V) -> Json { return report.kind.Str(); }},
    JsonField<WhyReport>{"name", "its name", [](WhyReport const& report, V) -> Json { return report.name.Str(); }},
    JsonField<WhyReport>{"report", "why it gets work or does not, text for people",
                         [](WhyReport const& report, V) -> Json { return report.text.Str(); }},
};

constexpr std::array k_KeyFields{
    JsonField<KeyFacts>{"key", "the line for `vorlan key join`; keep it secret",
                        [](KeyFacts const& facts, V) -> Json { return facts.key.Str(); }},
    JsonField<KeyFacts>{"fingerprint", "of the certificate of the machine that made it, SHA-256 in hexadecimal",
                        [](KeyFacts const& facts, V) -> Json { return facts.fingerprint.Str(); }},
    JsonField<KeyFacts>{"joined", "it was made on another machine",
                        [](KeyFacts const& facts, V) -> Json { return facts.joined; }},
};

template <class T, size_t N>
void Describe(JsonTable& table, std::array<JsonField<T>, N> const& fields) {
    for (JsonField<T> const& field : fields)
        table.fields.emplace_back(field.name, field.meaning);
}

} // namespace

Json JobToJson(Job const& job, FarmView const& view, JobDetail detail) {
    Json json = FieldsToJson(k_JobFields, job, view);
    if (detail != JobDetail::Summary)
        json.update(FieldsToJson(k_EndedJobFields, job, view));
    if (detail == JobDetail::Everything)
        json.update(FieldsToJson(k_WholeJobFields, job, view));
    return json;
}

Json UnitToJson(FarmView::Unit const& unit, FarmView const& view) { return FieldsToJson(k_UnitFields, unit, view); }
Json RunToJson(WorkRun const& run, FarmView const& view) { return FieldsToJson(k_RunFields, run, view); }
Json EngineToJson(Engine const& engine, FarmView const& view) { return FieldsToJson(k_EngineFields, engine, view); }
Json PoolToJson(UID const& id, FarmView const& view) { return FieldsToJson(k_PoolFields, id, view); }
Json ProductToJson(Product const& product) { return FieldsToJson(k_ProductFields, product, FarmView()); }
Json OutputToJson(RunOutput const& output, FarmView const& view) { return FieldsToJson(k_OutputFields, output, view); }
Json ReportToJson(WhyReport const& report) { return FieldsToJson(k_ReportFields, report, FarmView()); }
Json KeyToJson(KeyFacts const& facts) { return FieldsToJson(k_KeyFields, facts, FarmView()); }

String OutputLineToJson(OutputLine const& line) {
    return FieldsToJson(k_LineFields, line, FarmView()).dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
}

String JsonText(Json const& json) { return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n"; }

std::vector<JsonTable> DescribeJson() {
    std::vector<JsonTable> tables;
    auto const add = [&tables](char const* title, char const* about, auto const&... fields) {
        JsonTable& table = tables.emplace_back(JsonTable{title, about, {}});
        (Describe(table, fields), ...);
    };
    add("Job", "`vorlan jobs` prints a list of these, `vorlan submit` those that it submitted.", k_JobFields);
    add("Ended Job",
        "`vorlan wait` and `vorlan submit --wait` print a list of Jobs as they are after the wait, with these fields, "
        "too.",
        k_EndedJobFields);
    add("Whole Job", "`vorlan job` prints one Job with all the fields above and these.", k_WholeJobFields);
    add("Work", "What Engines do now: `vorlan work` prints a list.", k_UnitFields);
    add("Run", "One try of a work unit: `vorlan work --all` prints a list.", k_RunFields);
    add("Output", "`vorlan log` prints a list, one for each run.", k_OutputFields);
    add("Line", "`vorlan log --follow` prints one of these in each line.", k_LineFields);
    add("Engine", "`vorlan engines` prints a list.", k_EngineFields);
    add("Pool", "`vorlan pools` prints a list.", k_PoolFields);
    add("Product", "`vorlan products` prints a list, `vorlan products NAME` one.", k_ProductFields);
    add("Parameter", "In the list of a Product.", k_ParameterFields);
    add("Report", "`vorlan report` prints one.", k_ReportFields);
    add("Key", "`vorlan key show` prints one.", k_KeyFields);
    return tables;
}

} // namespace vorlan::cli
