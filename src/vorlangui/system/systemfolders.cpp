#include "systemfolders.h"

#include "commands/ids.h"

#include <corekit/file.h>
#include <corekit/log.h>
#include <corekit/process.h>
#include <corekit/sformat.h>
#include <optional>
#include <vorlan/productfile.h>
#include <vorlan/services.h>

namespace vorlan {

namespace {

// A program that has not failed by then is showing the folder.
constexpr int k_OpenerMs = 5'000;

struct Opener {
    char const* program;
    char const* argument; // before the folder; null: none
};

constexpr Opener k_Openers[] = {{"xdg-open", nullptr}, {"gio", "open"}};

} // namespace

Path SystemFolder(int id) {
    switch (id) {
    case k_IdAppFolder:
        return File::s_AppDir;
    case k_IdModulesFolder:
        return FindProductFolder();
    case k_IdUtilitiesFolder:
        return FindResourceFolder("submit");
    case k_IdLogFolder:
        return Log::FileName().Empty() ? File::GetUserDir() : Log::FileName().Branch();
    case k_IdUserFolder:
        return File::GetUserDir();
    case k_IdMachineFolder:
        return File::GetMachineDir();
    case k_IdTempFolder:
        return File::GetTempDir();
    default:
        return {};
    }
}

void StartOpener(Path const& program, std::vector<String> const& args) {
    ProcessOptions options;
    options.args = args;
    options.group = ProcessGroup::Session;
    options.stdoutFd = options.stderrFd = ProcessOptions::k_Null;
    String error;
    std::unique_ptr<Process> const process = Process::Start(program, options, &error);
    if (!process)
        throw Exception(error);
    std::optional<int> const code = process->Wait(k_OpenerMs);
    process->Detach();
    if (code && *code != 0)
        throw Exception(SFormat("%s gave up with code %d.", program.c_str(), *code));
}

void ShowFolder(Path const& folder, FolderOpener const& open) {
    if (!folder.IsFolder())
        throw Exception("There is no folder \"" + folder + "\". Install Vorlan anew.");
    String reasons;
    for (Opener const& opener : k_Openers) {
        std::vector<String> args;
        if (opener.argument)
            args.emplace_back(opener.argument);
        args.push_back(folder);
        try {
            open(opener.program, args);
            return;
        } catch (Exception const& exception) {
            reasons += reasons.Empty() ? "" : "; ";
            reasons += exception.what();
        }
    }
    throw Exception("No program of this desktop could show the folder:\n" + folder +
                        "\nInstall a file manager and xdg-utils, or open it by hand.",
                    reasons);
}

} // namespace vorlan
