#pragma once

// For the files that declare commands: the parser's own header is heavy.

#include "cli/command.h"

#include <CLI/CLI.hpp>

#include <vector>

namespace vorlan::cli {

template <class Options>
void Commands::OnChosen(CLI::App& sub, std::shared_ptr<Options> options, ExitCode (*run)(Context&, Options const&)) {
    sub.callback([chosenAction = &chosen, options = std::move(options), run] {
        *chosenAction = [options, run](Context& context) { return run(context, *options); };
    });
}

inline std::vector<String> Strings(std::vector<std::string> const& texts) { return {texts.begin(), texts.end()}; }

// --json, as every listing has it.
inline void AddJson(CLI::App& sub, bool& json) { sub.add_flag("--json", json, "Print JSON, for scripts"); }

inline constexpr char k_JobsHelp[] = "Jobs, each by its UID, the start of its UID, or its exact name";
inline constexpr char k_JobHelp[] = "A Job by its UID, the start of its UID, or its exact name";

} // namespace vorlan::cli
