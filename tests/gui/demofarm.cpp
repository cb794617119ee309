#include "demofarm.h"

#include "model/enginelist.h"
#include "model/joblist.h"
#include "model/worklist.h"

#include <boost/make_shared.hpp>
#include <corekit/sformat.h>
#include <vorlan/events.h>
#include <vorlan/failures.h>
#include <vorlan/jobfactory.h>
#include <vorlan/keys.h>
#include <vorlan/messages.h>
#include <vorlan/product.h>
#include <vorlan/productfile.h>

namespace vorlan {

namespace {

struct DemoJob {
    char const* name;
    char const* product;
    char const* range;
    int priority;
    double percent;
    int status;
    char const* pool;
    char const* creator;
    int ageMinutes;
    char const* note;
    unsigned failures;
};

constexpr DemoJob k_Jobs[] = {
    {"SC010_hero_beauty_v042", "Blender", "1001-1240", 75, 63.2, Queued, "GPU", "light01", 161, "client review", 6},
    {"SC010_hero_crypto_v042", "Blender", "1001-1240", 70, 12.3, Queued, "GPU", "light01", 158, "", 0},
    {"SC020_city_wide_lgt_v011", "Blender", "1-480", 65, 0, Queued, "", "fx03", 230, "", 0},
    {"SC020_city_fx_smoke_v007", "Command", "1-480x2", 60, 99.9, Queued, "FX", "fx03", 290, "hold RAM at 48", 3},
    {"turntable_robot_A", "POV-Ray", "1-96", 50, 0, Paused, "", "asset02", 1020, "", 0},
    {"SC005_plates_prores", "FFmpeg", "1", 50, 31, Paused, "IO", "edit01", 1100, "", 0},
    {"SC001_titles_v003", "Blender", "1-200", 50, 100, Finished, "", "edit01", 1150, "delivered", 0},
    {"SC003_env_forest_v019", "Blender", "1-312", 40, 100, Failed, "GPU", "light01", 1390, "missing textures", 15},
    {"asset_bake_vehicles", "Command", "1-64", 30, 44.1, Queued, "", "asset02", 1440, "", 0},
    {"SC014_bg_crowd_v002", "Blender", "1001-1100", 30, 0, Queued, "", "fx03", 1500, "waits for assets", 0},
    {"wip_lookdev_skin", "Blender", "12,48,96", 20, 100, UserCanceled, "GPU", "light01", 2500, "", 0},
    {"SC030_pool_water_sim_v004", "Command", "1-120", 25, 18.5, Queued, "FX", "fx03", 2600, "", 0},
};

struct DemoUnit {
    char const* job;
    char const* name;
    char const* engine;
    int seconds;
    char const* note;
};

constexpr DemoUnit k_Units[] = {
    {"SC010_hero_beauty_v042", "1043", "rack2-gpu07", 252, ""},
    {"SC010_hero_beauty_v042", "1044", "rack2-gpu03", 238, ""},
    {"SC010_hero_beauty_v042", "1045", "rack1-gpu11", 231, ""},
    {"SC010_hero_beauty_v042", "1046", "rack2-gpu01", 160, ""},
    {"asset_bake_vehicles", "211-212", "rack3-cpu22", 69, ""},
    {"SC020_city_fx_smoke_v007", "479", "rack3-cpu02", 4364, "hold RAM at 48"},
    {"SC010_hero_crypto_v042", "1002", "rack1-gpu02", 21, ""},
    {"SC005_plates_prores", "1", "rack3-cpu02", 840, ""},
    {"SC030_pool_water_sim_v004", "23", "rack3-cpu04", 5100, ""},
};

enum class DemoState { Idle, Disabled, Offline };

struct DemoEngine {
    char const* name;
    unsigned cores;
    DemoState state;
};

constexpr DemoEngine k_Engines[] = {
    {"rack1-gpu02", 16, DemoState::Idle}, {"rack1-gpu04", 16, DemoState::Disabled},
    {"rack1-gpu09", 16, DemoState::Idle}, {"rack1-gpu11", 16, DemoState::Idle},
    {"rack2-gpu01", 24, DemoState::Idle}, {"rack2-gpu03", 24, DemoState::Idle},
    {"rack2-gpu07", 24, DemoState::Idle}, {"rack3-cpu02", 64, DemoState::Idle},
    {"rack3-cpu04", 64, DemoState::Idle}, {"rack3-cpu11", 64, DemoState::Offline},
    {"rack3-cpu22", 64, DemoState::Idle}, {"workstation-14", 12, DemoState::Idle},
};

void AddPools() {
    for (char const* pool : {"GPU", "FX", "IO"})
        ChangePoolEvt(UID::FromName(pool), pool).Trigger();
}

// What the names of the Products stand for.
UID ProductNamed(char const* name) {
    corekit::vector<String> errors;
    static corekit::vector<boost::shared_ptr<Product>> const s_products =
        LoadProductFolder(FindProductFolder(), errors);
    for (auto const& product : s_products) {
        if (!product->Name().ContainsNoCase(name))
            continue;
        JobFactory::s_JobFactory->SetProduct(product);
        return product->Type();
    }
    return UID::FromName(name);
}

boost::shared_ptr<Job> MakeJob(DemoJob const& row) {
    auto job = boost::make_shared<Job>(UID::FromName(row.name));
    job->SetName(row.name);
    job->SetParameter(p_Type, ProductNamed(row.product).ToString());
    job->SetParameter(p_Range, row.range);
    job->SetParameter(p_Priority, String::From(row.priority));
    job->SetParameter(p_PercentDone, SFormat("%.1f", row.percent));
    job->SetParameter(p_Note, row.note);
    // What the Products' summaries speak of.
    job->SetParameter("SceneFile",
                      SFormat("/projects/%s.%s", row.name, String(row.product) == "Blender" ? "blend" : "pov"));
    job->SetParameter("CommandLine", SFormat("/farm/bin/run %s", row.name));
    job->SetParameter("Pattern", "/renders/plate.####.exr");
    job->SetParameter("OutputFile", "/delivery/plate.mov");
    if (*row.pool)
        job->SetParameter(p_Pool, UID::FromName(row.pool).ToString());
    job->SetCreator(row.creator);
    Time const created = Time::CurrentTime() - Time::Minutes(row.ageMinutes);
    job->SetCreated(created);
    job->SetStatus(row.status);
    if (job->IsFinished())
        job->SetFinishedTime(created + Time::Minutes(row.ageMinutes / 2));
    return job;
}

Engine MakeEngine(DemoEngine const& row) {
    Engine engine(UID::FromName(row.name));
    engine.SetName(row.name);
    engine.SetHostname(row.name);
    engine.SetMaxCores(row.cores);
    engine.SetOperatingSystem("Debian GNU/Linux 12");
    engine.SetPlatform(3);
    engine.SetMemory(SFormat("%u GB", row.cores * 4));
    engine.SetMemoryMB(row.cores * 4096);
    engine.SetEnabled(row.state != DemoState::Disabled);
    engine.SetOnline(row.state != DemoState::Offline);
    engine.SetStartTime(Time::CurrentTime() - Time::Hours(30));
    return engine;
}

void StartUnit(DemoUnit const& row) {
    Time const started = Time::CurrentTime() - Time::Seconds(row.seconds);
    auto unit = boost::make_shared<Job>(UID::FromName(String(row.job) + row.name));
    unit->parentID = UID::FromName(row.job);
    unit->SetName(row.name);
    unit->SetStatus(Started);
    unit->SetCreated(started);
    unit->SetParameter(p_Note, row.note);
    auto message = StartedWorkMsg::New();
    message->work = unit;
    message->engine = UID::FromName(row.engine);
    StartedWorkMsg::s_Signal.Emit(message);
    WorkList::Get().SetStartTime(unit->id, true, started);
}

} // namespace

void FillDemoFarm() {
    AddPools();
    for (DemoEngine const& row : k_Engines)
        EngineList::Get().InsertEngine(MakeEngine(row));
    for (DemoJob const& row : k_Jobs) {
        boost::shared_ptr<Job> const job = MakeJob(row);
        JobList::Get().InsertJob(job);
        for (unsigned i = 0; i < row.failures; ++i)
            Failures::Add(job->id, job->Type(), UID::FromName("rack1-gpu04"), Time::CurrentTime());
    }
    for (DemoUnit const& row : k_Units)
        StartUnit(row);
}

void CrowdDemoFarm(size_t jobs) {
    for (size_t i = 0; i < jobs; ++i) {
        DemoJob row = k_Jobs[i % std::size(k_Jobs)];
        String name = SFormat("SC%03zu_%s_with_a_name_as_long_as_anybody_would_ever_type_it", i, row.name);
        row.name = name.c_str();
        row.note = "a note that nobody reads to its end because it goes on and on";
        JobList::Get().InsertJob(MakeJob(row));
        String engineName = SFormat("rendernode-%03zu.in.the.basement.of.building.seven.example", i);
        EngineList::Get().InsertEngine(MakeEngine({engineName.c_str(), 64, DemoState::Idle}));
    }
}

void ClearDemoFarm() {
    for (DemoJob const& row : k_Jobs)
        Failures::RemoveJob(UID::FromName(row.name));
    EngineList::Get().Clear();
    JobList::Get().Clear();
    WorkList::Get().Clear();
}

} // namespace vorlan
