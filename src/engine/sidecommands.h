#pragma once

// Commands that run beside the units: nobody waits for them.

#include "engine/engineclock.h"
#include "engine/eventcommands.h"
#include "engine/report/outputscanner.h"
#include "engine/runner/runner.h"

#include <vorlan/fwd.h>

#include <deque>
#include <functional>
#include <map>

namespace vorlan {

// A command on its way. Its id is that of `spec`.
struct SideCommand {
    enum class Tell {
        Failures, // only when it went wrong
        All,      // its output, too
    };

    String label; // names it in reports
    RunSpec spec;
    UID job; // whose folder it needs; null: nobody's
    Tell tell = Tell::Failures;
    bool owed = false; // never left out, and run again when it was cut off
    int tries = 0;
    int64_t endMs = 0;    // when it must have ended, once it runs
    bool overdue = false; // and was ended
    std::string output;
};

// One that is owed to nobody.
SideCommand MakeSideCommand(EventCommand const& command, Path const& folder,
                            SideCommand::Tell tell = SideCommand::Tell::Failures);

// Runs shell commands, a few at a time, and tells how they ended.
//
// Owned by the WorkDesk, which passes on what the Runner says; its thread. A command's
// output is put into lines; what it says at its end is given to `report`. `settled` is
// called for each that has ended or was left out, but not for those that the end of the
// Engine cut off.
class SideCommands {
public:
    static constexpr size_t k_AtOnce = 16;
    static constexpr size_t k_Waiting = 10000;
    static constexpr size_t k_OutputLines = 20;
    static constexpr int k_Tries = 3; // of an owed one
    static constexpr int64_t k_LimitMs = 3'600'000;

    using Report = std::function<void(String const& line)>;
    using Settled = std::function<void(SideCommand const& command)>;

    SideCommands(Runner& runner, EngineClock const& clock, Report report, Settled settled);

    // Too many that wait: it is left out, with a report.
    void Run(SideCommand command);
    // One of them still needs the Job's folder.
    bool Needs(UID const& job) const;

    // False when it is none of these processes.
    bool OnOutput(UID const& process, std::string_view bytes);
    bool OnEnded(UID const& process, RunEnd const& end);

    // Ends those that have run for too long.
    void StopOverdue(int64_t nowMs, int graceMs);
    int64_t NextOverdueMs() const;

    size_t Running() const { return m_running.size(); }
    void StopAll(int graceMs);

private:
    void StartNext();
    void ReportEnd(SideCommand const& command, RunEnd const& end);

    Runner& m_runner;
    EngineClock const& m_clock;
    Report const m_report;
    Settled const m_settled;
    std::map<UID, SideCommand> m_running;
    std::deque<SideCommand> m_waiting;
    bool m_stopping = false;
};

} // namespace vorlan
