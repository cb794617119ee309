// How long it takes from the submission of a Job to the start of its one unit, on a
// farm that has nothing else to do, as the client that submitted it hears of it.

#include "bench.h"
#include "farmprocess.h"

using namespace bench;

namespace {

constexpr unsigned k_Cores = 2;
constexpr size_t k_Runs = 31;
constexpr int k_Pings = 20;

// Longer than anything that follows the end of a Job on the Master or the Engine.
constexpr auto k_Settle = std::chrono::milliseconds(50);

double SubmitToStartMs(FarmClient& client) {
    std::this_thread::sleep_for(k_Settle); // the farm is to be idle
    auto const job = NoOpJob(1);
    double const seconds = Seconds([&] {
        client.Send(JobMsg::Create(job));
        client.Await<StartedWorkMsg>("start of the unit", [&](StartedWorkMsg const& told) {
            return told.work && told.work->parentID == job->id;
        });
    });
    client.Await<FinishedJobMsg>("end of the Job",
                                 [&](FinishedJobMsg const& told) { return told.job && told.job->id == job->id; });
    return seconds * 1000;
}

double RoundTripMs(FarmClient& client) {
    std::vector<double> samples;
    for (int i = 0; i < k_Pings; ++i) {
        auto ping = PingMsg::New();
        ping->time = corekit::Time::CurrentTime();
        samples.push_back(1000 * Seconds([&] {
                              client.Send(ping);
                              client.Await<PongMsg>("answer of the Master");
                          }));
    }
    return Median(samples);
}

int Measure(Benchmark& benchmark) {
    OneEngineFarm farm(k_Cores);
    FarmClient& client = farm.Client();
    SubmitToStartMs(client); // warms up
    benchmark.Run(
        k_Runs, [&] { return SubmitToStartMs(client); }, [&] { return RoundTripMs(client); });
    return benchmark.Report();
}

} // namespace

int main(int argc, char** argv) {
    Benchmark benchmark({"latency", "ms", "a message to the Master and back", Judge::ValueAtMost, 10}, argc, argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    try {
        return Measure(benchmark);
    } catch (std::exception const& failure) {
        std::fprintf(stderr, "latency: %s\n", failure.what());
        return 1;
    }
}
