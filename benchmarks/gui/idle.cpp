// What VorlanGui takes of a core while nothing happens on a farm of 100,000 Jobs: its
// window is open, the Jobs are in its lists, the Master is connected.

#include "bench.h"
#include "farmprocess.h"
#include "farmstore.h"
#include "samplejob.h"
#include "testpaths.h"

#include <filesystem>
#include <fstream>
#include <unistd.h>

using namespace bench;

namespace {

constexpr unsigned k_Jobs = 100'000;
constexpr size_t k_Runs = 5;
constexpr int k_SpanMs = 6'000;
constexpr int k_LoadMs = 240'000;
// Loaded: it has taken that much memory, and little of a core for a while.
constexpr long k_LeastBytesPerJob = 2'000;
constexpr double k_RestPercent = 10;
constexpr int k_RestSpans = 5;

// Seconds of a core that the threads of a process have taken so far, to the nanosecond.
double CpuSeconds(pid_t process) {
    double nanoseconds = 0;
    std::error_code ignored;
    for (auto const& thread :
         std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task", ignored)) {
        std::ifstream file(thread.path() / "schedstat");
        double onCore = 0;
        file >> onCore;
        nanoseconds += onCore;
    }
    return nanoseconds / 1e9;
}

long MemoryBytes(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/statm");
    long pages = 0;
    long resident = 0;
    file >> pages >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}

double PercentOf(pid_t process, int spanMs) {
    double const before = CpuSeconds(process);
    double const seconds = Seconds([spanMs] { std::this_thread::sleep_for(std::chrono::milliseconds(spanMs)); });
    return 100 * (CpuSeconds(process) - before) / seconds;
}

void AwaitRest(corekit::Process& client) {
    int restful = 0;
    bool const rests = WaitUntil(
        [&] {
            bool const isLoaded = MemoryBytes(client.Pid()) > k_LeastBytesPerJob * static_cast<long>(k_Jobs);
            restful = PercentOf(client.Pid(), 1000) < k_RestPercent && isLoaded ? restful + 1 : 0;
            return restful == k_RestSpans || !client.Running();
        },
        k_LoadMs);
    if (!rests || !client.Running())
        throw FarmFailure("VorlanGui has not loaded the Jobs and come to rest.");
}

int Measure(Benchmark& benchmark) {
    FarmHome const home;
    {
        std::vector<boost::shared_ptr<Job>> jobs;
        for (unsigned number = 0; number < k_Jobs; ++number)
            jobs.push_back(SampleJob(number));
        FillStore(jobs);
    }
    corekit::ProcessOptions options;
    options.stdoutFd = options.stderrFd = corekit::ProcessOptions::k_Null;
    String error;
    // It starts its own Master and Engine.
    auto const client = corekit::Process::Start(corekit::Path(vorlan::k_BinDir) / "VorlanGui", options, &error);
    if (!client)
        throw FarmFailure(error.Str());
    AwaitRest(*client);
    benchmark.Run(k_Runs, [&] { return PercentOf(client->Pid(), k_SpanMs); });
    client->Terminate();
    Components::StopAndWait(k_ComponentEngine);
    Components::StopAndWait(k_ComponentMaster);
    return benchmark.Report();
}

} // namespace

int main(int argc, char** argv) {
    Benchmark benchmark({"idle", "% of a core", "", Judge::ValueAtMost, 0.5}, argc, argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    try {
        return Measure(benchmark);
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "idle: %s\n", failure.what());
        return 1;
    }
}
