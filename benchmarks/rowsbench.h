#pragma once

#include "bench.h"
#include "samplejob.h"

#include "vorlangui/model/joblist.h"
#include "vorlangui/rows/rowkinds.h"

#include <boost/make_shared.hpp>
#include <corekit/threadpool.h>

#include <random>
#include <vector>

// What the benchmarks of the lists' rows share: 100,000 Jobs in the Job list, a filter as
// a view has one, and the reference.
namespace bench {

using namespace vorlan;

using JobRowSet = RowSet<JobRows>;

inline constexpr unsigned k_RowJobs = 100'000;

inline std::vector<UID> FillJobList() {
    std::vector<UID> ids;
    for (unsigned number = 0; number < k_RowJobs; ++number) {
        auto const job = SampleJob(number);
        ids.push_back(job->id);
        JobList::Get().InsertJob(job);
    }
    return ids;
}

// A text filter of a view, connected as a view connects it: one name in eighty is left out.
class NameFilter : public corekit::HasSlots<> {
public:
    NameFilter() { m_signal->Connect(this, &NameFilter::OnJob); }
    ~NameFilter() override { DisconnectAll(); }

    boost::shared_ptr<JobRowSet::FilterSignal const> Asked() const { return m_signal; }

private:
    void OnJob(boost::shared_ptr<JobInfo> const& info, bool& include) {
        auto const values = info->job->Snapshot();
        std::string_view const name = values->Find(Known(p_Name).number);
        include = include && Contains(name, "lighting") && !Contains(name, "v42");
    }

    // Without regard to case, as filters are; `term` is in lower case.
    static bool Contains(std::string_view text, std::string_view term) {
        for (size_t at = 0; at + term.size() <= text.size(); ++at) {
            size_t same = 0;
            while (same < term.size() && String::FoldCase(text[at + same]) == term[same])
                ++same;
            if (same == term.size())
                return true;
        }
        return false;
    }

    boost::shared_ptr<JobRowSet::FilterSignal> const m_signal = boost::make_shared<JobRowSet::FilterSignal>();
};

// Name, then priority, the way that a click on each gives.
inline SortOrder TwoKeys() { return {{JobColumns::Name, true, {}}, {JobColumns::Priority, false, {}}}; }

// Folding 100,000 ready names into keys and sorting those.
inline double ReferenceMs(std::vector<String> const& names) {
    struct Row {
        String folded;
        uint32_t row;
    };
    return 1000 * Seconds([&] {
               std::vector<Row> rows;
               rows.reserve(names.size());
               for (uint32_t i = 0; i < names.size(); ++i)
                   rows.push_back({names[i].Lower(), i});
               std::stable_sort(rows.begin(), rows.end(),
                                [](Row const& a, Row const& b) { return a.folded.Str() < b.folded.Str(); });
               DoNotOptimize(rows.data());
           });
}

// In no order, as a list gives them.
inline std::vector<String> ReadyNames() {
    std::vector<String> names;
    JobList::Get().Visit([&names](auto const& objects) {
        for (auto const& object : objects)
            names.push_back((*object.object)->job->Name());
    });
    return names;
}

inline bool SameRows(ListContents const& a, ListContents const& b) {
    if (a.size() != b.size())
        return false;
    for (size_t row = 0; row < a.size(); ++row) {
        if (a[row] != b[row] || a[a[row]] != row)
            return false;
    }
    return true;
}

// The list of Jobs, filled, and what makes its rows on as many threads as in the client.
struct FilteredRows {
    FilteredRows() {
        corekit::ThreadPool::Initialize();
        ids = FillJobList();
        names = ReadyNames();
        request.order = TwoKeys();
        request.filter = filter.Asked();
    }

    std::vector<UID> ids;
    std::vector<String> names;
    NameFilter filter;
    JobRowSet rows;
    JobRowSet::Request request;
};

} // namespace bench
