// The two threads of the client at once: one that hears the Master, one that shows what it
// heard. The thread sanitizer looks on.
#include "clienttest.h"

#include "model/enginewatcher.h"
#include "model/history.h"
#include "model/jobwatcher.h"

#include <corekit/threadpool.h>
#include <corekit/tick.h>

namespace vorlan::test_races {

constexpr int k_Rounds = 300;
constexpr unsigned k_Jobs = 8;
constexpr unsigned k_Engines = 4;

UID JobID(unsigned number) { return UID::FromName("job" + std::to_string(number % k_Jobs)); }
UID EngineID(unsigned number) { return UID::FromName("engine" + std::to_string(number % k_Engines)); }
UID UnitID(unsigned number) { return UID::FromName("unit" + std::to_string(number)); }

boost::shared_ptr<Job> JobAt(UID const& id, int status, unsigned round) {
    auto job = boost::make_shared<Job>(id);
    job->SetName("name " + String::From(round));
    job->SetStatus(status);
    return job;
}

template <class Watcher>
struct Display : Watcher {
    using Watcher::Watcher;
    void Update() override { seen += this->Watched()->history.size() + Name(*this->Watched()).size(); }
    static String Name(JobInfo const& info) { return info.job->Name(); }
    static String Name(EngineInfo const& info) { return info.StatusString(); }
    size_t seen = 0;
};

// What the windows do between two messages.
size_t Show(unsigned round, View& view) {
    size_t bytes = 0;
    view.TakeDirty();
    for (UID const& id : Jobs::GetAllJobs()) {
        boost::shared_ptr<JobInfo> const info = Jobs::FindJobInfo(id);
        if (!info)
            continue;
        bytes += (info->Status() + info->Pool() + info->WaitForString() + info->Summary()).size();
        if (round % 5 == 0)
            info->RequestHistory(true);
        if (round % 5 == 2)
            info->UnlockHistory();
    }
    for (auto const& [id, engine] : EngineList::Get().Snapshot()) {
        bytes += (engine->Name() + engine->StatusString() + engine->DisplayFailures()).size();
        for (boost::shared_ptr<WorkInfo> const& unit : WorkList::Get().GetAllWorkForEngine(id))
            bytes += static_cast<size_t>(unit->Elapsed(Time::CurrentTime()).Milliseconds() % 7) + unit->Pool().size();
    }
    Tick::s_Timer0250.Emit();
    HistoryTimer::Get().Check(Time::CurrentTime() + Time(2 * JobInfo::k_HistoryMs));
    return bytes;
}

class RacesTest : public MirrorTest {
protected:
    // What the Master says in one round: everything changes a little.
    static void Hear(unsigned round) {
        Engine engine(EngineID(round));
        engine.SetName("engine " + String::From(round));
        engine.SetOnline(round % 3 != 0);
        Say<EngineMsg>(engine);
        Say<EngineHistoryElementMsg>(engine.id, EngineHistoryElement{Time(round), "line"});
        Say<PoolMsg>(std::map<UID, String>{{EngineID(round), "pool " + String::From(round)}});

        UID const id = JobID(round);
        Say<JobMsg>(JobAt(id, round % 5 == 0 ? Paused : Queued, round));
        auto const unit = JobAt(UnitID(round), Assigned, round);
        unit->parentID = id;
        Assign(unit, engine.id);
        Value(id, p_PercentDone, String::From(round % 100));
        Element("unit" + String::From(round), id, Started, Time(1'000'000 + round), String::From(round));
        if (round >= 4)
            Finish(UnitID(round - 4), Finished);
        if (round % 7 == 0)
            Say<FinishedJobMsg>(JobAt(JobID(round + 1), Finished, round));
        if (round % 11 == 0) {
            DeleteJob(JobID(round + 2));
            RemoveEngine(EngineID(round + 1));
        }
    }
};

TEST_F(RacesTest, TheListsAreReadWhileTheyChange) {
    ThreadPool::Initialize(1);
    std::atomic<bool> done{false};
    std::thread messages([&] {
        for (unsigned round = 0; round < k_Rounds; ++round)
            Hear(round);
        done = true;
    });
    View view;
    JobList::Get().Lists().Add(&view);
    size_t bytes = 0;
    unsigned round = 0;
    while (!done) {
        Display<JobWatcher> job(Jobs::FindJobInfo(JobID(round)));
        Display<EngineWatcher> engine(EngineList::Get().FindEngine(EngineID(round)));
        bytes += Show(round, view);
        Engine const* const kept = mirror.FindEngineToKeep(EngineID(round));
        if (round % 50 == 49)
            mirror.ClearLists();
        bytes += kept ? kept->Name().size() : 0;
        ++round;
    }
    messages.join();
    bytes += Show(0, view);
    EXPECT_GT(bytes, 0u);
    JobList::Get().Lists().Remove(&view);

    ThreadPool::Shutdown();

    // A farm that says the same again is shown as it is: nothing is left of the former one.
    mirror.ClearLists();
    for (unsigned again = 0; again < 4; ++again)
        Hear(100 + again);
    EXPECT_EQ(WorkList::Get().Count(), 4u);
    Tick::s_Timer0250.Emit();
    EXPECT_EQ(mirror.StatusText(),
              "4 Engines (3 Available, 4 Active)   |   4 Jobs (4 Active, 0 Finished)   |   4 Work");
}

} // namespace vorlan::test_races
