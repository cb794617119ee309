#include "engine/verdict.h"

#include <corekit/sformat.h>
#include <vorlan/status.h>

#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

namespace vorlan {

namespace {

constexpr size_t k_CommandLength = 300;

String Short(String const& text, size_t length) { return text.size() <= length ? text : text.Mid(0, length) + "..."; }

} // namespace

String EndText(RunEnd const& end) {
    switch (end.kind) {
    case RunEnd::Kind::Exited:
        return SFormat("exit code %d", end.code);
    case RunEnd::Kind::Signaled: {
        char const* const name = sigabbrev_np(end.code);
        return SFormat("ended by signal %d%s%s%s", end.code, name ? " (SIG" : "", name ? name : "", name ? ")" : "");
    }
    default:
        return end.error;
    }
}

bool HasSucceeded(RunEnd const& end, std::vector<int> const& successCodes) {
    return end.kind == RunEnd::Kind::Exited &&
           std::find(successCodes.begin(), successCodes.end(), end.code) != successCodes.end();
}

Verdict Judge(EndFacts const& facts) {
    switch (facts.end.kind) {
    case RunEnd::Kind::NotFound:
        return {Unsuccessful,
                SFormat("%s is not installed on %s (command: %s). Install it or disable the Product on "
                        "this Engine.",
                        facts.program.c_str(), facts.host.c_str(), Short(facts.command, k_CommandLength).c_str())};
    case RunEnd::Kind::NotStarted:
        return {Unsuccessful, facts.end.error};
    case RunEnd::Kind::Lost:
        return {Lost, facts.end.error};
    case RunEnd::Kind::Exited:
    case RunEnd::Kind::Signaled:
        break;
    }
    if (!facts.error.Empty())
        return {Unsuccessful, facts.error};
    if (!HasSucceeded(facts.end, facts.successCodes)) {
        String note = EndText(facts.end);
        if (facts.end.kind == RunEnd::Kind::Signaled && facts.end.code == SIGKILL)
            note += "; the machine may have run out of memory";
        return {Unsuccessful, facts.lastLine.Empty() ? note : note + ": " + facts.lastLine};
    }
    if (!facts.missingFile.Empty())
        return {Unsuccessful, "expected file " + facts.missingFile + " is missing or empty"};
    return {Finished, String()};
}

String FindMissingFile(std::vector<String> const& files, Path const& folder) {
    for (String const& file : files) {
        Path const path = folder / Path(file);
        struct stat status {};
        if (stat(path.c_str(), &status) != 0 || (S_ISREG(status.st_mode) && status.st_size == 0))
            return path.Text();
    }
    return {};
}

String CheckShares(String const& resources, String const& host) {
    for (String rest = resources; !rest.Trim().Empty();) {
        String const entry = rest.LeftFirst(";");
        rest = rest.Contains(";") ? rest.RightFirst(";") : String();
        Path const local(Path::Dequote(entry.LeftFirst("=").Trim()));
        if (local.Empty() || local.IsFolder())
            continue;
        String const remote = entry.Contains("=") ? " (" + entry.RightFirst("=").Trim() + ")" : String();
        return SFormat("The share %s%s is not there on %s. Mount it, or take it out of the Resources.", local.c_str(),
                       remote.c_str(), host.c_str());
    }
    return {};
}

} // namespace vorlan
