#pragma once

#include <corekit/path.h>
#include <corekit/string.h>

#include <optional>
#include <vector>

namespace corekit {

// What became of a command that was run to its end.
struct CommandOutcome {
    String error;                // why it could not be started; empty when it was
    std::optional<int> exitCode; // as Process::Wait; nothing when it was not started or took too long
    String output;               // what it printed on both outputs

    bool Ok() const { return exitCode == 0; }
};

// Output beyond this is read and thrown away.
inline constexpr size_t k_MaxCommandOutput = 64 * 1024;

// Runs a program and waits for its end, `timeoutMs` at most; then it is ended. `input`
// is what it reads, up to 4 KiB. `goOn` is asked now and then; when it says no the
// time is over. Any thread but the GUI's, since it waits.
CommandOutcome RunCommand(Path const& program, std::vector<String> const& args, int timeoutMs, String const& input = {},
                          bool (*goOn)() = nullptr);

// The path of a program that is found on PATH; empty when there is none.
Path FindProgram(String const& name);

} // namespace corekit
