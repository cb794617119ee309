// What one change to a Job costs the client that mirrors 100,000 of them: the handlers of
// its message, the new value, the events, and the marks for the displays. Against looking
// up the Job in an ordered map and replacing its value in one.

#include "bench.h"
#include "samplejob.h"

#include "vorlangui/client/farmclient.h"
#include "vorlangui/model/joblist.h"
#include "vorlangui/model/jobwatcher.h"

#include <random>

using namespace vorlan;

namespace {

constexpr unsigned k_Jobs = 100'000;
constexpr unsigned k_Changes = 50'000;
constexpr size_t k_Runs = 9;
constexpr unsigned k_Displays = 8;

// One view of the Jobs, as far as the list knows it.
struct View : ListView {
    void OnListCleared() override {}
};

struct Display : JobWatcher {
    using JobWatcher::JobWatcher;
    void Update() override {}
};

// A Job kept by hand: its values by their place, which nobody has to look for.
struct PlainJob {
    std::vector<std::string> values;
};
using PlainJobs = std::map<UID, boost::shared_ptr<PlainJob>>;

struct Change {
    UID job;
    std::string value;
};

// Progress of Jobs in no order, each time another value.
std::vector<Change> Changes(std::vector<UID> const& ids, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<Change> changes;
    for (unsigned i = 0; i < k_Changes; ++i)
        changes.push_back({ids[random() % ids.size()], corekit::SFormat("%.4f", random() % 1'000'000 / 1e4).Str()});
    return changes;
}

double PerChangeNs(double seconds) { return seconds * 1e9 / k_Changes; }

double MirrorNs(std::vector<Change> const& changes) {
    std::vector<boost::shared_ptr<JobParameterMsg>> messages;
    for (Change const& change : changes) {
        messages.push_back(JobParameterMsg::New());
        messages.back()->job = change.job;
        messages.back()->name = p_PercentDone;
        messages.back()->value = change.value;
    }
    double const seconds = bench::Seconds([&] {
        for (auto const& message : messages)
            JobParameterMsg::s_Signal.Emit(message);
    });
    return PerChangeNs(seconds);
}

double PlainNs(PlainJobs& jobs, std::vector<Change> const& changes, size_t place) {
    double const seconds = bench::Seconds([&] {
        for (Change const& change : changes) {
            std::string& value = jobs.find(change.job)->second->values[place];
            if (value != change.value)
                value = change.value;
        }
    });
    return PerChangeNs(seconds);
}

bool Agree(PlainJobs const& plain, size_t place) {
    for (auto const& [id, job] : plain) {
        auto const mirrored = Jobs::GetJobA(id);
        if (!mirrored || mirrored->Get(p_PercentDone, false).Str() != job->values[place])
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    bench::Benchmark benchmark(
        {"change", "ns", "ordered look-up and replacing one value by hand", bench::Judge::RatioAtMost, 3.0}, argc,
        argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    vorlan::FarmClient mirror;
    mirror.ConnectMessages();
    View views[2];
    for (View& view : views)
        JobList::Get().Lists().Add(&view);

    PlainJobs plain;
    std::vector<UID> ids;
    size_t place = 0;
    for (unsigned number = 0; number < k_Jobs; ++number) {
        auto const job = bench::SampleJob(number);
        auto const byHand = boost::make_shared<PlainJob>();
        for (auto const& [name, value] : bench::SampleValues(number)) {
            if (name == p_PercentDone)
                place = byHand->values.size();
            byHand->values.push_back(value);
        }
        plain[job->id] = byHand;
        ids.push_back(job->id);
        JobList::Get().InsertJob(job);
    }
    std::vector<std::unique_ptr<Display>> displays;
    for (unsigned i = 0; i < k_Displays; ++i)
        displays.push_back(std::make_unique<Display>(Jobs::FindJobInfo(ids[i * 1000])));

    // The same changes to both.
    unsigned mirrorRun = 0;
    unsigned plainRun = 0;
    benchmark.Run(
        k_Runs, [&] { return MirrorNs(Changes(ids, ++mirrorRun)); },
        [&] { return PlainNs(plain, Changes(ids, ++plainRun), place); });
    if (!Agree(plain, place))
        benchmark.Fail("the mirror has other values than the Jobs kept by hand");
    for (View& view : views)
        JobList::Get().Lists().Remove(&view);
    return benchmark.Report();
}
