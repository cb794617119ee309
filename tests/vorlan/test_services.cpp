// The units of the services, the value of a password, and the scripts that come along.
#include "test.h"

#include <vorlan/administrator.h>
#include <vorlan/services.h>

#include <corekit/runcommand.h>

namespace vorlan::test_services {

TEST(PasswordValue, IsTheSumOfShiftedCharacters) {
    Rows<char const*, uint32_t> const cases = {
        {"", 0},
        {"ab", 97 + (98U << 7)},
        {"          ", 32U + (32U << 7) + (32U << 14) + (32U << 21) + (32U << 28) + (32U << 3) + (32U << 10) +
                           (32U << 17) + (32U << 24) + (32U << 31)},
        {"\xC3\xA9", 0xE9}, // one character
        {"\xE2\x82\xACz", 0x20AC + (122U << 7)},
        {"\xF0\x9F\x98\x80", 0x1F600}, // beyond 16 bits
        {"\xFFz", 0xFF + (122U << 7)},
        {"\xE2\x82", 0xE2 + (0x82U << 7)}, // cut off
    };
    for (auto const& [password, value] : cases)
        EXPECT_EQ(PasswordValue(password), value) << password;
}

constexpr Service k_All[] = {Service::Engine, Service::EngineControl, Service::Master};

ServiceSetup SetupOf(ServiceScope scope, Path const& programs) {
    return {.scope = scope, .account = Platform::GetCurrentUserName(), .programs = programs};
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
    if (FindProgram("systemd-analyze").Empty())
        GTEST_SKIP() << "systemd-analyze is not installed here: the units were not verified";
    TempFolder const place;
    // What they run must be there.
    for (char const* program : {"VorlanEngine", "VorlanMaster"})
        File::WriteWhole(place / program, "#!/bin/sh\n", 0755);
    EnvironmentValue const runtime("XDG_RUNTIME_DIR", place.Folder().c_str());
    for (ServiceScope const scope : {ServiceScope::User, ServiceScope::System}) {
        Path const folder = place / (scope == ServiceScope::User ? "user" : "system");
        File::MakeFolder(folder);
        std::vector<String> args{"verify", "--man=no"};
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

// Of a script whose program is not here: as many brackets close as open.
TEST(SubmitScripts, AreRightAsFarAsCanBeToldHere) {
    Path const folder = FindResourceFolder("submit");
    TempFolder const place;
    File::WriteWhole(place / "after_effects.js", File::Read(folder / "vorlan_after_effects.jsx"));
    char const* const compile = "import ast, sys; ast.parse(open(sys.argv[1]).read())";
    Rows<char const*, char const*, std::vector<String>> const cases = {
        {"vorlanSubmit.mel", "", {}},
        {"vorlan_submit.ms", "", {}},
        {"vorlan_lightwave.ls", "", {}},
        {"vorlan_nuke.py", "python3", {"-c", compile, folder / "vorlan_nuke.py"}},
        {"vorlan_cinema4d.py", "python3", {"-c", compile, folder / "vorlan_cinema4d.py"}},
        {"vorlan_after_effects.jsx", "node", {"--check", place / "after_effects.js"}},
    };
    for (auto const& [file, checker, arguments] : cases) {
        String const text = File::Read(folder / file);
        // What each of them has to hand over.
        for (char const* word :
             {"submit", "--product", "Command", "--frames", "PacketSize", "CommandLine=", "$(First)", "$(Last)"})
            EXPECT_TRUE(text.Contains(word)) << file << " lacks " << word;
        for (char const* pair : {"()", "[]", "{}"})
            EXPECT_EQ(std::count(text.begin(), text.end(), pair[0]), std::count(text.begin(), text.end(), pair[1]))
                << file << " " << pair;
        if (FindProgram(checker).Empty())
            continue;
        CommandOutcome const outcome = RunCommand(checker, arguments, 60'000);
        EXPECT_TRUE(outcome.Ok()) << file << ": " << outcome.error << outcome.output;
    }
}

} // namespace vorlan::test_services
