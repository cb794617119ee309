// Running commands, and the services of systemd, with a systemd that only takes notes.
#include "test.h"

#include <corekit/runcommand.h>
#include <corekit/servicemanager.h>

namespace corekit::test_servicemanager {

TEST(RunCommand, TellsWhatBecameOfIt) {
    Rows<char const*, char const*, int, std::optional<int>, char const*> const cases = {
        {"echo out; echo err >&2", "", 20'000, 0, "out\nerr\n"},
        {"read line; echo got $line; exit 3", "secret\n", 20'000, 3, "got secret\n"},
        {"cat", "", 20'000, 0, ""},
        {"sleep 60", "", 50, std::nullopt, ""},
        // What is left behind keeps the pipe open.
        {"sleep 60 & echo done", "", 20'000, 0, "done\n"},
        {"exec >&- 2>&-; sleep 60", "", 50, std::nullopt, ""}};
    for (auto const& [script, input, timeoutMs, exitCode, output] : cases) {
        auto const begin = std::chrono::steady_clock::now();
        CommandOutcome const outcome = RunCommand("sh", {"-c", script}, timeoutMs, input);
        EXPECT_EQ(outcome.exitCode, exitCode) << script;
        EXPECT_EQ(outcome.output, output) << script;
        EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(15)) << script;
    }
    EXPECT_TRUE(RunCommand("no-such-program", {}, 1000).error.Contains("no-such-program"));
    CommandOutcome const much = RunCommand("sh", {"-c", "yes | head -c 300000"}, 20'000);
    EXPECT_TRUE(much.Ok()) << "all of it is read";
    EXPECT_EQ(much.output.size(), k_MaxCommandOutput);
    // Nobody wants it any more.
    EXPECT_FALSE(RunCommand("sleep", {"60"}, 60'000, {}, [] { return false; }).exitCode);
    EXPECT_EQ(FindProgram("sh").Leaf(), "sh");
    EXPECT_EQ(FindProgram("no-such-program"), "");
}

// Notes each command as one line and answers as it is told.
class Systemd {
public:
    SystemdManager::Options Options(std::set<std::string> programs) {
        SystemdManager::Options options;
        options.userFolder = m_home / "user";
        options.systemFolder = m_home / "system";
        options.isRoot = false;
        options.find = [programs](String const& name) {
            return programs.contains(name.Str()) ? Path("/bin/" + name) : Path();
        };
        options.run = [this](Path const& program, std::vector<String> const& args, String const& input) {
            String line = program;
            for (String const& arg : args)
                line += " " + arg;
            if (!input.Empty())
                line += " < " + input.Trim();
            lines.push_back(line);
            return answer;
        };
        return options;
    }
    Path Unit(char const* scope, char const* name) const { return m_home / scope / name; }
    std::vector<String> lines;
    CommandOutcome answer{{}, 0, {}};

private:
    TempFolder m_home;
    EnvironmentValue m_variable{"VORLAN_HOME", m_home.Folder().c_str()};
};

String What(std::function<void()> const& action) {
    try {
        action();
    } catch (Exception const& exception) {
        return exception.what();
    }
    return {};
}

TEST(Systemd, InstallsStartsAndRemovesForTheUser) {
    Systemd systemd;
    SystemdManager manager(systemd.Options({"systemctl"}));
    systemd.answer.exitCode = 1;
    EXPECT_THROW(manager.Install(ServiceScope::User, {{"a.timer", "timer"}}, "a.timer"), ServiceException);
    EXPECT_FALSE(manager.FindScope("a.timer"));
    systemd.answer.exitCode = 0;
    systemd.lines.clear();
    manager.Install(ServiceScope::User, {{"a.timer", "timer"}, {"a.service", "service"}}, "a.timer");
    EXPECT_EQ(File::Read(systemd.Unit("user", "a.service")), "service");
    EXPECT_EQ(manager.FindScope("a.timer"), ServiceScope::User);
    manager.Start(ServiceScope::User, "a.timer");
    manager.Stop(ServiceScope::User, "a.timer");
    manager.Remove(ServiceScope::User, {"a.timer", "a.service"}, "a.timer");
    EXPECT_EQ(systemd.lines,
              (std::vector<String>{"systemctl --user daemon-reload", "systemctl --user enable a.timer",
                                   "loginctl enable-linger", "systemctl --user start a.timer",
                                   "systemctl --user stop a.timer", "systemctl --user disable --now a.timer",
                                   "systemctl --user stop a.service", "systemctl --user daemon-reload"}));
    EXPECT_FALSE(File::Exists(systemd.Unit("user", "a.service")) || manager.FindScope("a.timer"));
}

TEST(Systemd, AsksForTheRightsOfAnAdministratorTheWayThatThereIs) {
    String const start = "systemctl start a.service";
    Rows<std::set<std::string>, bool, std::optional<String>, String, char const*> const cases = {
        {{"systemctl"}, true, {}, start, ""},
        {{"systemctl", "pkexec", "sudo"}, false, "x", "pkexec " + start, ""},
        {{"systemctl", "sudo"}, false, "secret", "sudo -S -k -p  -- " + start + " < secret", ""},
        {{"systemctl", "sudo"}, false, {}, "", "no password was given"},
        {{"systemctl"}, false, "x", "", "pkexec or sudo"},
        {{"pkexec"}, false, "x", "", "There is no systemctl on this machine"},
    };
    for (auto const& [programs, isRoot, password, command, wantedError] : cases) {
        Systemd systemd;
        SystemdManager::Options options = systemd.Options(programs);
        options.isRoot = isRoot;
        options.askPassword = [&answer = password] { return answer; };
        SystemdManager manager(options);
        String const error = What([&] { manager.Start(ServiceScope::System, "a.service"); });
        EXPECT_EQ(systemd.lines, command.Empty() ? std::vector<String>() : std::vector<String>{command}) << error;
        EXPECT_TRUE(error.Empty() == !command.Empty() && error.Contains(wantedError)) << error;
    }
}

TEST(Systemd, SaysWhatWentWrong) {
    String const noBus = "Failed to connect to bus: No medium found";
    char const* const notFound = "\"systemctl --user start a.service\" failed. (Unit a.service not found.)";
    Rows<CommandOutcome, ServiceScope, char const*> const cases = {
        {{{}, 1, noBus}, ServiceScope::User, "Log in on its desktop"},
        {{{}, 5, "Unit a.service not found."}, ServiceScope::User, notFound},
        {{{}, std::nullopt, ""}, ServiceScope::User, "did not end in time"},
        {{"Cannot run systemctl", std::nullopt, ""}, ServiceScope::User, "Cannot run systemctl"},
        {{{}, 126, "dismissed"}, ServiceScope::System, "nobody gave the password"},
    };
    Systemd systemd;
    SystemdManager manager(systemd.Options({"systemctl", "pkexec"}));
    for (auto const& [answer, scope, wantedError] : cases) {
        systemd.answer = answer;
        String const error = What([&] { manager.Start(scope, "a.service"); });
        EXPECT_TRUE(error.Contains(wantedError)) << error;
    }
    systemd.lines.clear();
    for (char const* name : {"../a.service", "-a.service", "a b.service", "", "a;b.service"})
        EXPECT_TRUE(What([&] { manager.Start(ServiceScope::System, name); }).Contains("no name of a service")) << name;
    EXPECT_TRUE(systemd.lines.empty());
}

// The fixed text that runs with the administrator's rights does its work with a
// systemctl that is none, in folders of the test.
TEST(Systemd, TheMachinesUnitsAreWrittenByOneCommand) {
    Systemd systemd;
    TempFolder const tools;
    File::WriteWhole(tools / "systemctl", "#!/bin/sh\necho \"$@\" >> " + (tools / "calls") + "\n", 0755);
    File::MakeFolder(systemd.Unit("system", ""));
    SystemdManager::Options options = systemd.Options({"systemctl"});
    options.isRoot = true;
    EnvironmentValue const path("PATH", (tools.Folder() + ":/usr/bin:/bin").c_str());
    options.run = [](Path const& program, std::vector<String> const& args, String const&) {
        return RunCommand(program, args, 20'000);
    };
    SystemdManager manager(options);
    manager.Install(ServiceScope::System, {{"a.timer", "timer"}, {"a.service", "service"}}, "a.timer");
    EXPECT_EQ(File::Read(systemd.Unit("system", "a.service")), "service");
    EXPECT_EQ(manager.FindScope("a.timer"), ServiceScope::System);
    manager.Remove(ServiceScope::System, {"a.timer", "a.service"}, "a.timer");
    EXPECT_FALSE(File::Exists(systemd.Unit("system", "a.timer")) || File::Exists(systemd.Unit("system", "a.service")));
    EXPECT_EQ(File::Read(tools / "calls"), "daemon-reload\nenable -- a.timer\ndisable --now -- a.timer\n"
                                           "stop -- a.timer a.service\ndaemon-reload\n");
}

TEST(Systemd, AWordOfACommandStaysOneWord) {
    char const* const words[][2] = {
        {"/opt/a b/c", "\"/opt/a b/c\""}, {"50% $HOME", "\"50%% $$HOME\""}, {"a\"b\\c", "\"a\\\"b\\\\c\""}};
    for (auto const& [word, quoted] : words)
        EXPECT_EQ(SystemdManager::Quote(word), quoted);
    EXPECT_THROW(SystemdManager::Quote("a\nExecStartPre=evil"), ArgumentException);
}

} // namespace corekit::test_servicemanager
