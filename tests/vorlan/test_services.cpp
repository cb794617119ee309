// The units of the services, the value of a password, and the scripts that come along.
#include <vorlan/administrator.h>
#include <vorlan/services.h>

#include "corekit/tempfolder.h"

#include <corekit/file.h>
#include <corekit/platform.h>
#include <corekit/runcommand.h>

#include <gtest/gtest.h>

namespace vorlan {

namespace {

TEST(PasswordValue, IsTheSumOfShiftedCharacters) {
    struct Case {
        char const* password;
        uint32_t value;
    };
    constexpr Case k_Cases[] = {
        {"", 0},
        {"a", 97},
        {"ab", 97 + (98U << 7)},
        {"          ", 32U + (32U << 7) + (32U << 14) + (32U << 21) + (32U << 28) + (32U << 3) + (32U << 10) +
                           (32U << 17) + (32U << 24) + (32U << 31)},
        {"\xC3\xA9", 0xE9}, // one character
        {"\xE2\x82\xAC"
         "a",
         0x20AC + (97U << 7)},
        {"\xF0\x9F\x98\x80", 0x1F600}, // beyond 16 bits
        {"\xFF"
         "a",
         0xFF + (97U << 7)},
        {"\xE2\x82", 0xE2 + (0x82U << 7)}, // cut off
    };
    for (Case const& c : k_Cases)
        EXPECT_EQ(PasswordValue(c.password), c.value) << c.password;
}

constexpr Service k_All[] = {Service::Engine, Service::EngineControl, Service::Master};

ServiceSetup SetupOf(ServiceScope scope, Path const& programs) {
    ServiceSetup setup;
    setup.scope = scope;
    setup.account = Platform::GetCurrentUserName();
    setup.programs = programs;
    return setup;
}

TEST(Services, TheUnitsAreMadeFromTheirTemplates) {
    Path const folder = FindResourceFolder("services");
    ServiceSetup setup = SetupOf(ServiceScope::System, "/opt/render farm");
    setup.home = "/srv/100%";
    for (Service const service : k_All) {
        for (ServiceScope const scope : {ServiceScope::User, ServiceScope::System}) {
            setup.scope = scope;
            auto const units = MakeServiceUnits(service, setup, folder);
            ASSERT_FALSE(units.empty());
            EXPECT_EQ(units.front().name, ServiceUnitName(service));
            for (ServiceUnit const& unit : units)
                EXPECT_FALSE(unit.text.Contains("@")) << unit.text;
        }
    }
    String const text = MakeServiceUnits(Service::Engine, setup, folder).front().text;
    for (String const& line :
         {String("ExecStart=\"/opt/render farm/VorlanEngine\"\n"), "User=" + setup.account + "\n",
          String("Environment=\"VORLAN_HOME=/srv/100%%\"\n"), String("WantedBy=multi-user.target\n")})
        EXPECT_TRUE(text.Contains("\n" + line)) << line << "\n" << text;
    EXPECT_FALSE(
        MakeServiceUnits(Service::Engine, SetupOf(ServiceScope::User, "/opt"), folder).front().text.Contains("User="));
    setup.account = "no-such-account";
    EXPECT_THROW(MakeServiceUnits(Service::Engine, setup, folder), ArgumentException);
    for (char const* account : {"", "root\nExecStartPre=evil", "a b", "-root"})
        EXPECT_THROW(CheckAccount(account), ArgumentException) << account;
    EXPECT_THROW(MakeServiceUnits(Service::Engine, SetupOf(ServiceScope::User, "/opt"), {}), FileException);
}

TEST(Services, SystemdAcceptsTheUnits) {
    if (FindProgram("systemd-analyze").empty())
        GTEST_SKIP() << "systemd-analyze is not installed here: the units were not verified";
    TempFolder const place;
    // What they run must be there.
    for (char const* program : {"VorlanEngine", "VorlanMaster"})
        File::WriteWhole(place / program, "#!/bin/sh\n", 0755);
    EnvironmentValue const runtime("XDG_RUNTIME_DIR", place.Folder().c_str());
    for (ServiceScope const scope : {ServiceScope::User, ServiceScope::System}) {
        Path const folder = place / (scope == ServiceScope::User ? "user" : "system");
        File::MakeFolder(folder);
        vector<String> args{"verify", "--man=no"};
        if (scope == ServiceScope::User)
            args.emplace_back("--user");
        for (Service const service : k_All) {
            for (ServiceUnit const& unit :
                 MakeServiceUnits(service, SetupOf(scope, place.Folder()), FindResourceFolder("services"))) {
                File::WriteWhole(folder / unit.name, unit.text);
                args.push_back(folder / unit.name);
            }
        }
        CommandOutcome const outcome = RunCommand("systemd-analyze", args, 60'000);
        EXPECT_TRUE(outcome.Ok()) << outcome.error << outcome.output;
        EXPECT_FALSE(outcome.output.Contains("vorlan-")) << "a warning about a unit: " << outcome.output;
    }
}

// What can be told of a script whose program is not here: brackets and quotes close.
// Gives what is wrong, or nothing.
String Unbalanced(String const& text, std::string_view lineComment) {
    String open;
    char quote = 0;
    for (size_t at = 0; at < text.size(); ++at) {
        char const c = text[at];
        if (quote) {
            if (c == '\\')
                ++at;
            else if (c == quote)
                quote = 0;
            continue;
        }
        if (text.Mid(at, lineComment.size()) == lineComment) {
            at = std::min(text.Find('\n', at), text.size());
            continue;
        }
        if (c == '"') {
            quote = c;
        } else if (c == '(' || c == '[' || c == '{') {
            open += c == '(' ? ')' : c == '[' ? ']' : '}';
        } else if (c == ')' || c == ']' || c == '}') {
            if (open.empty() || open.back() != c)
                return "a bracket too many before: " + text.Mid(at, 40);
            open.pop_back();
        }
    }
    if (quote)
        return "a quote is not closed";
    return open.empty() ? String() : "not closed: " + open;
}

TEST(SubmitScripts, AreRightAsFarAsCanBeToldHere) {
    Path const folder = FindResourceFolder("submit");
    struct Case {
        char const* file;
        char const* comment; // of a language without a checker here
        char const* checker;
        vector<String> arguments;
    };
    TempFolder const place;
    File::WriteWhole(place / "after_effects.js", File::Read(folder / "vorlan_after_effects.jsx"));
    char const* const compile = "import ast, sys; ast.parse(open(sys.argv[1]).read())";
    Case const cases[] = {{"vorlanSubmit.mel", "//", nullptr, {}},
                          {"vorlan_submit.ms", "--", nullptr, {}},
                          {"vorlan_lightwave.ls", "//", nullptr, {}},
                          {"vorlan_nuke.py", nullptr, "python3", {"-c", compile, folder / "vorlan_nuke.py"}},
                          {"vorlan_cinema4d.py", nullptr, "python3", {"-c", compile, folder / "vorlan_cinema4d.py"}},
                          {"vorlan_after_effects.jsx", nullptr, "node", {"--check", place / "after_effects.js"}}};
    for (Case const& c : cases) {
        String const text = File::Read(folder / c.file);
        // What each of them has to hand over.
        for (char const* word :
             {"submit", "--product", "Command", "--frames", "PacketSize", "CommandLine=", "$(First)", "$(Last)"})
            EXPECT_TRUE(text.Contains(word)) << c.file << " lacks " << word;
        if (c.comment) {
            EXPECT_EQ(Unbalanced(text, c.comment), "") << c.file;
        }
        if (!c.checker)
            continue;
        if (FindProgram(c.checker).empty()) {
            std::cout << c.checker << " is not installed here: " << c.file << " was not checked\n";
            continue;
        }
        CommandOutcome const outcome = RunCommand(c.checker, c.arguments, 60'000);
        EXPECT_TRUE(outcome.Ok()) << c.file << ": " << outcome.error << outcome.output;
    }
    EXPECT_EQ(Unbalanced("f(\"a)\\\"\"); // )", "//"), "");
    EXPECT_NE(Unbalanced("f(\"a)\"", "//"), "");
}

} // namespace

} // namespace vorlan
