#include "engine/unituser.h"

#include "engine/runner/spawn.h"

#include <corekit/sformat.h>

#include <pwd.h>
#include <unistd.h>

#include <vector>

namespace vorlan {

namespace {

// Changes the ids and becomes the program: no process in between.
constexpr char const* k_SetPriv = "/usr/bin/setpriv";

} // namespace

String RunAsUser(RunSpec& spec, String const& user, String const& host, bool ownFolder) {
    if (user.Empty())
        return {};
    passwd found{};
    passwd* entry = nullptr;
    std::vector<char> buffer(16384);
    if (getpwnam_r(user.c_str(), &found, buffer.data(), buffer.size(), &entry) != 0 || !entry) {
        return SFormat("There is no user \"%s\" on %s. Create it there, or empty Username.", user.c_str(),
                       host.c_str());
    }
    if (entry->pw_uid == geteuid())
        return {};
    if (geteuid() != 0) {
        return SFormat(
            "VorlanEngine on %s does not run as root and cannot run work as \"%s\". Empty Username, or start "
            "it as root.",
            host.c_str(), user.c_str());
    }
    if (spec.arguments.empty() || runner::FindProgram(spec).Empty()) {
        return {}; // the start says that it is not installed
    }
    std::vector<String> arguments{
        k_SetPriv,       "--reuid", String::From(entry->pw_uid), "--regid", String::From(entry->pw_gid),
        "--init-groups", "--"};
    arguments.insert(arguments.end(), spec.arguments.begin(), spec.arguments.end());
    spec.arguments = std::move(arguments);
    spec.environment["HOME"] = entry->pw_dir;
    spec.environment["USER"] = entry->pw_name;
    spec.environment["LOGNAME"] = entry->pw_name;
    if (ownFolder && chown(spec.folder.c_str(), entry->pw_uid, entry->pw_gid) != 0)
        return SFormat("The folder \"%s\" cannot be given to \"%s\".", spec.folder.c_str(), user.c_str());
    return {};
}

} // namespace vorlan
