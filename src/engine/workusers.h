#pragma once

// Whose rights work has on this machine.

#include "engine/runner/runner.h"

#include <corekit/inifile.h>

#include <vector>

namespace vorlan {

// Says under which user a process runs. What has all rights never runs unless the site
// names it: as WorkAccount or among WorkUsers, in [Setup] of the machine's
// "VorlanEngine.ini". The variable VORLAN_WORK_ACCOUNT stands for WorkAccount, for tests
// and trials in a container. An Engine that is not root runs work as itself.
//
// A value: constant once read.
struct WorkUsers {
    static constexpr char const* k_DefaultAccount = "vorlan-work";

    bool isRoot = false;         // the Engine itself
    String account;              // for work without a Username
    std::vector<String> allowed; // the only other ones; empty: all but those with all rights

    static WorkUsers Read(IniFile const& options);

    // Sets the user of a process. Empty, or what is wrong in words for people.
    String Choose(String const& username, RunSpec& spec) const;
};

} // namespace vorlan
