#include "cli/commandtools.h"
#include "cli/json.h"

#include <corekit/file.h>
#include <corekit/inifile.h>
#include <corekit/log.h>
#include <nlohmann/json.hpp>
#include <vorlan/farmkey.h>
#include <vorlan/ippeer.h>

#include <istream>
#include <ostream>

namespace vorlan::cli {

namespace {

struct ShowOptions {
    bool json = false;
};

struct JoinOptions {
    std::string host;
    std::string line;
    bool replace = false;
    bool unproved = false;
};

ExitCode ShowKey(Context& context, ShowOptions const& options) {
    FarmKey const key = FarmKey::Load(File::GetMachineDir());
    if (key.IsNull())
        throw CommandException(ExitCode::Failed, "This machine has no farm key yet. Start VorlanMaster here, or run "
                                                 "this on the Master's machine.");
    context.Out() << (options.json ? JsonText(KeyToJson({key.Text(), key.Fingerprint(), key.IsJoined()}))
                                   : key.Text() + "\n");
    return ExitCode::Ok;
}

FarmKey KeyOf(String const& line) {
    try {
        return FarmKey::FromText(line);
    } catch (ParseException const& exception) {
        throw CommandException(ExitCode::Usage, exception.Message() + ".");
    }
}

// The key that is there; a null one for one that cannot be read.
FarmKey PresentKey(Path const& folder) {
    try {
        return FarmKey::Load(folder);
    } catch (ParseException const&) {
        return FarmKey();
    }
}

void WriteHost(Path const& path, String const& host) {
    IniFile file;
    file.Load(path);
    file.SetValue("Master", "Peer", host);
    file.Save(path);
}

// Beside the programs; in the user's own place where that is not for the user to write, or where it counts already.
Path KeepHost(String const& host) {
    Path const own = File::GetUserConnectionFile();
    if (!own.Exists()) {
        try {
            WriteHost(File::GetConnectionFile(), host);
            return File::GetConnectionFile();
        } catch (FileException const& exception) {
            LogInfo(exception.what());
        }
    }
    WriteHost(own, host);
    return own;
}

// The line on the command line, else the first one of the standard input.
String LineOf(Context& context, JoinOptions const& options) {
    if (!options.line.empty())
        return options.line;
    std::string line;
    std::getline(context.In(), line);
    return line;
}

ExitCode JoinFarm(Context& context, JoinOptions const& options) {
    IPPeer peer;
    if (!IPPeer::FromString(options.host, peer))
        throw CommandException(ExitCode::Usage, "\"" + String(options.host) +
                                                    "\" is no host. Give a name or an "
                                                    "address, with a port behind a colon "
                                                    "if need be.");
    FarmKey const key = KeyOf(LineOf(context, options));
    Path const folder = File::GetMachineDir();
    FarmKey const present = PresentKey(folder);
    if (!present.IsNull() && !(present == key) && !options.replace) {
        throw CommandException(ExitCode::Failed,
                               String("This machine has the key of another farm") +
                                   (present.IsJoined() ? "." : ", made by its own Master.") +
                                   " Give --replace to join the new one; write the old line down first: `vorlan key "
                                   "show`.");
    }
    if (!options.unproved)
        context.Prove({options.host, key});
    // The host first: it means nothing without the key.
    Path const kept = KeepHost(options.host);
    if (!(present == key))
        key.Join(folder);
    context.Out() << "Joined the farm of " << options.host << " (" << Printable(kept)
                  << "). Programs that run already find it by themselves." << std::endl;
    return ExitCode::Ok;
}

} // namespace

void AddKeyCommands(Commands& commands) {
    CLI::App& key = *commands.app.add_subcommand("key", "The farm's key, which every machine of it needs");
    key.require_subcommand(1);

    CLI::App& show = *key.add_subcommand("show", "Print this machine's key and certificate fingerprint as one line");
    auto const showOptions = std::make_shared<ShowOptions>();
    AddJson(show, showOptions->json);
    commands.OnChosen(show, showOptions, &ShowKey);

    auto const options = std::make_shared<JoinOptions>();
    CLI::App& join = *key.add_subcommand("join", "Join this machine to the farm of another one");
    join.add_option("host", options->host, "The Master's host, with :PORT if need be")->required();
    join.add_option("line", options->line,
                    "What `vorlan key show` prints there; without it the line is read "
                    "from the standard input");
    join.add_flag("--replace", options->replace, "Even if this machine has another key");
    join.add_flag("--unproved", options->unproved,
                  "Do not ask the host whether the key fits, since it is not there yet");
    commands.OnChosen(join, options, &JoinFarm);
}

} // namespace vorlan::cli
