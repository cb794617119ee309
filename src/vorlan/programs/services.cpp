#include <vorlan/services.h>

#include <corekit/file.h>
#include <corekit/stringtokenizer.h>
#include <vorlan/components.h>

#include <array>
#include <pwd.h>
#include <unistd.h>

namespace vorlan {

namespace {

struct ServiceRow {
    char const* name;
    int component;
    std::array<char const*, 2> units; // the enabled one first
};

constexpr ServiceRow k_Services[] = {
    {"Engine", k_ComponentEngine, {"vorlan-engine.service", nullptr}},
    {"Engine Control", k_ComponentEngine, {"vorlan-engine-control.timer", "vorlan-engine-control.service"}},
    {"Master", k_ComponentMaster, {"vorlan-master.service", nullptr}},
};

ServiceRow const& RowOf(Service service) { return k_Services[static_cast<size_t>(service)]; }

// A name that stands in a template between two @.
struct Value {
    char const* name;
    String text;
};

std::vector<Value> Values(Service service, ServiceSetup const& setup) {
    bool const isUser = setup.scope == ServiceScope::User;
    String const program = Components::GetName(ServiceComponent(service));
    return {{"@PROGRAM@", SystemdManager::Quote(setup.programs / program)},
            {"@ACCOUNT@", isUser ? String() : "User=" + setup.account},
            {"@ENVIRONMENT@",
             setup.home.Empty() ? String() : "Environment=" + SystemdManager::Quote("VORLAN_HOME=" + setup.home)},
            {"@SYSTEMCTL@", isUser ? "systemctl --user" : "systemctl"},
            {"@TARGET@", isUser ? "default.target" : "multi-user.target"}};
}

} // namespace

char const* ServiceName(Service service) { return RowOf(service).name; }

int ServiceComponent(Service service) { return RowOf(service).component; }

String ServiceUnitName(Service service) { return RowOf(service).units.front(); }

std::vector<String> ServiceUnitNames(Service service) {
    std::vector<String> names;
    for (char const* const unit : RowOf(service).units) {
        if (unit)
            names.emplace_back(unit);
    }
    return names;
}

void CheckAccount(String const& account) {
    if (account.Empty() || account.FindOneOf(" \t\n\r:/%$\"\\") != String::npos || account.front() == '-')
        throw ArgumentException("\"" + account + "\" is no name of an account on this machine.");
    passwd entry{};
    passwd* found = nullptr;
    std::array<char, 16384> buffer;
    if (::getpwnam_r(account.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 || !found)
        throw ArgumentException("There is no account \"" + account +
                                "\" on this machine. Make it first, or choose "
                                "another one.");
}

std::vector<ServiceUnit> MakeServiceUnits(Service service, ServiceSetup const& setup, Path const& folder) {
    if (setup.scope == ServiceScope::System)
        CheckAccount(setup.account);
    if (folder.Empty())
        throw FileException("The folder \"services\" that comes with Vorlan was not found. Install Vorlan anew.");
    std::vector<ServiceUnit> units;
    for (String const& name : ServiceUnitNames(service)) {
        ServiceUnit unit{name, File::Read(folder / name)};
        for (Value const& value : Values(service, setup))
            unit.text.Replace(value.name, value.text);
        units.push_back(std::move(unit));
    }
    return units;
}

Path FindResourceFolder(String const& name) {
    std::vector<Path> places{File::s_AppDir / name, File::s_AppDir / "../resources" / name,
                             File::s_AppDir / "../share/vorlan" / name};
#ifdef VORLAN_RESOURCE_FOLDER
    places.push_back(Path(VORLAN_RESOURCE_FOLDER) / name);
#endif
    for (Path const& place : places) {
        if (place.IsFolder())
            return place;
    }
    return {};
}

} // namespace vorlan
