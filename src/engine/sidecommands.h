#pragma once

// Commands that run beside the units: nobody waits for them.

#include "engine/report/outputscanner.h"
#include "engine/runner/runner.h"

#include <vorlan/fwd.h>

#include <deque>
#include <functional>
#include <map>

namespace vorlan {

// Runs shell commands, a few at a time, and tells how they ended.
//
// Owned by the WorkDesk, which passes on what the Runner says; its thread. A command's
// output is put into lines; what it says at its end is given to `report`.
class SideCommands {
public:
    static constexpr size_t k_AtOnce = 16;
    static constexpr size_t k_Waiting = 10000;
    static constexpr size_t k_OutputLines = 20;

    enum class Tell {
        Failures, // only when it went wrong
        All,      // its output, too
    };

    using Report = std::function<void(String const& line)>;

    SideCommands(Runner& runner, Report report);

    // `label` names it in reports. Too many that wait: it is left out, with a report.
    void Run(String const& label, String const& script, Path const& folder, Tell tell);

    // False when it is none of these processes.
    bool OnOutput(UID const& process, std::string_view bytes);
    bool OnEnded(UID const& process, RunEnd const& end);

    size_t Running() const { return m_running.size(); }
    void StopAll(int graceMs);

private:
    struct Side {
        String label;
        RunSpec spec;
        Tell tell = Tell::Failures;
        std::string output;
    };
    void StartNext();

    Runner& m_runner;
    Report const m_report;
    std::map<UID, Side> m_running;
    std::deque<Side> m_waiting;
};

} // namespace vorlan
