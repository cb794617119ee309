// Making the rows of a list of 100,000 Jobs anew, filter and two-key sort, when one Job in
// a hundred has changed since the last time, half of them in what they sort by. The rows
// are those that come out from scratch. Against folding and sorting ready keys.

#include "rowsbench.h"

namespace {

constexpr size_t k_Runs = 15;
constexpr unsigned k_Changes = bench::k_RowJobs / 100;

// Changes as messages bring them; progress and names take turns.
void ChangeSome(std::vector<vorlan::UID> const& ids, std::mt19937& random) {
    for (unsigned i = 0; i < k_Changes; ++i) {
        vorlan::UID const& id = ids[random() % ids.size()];
        if (i % 2 == 0)
            vorlan::JobList::Get().UpdateJob(id, vorlan::p_PercentDone,
                                             corekit::SFormat("%u.5", unsigned(random() % 100)));
        else
            vorlan::JobList::Get().UpdateJob(id, vorlan::p_Name,
                                             corekit::SFormat("Lighting sq%03u v%u", unsigned(random() % 400), i));
    }
}

} // namespace

int main(int argc, char** argv) {
    using namespace bench;
    Benchmark benchmark({"rebuild-small-change", "ms", "folding and sorting ready keys", Judge::RatioAtMost, 0.3}, argc,
                        argv);
    if (benchmark.HeaderOnly())
        return benchmark.Report();
    FilteredRows list;
    JobRowSet& rows = list.rows;
    JobRowSet::Request& request = list.request;
    request.scope = FilterScope::OwnValues;
    rows.Rebuild(request);
    request.reuse = Reuse::Unchanged;
    std::mt19937 random(1);
    benchmark.Run(
        k_Runs,
        [&] {
            ChangeSome(list.ids, random);
            ListContents contents;
            double const ms = 1000 * Seconds([&] {
                                  rows.Rebuild(request);
                                  contents = rows.Sorted();
                              });
            JobRowSet anew;
            JobRowSet::Request fromNothing = request;
            fromNothing.reuse = Reuse::Nothing;
            anew.Rebuild(fromNothing);
            if (!SameRows(contents, anew.Sorted()))
                benchmark.Fail("The rows are not those that come out from scratch.");
            return ms;
        },
        [&] { return ReferenceMs(list.names); });
    return benchmark.Report();
}
