#pragma once

// What all commands share: how they are declared, and what they work with.

#include "cli/exitcode.h"
#include "cli/farm.h"
#include "cli/table.h"
#include "cli/terminal.h"

#include <functional>
#include <memory>
#include <vector>

namespace CLI {
class App;
}

namespace vorlan::cli {

// Context is what a command works with.
// Owner: RunCommandLine. Thread: the main thread.
class Context {
public:
    using Linker = std::function<std::unique_ptr<MasterLink>(LinkRequest const&)>;

    Context(Terminal& terminal, Linker linker, String hosts, Farm::Rights rights)
        : m_terminal(terminal), m_linker(std::move(linker)), m_hosts(std::move(hosts)), m_rights(rights) {}

    Terminal& Term() { return m_terminal; }
    std::ostream& Out() { return m_terminal.out; }
    std::ostream& Err() { return m_terminal.err; }
    std::istream& In() { return m_terminal.in; }
    // Connected at the first call.
    Farm& TheFarm() {
        if (!m_farm)
            m_farm = std::make_unique<Farm>([this] { return m_linker({m_hosts, FarmKey()}); }, m_rights);
        return *m_farm;
    }
    // Throws unless a Master answers there and has that key.
    void Prove(LinkRequest const& request) { m_linker(request); }

private:
    Terminal& m_terminal;
    Linker const m_linker;
    String const m_hosts;
    Farm::Rights const m_rights;
    std::unique_ptr<Farm> m_farm;
};

using Action = std::function<ExitCode(Context&)>;

// Commands declares subcommands; the one on the command line leaves its action here.
struct Commands {
    CLI::App& app;
    Action& chosen;

    // `Options` is filled by the parser; `run` gets it afterwards.
    template <class Options>
    void OnChosen(CLI::App& sub, std::shared_ptr<Options> options, ExitCode (*run)(Context&, Options const&));
};

// One function for each file of commands.
void AddSubmitCommand(Commands& commands);
void AddJobCommands(Commands& commands);  // jobs, job
void AddWorkCommands(Commands& commands); // work, log
void AddWaitCommand(Commands& commands);
void AddControlCommands(Commands& commands); // pause, resume, priority, stop, requeue, reset, delete
void AddFarmCommands(Commands& commands);    // engines, products, pools, report
void AddKeyCommands(Commands& commands);

// What the commands give people to read.
Colour StatusColour(int status);
// A number of failures, which stands out when there are any.
Cell FailureCell(unsigned count);
// As many characters of a UID as people need; at least eight.
String ShortId(UID const& id);
// "2m 05s"; "-" for none.
String DurationText(Time const& span);
// In local time; empty for none.
String MomentText(Time const& time);
// "42 %".
String PercentText(double percent);

struct WaitRequest {
    std::vector<UID> jobs;
    bool progress = false;
    bool json = false;
    int64_t timeoutMs = 0; // 0: none
};
// Waits for the end of Jobs that were loaded. Ok when all finished well.
ExitCode WaitForJobs(Context& context, WaitRequest const& request);
// "90", "90s", "5m", "2h", "1d" in milliseconds; false for what is none.
bool ParseSpan(String const& text, int64_t& ms);

} // namespace vorlan::cli
