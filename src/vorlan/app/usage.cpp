#include <vorlan/usage.h>

#include <cstdio>
#include <vorlan/version.h>

namespace vorlan {

bool AnswerUsage(corekit::CommandLine const& commandLine, char const* usage) {
    bool const wantsHelp = commandLine.HasSwitch("help") || commandLine.HasSwitch("h");
    if (!wantsHelp && !commandLine.HasSwitch("version"))
        return false;
    if (wantsHelp)
        std::fputs(usage, stdout);
    else
        std::printf("Vorlan %s\n", k_VorlanVersionText);
    return true;
}

} // namespace vorlan
