#include <vorlan/usage.h>

#include <cctype>
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

bool KnowsSwitches(int argc, char const* const* argv, char const* usage) {
    corekit::String const known = corekit::String(usage).Lower() + " ";
    for (int i = 1; i < argc; ++i) {
        corekit::String const word = argv[i];
        if (word == "--")
            return true;
        if (word.size() < 2 || word[0] != '-' || std::isdigit(static_cast<unsigned char>(word[1])))
            continue;
        std::string name = "--" + word.LeftFirst("=").Lower().Str();
        name.erase(2, name.find_first_not_of('-', 2) - 2);
        size_t const at = known.Find(name);
        if (at != corekit::String::npos && !std::isalnum(static_cast<unsigned char>(known[at + name.size()])))
            continue;
        std::fprintf(stderr, "There is no switch %s. --help tells which there are.\n", argv[i]);
        return false;
    }
    return true;
}

} // namespace vorlan
