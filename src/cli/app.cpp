#include "cli/app.h"

#include "cli/commandtools.h"
#include "cli/resolve.h"

#include <corekit/log.h>
#include <vorlan/version.h>

#include <algorithm>
#include <ostream>

namespace vorlan::cli {

namespace {

constexpr char k_Footer[] = R"(Exit codes:
  0    done; with `wait`: all Jobs finished well
  1    a Job failed or was canceled, the Master refused, or there is no such thing
  2    the command line is wrong
  3    no Master can be reached
  4    the time of --timeout is over
  130  interrupted

`vorlan COMMAND --help` says more about one command.)";

void Declare(CLI::App& app, Commands& commands, std::string& hosts, bool& administrates) {
    app.require_subcommand(1);
    app.fallthrough(); // the options of the program may stand behind the command, too
    app.set_version_flag("--version", std::string("vorlan ") + k_VorlanVersionText);
    app.add_option("--master", hosts,
                   "The Master's host, or several with blanks between them, each with :PORT if "
                   "need be")
        ->type_name("HOST");
    app.add_flag("--admin", administrates, "The command is an administrator's: what the farm allows nobody else");
    AddSubmitCommand(commands);
    AddJobCommands(commands);
    AddWorkCommands(commands);
    AddWaitCommand(commands);
    AddControlCommands(commands);
    AddFarmCommands(commands);
    AddKeyCommands(commands);
    app.footer(k_Footer); // last, or every command had it, too
}

std::vector<String> CommandNames(CLI::App const& app) {
    std::vector<String> names;
    for (CLI::App const* sub : app.get_subcommands({}))
        names.push_back(sub->get_name());
    return names;
}

// What stands where a command should; empty when that is fine.
String UnknownCommand(std::vector<String> const& names, std::vector<std::string> const& arguments) {
    for (size_t i = 0; i < arguments.size(); ++i) {
        String const word = arguments[i];
        if (word == "--master")
            ++i;
        else if (!word.StartsWith("-"))
            return std::find(names.begin(), names.end(), word) == names.end() ? word : String();
    }
    return String();
}

void PrintUsageError(CLI::App const& app, CLI::ParseError const& error, std::vector<std::string> const& arguments,
                     Terminal& terminal) {
    std::vector<String> const names = CommandNames(app);
    String const unknown = UnknownCommand(names, arguments);
    if (unknown.Empty()) {
        app.exit(error, terminal.out, terminal.err);
        return;
    }
    String const nearest = NearestName(unknown, names);
    terminal.err << "vorlan: There is no command \"" << Printable(unknown) << "\"."
                 << (nearest.Empty() ? String() : " Is \"" + nearest + "\" meant?") << " `vorlan --help` lists all."
                 << std::endl;
}

ExitCode Run(Action const& action, Context& context) {
    Terminal& terminal = context.Term();
    try {
        ExitCode const code = action(context);
        terminal.ClearStatus();
        terminal.out << std::flush;
        if (!terminal.out)
            throw CommandException(ExitCode::Failed, "The output could not be written: the disk is full, or who reads "
                                                     "it has gone.");
        return code;
    } catch (CommandException const& exception) {
        terminal.ClearStatus();
        terminal.err << "vorlan: " << Printable(exception.Message(), true) << std::endl;
        return exception.Exit();
    } catch (ArgumentException const& exception) {
        terminal.ClearStatus();
        terminal.err << "vorlan: " << Printable(exception.what(), true) << std::endl;
        return ExitCode::Usage;
    } catch (std::exception const& exception) {
        terminal.ClearStatus();
        terminal.err << "vorlan: " << Printable(exception.what(), true) << std::endl;
        return ExitCode::Failed;
    }
}

} // namespace

int RunCommandLine(std::vector<std::string> const& arguments, Terminal& terminal, LinkMaker const& connect) {
    CLI::App app("Submits, watches and controls the Jobs of a render farm.", "vorlan");
    Action action;
    std::string hosts;
    bool administrates = false;
    Commands commands{app, action};
    try {
        Declare(app, commands, hosts, administrates);
        // The parser takes the arguments from the back.
        std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
        app.parse(std::move(reversed));
    } catch (CLI::ParseError const& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error, terminal.out, terminal.err); // --help and --version
        PrintUsageError(app, error, arguments, terminal);
        return static_cast<int>(ExitCode::Usage);
    } catch (std::exception const& exception) {
        terminal.err << "vorlan: " << exception.what() << std::endl;
        return static_cast<int>(ExitCode::Failed);
    }
    Context context(terminal, connect, hosts, administrates ? Farm::Rights::Administrator : Farm::Rights::User);
    return static_cast<int>(Run(action, context));
}

} // namespace vorlan::cli
