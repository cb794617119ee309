// What a Job of 40 parameters takes in the client's memory, with all that the Job list
// keeps of it, without a history. Against the bytes of its names and values alone.

#include "bench.h"
#include "samplejob.h"

#include "vorlangui/model/joblist.h"

#include <vorlan/messages.h>

using namespace vorlan;

namespace {

constexpr unsigned k_Jobs = 20'000;
constexpr size_t k_Runs = 5;

std::vector<String> Bodies() {
    std::vector<String> bodies;
    for (unsigned number = 0; number < k_Jobs; ++number)
        bodies.push_back(EncodeMessage(*JobMsg::Create(bench::SampleJob(number))));
    return bodies;
}

double PayloadPerJob() {
    size_t bytes = 0;
    for (unsigned number = 0; number < k_Jobs; ++number) {
        for (auto const& [name, value] : bench::SampleValues(number))
            bytes += name.size() + value.size();
    }
    return static_cast<double>(bytes) / k_Jobs;
}

// Decoded from the wire into the list. What the list keeps for its next Jobs once it is
// cleared counts, too: `before` is from the start.
double MemoryPerJob(std::vector<String> const& bodies, size_t before) {
    for (String const& body : bodies)
        JobList::Get().InsertJob(boost::static_pointer_cast<JobMsg>(DecodeMessage(JobMsg::s_Type, body))->job);
    size_t const after = bench::AllocatedBytes();
    JobList::Get().Clear();
    return static_cast<double>(after - before) / k_Jobs;
}

} // namespace

int main(int argc, char** argv) {
    bench::Benchmark benchmark({"job-memory", "bytes", "names and values", bench::Judge::RatioAtMost, 2.0}, argc, argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    auto const bodies = Bodies();
    double const payload = PayloadPerJob();
    // Names, locks and the like, once.
    JobList::Get().InsertJob(boost::static_pointer_cast<JobMsg>(DecodeMessage(JobMsg::s_Type, bodies[0]))->job);
    JobList::Get().Clear();
    size_t const before = bench::AllocatedBytes();
    benchmark.Run(
        k_Runs, [&] { return MemoryPerJob(bodies, before); }, [&] { return payload; });
    return benchmark.Report();
}
