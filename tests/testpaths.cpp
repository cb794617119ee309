#include "testpaths.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace vorlan {

namespace {

// In a container the tests are root, and so is the work of the Engines that they start.
bool const s_mayWorkAsRoot = [] {
    if (geteuid() == 0 && !std::getenv("VORLAN_WORK_ACCOUNT")) {
        std::fputs("The tests run as root: work of their Engines runs as root, too (VORLAN_WORK_ACCOUNT=root).\n",
                   stderr);
        setenv("VORLAN_WORK_ACCOUNT", "root", 1);
    }
    return true;
}();

} // namespace

char const* const k_SourceDir = VORLAN_SOURCE_DIR;
char const* const k_BinDir = VORLAN_BIN_DIR;

} // namespace vorlan
