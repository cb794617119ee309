// How long a Job of 40 parameters takes to the wire and back, against the plain copy
// of the same texts. The worse of the two directions is told.

#include "bench.h"
#include "samplejob.h"

#include <vorlan/messages.h>

#include <cstdlib>

using namespace vorlan;

namespace {

constexpr int k_Rounds = 4000;
constexpr size_t k_Runs = 9;

std::vector<boost::shared_ptr<Job>> Jobs() {
    std::vector<boost::shared_ptr<Job>> jobs;
    for (unsigned number = 0; number < 64; ++number)
        jobs.push_back(bench::SampleJob(number));
    return jobs;
}

double PerJob(double seconds) { return seconds / k_Rounds * 1e9; }

// Copies names and texts into a block of the wire, each behind its length.
double CopyToWire(std::vector<boost::shared_ptr<Job>> const& jobs) {
    std::vector<char> wire(16384);
    return PerJob(bench::Seconds([&] {
        for (int round = 0; round < k_Rounds; ++round) {
            auto const block = jobs[static_cast<size_t>(round) % jobs.size()]->Snapshot();
            char* at = wire.data();
            auto const put = [&at](std::string_view text) {
                auto const length = static_cast<uint32_t>(text.size());
                std::memcpy(at, &length, sizeof length);
                std::memcpy(at + sizeof length, text.data(), text.size());
                at += sizeof length + text.size();
            };
            for (auto const value : *block) {
                put(value.Name());
                put(value.text);
            }
            bench::DoNotOptimize(wire.data());
        }
    }));
}

double Encode(std::vector<boost::shared_ptr<Job>> const& jobs) {
    return PerJob(bench::Seconds([&] {
        for (int round = 0; round < k_Rounds; ++round) {
            JobMsg message;
            message.job = jobs[static_cast<size_t>(round) % jobs.size()];
            String const body = EncodeMessage(message);
            bench::DoNotOptimize(body.data());
        }
    }));
}

// Copies the texts into one block of memory with the end of each in front, as a Job
// keeps them.
double CopyToBlock(std::vector<boost::shared_ptr<Job>> const& jobs) {
    return PerJob(bench::Seconds([&] {
        for (int round = 0; round < k_Rounds; ++round) {
            auto const block = jobs[static_cast<size_t>(round) % jobs.size()]->Snapshot();
            size_t const head = block->Count() * 2 * sizeof(uint32_t);
            auto* const memory = static_cast<char*>(std::malloc(head + block->TextBytes()));
            uint32_t end = 0;
            uint32_t index = 0;
            for (auto const value : *block) {
                std::memcpy(memory + head + end, value.text.data(), value.text.size());
                end += static_cast<uint32_t>(value.text.size());
                std::memcpy(memory + index * sizeof index, &value.number, sizeof value.number);
                std::memcpy(memory + (block->Count() + index) * sizeof index, &end, sizeof end);
                ++index;
            }
            bench::DoNotOptimize(memory);
            std::free(memory);
        }
    }));
}

double Decode(std::vector<String> const& bodies) {
    return PerJob(bench::Seconds([&] {
        for (int round = 0; round < k_Rounds; ++round) {
            auto const message = DecodeMessage(JobMsg::s_Type, bodies[static_cast<size_t>(round) % bodies.size()]);
            bench::DoNotOptimize(message.get());
        }
    }));
}

bool TextsSurvive(std::vector<boost::shared_ptr<Job>> const& jobs, std::vector<String> const& bodies) {
    for (size_t i = 0; i < jobs.size(); ++i) {
        auto const message = boost::dynamic_pointer_cast<JobMsg>(DecodeMessage(JobMsg::s_Type, bodies[i]));
        if (!message || !message->job || message->job->id != jobs[i]->id ||
            !(*message->job->Snapshot() == *jobs[i]->Snapshot())) {
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    bench::Benchmark benchmark({"codec", "ns", "memcpy of the same texts", bench::Judge::RatioAtMost, 3.0}, argc, argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    auto const jobs = Jobs();
    std::vector<String> bodies;
    for (auto const& job : jobs) {
        JobMsg message;
        message.job = job;
        bodies.push_back(EncodeMessage(message));
    }
    if (!TextsSurvive(jobs, bodies)) {
        std::fprintf(stderr, "codec: a Job came back with other texts\n");
        return 1;
    }
    for (size_t run = 0; run < k_Runs + 1; ++run) {
        double const copyOut = CopyToWire(jobs);
        double const encode = Encode(jobs);
        double const copyIn = CopyToBlock(jobs);
        double const decode = Decode(bodies);
        if (run == 0) {
            continue; // warms up
        }
        bool const encodeIsWorse = encode / copyOut > decode / copyIn;
        benchmark.AddValue(encodeIsWorse ? encode : decode);
        benchmark.AddReference(encodeIsWorse ? copyOut : copyIn);
    }
    return benchmark.Report();
}
