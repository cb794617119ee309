#pragma once

// How far Jobs are, as it is shown while somebody waits.

#include "cli/farmview.h"
#include "cli/terminal.h"

#include <chrono>
#include <map>
#include <vector>

namespace vorlan::cli {

// Progress writes to the standard error output: one line that is written anew on a
// terminal, else a line for each Job every few percent.
// Owner: the one who waits. Thread: the main thread.
class Progress {
public:
    static constexpr int k_StepPercent = 5; // without a terminal

    explicit Progress(Terminal& terminal) : m_terminal(terminal) {}

    void Show(FarmView const& view, std::vector<UID> const& jobs);
    // The last line, which stays.
    void Finish(FarmView const& view, std::vector<UID> const& jobs);
    // A line of its own, with what happened.
    void Tell(String const& line);

private:
    String Line(FarmView const& view, std::vector<UID> const& jobs) const;
    void ShowSteps(FarmView const& view, std::vector<UID> const& jobs);

    Terminal& m_terminal;
    std::map<UID, int> m_told; // the last step of each Job
    String m_shown;
};

} // namespace vorlan::cli
