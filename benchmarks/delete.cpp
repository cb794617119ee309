// How long a real Master with 1,000,000 runs in its store lets somebody wait while 1,000
// of its Jobs are deleted: the longest round trip of a request that only the working
// thread answers, between two turns, until the rows of the runs have gone as well.

#include "bench.h"
#include "farmprocess.h"
#include "farmstore.h"

#include "master/core/rows.h"

#include <atomic>

using namespace bench;

namespace {

constexpr unsigned k_Jobs = 2'000;
constexpr unsigned k_Deleted = 1'000;
constexpr unsigned k_RunsOfJob = 500;
// Jobs that ran side by side: their rows lie between each other's.
constexpr unsigned k_SideBySide = 20;
constexpr size_t k_Samples = 5;
constexpr int k_MasterMs = 120'000;
// For so long after the last deletion rows may still go.
constexpr auto k_Tidying = std::chrono::seconds(10);

std::vector<boost::shared_ptr<Job>> SomeJobs() {
    std::vector<boost::shared_ptr<Job>> jobs;
    for (unsigned i = 0; i < k_Jobs; ++i) {
        auto job = NoOpJob(k_RunsOfJob);
        job->SetStatus(Finished);
        jobs.push_back(std::move(job));
    }
    return jobs;
}

void AddRuns(farm::SqlStore& store) {
    std::vector<farm::Record> records;
    uint64_t number = k_Jobs;
    UID const engine(true);
    for (unsigned first = 1; first <= k_Jobs; first += k_SideBySide) {
        for (unsigned frame = 1; frame <= k_RunsOfJob; ++frame) {
            for (unsigned job = first; job < first + k_SideBySide; ++job) {
                farm::RunRow run;
                run.work = UID(true);
                run.engine = engine;
                run.subRange = String::From(frame);
                run.cores = 1;
                run.outcome = farm::Outcome::Finished;
                corekit::Time const now = corekit::Time::CurrentTime();
                run.elements = {{Assigned, now, {}}, {Started, now, {}}, {Finished, now, {}}, {Closed, now, {}}};
                farm::Record record;
                record.kind = farm::RecordKind::History;
                record.number = ++number;
                record.job = job;
                record.body = WriteRow(run);
                records.push_back(std::move(record));
            }
        }
        store.Commit(records);
        records.clear();
    }
}

// Asks the working thread for something short, over and over.
class Prober {
public:
    Prober()
        : m_thread([this] {
              while (!m_end) {
                  m_longestMs = std::max(m_longestMs, 1000 * Seconds([this] {
                                                          m_client.Send(GetMasterLimitsMsg::New());
                                                          m_client.Await<SetMasterLimitsMsg>("answer of the Master");
                                                      }));
                  std::this_thread::sleep_for(std::chrono::milliseconds(1));
              }
          }) {}
    ~Prober() { LongestMs(); }

    double LongestMs() {
        m_end = true;
        if (m_thread.joinable())
            m_thread.join();
        return m_longestMs;
    }

private:
    FarmClient m_client;
    std::atomic<bool> m_end{false};
    double m_longestMs = 0;
    std::thread m_thread;
};

double LongestGapMs(FarmHome const& home, std::vector<boost::shared_ptr<Job>> const& jobs) {
    FarmProcesses processes(home);
    processes.StartMaster(k_MasterMs);
    FarmClient client;
    client.Follow({DeleteJobMsg::s_Type});
    Prober prober;
    for (unsigned i = 0; i < k_Deleted; ++i)
        client.Send(DeleteJobMsg::Create(jobs[i * k_Jobs / k_Deleted]->id));
    for (unsigned i = 0; i < k_Deleted; ++i)
        client.Await<DeleteJobMsg>("deletion");
    std::this_thread::sleep_for(k_Tidying);
    return prober.LongestMs();
}

int Measure(Benchmark& benchmark) {
    FarmHome const home;
    auto const jobs = SomeJobs();
    FillStore(jobs, AddRuns);
    Path const store = StoreFile();
    std::filesystem::path const whole = store.Native().string() + ".whole";
    std::filesystem::rename(store.Native(), whole);
    benchmark.Run(k_Samples, [&] {
        std::filesystem::copy_file(whole, store.Native(), std::filesystem::copy_options::overwrite_existing);
        return LongestGapMs(home, jobs);
    });
    return benchmark.Report();
}

} // namespace

int main(int argc, char** argv) {
    Benchmark benchmark({"delete", "ms", "", Judge::ValueAtMost, 50}, argc, argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    try {
        return Measure(benchmark);
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "delete: %s\n", failure.what());
        return 1;
    }
}
