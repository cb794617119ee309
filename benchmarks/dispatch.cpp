// How many units that do nothing a real Master and a real Engine get through in a
// second: a process each, TLS between them, every step of each unit in the durable
// store. Against the bare start of such processes, two at a time.

#include "bench.h"
#include "farmprocess.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace bench;

namespace {

constexpr unsigned k_Cores = 16;
constexpr unsigned k_Units = 3000;
constexpr unsigned k_Processes = 3000;
constexpr size_t k_Runs = 7;
constexpr int k_JobMs = 120'000;

double UnitsPerSecond(FarmClient& client, unsigned units) {
    auto const job = NoOpJob(units);
    boost::shared_ptr<FinishedJobMsg> finished;
    double const seconds = Seconds([&] {
        client.Send(JobMsg::Create(job));
        finished = client.Await<FinishedJobMsg>(
            "end of the Job", [&](FinishedJobMsg const& told) { return told.job && told.job->id == job->id; }, k_JobMs);
    });
    if (finished->job->Status() != Finished)
        throw FarmFailure("A Job of /bin/true ended as " + finished->job->StatusAsString().Str());
    return units / seconds;
}

void SpawnAndWait(unsigned count) {
    char program[] = "/bin/true";
    char* arguments[] = {program, nullptr};
    for (unsigned i = 0; i < count; ++i) {
        pid_t child = 0;
        int status = 0;
        if (posix_spawn(&child, program, nullptr, nullptr, arguments, environ) != 0 ||
            waitpid(child, &status, 0) != child || status != 0)
            throw FarmFailure("/bin/true could not be started.");
    }
}

double ProcessesPerSecond() {
    return k_Processes / Seconds([] {
               std::thread other([] { SpawnAndWait(k_Processes / 2); });
               SpawnAndWait(k_Processes / 2);
               other.join();
           });
}

int Measure(Benchmark& benchmark) {
    OneEngineFarm farm(k_Cores);
    FarmClient& client = farm.Client();
    UnitsPerSecond(client, k_Units / 10); // warms up
    benchmark.Run(
        k_Runs, [&] { return UnitsPerSecond(client, k_Units); }, ProcessesPerSecond);
    return benchmark.Report();
}

} // namespace

int main(int argc, char** argv) {
    Benchmark benchmark(
        {"dispatch", "units/s", "processes/s, started and awaited on 2 threads", Judge::RatioAtLeast, 0.5}, argc, argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    try {
        return Measure(benchmark);
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "dispatch: %s\n", failure.what());
        return 1;
    }
}
