// How long the client takes to load 100,000 Jobs from a real Master into its Job list,
// against decoding the same messages from memory into complete Jobs on one thread. The
// main thread reads the list all the while, as a window would, and must never wait.

#include "bench.h"
#include "farmprocess.h"
#include "farmstore.h"
#include "samplejob.h"

#include "vorlangui/client/farmclient.h"
#include "vorlangui/model/joblist.h"

#include <vorlan/messenger.h>

#include <atomic>

using namespace bench;

namespace {

constexpr unsigned k_Jobs = 100'000;
constexpr size_t k_Runs = 5;
constexpr int k_MasterMs = 120'000;
constexpr int k_LoadMs = 120'000;
// The period of the windows' tick: who waits longer has missed one.
constexpr double k_FreezeMs = 250;

std::vector<String> BodiesOf(std::vector<boost::shared_ptr<Job>> const& jobs) {
    std::vector<String> bodies;
    bodies.reserve(jobs.size());
    for (auto const& job : jobs)
        bodies.push_back(EncodeMessage(*JobMsg::Create(job)));
    return bodies;
}

double DecodeMs(std::vector<String> const& bodies) {
    std::vector<boost::shared_ptr<Job>> jobs;
    jobs.reserve(bodies.size());
    return 1000 * Seconds([&] {
               for (String const& body : bodies)
                   jobs.push_back(boost::static_pointer_cast<JobMsg>(DecodeMessage(JobMsg::s_Type, body))->job);
           });
}

// Hears the end of a load.
class LoadEnd : public corekit::HasSlots<> {
public:
    LoadEnd() { EndJobInfoMsg::s_Signal.Connect(this, &LoadEnd::OnEnd); }
    ~LoadEnd() override { DisconnectAll(); }

    void Begin() { m_loaded = false; }
    bool Loaded() const { return m_loaded; }

private:
    void OnEnd(boost::shared_ptr<EndJobInfoMsg> const&) { m_loaded = true; }

    std::atomic<bool> m_loaded{false};
};

// What the main thread does while the load goes on: looks at the list every few
// milliseconds, and counts it at each tick.
class Watch {
public:
    explicit Watch(std::vector<boost::shared_ptr<Job>> const& jobs) : m_jobs(jobs) {}

    double LongestGapMs() const { return m_longestMs; }

    void Until(std::function<bool()> const& done, int timeoutMs) {
        using Clock = std::chrono::steady_clock;
        auto const end = Clock::now() + std::chrono::milliseconds(timeoutMs);
        auto nextTick = Clock::now();
        auto last = Clock::now();
        for (size_t i = 0; !done(); i += k_Step) {
            Jobs::FindJobInfo(m_jobs[i % m_jobs.size()]->id);
            if (Clock::now() >= nextTick) {
                nextTick += k_Tick;
                size_t total = 0;
                size_t active = 0;
                size_t finished = 0;
                Jobs::GetCounts(total, active, finished);
            }
            auto const now = Clock::now();
            m_longestMs = std::max(m_longestMs, std::chrono::duration<double, std::milli>(now - last).count());
            last = now;
            if (now > end)
                throw FarmFailure("The Jobs did not come in time.");
            std::this_thread::sleep_for(k_Pause);
        }
    }

private:
    static constexpr size_t k_Step = 7919;
    static constexpr auto k_Pause = std::chrono::milliseconds(2);
    static constexpr auto k_Tick = std::chrono::milliseconds(250);

    std::vector<boost::shared_ptr<Job>> const& m_jobs;
    double m_longestMs = 0;
};

// All values but the one that is the Master's to reckon.
corekit::OptionMap ValuesOf(Job const& job) {
    corekit::OptionMap values = job.Values();
    values.erase(p_PercentDone);
    return values;
}

void CheckList(std::vector<boost::shared_ptr<Job>> const& jobs) {
    if (Jobs::GetAllJobs().size() != jobs.size())
        throw FarmFailure("The list has " + std::to_string(Jobs::GetAllJobs().size()) + " Jobs after the load.");
    for (size_t i = 0; i < jobs.size(); i += jobs.size() / 100) {
        auto const mirrored = Jobs::GetJobA(jobs[i]->id);
        if (!mirrored || ValuesOf(*mirrored) != ValuesOf(*jobs[i]))
            throw FarmFailure("A Job came with other values.");
    }
}

double LoadMs(LoadEnd& end, Watch& watch, std::vector<boost::shared_ptr<Job>> const& jobs) {
    JobList::Get().Clear();
    auto ask = GetJobInfoMsg::New();
    ask->AddAll();
    ask->wantJob = true;
    end.Begin();
    double const seconds = Seconds([&] {
        Messenger::Send(ask);
        watch.Until([&] { return end.Loaded(); }, k_LoadMs);
    });
    CheckList(jobs);
    return seconds * 1000;
}

int Measure(Benchmark& benchmark) {
    FarmHome const home;
    std::vector<boost::shared_ptr<Job>> jobs;
    jobs.reserve(k_Jobs);
    for (unsigned number = 0; number < k_Jobs; ++number)
        jobs.push_back(SampleJob(number));
    FillStore(jobs);
    FarmProcesses farm(home);
    farm.StartMaster(k_MasterMs);

    vorlan::FarmClient mirror;
    mirror.ConnectMessages();
    LoadEnd end;
    Watch watch(jobs);
    Messenger::Start(MessengerOptions(net::PeerKind::Client, "bench"));
    if (!WaitUntil(&Messenger::IsConnected, k_StartMs))
        throw FarmFailure("There was no connection to the Master.");
    auto follow = NotifyOnEventMsg::New();
    follow->AddAll();
    Messenger::Send(follow);

    auto const bodies = BodiesOf(jobs);
    benchmark.Run(
        k_Runs, [&] { return LoadMs(end, watch, jobs); }, [&] { return DecodeMs(bodies); });
    Messenger::Stop(false, true, false);
    JobList::Get().Clear();
    if (watch.LongestGapMs() > k_FreezeMs)
        benchmark.Fail("the main thread stood still for " + std::to_string(watch.LongestGapMs()) + " ms");
    return benchmark.Report();
}

} // namespace

int main(int argc, char** argv) {
    Benchmark benchmark({"load", "ms", "decoding the same messages from memory, one thread", Judge::RatioAtMost, 3.0},
                        argc, argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    try {
        return Measure(benchmark);
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "load: %s\n", failure.what());
        return 1;
    }
}
