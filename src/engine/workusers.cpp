#include "engine/workusers.h"

#include <corekit/sformat.h>
#include <vorlan/jobtemplate.h>
#include <vorlan/keys.h>

#include <unistd.h>

#include <algorithm>
#include <cstdlib>

namespace vorlan {

WorkUsers WorkUsers::Read(IniFile const& options) {
    WorkUsers users;
    users.isRoot = geteuid() == 0;
    char const* const given = std::getenv("VORLAN_WORK_ACCOUNT");
    users.account = given ? String(given) : options.GetValue(o_Setup, "WorkAccount", k_DefaultAccount);
    String names = options.GetValue(o_Setup, "WorkUsers", "");
    names.Replace(",", " ");
    users.allowed = SplitCommandLine(names);
    return users;
}

String WorkUsers::Choose(String const& username, RunSpec& spec) const {
    spec.user = isRoot && username.Empty() ? account : username;
    if (!isRoot)
        return {};
    if (spec.user.Empty()) {
        return "VorlanEngine runs as root on this machine, and there is no account for work without a Username. Name "
               "one as WorkAccount in its VorlanEngine.ini, or give the Job a Username.";
    }
    spec.mayBeRoot = spec.user == account || std::find(allowed.begin(), allowed.end(), spec.user) != allowed.end();
    if (!allowed.empty() && !spec.mayBeRoot) {
        return SFormat("No work runs as \"%s\" on this machine: it is not among the WorkUsers in its VorlanEngine.ini.",
                       spec.user.c_str());
    }
    return {};
}

} // namespace vorlan
