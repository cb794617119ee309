#include <corekit/servicemanager.h>

#include <corekit/file.h>
#include <corekit/log.h>

#include <cstdlib>
#include <unistd.h>

namespace corekit {

namespace {

constexpr char k_SystemFolder[] = "/etc/systemd/system";

// Arguments: the folder with the new files, the folder of the units, the unit to
// enable, the names of the files.
constexpr char k_InstallScript[] = R"(from=$1; to=$2; enable=$3; shift 3
for unit in "$@"; do install -m 0644 -- "$from/$unit" "$to/$unit"; done
systemctl daemon-reload
systemctl enable -- "$enable")";

// Arguments: the folder of the units, the unit that is enabled, the names of the files.
constexpr char k_RemoveScript[] = R"(from=$1; enabled=$2; shift 2
systemctl disable --now -- "$enabled"
systemctl stop -- "$@" || true
for unit in "$@"; do rm -f -- "$from/$unit"; done
systemctl daemon-reload)";

Path UserFolder() {
    char const* const config = std::getenv("XDG_CONFIG_HOME");
    if (config && *config == '/')
        return Path(config) / "systemd/user";
    char const* const home = std::getenv("HOME");
    return Path(home ? home : "/") / ".config/systemd/user";
}

bool IsUnitName(String const& name) {
    return !name.Empty() && name.front() != '-' &&
           name.FindOneNotOf("abcdefghijklmnopqrstuvwxyz0123456789-.") == String::npos;
}

void CheckName(String const& name) {
    if (!IsUnitName(name))
        throw ArgumentException("\"" + name + "\" is no name of a service.");
}

std::vector<String> Arguments(char const* script, std::vector<String> const& arguments) {
    std::vector<String> command{"/bin/sh", "-ec", script, "sh"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

} // namespace

SystemdManager::SystemdManager(Options options) : m_options(std::move(options)) {
    if (m_options.userFolder.Empty())
        m_options.userFolder = UserFolder();
    if (m_options.systemFolder.Empty())
        m_options.systemFolder = k_SystemFolder;
    if (!m_options.run)
        m_options.run = [](Path const& program, std::vector<String> const& args, String const& input) {
            return RunCommand(program, args, k_TimeoutMs, input);
        };
    if (!m_options.find)
        m_options.find = &FindProgram;
    if (!m_options.isRoot)
        m_options.isRoot = ::geteuid() == 0;
}

String SystemdManager::Quote(String const& word) {
    String quoted = "\"";
    for (char const c : word) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        else if (c == '%' || c == '$')
            quoted += c;
        else if (c == '\n' || c == '\r')
            throw ArgumentException("A service cannot run \"" + word + "\": there is a line end in it.");
        quoted += c;
    }
    return quoted + '"';
}

CommandOutcome SystemdManager::Run(Path const& program, std::vector<String> const& args, String const& input) {
    return m_options.run(program, args, input);
}

void SystemdManager::Check(CommandOutcome const& outcome, String const& what) {
    if (outcome.Ok())
        return;
    String const said = outcome.output.Trim();
    if (!outcome.error.Empty())
        throw ServiceException(outcome.error);
    if (!outcome.exitCode)
        throw ServiceException("\"" + what + "\" did not end in time.", said);
    if (said.ContainsNoCase("Failed to connect to bus") || said.ContainsNoCase("not been booted with systemd"))
        throw ServiceException("The service manager of this machine does not answer. Log in on its desktop, then try "
                               "again; a machine that was started without systemd has none.",
                               said);
    throw ServiceException("\"" + what + "\" failed.", said.Empty() ? "It gave no reason." : said);
}

void SystemdManager::Systemctl(ServiceScope scope, std::vector<String> const& args) {
    if (m_options.find("systemctl").Empty())
        throw ServiceException("There is no systemctl on this machine: services need systemd. Start the programs from "
                               "the System menu, or by the tools of this machine.");
    std::vector<String> words;
    String what = "systemctl";
    if (scope == ServiceScope::User)
        words.emplace_back("--user");
    words.insert(words.end(), args.begin(), args.end());
    for (String const& word : words)
        what += " " + word;
    if (scope == ServiceScope::User) {
        Check(Run("systemctl", words), what);
        return;
    }
    words.insert(words.begin(), String("systemctl"));
    Elevated(words);
}

void SystemdManager::Elevated(std::vector<String> const& command) {
    std::vector<String> args(command.begin() + 1, command.end());
    if (*m_options.isRoot) {
        Check(Run(command.front(), args), command.front());
        return;
    }
    if (!m_options.find("pkexec").Empty()) {
        CommandOutcome const outcome = Run("pkexec", command);
        // The two codes by which pkexec says that it was not allowed to.
        if (outcome.exitCode == 126 || outcome.exitCode == 127)
            throw ServiceException("The services of the whole machine were not changed: nobody gave the password of an "
                                   "administrator.",
                                   outcome.output.Trim());
        Check(outcome, command.front());
        return;
    }
    if (m_options.find("sudo").Empty())
        throw ServiceException("The services of the whole machine can only be changed with pkexec or sudo, and neither "
                               "is installed. Install the service for your own account, or install polkit.");
    std::optional<String> const password = m_options.askPassword ? m_options.askPassword() : std::nullopt;
    if (!password)
        throw ServiceException("The services of the whole machine were not changed: no password was given.");
    args = command;
    std::vector<String> const sudo{"-S", "-k", "-p", "", "--"};
    args.insert(args.begin(), sudo.begin(), sudo.end());
    Check(Run("sudo", args, *password + "\n"), "sudo " + command.front());
}

void SystemdManager::Install(ServiceScope scope, std::vector<ServiceUnit> const& units, String const& enable) {
    bool const isUser = scope == ServiceScope::User;
    // Root takes them from a folder of ours.
    Path const folder = isUser ? m_options.userFolder : File::GetTempDir() / "services";
    File::MakeFolder(folder);
    std::vector<String> arguments{folder, m_options.systemFolder, enable};
    CheckName(enable);
    for (ServiceUnit const& unit : units) {
        CheckName(unit.name);
        File::WriteWhole(folder / unit.name, unit.text, 0644);
        arguments.push_back(unit.name);
    }
    if (!isUser) {
        if (m_options.find("systemctl").Empty())
            Systemctl(scope, {}); // says so
        Elevated(Arguments(k_InstallScript, arguments));
        return;
    }
    try {
        Systemctl(scope, {"daemon-reload"});
        Systemctl(scope, {"enable", enable});
    } catch (ServiceException const&) {
        // Else it would count as installed.
        for (ServiceUnit const& unit : units)
            File::Delete(folder / unit.name);
        throw;
    }
    // Else the service would end with the login.
    if (CommandOutcome const outcome = Run("loginctl", {"enable-linger"}); !outcome.Ok())
        LogWarning("The service runs only while its user is logged in: " +
                   (outcome.error.Empty() ? outcome.output.Trim() : outcome.error));
}

void SystemdManager::Start(ServiceScope scope, String const& unit) {
    CheckName(unit);
    Systemctl(scope, {"start", unit});
}

void SystemdManager::Stop(ServiceScope scope, String const& unit) {
    CheckName(unit);
    Systemctl(scope, {"stop", unit});
}

void SystemdManager::Remove(ServiceScope scope, std::vector<String> const& units, String const& enabled) {
    CheckName(enabled);
    std::vector<String> arguments{m_options.systemFolder, enabled};
    for (String const& unit : units) {
        CheckName(unit);
        arguments.push_back(unit);
    }
    if (scope == ServiceScope::System) {
        Elevated(Arguments(k_RemoveScript, arguments));
        return;
    }
    Systemctl(scope, {"disable", "--now", enabled});
    for (String const& unit : units) {
        if (unit != enabled)
            Systemctl(scope, {"stop", unit});
        File::Delete(m_options.userFolder / unit);
    }
    Systemctl(scope, {"daemon-reload"});
}

std::optional<ServiceScope> SystemdManager::FindScope(String const& unit) {
    if (IsUnitName(unit) && File::Exists(m_options.userFolder / unit))
        return ServiceScope::User;
    if (IsUnitName(unit) && File::Exists(m_options.systemFolder / unit))
        return ServiceScope::System;
    return std::nullopt;
}

} // namespace corekit
