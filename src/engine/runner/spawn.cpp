#include "engine/runner/spawn.h"

#include "engine/runner/leftovers.h"

#include <corekit/sformat.h>

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

extern char** environ;

namespace vorlan::runner {

namespace {

constexpr char const* k_DefaultPath = "/usr/local/bin:/usr/bin:/bin";

bool IsProgram(std::string const& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(file.c_str(), X_OK) == 0;
}

class Actions {
public:
    Actions() { posix_spawn_file_actions_init(&m_actions); }
    ~Actions() { posix_spawn_file_actions_destroy(&m_actions); }
    Actions(Actions const&) = delete;
    Actions& operator=(Actions const&) = delete;
    posix_spawn_file_actions_t* operator&() { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions;
};

class Attributes {
public:
    Attributes() {
        posix_spawnattr_init(&m_attributes);
        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~Attributes() { posix_spawnattr_destroy(&m_attributes); }
    Attributes(Attributes const&) = delete;
    Attributes& operator=(Attributes const&) = delete;
    posix_spawnattr_t* operator&() { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes;
};

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// The variables of a new process. Those of this program are not copied.
class Environment {
public:
    Environment(RunSpec const& spec, String const& mark) {
        m_own.reserve(spec.environment.size() + 1); // what is pointed to stays where it is
        for (char** entry = environ; *entry; ++entry) {
            std::string_view const name = std::string_view(*entry).substr(0, std::strcspn(*entry, "="));
            if (name != k_MarkName && (spec.environment.empty() || !spec.environment.contains(String(name))))
                m_pointers.push_back(*entry);
        }
        for (auto const& [name, value] : spec.environment)
            Add(name.Str() + "=" + value.Str());
        Add(std::string(k_MarkName) + "=" + mark.Str());
        m_pointers.push_back(nullptr);
    }
    Environment(Environment const&) = delete;
    Environment& operator=(Environment const&) = delete;
    char* const* Pointers() { return m_pointers.data(); }

private:
    void Add(std::string variable) {
        m_own.push_back(std::move(variable));
        m_pointers.push_back(m_own.back().data());
    }

    std::vector<std::string> m_own;
    std::vector<char*> m_pointers;
};

} // namespace

String FindProgram(RunSpec const& spec) {
    String const& name = spec.arguments.front();
    if (name.Contains("/"))
        return IsProgram(name.Str()) ? name : String();
    auto const given = spec.environment.find("PATH");
    char const* const own = getenv("PATH");
    std::string_view left = given != spec.environment.end() ? std::string_view(given->second)
                            : own                           ? own
                                                            : k_DefaultPath;
    while (!name.Empty() && !left.empty()) {
        size_t const end = std::min(left.find(':'), left.size());
        std::string const file = std::string(left.substr(0, end)) + "/" + name.Str();
        if (IsProgram(file))
            return String(file);
        left.remove_prefix(std::min(end + 1, left.size()));
    }
    return {};
}

SpawnResult SpawnUnit(RunSpec const& spec, String const& mark, int output) {
    SpawnResult result;
    if (spec.arguments.empty()) {
        result.error = "There is no command to run.";
        return result;
    }
    String const file = FindProgram(spec);
    if (file.Empty()) {
        result.notFound = true;
        result.error = SFormat("The program \"%s\" was not found.", spec.arguments.front().c_str());
        return result;
    }

    std::vector<std::string> arguments;
    for (String const& argument : spec.arguments)
        arguments.push_back(argument.Str());

    Actions actions;
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    if (output >= 0) {
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
    }
    String const folder = spec.folder.Text();
    if (!folder.Empty())
        posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    Attributes attributes;
    std::vector<char*> argumentPointers = Pointers(arguments);
    Environment environment(spec, mark);
    int const error =
        posix_spawn(&result.pid, file.c_str(), &actions, &attributes, argumentPointers.data(), environment.Pointers());
    if (error != 0) {
        result.pid = 0;
        bool const badFolder = !folder.Empty() && access(folder.c_str(), X_OK) != 0;
        result.error = badFolder ? SFormat("The working folder \"%s\" cannot be entered: %s.", folder.c_str(),
                                           std::strerror(error))
                                 : SFormat("\"%s\" could not be started: %s.", file.c_str(), std::strerror(error));
    }
    return result;
}

} // namespace vorlan::runner
