#include "cli/progress.h"

#include <corekit/sformat.h>
#include <vorlan/keys.h>

#include <cmath>
#include <ostream>

namespace vorlan::cli {

namespace {

constexpr size_t k_BarWidth = 30;

struct Sum {
    uint64_t frames = 0;
    double done = 0;
    size_t active = 0;

    double Percent() const { return frames == 0 ? 0 : 100 * done / static_cast<double>(frames); }
};

Sum Add(FarmView const& view, std::vector<UID> const& jobs) {
    Sum sum;
    for (UID const& id : jobs) {
        auto const job = view.FindJob(id);
        if (!job)
            continue;
        uint64_t const frames = std::max<uint64_t>(job->GetParameterString(p_RangeCount).Uint(), 1);
        sum.frames += frames;
        sum.done += static_cast<double>(frames) * job->PercentDone() / 100;
        sum.active += view.UnitCount(id);
    }
    return sum;
}

} // namespace

String Progress::Line(FarmView const& view, std::vector<UID> const& jobs) const {
    Sum const sum = Add(view, jobs);
    auto const filled = static_cast<size_t>(sum.Percent() / 100 * k_BarWidth);
    String const name = jobs.size() == 1 ? view.JobName(jobs.front()) : String::From(jobs.size()) + " Jobs";
    return FitWidth(Printable(name), 30) + " [" + std::string(filled, '#') + std::string(k_BarWidth - filled, '.') +
           SFormat("] %.0f %%, %.0f of %llu frames, %zu active", std::floor(sum.Percent()), std::round(sum.done),
                   static_cast<unsigned long long>(sum.frames), sum.active);
}

void Progress::Show(FarmView const& view, std::vector<UID> const& jobs) {
    if (!m_terminal.errIsTerminal)
        return ShowSteps(view, jobs);
    String const line = Line(view, jobs);
    if (line == m_shown && m_terminal.HasStatus())
        return;
    m_shown = line;
    m_terminal.ShowStatus(line);
}

void Progress::ShowSteps(FarmView const& view, std::vector<UID> const& jobs) {
    for (UID const& id : jobs) {
        auto const job = view.FindJob(id);
        if (!job)
            continue;
        int const step = static_cast<int>(job->PercentDone()) / k_StepPercent;
        auto const [at, isNew] = m_told.emplace(id, -1);
        if (step <= at->second)
            continue;
        at->second = step;
        m_terminal.err << Printable(job->Name()) << ": " << SFormat("%.0f %%", std::floor(job->PercentDone())) << ", "
                       << view.UnitCount(id) << " active" << std::endl;
    }
}

void Progress::Finish(FarmView const& view, std::vector<UID> const& jobs) {
    if (!m_terminal.errIsTerminal)
        return ShowSteps(view, jobs);
    m_terminal.ClearStatus();
    m_terminal.err << Line(view, jobs) << std::endl;
}

void Progress::Tell(String const& line) {
    m_terminal.ClearStatus();
    m_terminal.err << Printable(line) << std::endl;
}

} // namespace vorlan::cli
