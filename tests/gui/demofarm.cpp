#include "domain.h"

#include "demofarm.h"

#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"

namespace vorlan {

namespace {

using Json = nlohmann::ordered_json;

Json const& Farm() {
    static Json const s_farm =
        Json::parse(corekit::File::Read(Path(vorlan::k_SourceDir) / "tests/gui/demofarm.json").Str());
    return s_farm;
}

String TextOf(Json const& row, char const* key) { return String(row.at(key).get<std::string>()); }

int StatusOf(Json const& row) {
    static std::map<String, int> const s_statuses{{"Queued", Queued},
                                                  {"Paused", Paused},
                                                  {"Finished", Finished},
                                                  {"Failed", Failed},
                                                  {"UserCanceled", UserCanceled}};
    return s_statuses.at(TextOf(row, "Status"));
}

void AddPools() {
    for (char const* pool : {"GPU", "FX", "IO"})
        ChangePoolEvt(UID::FromName(pool), pool).Trigger();
}

// What the names of the Products stand for.
UID ProductNamed(String const& name) {
    std::vector<String> errors;
    static std::vector<boost::shared_ptr<Product>> const s_products = LoadProductFolder(FindProductFolder(), errors);
    for (auto const& product : s_products) {
        if (!product->Name().ContainsNoCase(name))
            continue;
        JobFactory::s_JobFactory->SetProduct(product);
        return product->Type();
    }
    return UID::FromName(name.c_str());
}

boost::shared_ptr<Job> MakeJob(Json const& row, String const& name) {
    auto job = boost::make_shared<Job>(UID::FromName(name.c_str()));
    job->SetName(name);
    for (char const* key : {p_Range, p_Priority, p_PercentDone, p_Note})
        job->SetParameter(key, TextOf(row, key));
    String const product = TextOf(row, "Product");
    job->SetParameter(p_Type, ProductNamed(product).ToString());
    // What the Products' summaries speak of.
    job->SetParameter("SceneFile", "/projects/" + name + (product == "Blender" ? ".blend" : ".pov"));
    job->SetParameter("CommandLine", "/farm/bin/run " + name);
    job->SetParameter("Pattern", "/renders/plate.####.exr");
    job->SetParameter("OutputFile", "/delivery/plate.mov");
    if (String const pool = TextOf(row, "Pool"); !pool.Empty())
        job->SetParameter(p_Pool, UID::FromName(pool.c_str()).ToString());
    job->SetCreator(TextOf(row, "Creator"));
    int const ageMinutes = row.at("AgeMinutes");
    Time const created = Time::CurrentTime() - Time::Minutes(ageMinutes);
    job->SetCreated(created);
    job->SetStatus(StatusOf(row));
    if (job->IsFinished())
        job->SetFinishedTime(created + Time::Minutes(ageMinutes / 2));
    return job;
}

void AddEngine(String const& name, unsigned cores, String const& state) {
    Engine engine(UID::FromName(name.c_str()));
    engine.SetName(name);
    engine.SetHostname(name);
    engine.SetMaxCores(cores);
    engine.SetOperatingSystem("Debian GNU/Linux 12");
    engine.SetPlatform(3);
    engine.SetMemory(SFormat("%u GB", cores * 4));
    engine.SetMemoryMB(cores * 4096);
    engine.SetEnabled(state != "Disabled");
    engine.SetOnline(state != "Offline");
    engine.SetStartTime(Time::CurrentTime() - Time::Hours(30));
    EngineList::Get().InsertEngine(engine);
}

void StartUnit(Json const& row) {
    String const job = TextOf(row, "Job");
    Time const started = Time::CurrentTime() - Time::Seconds(row.at("Seconds").get<int>());
    auto unit = boost::make_shared<Job>(UID::FromName((job + TextOf(row, "Name")).c_str()));
    unit->parentID = UID::FromName(job.c_str());
    unit->SetName(TextOf(row, "Name"));
    unit->SetStatus(Started);
    unit->SetCreated(started);
    unit->SetParameter(p_Note, TextOf(row, "Note"));
    auto message = StartedWorkMsg::New();
    message->work = unit;
    message->engine = UID::FromName(TextOf(row, "Engine").c_str());
    StartedWorkMsg::s_Signal.Emit(message);
    WorkList::Get().SetStartTime(unit->id, true, started);
}

} // namespace

void FillDemoFarm() {
    AddPools();
    for (Json const& row : Farm().at("Engines"))
        AddEngine(TextOf(row, "Name"), row.at("Cores"), TextOf(row, "State"));
    for (Json const& row : Farm().at("Jobs")) {
        boost::shared_ptr<Job> const job = MakeJob(row, TextOf(row, "Name"));
        JobList::Get().InsertJob(job);
        for (int i = row.at("Failures"); i > 0; --i)
            Failures::Add(job->id, job->Type(), UID::FromName("rack1-gpu04"), Time::CurrentTime());
    }
    for (Json const& row : Farm().at("Units"))
        StartUnit(row);
}

void CrowdDemoFarm(size_t jobs) {
    Json const& rows = Farm().at("Jobs");
    for (size_t i = 0; i < jobs; ++i) {
        Json row = rows.at(i % rows.size());
        row["Note"] = "a note that nobody reads to its end because it goes on and on";
        JobList::Get().InsertJob(MakeJob(row, SFormat("SC%03zu_%s_with_a_name_as_long_as_anybody_would_ever_type_it", i,
                                                      TextOf(row, "Name").c_str())));
        AddEngine(SFormat("rendernode-%03zu.in.the.basement.of.building.seven.example", i), 64, "Idle");
    }
}

} // namespace vorlan
